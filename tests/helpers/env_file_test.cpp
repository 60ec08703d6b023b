// SPDX-License-Identifier: Apache-2.0
#include "support/captured_records.h"
#include "support/temp_tree.h"

#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using Tovrin::Parser::Helpers::readEnvFile;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::TempTree;

using Record = CapturedRecords::Record;

// What a file of this text gives to the variable, "nothing" apart from the empty value.
std::string valueIn(const std::string &text, const std::string &variable)
{
    const TempTree tree;
    return readEnvFile(tree.write("test.env", text), variable, false).value_or("nothing");
}

struct Row {
    std::string text;
    std::string value;
};

void expectValuesOfA(const std::vector<Row> &rows)
{
    for (const auto &[text, value] : rows)
        EXPECT_EQ(valueIn(text, "A"), value) << text;
}

TEST(EnvFile, TakesTheLastOfSeveralValues)
{
    expectValuesOfA({{"A=1\nA=2\n", "2"}, {"A=1\nB=3\nA=\n", ""}, {"A=1\nA\n", "1"}});
}

TEST(EnvFile, SplitsALineAtTheFirstEqualsSign)
{
    EXPECT_EQ(valueIn("B=1=2\n", "B"), "1=2");
    EXPECT_EQ(valueIn("=x\n", ""), "x");
    EXPECT_EQ(valueIn("A==\n", "A"), "=");
}

TEST(EnvFile, TrimsNameAndValue)
{
    expectValuesOfA({{" A\t=  x y \r\n", "x y"}, {"A = \"x y\" \n", "x y"}, {"A =\t\n", ""}});
}

TEST(EnvFile, RemovesOnePairOfDoubleQuotes)
{
    expectValuesOfA({{"A=\"x\"\n", "x"},
                     {"A=\"\"\n", ""},
                     {"A=\"\"x\"\"\n", "\"x\""},
                     {"A=\" x \"\n", " x "},
                     {"A=\"a\\\"b\"\n", "a\\\"b"}});
}

TEST(EnvFile, KeepsSingleQuotesAndUnpairedQuotes)
{
    expectValuesOfA({{"A=\"\n", "\""}, {"A='q'\n", "'q'"}, {"A=\"x\n", "\"x"}, {"A=x\"\n", "x\""}});
}

TEST(EnvFile, TellsAnEmptyValueFromNone)
{
    expectValuesOfA({{"A=\n", ""}, {"A\n", "nothing"}, {"", "nothing"}, {"\n\n", "nothing"}});
}

TEST(EnvFile, KnowsNoCommentsAndNoKeywords)
{
    EXPECT_EQ(valueIn("# A=1\n", "A"), "nothing");
    EXPECT_EQ(valueIn("# A=1\n", "# A"), "1");
    EXPECT_EQ(valueIn("export A=1\n", "A"), "nothing");
    EXPECT_EQ(valueIn("export A=1\n", "export A"), "1");
}

TEST(EnvFile, ComparesNamesExactly)
{
    EXPECT_EQ(valueIn("a=1\nAB=2\n", "A"), "nothing");
    EXPECT_EQ(valueIn("A=1\n", " A"), "nothing");
}

TEST(EnvFile, ReadsALineWithoutNewlineAtTheEnd)
{
    expectValuesOfA({{"A=1", "1"}, {"A=1\nA=2", "2"}});
}

TEST(EnvFile, KeepsNulBytes)
{
    expectValuesOfA({{"\0\0\nA=x\0y\n"s, "x\0y"s}, {"A\0=1\n"s, "nothing"}});
}

TEST(EnvFile, ReadsAVeryLongLine)
{
    const std::string value(100'000'000, 'x');
    EXPECT_TRUE(valueIn("B=" + value + "\nA=1\n", "B") == value);
    EXPECT_EQ(valueIn(value + "\nA=1\n", "A"), "1");
}

TEST(EnvFile, IsSilentUnlessAskedToBeVerbose)
{
    const TempTree tree;
    const CapturedRecords records;
    EXPECT_EQ(readEnvFile(tree.path("absent"), "A", false), std::nullopt);
    EXPECT_EQ(readEnvFile(tree.root(), "A", false), std::nullopt);
    EXPECT_EQ(readEnvFile(tree.write("test.env", "B=1\n"), "A", false), std::nullopt);
    EXPECT_TRUE(records.empty());
}

TEST(EnvFile, ReportsAFileThatCannotBeOpened)
{
    const TempTree tree;
    const auto path = tree.path("absent");
    const CapturedRecords records;
    EXPECT_EQ(readEnvFile(path, "A", true), std::nullopt);
    EXPECT_EQ(records.all(), (std::vector<Record>{{3, "Reading environment file '" + path + "' failed"}}));
}

TEST(EnvFile, ReportsADirectoryAsAFileThatCannotBeRead)
{
    const TempTree tree;
    const CapturedRecords records;
    EXPECT_EQ(readEnvFile(tree.root(), "A", true), std::nullopt);
    EXPECT_EQ(records.all(), (std::vector<Record>{{3, "Reading environment file '" + tree.root() + "' failed"}}));
}

TEST(EnvFile, ReportsAnAbsentVariable)
{
    const TempTree tree;
    const auto path = tree.write("test.env", "B=1\n");
    const CapturedRecords records;
    EXPECT_EQ(readEnvFile(path, "A", true), std::nullopt);
    EXPECT_EQ(records.all(),
              (std::vector<Record>{{3, "No 'A' variable specified in environment file '" + path + "'"}}));
}

TEST(EnvFile, ReportsNothingWhenItFindsAnEmptyValue)
{
    const TempTree tree;
    const auto path = tree.write("test.env", "A=\n");
    const CapturedRecords records;
    EXPECT_EQ(readEnvFile(path, "A", true), "");
    EXPECT_TRUE(records.empty());
}

} // namespace
