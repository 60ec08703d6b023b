// SPDX-License-Identifier: Apache-2.0
// What check promises: without an error of it the library reads the files, returns true and resolves every entry
// without an error record. Here the reverse holds too, since no look-up of the host decides anything.
#include "check.h"
#include "sources.h"

#include "helpers/random_text.h"
#include "support/captured_records.h"
#include "support/temp_tree.h"

#include <tovrin/parser/config_dir_parser.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

using Tovrin::Parser::ConfigParser;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::RandomTexts;
using Tovrin::Testing::TempTree;
using namespace Tovrin::Tool;

namespace {

struct Generated {
    CheckOptions options;
    std::vector<KnownKey> knownKeys;
};

// Small configurations full of references between few entries, with mistakes here and there.
class Generator {
public:
    Generated next()
    {
        Generated generated;
        mistakes_ = number(3) == 0 ? 4 : 150;
        if (number(2) == 0)
            generated.knownKeys = knownKeys();
        generated.options.templates = {{"registered", "text $5 ${env:HOME}"}, {"blank", "  "}};
        const auto prefix = std::to_string(++count_) + "-";
        for (std::size_t file = 0; file < 1 + number(3); ++file)
            generated.options.paths.push_back(tree_.write(prefix + std::to_string(file) + ".conf", fileText()));
        if (number(6) == 0)
            generated.options.paths.push_back(tree_.write(prefix + "deep.conf", deepText()));
        return generated;
    }

private:
    std::size_t number(std::size_t below) { return random_.number(below); }
    bool mistake() { return number(mistakes_) == 0; }

    template <std::size_t Size> std::string oneOf(const char *const (&texts)[Size]) { return texts[number(Size)]; }

    std::vector<KnownKey> knownKeys()
    {
        std::vector<KnownKey> keys;
        for (std::size_t i = 0; i < KeyCount; ++i) {
            const auto behaviour = number(2) == 0 ? ConfigParser::Replace : ConfigParser::Amend;
            if (number(8) != 0)
                keys.push_back({groupOf(i), keyOf(i), behaviour, std::nullopt, 1});
        }
        return keys;
    }

    static std::string groupOf(std::size_t i) { return i % 3 == 0 ? "A" : i % 3 == 1 ? "B b" : "C"; }
    static std::string keyOf(std::size_t i) { return "key" + std::to_string(i); }

    std::string fileText()
    {
        std::string text;
        for (auto lines = number(40); lines > 0; --lines) {
            const auto i = number(KeyCount);
            text += "[" + groupOf(i) + "]\n" + line(i) + "\n";
        }
        if (mistake() && !text.empty())
            text.insert(text.find('\n') + 1, oneOf({" bad\n", "[bad\n", "bad\n", "b/d=\n", "[b/d]\n", "\r\n"}));
        if (mistake() && !text.empty())
            text.pop_back();
        return text;
    }

    // Sets all entries, each by those before it.
    std::string deepText()
    {
        std::string text;
        for (std::size_t i = 0; i < KeyCount; ++i)
            text += "[" + groupOf(i) + "]\n" + keyOf(i) + "=" + piece(i) + piece(i) + piece(i) + "\n";
        return text;
    }

    std::string line(std::size_t i)
    {
        if (number(8) == 0)
            return oneOf({"# comment", "; comment", ""});
        if (number(12) == 0)
            return keyOf(i) + "=";
        std::string value = item(i);
        while (number(3) == 0)
            value += ";" + item(i);
        return keyOf(i) + "=" + value;
    }

    std::string item(std::size_t i)
    {
        std::string text;
        for (auto pieces = number(4); pieces > 0; --pieces)
            text += piece(i);
        return text;
    }

