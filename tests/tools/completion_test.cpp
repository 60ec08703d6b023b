// SPDX-License-Identifier: Apache-2.0
// What bash offers at the end of a line, or at a "|" in it.
#include "tools/shell.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

using Tovrin::Testing::Outcome;
using Tovrin::Testing::TempTree;

namespace {

class Completion : public testing::Test {
protected:
    void write(const std::string &path, const std::string &text) { folder.write(path, text); }
    Outcome run(const std::string &line) { return Tovrin::Testing::runInShell(folder, line); }

    // Bash calls the function with the words of the line, of which "|" marks the one at the cursor by its end.
    std::string offers(const std::vector<std::string> &words, const std::string &program = "tovrin-config")
    {
        std::string script = "HOME=$PWD/home\nsource '" TOVRIN_COMPLETION "'\nCOMP_WORDS=(tovrin-config";
        std::size_t cursor = words.size();
        for (std::size_t i = 0; i < words.size(); ++i) {
            auto word = words[i];
            if (word.ends_with('|')) {
                word.pop_back();
                cursor = i + 1;
            }
            script += " \"" + word + '"';
        }
        script += ")\nCOMP_CWORD=" + std::to_string(cursor) + "\n_tovrin_config '" + program +
                  "'\n((${#COMPREPLY[@]})) && printf '<%s>' \"${COMPREPLY[@]}\"\n";
        const TempTree elsewhere; // so that the script itself is not offered
        const auto outcome = run("bash " + elsewhere.write("complete.bash", script));
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }

    // Those that --help lists, with a long name or without one.
    std::set<std::string> optionsInHelpOf(const std::string &command)
    {
        static const std::regex option("(?:^|\n)  (?:-[a-z],)?(--?[a-z-]+)");
        const auto help = run("tovrin-config " + command + " --help").out;
        std::set<std::string> options;
        for (std::sregex_iterator match(help.begin(), help.end(), option), end; match != end; ++match)
            options.insert((*match)[1]);
        return options;
    }

    std::set<std::string> optionsOffered(const std::string &command)
    {
        static const std::regex option("<([^>]+)>");
        const auto text = command.empty() ? offers({"-"}) : offers({command, "-"});
        std::set<std::string> options;
        for (std::sregex_iterator match(text.begin(), text.end(), option), end; match != end; ++match)
            options.insert((*match)[1]);
        return options;
    }

    TempTree folder;
};

TEST_F(Completion, OffersCommands)
{
    EXPECT_EQ(offers({""}), "<dump><get><explain><check><graph>");
    EXPECT_EQ(offers({"e"}), "<explain>");
    EXPECT_EQ(offers({"x"}), "");
}

TEST_F(Completion, OffersTheOptionsThatHelpLists)
{
    for (const std::string command : {"", "dump", "get", "explain", "check", "graph"})
        EXPECT_EQ(optionsOffered(command), optionsInHelpOf(command)) << command;
}

TEST_F(Completion, OffersWhatAnOptionTakes)
{
    EXPECT_EQ(offers({"dump", "--format", ""}), "<text><json>");
    EXPECT_EQ(offers({"dump", "--format", "=", "j"}), "<json>");
    EXPECT_EQ(offers({"dump", "--format", "="}), "<text><json>");
    EXPECT_EQ(offers({"check", "--color", "a"}), "<auto><always>");
    EXPECT_EQ(offers({"get", "--type", "int"}), "<int><int64>");
    EXPECT_EQ(offers({"dump", "--uid", ""}), "");
}

TEST_F(Completion, OffersFilesAndDirectories)
{
    write("d/a.conf", "");
    write("f.keys", "");
    EXPECT_EQ(offers({"dump", "d"}), "<d>");
    EXPECT_EQ(offers({"dump", "d/"}), "<d/a.conf>");
    EXPECT_EQ(offers({"check", "--keys", "f"}), "<f.keys>");
    EXPECT_EQ(offers({"check", "--root", "f"}), "");
    EXPECT_EQ(offers({"check", "--root", ""}), "<d>");
    EXPECT_EQ(offers({"check", "--", "f"}), "<f.keys>");
}

TEST_F(Completion, OffersTheGroupsAndKeysOfTheNamedFiles)
{
    write("d/1.conf", "top=1\n[Network]\nLinkName=a;b\nNet Config=${system:touch created}\n[No Group]\nk=1\n");
    write("d/2.conf", "[Network]\n# x=1\nMore=x=y\n");
    EXPECT_EQ(offers({"get", "|", "", "d"}), "<''><Network><No\\ Group>");
    EXPECT_EQ(offers({"get", "N|", "d"}), "<Network><No\\ Group>");
    EXPECT_EQ(offers({"explain", "No\\\\ G|", "", "d"}), "<No\\ Group>");
    EXPECT_EQ(offers({"get", "Network", "|", "d"}), "<LinkName><More><Net\\ Config>");
    EXPECT_EQ(offers({"get", "--list", "--format", "json", "Network", "L|", "d/1.conf"}), "<LinkName>");
    EXPECT_EQ(offers({"get", "''", "|", "d"}), "<top>");
    EXPECT_EQ(offers({"get", "No\\\\ Group", "|", "d"}), "<k>");
    EXPECT_EQ(offers({"get", "None", "|", "d"}), "");
    EXPECT_EQ(run("ls created 2>/dev/null").out, "");
}

TEST_F(Completion, OffersNamesAsTheyAreWithinQuotes)
{
    write("1.conf", "[No Group]\nNet Config=1\n");
    EXPECT_EQ(offers({"get", "\\\"No G|", "", "1.conf"}), "<No Group>");
    EXPECT_EQ(offers({"get", "'No G|", "", "1.conf"}), "<No Group>");
    EXPECT_EQ(offers({"get", "'|", "", "1.conf"}), "<No Group>");
    EXPECT_EQ(offers({"get", "'No Group'", "\\\"N|", "1.conf"}), "<Net Config>");
}

TEST_F(Completion, AsksTheProgramBelowTheHomeDirectory)
{
    write("1.conf", "[Group]\nk=1\n");
    write("home/bin/tovrin-config", "#!/bin/sh\nexec tovrin-config \"$@\"\n");
    run("chmod +x home/bin/tovrin-config");
    EXPECT_EQ(offers({"get", "G|", "", "1.conf"}, "~/bin/tovrin-config"), "<Group>");
}

TEST_F(Completion, OffersTheGroupsAndKeysOfTheDefaultDirectory)
{
    write("root/etc/tovrin.conf.d/1.conf", "[Network]\nLinkName=a\n");
    EXPECT_EQ(offers({"get", "--root", "root", "N"}), "<Network>");
    EXPECT_EQ(offers({"get", "--root", "=", "root", "Network", ""}), "<LinkName>");
}

TEST_F(Completion, OffersFilesBehindGroupAndKey)
{
    write("d/1.conf", "[Network]\nLinkName=a\n");
    EXPECT_EQ(offers({"get", "Network", "LinkName", ""}), "<d>");
}

} // namespace
