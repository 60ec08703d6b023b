// SPDX-License-Identifier: Apache-2.0
//
// That the work for hostile input is bounded, counted instead of timed: by system calls, bytes read and allocations.
#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/key_file_parser.h>

#include "support/allocations.h"
#include "support/captured_records.h"
#include "support/system_calls.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace Tovrin::Parser;
using Logging::LoggerConfig;
using Tovrin::Testing::Allocations;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::SystemCalls;
using Tovrin::Testing::TempTree;

struct Work {
    std::size_t fileSize;
    std::size_t reads;
    std::size_t bytesRead;
    std::size_t allocations;
    std::size_t bytesAllocated;
};

// What reading the text takes.
Work workOfReading(const std::string &text)
{
    const TempTree tree;
    const auto path = tree.write("a.conf", text);
    ConfigParser parser(ConfigParser::BadUid);
    const SystemCalls calls;
    const Allocations allocations;
    EXPECT_TRUE(parser.readConfig(path));
    return {text.size(), calls.count(SystemCalls::Read), calls.bytesRead(), allocations.count(), allocations.bytes()};
}

std::string repeated(std::size_t count, std::string (*line)(std::size_t))
{
    std::string text = "[Group]\n";
    for (std::size_t number = 0; number < count; ++number)
        text += line(number);
    return text;
}

// Lines of all kinds that may be many.
const std::pair<const char *, std::string (*)(std::size_t)> lines[] = {
    {"new keys", [](std::size_t number) { return "Key" + std::to_string(number) + "=value\n"; }},
    {"new groups", [](std::size_t number) { return "[Group" + std::to_string(number) + "]\nKey=value\n"; }},
    {"one key", [](std::size_t) { return std::string("Key=value\n"); }},
    {"one key emptied", [](std::size_t) { return std::string("Key=value\nKey=\n"); }},
    {"lists", [](std::size_t number) { return "Key" + std::to_string(number % 10) + "=a;b;c;;\n"; }},
    {"references", [](std::size_t number) { return "Key=${config:Group" + std::to_string(number) + "/Key}\n"; }},
    {"comments", [](std::size_t) { return std::string("# comment\n\n"); }},
};

constexpr std::size_t BufferSize = 64 * 1024;

// What is read and allocated for a file grows with its size and no faster: by so much for each byte.
void expectLinear(const Work &work, const std::string &what)
{
    EXPECT_EQ(work.bytesRead, work.fileSize) << what;
    EXPECT_LE(work.reads, work.fileSize / BufferSize + 2) << what;  // the last finds the end
    EXPECT_LE(work.allocations, work.fileSize / 4000 + 60) << what; // blocks, what doubles in size, rebuilt stores
    EXPECT_LE(work.bytesAllocated, work.fileSize * 12 + 4 * BufferSize) << what;
}

TEST(Reading, GrowsLinearlyWithTheNumberOfLines)
{
    for (const auto &[what, line] : lines) {
        for (const std::size_t count : {1000U, 10000U, 100000U, 1000000U})
            expectLinear(workOfReading(repeated(count, line)), std::to_string(count) + " lines: " + what);
    }
}

std::string filled(const std::string &start, std::size_t size, const std::string &piece, const std::string &end)
{
    std::string line = start;
    while (line.size() < size)
        line += piece;
    return line + end + "\n";
}

// The buffer of a line doubles until it holds the line, which takes one read each time.
void expectLinearInLength(const Work &work, const std::string &what)
{
    EXPECT_EQ(work.bytesRead, work.fileSize) << what;
    EXPECT_LE(work.reads, work.fileSize / BufferSize + 2) << what;
    EXPECT_LE(work.allocations, work.fileSize / 10000 + 60) << what;
    EXPECT_LE(work.bytesAllocated, work.fileSize * 16 + 4 * BufferSize) << what;
}

TEST(Reading, GrowsLinearlyWithTheLengthOfALine)
{
    for (const std::size_t size : {1000U, 100000U, 1000000U, 10000000U}) {
        const auto what = std::to_string(size) + " bytes: ";
        expectLinearInLength(workOfReading(filled("Key=", size, "x", "")), what + "value");
        expectLinearInLength(workOfReading(filled("", size, "x", "=value")), what + "key");
        expectLinearInLength(workOfReading(filled("[", size, "x", "]") + "Key=value\n"), what + "group");
        expectLinearInLength(workOfReading(filled("#", size, "x", "")), what + "comment");
        expectLinearInLength(workOfReading(filled("Key=", size, "$$", "")), what + "escapes");
        expectLinearInLength(workOfReading(filled("Key=", size, " ", "x")), what + "white space");
        expectLinearInLength(workOfReading(filled("Key=", size, "item number 1;", "")), what + "items");
        expectLinearInLength(workOfReading(filled("Key=", size, "${config:Group/Key}", "")), what + "references");
    }
}

TEST(Reading, KeepsNoMemoryForLinesThatAreSkipped)
{
    const auto work = workOfReading(filled("#", 10000000, "x", "") + "Key=value\n");
    EXPECT_LE(work.bytesAllocated, 2 * BufferSize);
}

// ---- Resolving ------------------------------------------------------------------------------------------------------

constexpr std::size_t Budget = 33; // values visited for one

// Each value names the next one so many times: without a budget, resolving the first would take as many steps as that
// to the power of the depth.
std::string tower(std::size_t depth, std::size_t width)
{
    std::string text = "[T]\n";
    for (std::size_t level = 0; level < depth; ++level) {
        text += "K" + std::to_string(level) + "=";
        for (std::size_t i = 0; i < width; ++i)
            text += "${config:T/K" + std::to_string(level + 1) + "}";
        text += "\n";
    }
    return text + "K" + std::to_string(depth) + "=end\n";
}

