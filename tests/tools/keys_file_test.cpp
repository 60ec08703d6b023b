// SPDX-License-Identifier: Apache-2.0
#include "keys_file.h"
#include "problems.h"

#include "support/captured_stream.h"
#include "support/temp_tree.h"

#include <tovrin/parser/constants.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <regex>
#include <set>

namespace {

using namespace Tovrin::Testing;
using namespace Tovrin::Tool;
using Tovrin::Parser::ConfigParser;

struct Reading {
    std::optional<std::vector<KnownKey>> keys;
    std::string problems;
};

Reading readFile(const std::string &path)
{
    CapturedStream stream(std::cerr);
    Problems problems(CommonOptions{});
    auto keys = readKeysFile(path, problems);
    return {std::move(keys), stream.text()};
}

class KeysFile : public testing::Test {
protected:
    Reading readText(const std::string &text) { return readFile(folder.write("keys", text)); }
    std::string path() const { return folder.path("keys"); }

    TempTree folder;
};

TEST_F(KeysFile, HoldsBehavioursAndTypes)
{
    const auto reading = readText("# comment\n\ntop=amend\n[G]\na=replace;int\nb=amend;mount\n[H]\na=replace\n");
    EXPECT_EQ(reading.problems, "");
    EXPECT_EQ(reading.keys, (std::vector<KnownKey>{{"", "top", ConfigParser::Amend, std::nullopt, 3},
                                                   {"G", "a", ConfigParser::Replace, ValueType::Int, 5},
                                                   {"G", "b", ConfigParser::Amend, ValueType::Mount, 6},
                                                   {"H", "a", ConfigParser::Replace, std::nullopt, 8}}));
}

TEST_F(KeysFile, KnowsEveryTypeByItsName)
{
    for (const std::string name : {"string", "bool", "int", "int64", "double", "mount"}) {
        const auto reading = readText("k=amend;" + name + "\n");
        ASSERT_TRUE(reading.keys) << reading.problems;
        EXPECT_EQ(nameOf(*reading.keys->front().type), name);
    }
}

TEST_F(KeysFile, RejectsWhatItDoesNotKnow)
{
    for (const auto &[text, problem] : std::vector<std::pair<std::string, std::string>>{
             {"k=\n", ":1: error: '' is not replace or amend"},
             {"k= replace\n", ":1: error: ' replace' is not replace or amend; did you mean 'replace'?"},
             {"[G]\nk=repalce\n", ":2: error: 'repalce' is not replace or amend; did you mean 'replace'?"},
             {"k=replace;\n", ":1: error: '' is not string, bool, int, int64, double or mount"},
             {"k=replace;integer\n", ":1: error: 'integer' is not string, bool, int, int64, double or mount"},
             {"k=replace;int;\n",
              ":1: error: 'int;' is not string, bool, int, int64, double or mount; did you mean 'int'?"},
             {"k=amend\nk=amend\n", ":2: error: registered before, in line 1"},
             {"k=amend\n[G\n", ":2: error: a group header must end with ']': '[G'"}}) {
        const auto reading = readText(text);
        EXPECT_FALSE(reading.keys) << text;
        EXPECT_EQ(reading.problems, path() + problem + '\n') << text;
    }
}

TEST_F(KeysFile, HasToBeAWholeFile)
{
    const auto unterminated = readText("k=amend");
    EXPECT_FALSE(unterminated.keys);
    EXPECT_EQ(unterminated.problems, "tovrin-config: cannot read '" + path() + "': no newline at its end\n");
    const auto missing = readFile(folder.path("missing"));
    EXPECT_FALSE(missing.keys);
    EXPECT_EQ(missing.problems,
              "tovrin-config: cannot read '" + folder.path("missing") + "': No such file or directory\n");
}

// All constants that the header declares; the rows are made of it when the tests are configured.
const std::map<std::string, std::string> &constants()
{
    using namespace Tovrin::Parser;
    static const std::map<std::string, std::string> rows{
#include "constant_rows.inc"
    };
    return rows;
}

std::set<std::string> constantsOfKind(const std::regex &kind)
{
    std::set<std::string> values;
    for (const auto &[name, value] : constants()) {
        if (std::regex_search(name, kind))
            values.insert(value);
    }
    return values;
}

TEST(ExampleKeysFile, HoldsTheGroupsAndKeysOfTheLibraryAndItsLogging)
{
    const auto reading = readFile(TOVRIN_EXAMPLES "/tovrin.keys");
    ASSERT_TRUE(reading.keys) << reading.problems;
    std::set<std::string> groups;
    std::vector<std::string> keys;
    for (const auto &known : *reading.keys) {
        EXPECT_TRUE(known.type) << known.key;
        if (known.group == "Logging")
            continue;
        groups.insert(known.group);
        keys.push_back(known.key);
    }
    EXPECT_EQ(groups, constantsOfKind(std::regex("Group$")));
    EXPECT_EQ(groups.size(), 6u);
    EXPECT_THAT(keys, testing::UnorderedElementsAreArray(constantsOfKind(std::regex("Key$|^Dex2oatMaxHeapSize$"))));
    EXPECT_EQ(keys.size(), 70u);
}

} // namespace
