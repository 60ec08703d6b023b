// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_dir_parser.h>

#include "support/captured_records.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <type_traits>

using testing::ElementsAre;
using testing::IsEmpty;
using Tovrin::Parser::ConfigDirParser;
using Tovrin::Parser::ConfigParser;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::TempTree;
using Record = CapturedRecords::Record;

namespace {

constexpr int NothingFound = 0;
constexpr int Success = 1;
constexpr int Invalid = 2;

const std::string dataRoot = TOVRIN_TEST_DATA "/config_dir_parser";

std::vector<std::string> listOf(const ConfigParser &parser, const std::string &group, const std::string &key)
{
    std::vector<std::string> values;
    if (parser.contains(group, key))
        parser.getValue(group, key, values);
    return values;
}

// Entries "order=NAME" of the files, in the order in which they were read.
std::vector<std::string> orderOf(const ConfigParser &parser)
{
    return listOf(parser, "", "order");
}

// Writes files that hold their own name as "order".
void writeFiles(const TempTree &tree, const std::string &directory, const std::vector<std::string> &names)
{
    tree.makeDirectory(directory);
    for (const auto &name : names)
        tree.write(directory + "/" + name, "order=" + name + "\n");
}

std::string failedToLoad(const std::string &path)
{
    return "Failed to load config from '" + path + "'";
}

// The two records of a file whose first line is "/".
std::vector<Record> recordsOfBadFile(const std::string &path)
{
    return {{3, "Unexpected line in " + path + " (\x01): '/'"}, {3, failedToLoad(path)}};
}

} // namespace

TEST(ConfigDirParser, IsAConfigParserWithoutMoreData)
{
    static_assert(std::is_base_of_v<ConfigParser, ConfigDirParser>);
    static_assert(std::is_convertible_v<ConfigDirParser *, ConfigParser *>);
    static_assert(sizeof(ConfigDirParser) == sizeof(ConfigParser));
    static_assert(!std::is_polymorphic_v<ConfigDirParser>);
    static_assert(!std::is_convertible_v<std::uint32_t, ConfigDirParser>);
    SUCCEED();
}

// ---- One directory --------------------------------------------------------------------------------------------------

TEST(ReadDirectory, LayersItsFiles)
{
    ConfigDirParser parser(ConfigParser::BadUid);
    parser.addKey("General", "Name", ConfigParser::Replace);
    parser.addKey("General", "Path", ConfigParser::Replace);
    parser.addKey("Mounts", "Entries", ConfigParser::Amend);
    const CapturedRecords records;
    EXPECT_TRUE(parser.readDirectory(dataRoot + "/etc/tovrin.conf.d"));
    EXPECT_THAT(listOf(parser, "General", "Name"), ElementsAre("lower"));
    EXPECT_THAT(listOf(parser, "General", "Path"), ElementsAre("/var/lib/lower"));
    EXPECT_THAT(listOf(parser, "Mounts", "Entries"), ElementsAre("dev", "tmp"));
    EXPECT_TRUE(records.empty());
}

TEST(ReadDirectory, ReadsInByteWiseOrder)
{
    const std::vector<std::vector<std::string>> rows{
        {"10.conf", "B.conf", "a.conf"},
        {"10-a.conf", "9-b.conf"},
        {"a-b.conf", "a.conf", "a.conf.conf", "a_b.conf", "aa.conf"},
        {"A.conf", "Z.conf", "_.conf", "a.conf", "z.conf", "\xC3\xA9.conf", "\xFF.conf"},
        {"!.conf", "0 1.conf", "0.conf", "=.conf"},
    };
    for (auto names : rows) {
        const TempTree tree;
        writeFiles(tree, "d", {names.rbegin(), names.rend()});
        ConfigDirParser parser(ConfigParser::BadUid);
        EXPECT_TRUE(parser.readDirectory(tree.path("d")));
        for (auto &name : names)
            EXPECT_TRUE(std::filesystem::exists(tree.path("d/" + name)));
        EXPECT_EQ(orderOf(parser), names);
    }
}