// How many references are looked at to resolve the key. Each to a key that is not registered leaves a warning, and none
// is if one is registered after all have been read.
std::size_t referencesLookedAt(const std::string &text, const std::string &group, const std::string &key)
{
    const TempTree tree;
    ConfigParser parser(ConfigParser::BadUid);
    EXPECT_TRUE(parser.readConfig(tree.write("a.conf", text)));
    parser.addKey("Some", "Key", ConfigParser::Replace);
    const CapturedRecords records(LoggerConfig::LogWarning);
    std::string out = "before";
    parser.getValue(group, key, out);
    EXPECT_LE(out.size(), Budget * text.size());
    return records.warnings().size();
}

TEST(Resolving, VisitsNoMoreThanTheBudgetAllows)
{
    for (const std::size_t width : {1U, 2U, 3U, 10U, 1000U}) {
        for (const std::size_t depth : {5U, 32U, 33U, 34U, 1000U})
            EXPECT_LE(referencesLookedAt(tower(depth, width), "T", "K0"), Budget) << depth << " times " << width;
    }
}

// Each value of a list has a budget of its own.
TEST(Resolving, OfAListIsBoundedForEachValue)
{
    constexpr std::size_t items = 200;
    const std::string large(10000, 'x');
    std::string text = tower(34, 3) + "[L]\nLarge=" + large + "\nCopies=";
    for (std::size_t i = 0; i < items; ++i)
        text += "${config:L/Large};";
    text += "\nTowers=";
    for (std::size_t i = 0; i < items; ++i)
        text += "${config:T/K0};";
    const TempTree tree;
    ConfigParser parser(ConfigParser::BadUid);
    ASSERT_TRUE(parser.readConfig(tree.write("a.conf", text + "\n")));
    std::vector<std::string> copies, towers;
    {
        const Allocations allocations;
        parser.getValue("L", "Copies", copies);
        EXPECT_LE(allocations.bytes(), 4 * items * large.size());
    }
    EXPECT_EQ(copies, std::vector(items, large));
    parser.addKey("Some", "Key", ConfigParser::Replace);
    const CapturedRecords records(LoggerConfig::LogWarning);
    parser.getValue("L", "Towers", towers);
    EXPECT_TRUE(towers.empty()); // no tower resolves
    EXPECT_GE(records.warnings().size(), items * Budget);
    EXPECT_LE(records.warnings().size(), items * (Budget + 1) + 1); // one for the list itself
}

// The file is read again for each template: only so much is promised.
TEST(Resolving, ReadsAnEnvironmentFileOnceForEachTemplate)
{
    constexpr std::size_t items = 100;
    const TempTree tree;
    const std::string environment = "# " + std::string(10000, '-') + "\nNAME=value\n";
    const auto path = tree.write("env", environment);
    std::string text = "[G]\nK=";
    for (std::size_t i = 0; i < items; ++i)
        text += "${envfile:" + path + ":NAME}";
    const auto work = workOfReading(text + "\n");
    EXPECT_EQ(work.bytesRead, work.fileSize + items * environment.size());
    EXPECT_LE(work.bytesAllocated, 4 * items * environment.size());
}

TEST(Resolving, EndsCircles)
{
    EXPECT_EQ(referencesLookedAt("[T]\nA=${config:T/A}\n", "T", "A"), Budget);
    EXPECT_EQ(referencesLookedAt("[T]\nA=${config:T/B}${config:T/B}\nB=${config:T/A}${config:T/A}\n", "T", "A"),
              Budget);
    EXPECT_EQ(referencesLookedAt("[T]\nA=${config:T/B}\nB=${config:T/C}\nC=${config:T/A}\n", "T", "A"), Budget);
}

// References to what has no value are no visits. They are written in a value, though, which is as long.
TEST(Resolving, OfReferencesToNothingIsBoundedByTheText)
{
    std::string text = "[T]\nA=";
    for (std::size_t i = 0; i < 2 * Budget; ++i)
        text += "${config:T/B}";
    text += "\nB=";
    for (std::size_t i = 0; i < 1000; ++i)
        text += "${config:T/Absent}";
    EXPECT_LE(referencesLookedAt(text + "\n", "T", "A"), Budget * 1000 + Budget);
}

TEST(Resolving, TakesNoMoreMemoryThanItsOutput)
{
    const TempTree tree;
    ConfigParser parser(ConfigParser::BadUid);
    const std::string large(1000000, 'x');
    std::string text = "[T]\nLarge=" + large + "\nFits=";
    for (std::size_t i = 0; i < Budget - 1; ++i)
        text += "${config:T/Large}";
    text += "\nExceeds=";
    for (std::size_t i = 0; i < Budget; ++i)
        text += "${config:T/Large}";
    ASSERT_TRUE(parser.readConfig(tree.write("a.conf", text + "\n")));
    const CapturedRecords records(LoggerConfig::LogCritical);
    std::string fits, exceeds = "before";
    {
        const Allocations allocations;
        parser.getValue("T", "Fits", fits);
        EXPECT_LE(allocations.bytes(), 4 * Budget * large.size()); // doubling on the way
        EXPECT_LE(allocations.count(), 16U);
    }
    {
        const Allocations allocations;
        parser.getValue("T", "Exceeds", exceeds);
        EXPECT_LE(allocations.bytes(), 4 * Budget * large.size());
    }
    EXPECT_EQ(fits.size(), (Budget - 1) * large.size());
    EXPECT_EQ(exceeds, "");
}

} // namespace
