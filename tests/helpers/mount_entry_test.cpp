// SPDX-License-Identifier: Apache-2.0
#include "support/captured_records.h"

#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

namespace {

using Tovrin::Parser::Helpers::validMountEntry;
using Tovrin::Testing::CapturedRecords;

using Rows = std::vector<std::pair<std::string, std::string>>;

// Each entry is rejected with one error record: the text, and the entry behind it.
void expectRejected(const Rows &rows)
{
    for (const auto &[entry, text] : rows) {
        const CapturedRecords records;
        EXPECT_FALSE(validMountEntry(entry)) << entry;
        EXPECT_EQ(records.all(), (std::vector<CapturedRecords::Record>{{3, text + entry}})) << entry;
    }
}

TEST(MountEntry, AcceptsEverySourceAndType)
{
    for (const std::string entry : {"/data /mnt/data none bind 0 0", "tmpfs /tmp tmpfs mode=755 0 0",
                                    "none /dev/pts devpts ptmxmode=666 0 0", "/ x none y 0 0"}) {
        const CapturedRecords records;
        EXPECT_TRUE(validMountEntry(entry)) << entry;
        EXPECT_TRUE(records.empty()) << entry;
    }
}

TEST(MountEntry, HasNoRuleForMountPointAndOptions)
{
    const CapturedRecords records;
    EXPECT_TRUE(validMountEntry("/a  none  0 0"));
    EXPECT_TRUE(records.empty());
}

TEST(MountEntry, IgnoresOneTrailingSpace)
{
    const CapturedRecords records;
    EXPECT_TRUE(validMountEntry("/a /b none bind 0 0 "));
    EXPECT_TRUE(records.empty());
}

TEST(MountEntry, RejectsAnyNumberOfPartsButSix)
{
    const std::string text = "Not enough parts in mount entry: ";
    expectRejected({{"", text},
                    {"/a", text},
                    {"/a /b none bind 0", text},
                    {"/a /b none bind 0 0 x", text},
                    {"/a  /b none bind 0 0", text},
                    {" /a /b none bind 0 0", text},
                    {"/a /b none bind 0 0  ", text},
                    {"/a\t/b none bind 0 0", text}});
}

TEST(MountEntry, RejectsAnUnknownSource)
{
    const std::string text = "Mount entry must begin with '/' or be 'tmpfs' or 'none': ";
    expectRejected({{"proc /proc none bind 0 0", text},
                    {"TMPFS /tmp tmpfs x 0 0", text},
                    {"tmpfs2 /tmp tmpfs x 0 0", text},
                    {" /b none bind 0 0", text}});
}

TEST(MountEntry, RejectsAnUnknownTypeWithoutOfferingDevpts)
{
    const auto text = [](const std::string &type) {
        return "File system type must be 'none' or 'tmpfs' instead of '" + type + "' in mount entry: ";
    };
    expectRejected(
        {{"/a /b ext4 ro 0 0", text("ext4")}, {"/a /b None ro 0 0", text("None")}, {"/a /b  ro 0 0", text("")}});
}

TEST(MountEntry, RejectsADumpValueOtherThanZero)
{
    expectRejected({{"/a /b none bind 1 0", "Dump value must be '0' instead of '1' in mount entry: "},
                    {"/a /b none bind 00 0", "Dump value must be '0' instead of '00' in mount entry: "},
                    {"/a /b none bind  0", "Dump value must be '0' instead of '' in mount entry: "}});
}

TEST(MountEntry, RejectsAPassValueOtherThanZero)
{
    expectRejected({{"/a /b none bind 0 1", "Backup value must be '0' instead of '1' in mount entry: "},
                    {"/a /b none bind 0 0\n", "Backup value must be '0' instead of '0\n' in mount entry: "}});
}

TEST(MountEntry, ReportsTheFirstBrokenRuleAlone)
{
    expectRejected({{"a b c d e", "Not enough parts in mount entry: "},
                    {"a b c d e f", "Mount entry must begin with '/' or be 'tmpfs' or 'none': "},
                    {"/a b c d e f", "File system type must be 'none' or 'tmpfs' instead of 'c' in mount entry: "},
                    {"/a b none d e f", "Dump value must be '0' instead of 'e' in mount entry: "}});
}

} // namespace
