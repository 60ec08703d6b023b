// SPDX-License-Identifier: Apache-2.0
#include "support/captured_records.h"
#include "support/limit_guard.h"

#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

namespace {

using namespace std::string_literals;
using Tovrin::Parser::Helpers::capture;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::LimitGuard;

using Record = CapturedRecords::Record;
using Records = std::vector<Record>;

TEST(Capture, ReturnsTheOutputUntrimmed)
{
    const CapturedRecords records;
    int status = 42;
    EXPECT_EQ(capture("printf ' a\\n\\n'", {}, &status), " a\n\n");
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(records.empty());
}

TEST(Capture, AppendsEachArgumentInSingleQuotes)
{
    int status = 42;
    EXPECT_EQ(capture("echo", {"a b"}, &status), "a b\n");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(capture("printf '<%s>'", {"a  b", "", "$HOME", "\"c\""}), "<a  b><><$HOME><\"c\">");
}

TEST(Capture, NeedsNeitherArgumentsNorStatus)
{
    EXPECT_EQ(capture("echo a"), "a\n");
    EXPECT_EQ(capture("true"), "");
}

TEST(Capture, LeavesStandardErrorAlone)
{
    EXPECT_EQ(capture("echo a; echo b 2>/dev/null >&2"), "a\n");
}

TEST(Capture, ReturnsOutputLongerThanOnePiece)
{
    const auto output = capture("i=0; while [ $i -lt 500 ]; do echo $i; i=$((i+1)); done; printf %05000d 7");
    EXPECT_EQ(output.substr(0, 6), "0\n1\n2\n");
    EXPECT_EQ(output.size(), 10u * 2 + 90 * 3 + 400 * 4 + 5000);
    EXPECT_EQ(output.substr(output.size() - 3), "007");
}

TEST(Capture, LosesWhatFollowsANulByteInALine)
{
    EXPECT_EQ(capture("printf 'a\\0b\\nc\\n'"), "ac\n");
}

TEST(Capture, WarnsOfAnExitCodeAsOneCharacter)
{
    const CapturedRecords records;
    int status = 0;
    EXPECT_EQ(capture("echo a; exit 3", {}, &status), "a\n");
    EXPECT_EQ(status, 768);
    EXPECT_EQ(records.all(), (Records{{4, "echo a; exit 3 exited with non-zero status: \x03"}}));
}

TEST(Capture, NamesTheCommandWithoutItsArguments)
{
    const CapturedRecords records;
    int status = 0;
    capture("sh -c", {"exit 65"}, &status);
    EXPECT_EQ(status, 65 * 256);
    EXPECT_EQ(records.all(), (Records{{4, "sh -c exited with non-zero status: A"}}));
}

TEST(Capture, WarnsOfACommandThatDoesNotExist)
{
    const CapturedRecords records;
    int status = 0;
    EXPECT_EQ(capture("exec 2>/dev/null; tovrin-no-such-command", {}, &status), "");
    EXPECT_EQ(status, 127 * 256);
    EXPECT_EQ(records.warnings(),
              std::vector{"exec 2>/dev/null; tovrin-no-such-command exited with non-zero status: \x7f"s});
}

TEST(Capture, StoresTheSignalThatEndedTheCommandWithoutARecord)
{
    const CapturedRecords records;
    int status = 0;
    EXPECT_EQ(capture("kill -9 $$", {}, &status), "");
    EXPECT_EQ(status, 9);
    EXPECT_TRUE(records.empty());
}

TEST(Capture, ReportsAShellThatCannotBeStarted)
{
    const CapturedRecords records;
    int status = 0;
    {
        const LimitGuard none(RLIMIT_NOFILE, 0);
        EXPECT_EQ(capture("echo", {"a"}, &status), "");
    }
    EXPECT_EQ(status, -1);
    EXPECT_EQ(records.all(), (Records{{3, "Failed to execute 'echo': "s + std::strerror(EMFILE)}}));
}

TEST(Capture, ReportsAStatusThatCannotBeHad)
{
    const CapturedRecords records;
    int status = 0;
    const auto former = std::signal(SIGCHLD, SIG_IGN); // the kernel then keeps no status of children
    EXPECT_EQ(capture("echo", {"a"}, &status), "a\n");
    std::signal(SIGCHLD, former);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(records.all(), (Records{{3, "echo pclose() exited with failure: "s + std::strerror(ECHILD)}}));
}

} // namespace