TEST(ReadDirectory, SaysTheSameWithAndWithoutATrailingSlash)
{
    const TempTree tree;
    writeFiles(tree, "d", {"a.conf", "b.conf"});
    for (const auto *ending : {"", "/", "//"}) {
        ConfigDirParser parser(ConfigParser::BadUid);
        EXPECT_TRUE(parser.readDirectory(tree.path("d") + ending)) << ending;
        EXPECT_THAT(orderOf(parser), ElementsAre("a.conf", "b.conf")) << ending;
    }
}

TEST(ReadDirectory, QuotesPathsWithTheDirectoryAsItWasGiven)
{
    const TempTree tree;
    tree.write("d/x.conf", "/\n");
    for (const auto &[directory, path] : std::vector<std::pair<std::string, std::string>>{
             {"d", "d/x.conf"}, {"d/", "d/x.conf"}, {"./d//", "./d//x.conf"}}) {
        ConfigDirParser parser(ConfigParser::BadUid);
        const CapturedRecords records;
        EXPECT_FALSE(parser.readDirectory(tree.root() + "/" + directory));
        EXPECT_EQ(records.all(), recordsOfBadFile(tree.root() + "/" + path));
    }
}

TEST(ReadDirectory, TakesFilesWithTheEndingAlone)
{
    const TempTree tree;
    writeFiles(tree, "d", {"a.conf", "b.CONF", "c.conf~", "d.conf.bak", "conf", ".hidden.conf", ".conf", "econf"});
    writeFiles(tree, "d/deeper", {"f.conf"});
    ConfigDirParser parser(ConfigParser::BadUid);
    EXPECT_TRUE(parser.readDirectory(tree.path("d")));
    EXPECT_THAT(orderOf(parser), ElementsAre("a.conf"));
}

TEST(ReadDirectory, ReportsADirectoryWithoutConfiguration)
{
    const TempTree tree;
    tree.write("d/file.txt", "");
    tree.write("file", "");
    const std::vector<std::pair<std::string, std::string>> rows{
        {tree.path("d"), tree.path("d/")},
        {tree.path("d/"), tree.path("d/")},
        {tree.path("missing"), tree.path("missing/")},
        {tree.path("file"), tree.path("file/")},
    };
    for (const auto &[directory, shown] : rows) {
        ConfigDirParser parser(ConfigParser::BadUid);
        const CapturedRecords records;
        EXPECT_FALSE(parser.readDirectory(directory)) << directory;
        EXPECT_THAT(records.all(), ElementsAre(Record{3, "No configuration to read in " + shown}));
    }
}

TEST(ReadDirectory, TakesAnEmptyTextForTheRoot)
{
    ConfigDirParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_FALSE(parser.readDirectory(""));
    EXPECT_THAT(records.all(), ElementsAre(Record{3, "No configuration to read in /"}));
}

TEST(ReadDirectory, ReadsOnBehindABadFile)
{
    const TempTree tree;
    writeFiles(tree, "d", {"a.conf", "c.conf"});
    const auto bad = tree.write("d/b.conf", "/\norder=b.conf\n");
    ConfigDirParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_FALSE(parser.readDirectory(tree.path("d")));
    EXPECT_THAT(orderOf(parser), ElementsAre("a.conf", "c.conf"));
    EXPECT_EQ(records.all(), recordsOfBadFile(bad));
}

TEST(ReadDirectory, FailsWhereverTheBadFileStands)
{
    for (const auto *name : {"0.conf", "b.conf", "z.conf"}) {
        const TempTree tree;
        writeFiles(tree, "d", {"a.conf", "c.conf"});
        tree.write(std::string("d/") + name, "/\n");
        ConfigDirParser parser(ConfigParser::BadUid);
        const CapturedRecords records;
        EXPECT_FALSE(parser.readDirectory(tree.path("d"))) << name;
        EXPECT_THAT(orderOf(parser), ElementsAre("a.conf", "c.conf")) << name;
    }
}

