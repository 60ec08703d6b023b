// SPDX-License-Identifier: Apache-2.0
//
// What reading and asking may cost at most: allocations, calls of the kernel, memory.
#include <tovrin/parser/config_parser.h>

#include "support/allocations.h"
#include "support/limit_guard.h"
#include "support/parsers.h"
#include "support/system_calls.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Tovrin::Parser::ConfigParser;
using Tovrin::Testing::Allocations;
using Tovrin::Testing::MemoryGuard;
using Tovrin::Testing::parserOf;
using Tovrin::Testing::SystemCalls;
using Tovrin::Testing::TempTree;

constexpr std::size_t LibraryBuffer = 64 * 1024;

// None of the texts fits into a std::string itself.
const std::string Entries = "[G]\n"
                            "text=a text that is longer than a short one\n"
                            "int=00000000000000000042\n"
                            "double=1.5000000000000000000\n"
                            "bool=true\n"
                            "texts=one;two;three\n"
                            "ints=00000000000000000001;00000000000000000002;3\n"
                            "text-by-reference=${config:G/text}\n"
                            "int-by-reference=${config:G/int}\n"
                            "double-by-reference=${config:G/double}\n"
                            "bool-by-reference=${config:G/bool}\n"
                            "ints-by-reference=${config:G/int};${config:G/int};3\n";

std::size_t allocationsOf(const std::function<void()> &work)
{
    const Allocations allocations;
    work();
    return allocations.count();
}

// How often the getter allocates that takes this key's value as a T.
template <typename T> std::size_t allocationsToGet(const ConfigParser &parser, const std::string &key)
{
    const std::string group = "G";
    T value{};
    return allocationsOf([&] { parser.getValue(group, key, value); });
}

TEST(Getter, AllocatesNothingForAScalar)
{
    const auto parser = parserOf(Entries);
    for (const std::string suffix : {"", "-by-reference"}) {
        EXPECT_EQ(allocationsToGet<int>(parser, "int" + suffix), 0U) << suffix;
        EXPECT_EQ(allocationsToGet<long long>(parser, "int" + suffix), 0U) << suffix;
        EXPECT_EQ(allocationsToGet<double>(parser, "double" + suffix), 0U) << suffix;
        EXPECT_EQ(allocationsToGet<bool>(parser, "bool" + suffix), 0U) << suffix;
    }
}

TEST(Getter, AllocatesNothingButItsResult)
{
    const auto parser = parserOf(Entries);
    EXPECT_EQ(allocationsToGet<std::string>(parser, "text"), 1U);
    EXPECT_EQ(allocationsToGet<std::vector<std::string>>(parser, "texts"), 1U);
    EXPECT_EQ(allocationsToGet<std::vector<std::string>>(parser, "text-by-reference"), 2U); // the list, and its text
    EXPECT_EQ(allocationsToGet<std::vector<int>>(parser, "ints"), 1U);
    EXPECT_EQ(allocationsToGet<std::vector<int>>(parser, "ints-by-reference"), 1U);
}

TEST(Getter, AllocatesNothingForAnAbsentKey)
{
    const auto parser = parserOf(Entries);
    EXPECT_EQ(allocationsToGet<std::string>(parser, "absent"), 0U);
    EXPECT_EQ(allocationsToGet<int>(parser, "absent"), 0U);
}

TEST(Question, AllocatesNothingAboutARegisteredKey)
{
    ConfigParser parser(ConfigParser::BadUid);
    const std::string group = "a group with a long name";
    const std::string key = "a key with a long name";
    parser.addKey(group, key, ConfigParser::Replace);
    EXPECT_EQ(allocationsOf([&] {
                  parser.checkKey(group, key);
                  parser.contains(group, key);
                  parser.contains(group);
              }),
              0U);
}

TEST(Reading, OpensAFileOnceAndReadsItByTheBuffer)
{
    std::string text;
    while (text.size() < 20 * LibraryBuffer)
        text += "[G]\n# comment\nkey=${config:G/other};two\n\n";
    TempTree tree;
    const auto path = tree.write("a.conf", text);
    ConfigParser parser(ConfigParser::BadUid);
    const SystemCalls calls;
    EXPECT_TRUE(parser.readConfig(path));
    EXPECT_EQ(calls.count(SystemCalls::Open), 1U);
    EXPECT_LE(calls.count(SystemCalls::Read), text.size() / LibraryBuffer + 3);
    EXPECT_EQ(calls.bytesRead(), text.size());
}

#if TOVRIN_MEMORY_CAN_BE_LIMITED

// The buffer grows by doubling, so the line needs up to three times its size for a moment, and twice and once more when
// the value is stored: a further copy, at whatever time, would not fit.
TEST(Reading, NeedsMemoryForTheStoreTheBufferAndTheLineOnly)
{
    constexpr std::size_t size = 48 << 20; // below a power of two, which the buffer grows to
    TempTree tree;
    for (const std::string behind : {"", "l=1\n# comment\n"}) {
        const auto path = tree.write("a.conf", "[G]\nk=" + std::string(size, 'x') + "\n" + behind);
        ConfigParser parser(ConfigParser::BadUid);
        const MemoryGuard guard((64 + 48 + 24) << 20);
        EXPECT_NO_THROW(EXPECT_TRUE(parser.readConfig(path))) << behind;
    }
}

#endif

} // namespace
