// SPDX-License-Identifier: Apache-2.0
#include "key_file_cursor.h"

#include "support/captured_records.h"
#include "support/temp_tree.h"

#include <tovrin/parser/key_file_parser.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Tovrin::Parser::KeyFileCursor;
using Tovrin::Parser::KeyFileParser;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::TempTree;
using Step = KeyFileCursor::Step;

// More than the reader's buffer holds.
constexpr std::size_t Long = 200 * 1024;

const std::vector<std::string> Values{"short", std::string(Long, 'v')};

// A file whose only entry is [g] k=VALUE, with this text behind it, and the cursor at that entry.
struct EntryAndMore {
    EntryAndMore(const std::string &value, const std::string &more)
        : file(tree.write("f", "[g]\nk=" + value + "\n" + more)), cursor(file)
    {
        EXPECT_EQ(cursor.seekNext(), Step::Entry);
    }

    TempTree tree;
    KeyFileParser file;
    KeyFileCursor cursor;
};

TEST(KeyFileCursor, BeginsBeforeTheFirstLine)
{
    TempTree tree;
    KeyFileParser file(tree.write("f", "[g]\nk=1\n"));
    EXPECT_EQ(KeyFileCursor(file).position(), 0);
}

TEST(KeyFileCursor, KeepsTheEntryBeforeAnUnterminatedLineHoweverLongBothAre)
{
    const CapturedRecords records;
    const std::string rest(Long, 'x');
    for (const auto &value : Values) {
        for (const std::string &line : {"#" + rest, "[" + rest + "]", "=" + rest}) {
            EntryAndMore read(value, line);
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(read.cursor.seekNext(), Step::Stay);
                EXPECT_EQ(read.cursor.key(), "k");
                EXPECT_EQ(read.cursor.value(), value);
            }
        }
    }
}

TEST(KeyFileCursor, KeepsTheEntryBeforeTheEndHoweverLongItIs)
{
    for (const auto &value : Values) {
        EntryAndMore read(value, "");
        EXPECT_EQ(read.cursor.seekNext(), Step::End);
        EXPECT_EQ(read.cursor.key(), "k");
        EXPECT_EQ(read.cursor.value(), value);
    }
}

TEST(KeyFileCursor, ReadsOnAfterALongEntryAndALongComment)
{
    for (const auto &value : Values) {
        EntryAndMore read(value, "#" + std::string(Long, 'x') + "\nl=2\n");
        EXPECT_EQ(read.cursor.seekNext(), Step::Entry);
        EXPECT_EQ(read.cursor.key(), "l");
        EXPECT_EQ(read.cursor.value(), "2");
        EXPECT_EQ(read.cursor.seekNext(), Step::End);
    }
}

TEST(KeyFileCursor, ForgetsTheEntryAtABadLine)
{
    const CapturedRecords records;
    for (const std::string &line : {"bad" + std::string(Long, 'x') + "\n", std::string("bad\n")}) {
        EntryAndMore read("v", line);
        EXPECT_EQ(read.cursor.seekNext(), Step::End);
        EXPECT_EQ(read.cursor.key(), "");
        EXPECT_EQ(read.cursor.value(), "");
        EXPECT_TRUE(read.file.error());
    }
}

TEST(KeyFileCursor, ForgetsAnEntryThatTheCallerHas)
{
    EntryAndMore read("v", "");
    read.cursor.forgetEntry();
    EXPECT_EQ(read.cursor.key(), "");
    EXPECT_EQ(read.cursor.value(), "");
    EXPECT_EQ(read.cursor.group(), "g");
}

} // namespace