TEST(ReadDirectory, TakesADirectoryNamedLikeAFileForABadFile)
{
    const TempTree tree;
    writeFiles(tree, "d", {"a.conf", "c.conf"});
    tree.makeDirectory("d/b.conf");
    ConfigDirParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_FALSE(parser.readDirectory(tree.path("d")));
    EXPECT_THAT(records.all(), ElementsAre(Record{3, failedToLoad(tree.path("d/b.conf/"))}));
    EXPECT_THAT(orderOf(parser), ElementsAre("a.conf", "c.conf"));
}

TEST(ReadDirectory, FollowsLinksAndReportsDanglingOnes)
{
    const TempTree tree;
    tree.write("elsewhere", "order=linked\n");
    tree.makeDirectory("d");
    std::filesystem::create_symlink("../elsewhere", tree.path("d/a.conf"));
    std::filesystem::create_symlink("nowhere", tree.path("d/b.conf"));
    ConfigDirParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_FALSE(parser.readDirectory(tree.path("d")));
    EXPECT_THAT(orderOf(parser), ElementsAre("linked"));
    EXPECT_THAT(records.all(), ElementsAre(Record{3, failedToLoad(tree.path("d/b.conf"))}));
}

TEST(ReadDirectory, TakesWildcardsInTheDirectory)
{
    const TempTree tree;
    writeFiles(tree, "b", {"1.conf"});
    writeFiles(tree, "a", {"2.conf"});
    ConfigDirParser parser(ConfigParser::BadUid);
    EXPECT_TRUE(parser.readDirectory(tree.path("[ab]")));
    EXPECT_THAT(orderOf(parser), ElementsAre("2.conf", "1.conf"));
}

TEST(ReadDirectory, IgnoresUnregisteredKeys)
{
    const TempTree tree;
    writeFiles(tree, "d", {"a.conf", "b.conf"});
    ConfigDirParser parser(ConfigParser::BadUid);
    parser.addKey("", "other", ConfigParser::Replace);
    const CapturedRecords records;
    EXPECT_TRUE(parser.readDirectory(tree.path("d")));
    EXPECT_TRUE(parser.begin() == parser.end());
    EXPECT_TRUE(records.empty());
}

TEST(ReadDirectory, ReadsOnTopOfWhatTheParserHolds)
{
    const TempTree tree;
    writeFiles(tree, "d", {"a.conf"});
    ConfigDirParser parser(ConfigParser::BadUid);
    EXPECT_TRUE(parser.readDirectory(tree.path("d")));
    EXPECT_TRUE(parser.readConfig(tree.path("d/a.conf")));
    EXPECT_TRUE(parser.readDirectory(tree.path("d")));
    EXPECT_THAT(orderOf(parser), ElementsAre("a.conf", "a.conf", "a.conf"));
}

// ---- Several directories --------------------------------------------------------------------------------------------

TEST(ReadDirectories, LayersTheDirectories)
{
    ConfigDirParser parser(ConfigParser::BadUid);
    parser.addKey("General", "Name", ConfigParser::Replace);
    parser.addKey("Mounts", "Entries", ConfigParser::Amend);
    const CapturedRecords records;
    EXPECT_EQ(parser.readDirectories({dataRoot + "/usr/share/tovrin.conf.d", dataRoot + "/etc/tovrin.conf.d/"}),
              Success);
    EXPECT_THAT(listOf(parser, "General", "Name"), ElementsAre("lower"));
    EXPECT_THAT(listOf(parser, "Mounts", "Entries"), ElementsAre("proc", "sys", "dev", "tmp"));
    EXPECT_TRUE(records.empty());
}

