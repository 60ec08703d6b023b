// SPDX-License-Identifier: Apache-2.0
#include "tools/shell.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Tovrin::Testing;

class Get : public testing::Test {
protected:
    void write(const std::string &path, const std::string &text) { folder.write(path, text); }
    Outcome run(const std::string &line) { return runInShell(folder, line); }

    TempTree folder;
};

TEST_F(Get, PrintsTheLastValueAlone)
{
    write("a.conf", "top=t\n[G]\nk=1;2\nref=<${config:G/k}>\nempty=${config:No/Such}\n");
    EXPECT_EQ(run("tovrin-config get G k a.conf"), (Outcome{0, "2\n", ""}));
    EXPECT_EQ(run("tovrin-config get G ref a.conf"), (Outcome{0, "<2>\n", ""}));
    EXPECT_EQ(run("tovrin-config get G empty a.conf"), (Outcome{0, "\n", ""}));
    EXPECT_EQ(run("tovrin-config get '' top a.conf"), (Outcome{0, "t\n", ""}));
}

TEST_F(Get, PrintsAllValuesAsAList)
{
    write("a.conf", "[G]\nk=1;2 3\nk=$$4;${config:No/Such}\nempty=${config:No/Such}\n");
    EXPECT_EQ(run("tovrin-config get G k --list a.conf"), (Outcome{0, "1\n2 3\n$4\n", ""}));
    EXPECT_EQ(run("tovrin-config get G empty --list a.conf"), (Outcome{0, "", ""}));
}

TEST_F(Get, EndsValuesWithNulWhenAsked)
{
    write("a.conf", "[G]\nk=1;2\n");
    EXPECT_EQ(run("tovrin-config get -z G k --list a.conf"), (Outcome{0, std::string("1\0002\0", 4), ""}));
    EXPECT_EQ(run("tovrin-config get -z G k a.conf"), (Outcome{0, std::string("2\0", 2), ""}));
}

TEST_F(Get, SaysWhereAValueComesFrom)
{
    write("d/1.conf", "[G]\nk=1;2\n");
    write("d/2.conf", "[G]\nk=3\n");
    EXPECT_EQ(run("tovrin-config get G k --origin d"), (Outcome{0, "d/2.conf:2: 3\n", ""}));
    EXPECT_EQ(run("tovrin-config get G k --list --origin d"),
              (Outcome{0, "d/1.conf:2: 1\nd/1.conf:2: 2\nd/2.conf:2: 3\n", ""}));
}

TEST_F(Get, ConvertsToTheType)
{
    for (const auto &[type, text, printed] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"string", "0x1F", "0x1F"},
             {"bool", "true", "true"},
             {"bool", "false", "false"},
             {"int", "0x1F", "31"},
             {"int", "-7", "-7"},
             {"int", "010", "10"},
             {"int64", "9223372036854775807", "9223372036854775807"},
             {"double", "0.75", "0.75"},
             {"double", "1e3", "1000.0"},
             {"mount", "/a /b none bind 0 0", "/a /b none bind 0 0"}}) {
        write("a.conf", "[G]\nk=" + text + "\n");
        EXPECT_EQ(run("tovrin-config get G k --type " + type + " a.conf"), (Outcome{0, printed + '\n', ""})) << text;
    }
}

TEST_F(Get, FailsForWhatDoesNotConvert)
{
    for (const auto &[type, text] : std::vector<std::pair<std::string, std::string>>{
             {"bool", "True"}, {"int", "1 2"}, {"int", "2147483648"}, {"int64", "x"}, {"double", "0x10"}}) {
        write("a.conf", "[G]\nk=" + text + "\n");
        EXPECT_EQ(run("tovrin-config get G k --type " + type + " a.conf"),
                  (Outcome{1, "", "a.conf:2: error: '" + text + "' is not of the type " + type + '\n'}));
    }
    write("a.conf", "[G]\nk=/a /b none bind 1 0\n");
    EXPECT_EQ(run("tovrin-config get G k --type mount a.conf"),
              (Outcome{1, "",
                       "a.conf:2: error: Dump value must be '0' instead of '1' in mount entry: /a /b none bind 1 0\n"
                       "a.conf:2: error: '/a /b none bind 1 0' is not of the type mount\n"}));
}

TEST_F(Get, PrintsNoneOfAListOfWhichOneDoesNotConvert)
{
    write("a.conf", "[G]\nk=1\nk=x;3\n");
    EXPECT_EQ(run("tovrin-config get G k --list --type int a.conf"),
              (Outcome{1, "", "a.conf:3: error: 'x' is not of the type int\n"}));
}

TEST_F(Get, SuggestsWhatMayHaveBeenMeant)
{
    write("a.conf", "[Network]\nLinkName=l\n[Config]\nInstance=i\ndropped=1\ndropped=\n");
    for (const auto &[entry, message] : std::vector<std::pair<std::string, std::string>>{
             {"Network linkname", "[Network] linkname has no value; did you mean 'LinkName'?"},
             {"Network LinkNmae", "[Network] LinkNmae has no value; did you mean 'LinkName'?"},
             {"Network 'LinkName '", "[Network] LinkName  has no value; did you mean 'LinkName'?"},
             {"Network Other", "[Network] Other has no value"},
             {"Config dropped", "[Config] dropped has no value"},
             {"Netwrok LinkName", "[Netwrok] LinkName has no value; did you mean the group 'Network'?"},
             {"Other k", "[Other] k has no value, nor has any key of this group"}})
        EXPECT_EQ(run("tovrin-config get " + entry + " a.conf"), (Outcome{1, "", "tovrin-config: " + message + '\n'}));
}