    // References mostly lead to entries with lower numbers, so that not all lead in circles.
    std::string piece(std::size_t i)
    {
        if (mistake())
            return oneOf({"$", "$x", "${", "${config:A}", "${config:A/b/c}", "${Config:A/key0}", "${none}",
                          "${envfile:x}", "${config:a;b}", "${:}"});
        switch (number(4)) {
        case 0:
            return oneOf({"x", " ", "  y ", "$$", "}", "{", "\t", ":"});
        case 1:
            return oneOf({"${registered}", "${blank}", "text"});
        default: {
            const auto target = mistake() || i == 0 ? number(KeyCount) : number(i);
            return "${config:" + groupOf(target) + "/" + keyOf(target) + oneOf({"}", "}", "/}"});
        }
        }
    }

    static constexpr std::size_t KeyCount = 20;

    TempTree tree_;
    RandomTexts random_{"x", 1};
    std::size_t mistakes_ = 0; // one piece in so many
    int count_ = 0;
};

// Reads all files, resolves all entries, and tells whether that went without an error.
bool worksInLibrary(const Generated &generated)
{
    const CapturedRecords records;
    ConfigParser config(ConfigParser::BadUid);
    for (const auto &known : generated.knownKeys)
        config.addKey(known.group, known.key, known.behaviour);
    for (const auto &[name, text] : generated.options.templates)
        config.addTemplate(name, text);
    bool loaded = true;
    for (const auto &path : generated.options.paths)
        loaded = config.readConfig(path) && loaded;
    for (auto entry = config.begin(); entry != config.end(); ++entry)
        (void)*entry;
    return loaded && records.errors().empty() && records.criticals().empty();
}

// The library would not return from reading it.
bool hangsLibrary(const Generated &generated)
{
    const auto hangs = [](const std::string &path) { return readSourceFile(path).readingHangs(); };
    return std::any_of(generated.options.paths.begin(), generated.options.paths.end(), hangs);
}

std::string textsOf(const Generated &generated)
{
    std::string texts;
    for (const auto &path : generated.options.paths)
        texts += readSourceFile(path).text, texts += "----\n";
    return texts;
}

TEST(CheckPromise, NoErrorMeansThatTheLibraryHasNone)
{
    std::map<std::string, int> found; // kinds of errors, in how many configurations; "" stands for none
    Generator generator;
    for (int round = 0; round < 2000; ++round) {
        const auto generated = generator.next();
        const auto findings = findingsIn(generated.options, generated.knownKeys);
        const bool promised = findings.count(Severity::Error) == 0;
        const auto text = findings.text(Color::Never);
        ASSERT_EQ(promised, !hangsLibrary(generated) && worksInLibrary(generated)) << text << textsOf(generated);
        found[""] += promised ? 1 : 0;
        for (const auto &kind : allFindingKinds())
            found[std::string(kind.id)] += text.find("[" + std::string(kind.id) + "]") != std::string::npos ? 1 : 0;
    }
    // The promise was made often, and was not made for every reason.
    EXPECT_GT(found[""], 500);
    for (const std::string id :
         {"unexpected-line", "bad-header", "bad-group-name", "no-equals", "bad-key-name", "no-newline", "lone-dollar",
          "unterminated-template", "cut-template", "unknown-source", "unknown-template", "config-form", "envfile-form",
          "cycle", "into-cycle", "over-budget"})
        EXPECT_GT(found[id], 5) << id;
}

TEST(CheckPromise, HoldsForTheExamples)
{
    const std::string examples = TOVRIN_EXAMPLES;
    for (const auto &paths : std::vector<std::vector<std::string>>{
             {examples + "/tovrin.conf.d"}, {examples + "/daemon/vendor.conf.d", examples + "/daemon/local.conf.d"}}) {
        CheckOptions options;
        options.paths = paths;
        options.templates = {{"state", "/var/lib"}};
        const auto findings = findingsIn(options, {});
        EXPECT_EQ(findings.count(Severity::Error), 0u) << findings.text(Color::Never);

        const CapturedRecords records;
        Tovrin::Parser::ConfigDirParser config(ConfigParser::BadUid);
        config.addTemplate("state", "/var/lib");
        EXPECT_EQ(config.readDirectories(paths), 1);
        for (auto entry = config.begin(); entry != config.end(); ++entry)
            (void)*entry;
        EXPECT_EQ(records.errors(), std::vector<std::string>());
    }
}

} // namespace
