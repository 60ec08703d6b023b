// SPDX-License-Identifier: Apache-2.0
#include "support/temp_tree.h"

#include <tovrin/parser/helpers.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace Tovrin::Parser::Helpers;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Tovrin::Testing::TempTree;

namespace fs = std::filesystem;

TEST(Basename2, IsThePartBehindTheLastSlash)
{
    EXPECT_EQ(basename2("a/b"), "b");
    EXPECT_EQ(basename2("a/b/"), "");
    EXPECT_EQ(basename2("b"), "b");
    EXPECT_EQ(basename2("/"), "");
    EXPECT_EQ(basename2(""), "");
}

TEST(Dirpath, IsThePartBeforeTheLastSlash)
{
    const std::vector<std::pair<std::string, std::string>> table = {
        {"file", "."},  {"", "."},       {"/file", "/"}, {"/", "/"},   {"//", "/"},
        {"/a/b", "/a"}, {"a/b/", "a/b"}, {"a//b", "a/"}, {"//a", "/"}, {"./a", "."},
    };
    for (const auto &[path, expected] : table)
        EXPECT_EQ(dirpath(path), expected) << path;
}

TEST(FileExists, CountsFilesAndDirectories)
{
    const TempTree tree;
    EXPECT_TRUE(fileExists(tree.root()));
    EXPECT_TRUE(fileExists(tree.write("file", "")));
    EXPECT_FALSE(fileExists(tree.path("absent")));
    EXPECT_FALSE(fileExists(tree.path("file/below")));
    EXPECT_FALSE(fileExists(""));
}

TEST(FileExists, FollowsLinks)
{
    const TempTree tree;
    fs::create_symlink(tree.write("file", ""), tree.path("link"));
    fs::create_symlink(tree.path("absent"), tree.path("dangling"));
    EXPECT_TRUE(fileExists(tree.path("link")));
    EXPECT_FALSE(fileExists(tree.path("dangling")));
}

TEST(Realpath2, ResolvesLinksAndDots)
{
    const TempTree tree;
    const auto file = fs::canonical(tree.write("a/file", "")).string();
    fs::create_directory_symlink("a", tree.path("link"));
    EXPECT_EQ(realpath2(tree.path("link/../a/./file")), file);
    EXPECT_EQ(realpath2(tree.path("link/file")), file);
    EXPECT_EQ(realpath2("/"), "/");
}

TEST(Realpath2, MakesARelativePathAbsolute)
{
    EXPECT_EQ(realpath2("."), fs::current_path().string());
}

TEST(Realpath2, IsEmptyForWhatDoesNotExist)
{
    const TempTree tree;
    fs::create_symlink("loop", tree.path("loop"));
    EXPECT_EQ(realpath2(tree.path("absent")), "");
    EXPECT_EQ(realpath2(tree.path("loop")), "");
    EXPECT_EQ(realpath2(""), "");
    EXPECT_EQ(realpath2(std::string(10000, 'a')), "");
}

TEST(Glob2, FindsWhatThePatternMatches)
{
    const TempTree tree;
    const auto first = tree.write("b.conf", "");
    const auto second = tree.write("a.conf", "");
    tree.write("a.txt", "");
    tree.write(".hidden.conf", "");
    EXPECT_THAT(glob2(tree.path("*.conf")), UnorderedElementsAre(first, second));
}

TEST(Glob2, MarksDirectories)
{
    const TempTree tree;
    tree.makeDirectory("a.conf");
    EXPECT_THAT(glob2(tree.path("*.conf")), UnorderedElementsAre(tree.path("a.conf/")));
}

TEST(Glob2, IsEmptyWithoutAMatch)
{
    const TempTree tree;
    EXPECT_THAT(glob2(tree.path("*.conf")), IsEmpty());
    EXPECT_THAT(glob2(tree.path("absent/*.conf")), IsEmpty());
    EXPECT_THAT(glob2(""), IsEmpty());
}

} // namespace