TEST_F(Get, FailsForACircle)
{
    write("a.conf", "[G]\nk=1;${config:G/k}\n");
    const std::string reason =
        "a.conf:2: error: [G] k takes more than 33 visits to resolve, possibly because of a circular reference\n";
    EXPECT_EQ(run("tovrin-config get G k a.conf"), (Outcome{1, "", reason}));
    EXPECT_EQ(run("tovrin-config get G k --list a.conf"), (Outcome{1, "", reason}));
}

TEST_F(Get, ShowsATemplateThatWasNotRunAsItsText)
{
    write("a.conf", "[G]\nk=<${system:echo 1}>\nother=${system:echo 2}\n");
    const std::string notRun = "tovrin-config: 2 commands of ${system:...} were not run; --run-commands runs them\n";
    EXPECT_EQ(run("tovrin-config get G k a.conf"),
              (Outcome{0, "<${system:echo 1}>\n", "a.conf:2: note: holds ${system:echo 1}, not run\n" + notRun}));
    EXPECT_EQ(run("tovrin-config get G k --run-commands a.conf"), (Outcome{0, "<1>\n", ""}));
    EXPECT_EQ(run("tovrin-config get G other --type int a.conf"),
              (Outcome{1, "", "a.conf:3: error: '${system:echo 2}' is not of the type int\n" + notRun}));
}

TEST_F(Get, NotesWhichValuesHoldTemplates)
{
    write("a.conf", "[G]\nk=1;${env:HOME}\nk=${config:G/other}$${no}\nother=${dconf:/a/b}${env:TOVRIN}\n");
    EXPECT_EQ(run("tovrin-config get G k --list --offline a.conf"),
              (Outcome{0, "1\n${env:HOME}\n${dconf:/a/b}${env:TOVRIN}${no}\n",
                       "a.conf:2: note: holds ${env:HOME}, not looked up\n"
                       "a.conf:3: note: holds ${dconf:/a/b}, not looked up\n"
                       "a.conf:3: note: holds ${env:TOVRIN}, not looked up\n"}));
    EXPECT_EQ(run("tovrin-config get G other --offline --format json a.conf | tr -d ' \\n'"),
              (Outcome{0,
                       R"({"group":"G","key":"other","value":"${dconf:/a/b}${env:TOVRIN}",)"
                       R"("notLookedUp":["${dconf:/a/b}","${env:TOVRIN}"]})",
                       ""}));
}

TEST_F(Get, SaysWhenAnAssignedKeyIsNotRegistered)
{
    write("some.keys", "[G]\nA=amend\n");
    write("a.conf", "[G]\nA=1\nB=2\n");
    EXPECT_EQ(run("tovrin-config get G B --keys some.keys a.conf"),
              (Outcome{1, "", "tovrin-config: [G] B is not registered in some.keys\n"}));
    EXPECT_EQ(run("tovrin-config get G C --keys some.keys a.conf"),
              (Outcome{1, "", "tovrin-config: [G] C has no value\n"}));
    EXPECT_EQ(run("tovrin-config get G B a.conf"), (Outcome{0, "2\n", ""}));
}

TEST_F(Get, PrintsTheValueOfAFileWithABadLineButFails)
{
    write("a.conf", "[G]\nk=1\nbad\nk=2\n");
    EXPECT_EQ(run("tovrin-config get G k a.conf"),
              (Outcome{1, "1\n", "a.conf:3: error: a key without '=', so nothing is read from here on: 'bad'\n"}));
}

TEST_F(Get, LooksUpTheSettingsOfTheUser)
{
    write("a.conf", "[G]\nk=${dconf:/tovrin/key}\n");
    write("settings/all", "[tovrin]\nkey='of anna'\n");
    write("commands", "[ \"$TOVRIN_HOST\" = private ] || exit 77\n"
                      "home=/run/tovrin-host/anna\n"
                      "echo \"tovrin-anna:x:61001:61001::$home:/bin/sh\" >>/etc/passwd\n"
                      "mkdir -p $home/.config/dconf && dconf compile $home/.config/dconf/user settings\n"
                      "tovrin-config get G k --uid 61001 a.conf\n"
                      "tovrin-config get G k a.conf\n");
    const auto outcome = run(TOVRIN_SCRIPTS "/private-host sh commands");
    if (outcome.exitCode == 77)
        GTEST_SKIP() << "no host of its own can be had here";
    EXPECT_EQ(outcome, (Outcome{1, "of anna\n", "tovrin-config: [G] k has no value, nor has any key of this group\n"}));
}

TEST_F(Get, PrintsJson)
{
    write("a.conf", "[G]\nk=1;2\n");
    EXPECT_EQ(run("tovrin-config get G k --format json --type int --origin a.conf"), (Outcome{0, R"({
  "group": "G",
  "key": "k",
  "value": 2,
  "origin": {
    "path": "a.conf",
    "line": 2
  }
}
)",
                                                                                              ""}));
    EXPECT_EQ(run("tovrin-config get G k --format json --list a.conf | tr -d ' \\n'"),
              (Outcome{0, R"({"group":"G","key":"k","values":[{"value":"1"},{"value":"2"}]})", ""}));
}

TEST_F(Get, PrintsTheSameOnATerminal)
{
    write("a.conf", "[G]\nk=1;2\n");
    EXPECT_EQ(run("TERM=xterm script -qec 'tovrin-config get G k --list --origin a.conf' /dev/null"),
              (Outcome{0, "a.conf:2: 1\r\na.conf:2: 2\r\n", ""}));
}

} // namespace