TEST(ReadDirectories, OfNoneSucceeds)
{
    ConfigDirParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_EQ(parser.readDirectories({}), Success);
    EXPECT_TRUE(records.empty());
    EXPECT_TRUE(parser.begin() == parser.end());
}

TEST(ReadDirectories, SkipsThoseWithoutConfigurationSilently)
{
    const TempTree tree;
    tree.makeDirectory("empty");
    writeFiles(tree, "full", {"a.conf"});
    const auto empty = tree.path("empty");
    const auto full = tree.path("full");
    const auto missing = tree.path("missing");
    for (const auto &directories :
         std::vector<std::vector<std::string>>{{empty, full}, {full, empty}, {missing, full, missing}, {full}}) {
        ConfigDirParser parser(ConfigParser::BadUid);
        const CapturedRecords records;
        EXPECT_EQ(parser.readDirectories(directories), Success);
        EXPECT_THAT(orderOf(parser), ElementsAre("a.conf"));
        EXPECT_TRUE(records.empty());
    }
}

TEST(ReadDirectories, SaysWhenThereIsNoConfigurationAtAll)
{
    const TempTree tree;
    const auto empty = tree.makeDirectory("empty");
    for (const auto &directories :
         std::vector<std::vector<std::string>>{{empty, empty + "/"}, {empty}, {tree.path("missing")}, {""}}) {
        ConfigDirParser parser(ConfigParser::BadUid);
        const CapturedRecords records;
        EXPECT_EQ(parser.readDirectories(directories), NothingFound);
        EXPECT_TRUE(records.empty());
    }
}

TEST(ReadDirectories, KeepsTheOrderOfTheDirectories)
{
    const TempTree tree;
    writeFiles(tree, "z", {"b.conf", "a.conf"});
    writeFiles(tree, "a", {"d.conf", "c.conf"});
    ConfigDirParser parser(ConfigParser::BadUid);
    EXPECT_EQ(parser.readDirectories({tree.path("z"), tree.path("a/"), tree.path("z")}), Success);
    EXPECT_THAT(orderOf(parser), ElementsAre("a.conf", "b.conf", "c.conf", "d.conf", "a.conf", "b.conf"));
}

TEST(ReadDirectories, StopsAtTheFirstBadFile)
{
    const TempTree tree;
    writeFiles(tree, "first", {"a.conf", "c.conf"});
    writeFiles(tree, "second", {"d.conf", "f.conf"});
    writeFiles(tree, "third", {"g.conf"});
    const auto bad = tree.write("second/e.conf", "/\norder=e.conf\n");
    ConfigDirParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_EQ(parser.readDirectories({tree.path("first"), tree.path("second"), tree.path("third")}), Invalid);
    EXPECT_THAT(orderOf(parser), ElementsAre("a.conf", "c.conf", "d.conf"));
    auto expected = recordsOfBadFile(bad);
    expected.push_back({3, "Invalid configuration in " + bad});
    EXPECT_EQ(records.all(), expected);
}

TEST(ReadDirectories, KeepsWhatStandsBeforeTheBadLine)
{
    const TempTree tree;
    tree.write("d/a.conf", "order=before\n/\norder=after\n");
    ConfigDirParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_EQ(parser.readDirectories({tree.path("d")}), Invalid);
    EXPECT_THAT(orderOf(parser), ElementsAre("before"));
}

TEST(ReadDirectories, TakesADirectoryNamedLikeAFileForABadFile)
{
    const TempTree tree;
    writeFiles(tree, "d", {"a.conf", "c.conf"});
    tree.makeDirectory("d/b.conf");
    ConfigDirParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_EQ(parser.readDirectories({tree.path("d")}), Invalid);
    EXPECT_THAT(orderOf(parser), ElementsAre("a.conf"));
    EXPECT_THAT(records.all(), ElementsAre(Record{3, failedToLoad(tree.path("d/b.conf/"))},
                                           Record{3, "Invalid configuration in " + tree.path("d/b.conf/")}));
}
