// SPDX-License-Identifier: Apache-2.0
//
// Commands that misbehave, and a machine that starts none.
#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/substitutor.h>

#include "support/captured_records.h"
#include "support/limit_guard.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <new>

#include <sys/wait.h>

namespace {

using namespace Tovrin::Parser;
using namespace std::string_literals;
using Helpers::capture;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::LimitGuard;
using Tovrin::Testing::MemoryGuard;
using Tovrin::Testing::openDescriptors;
using Tovrin::Testing::TempTree;
using Texts = std::vector<std::string>;

TEST(Command, MayFloodWhatIsReadFromIt)
{
    int status = -1;
    EXPECT_EQ(capture("head -c 1000000000 /dev/zero", {}, &status), ""); // zero bytes, none of which is kept
    EXPECT_EQ(status, 0);
    EXPECT_EQ(capture("head -c 100000000 /dev/zero | tr '\\0' x", {}, &status).size(), 100000000U);
    EXPECT_EQ(status, 0);
}

#if TOVRIN_MEMORY_CAN_BE_LIMITED

bool anyProcessLeft()
{
    return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

TEST(Command, IsEndedWhenItsOutputDoesNotFitIntoMemory)
{
    const std::string flood = "tr '\\0' x </dev/zero";
    const TempTree tree;
    const auto path = tree.write("a.conf", "[G]\nA=1\nB=${system:" + flood + "}\n");
    const auto good = tree.write("b.conf", "[G]\nB=2\n");
    const auto before = openDescriptors();
    ConfigParser parser(ConfigParser::BadUid);
    {
        const MemoryGuard guard(64 << 20);
        EXPECT_THROW(capture(flood), std::bad_alloc);
        EXPECT_THROW(parser.readConfig(path), std::bad_alloc);
    }
    EXPECT_FALSE(anyProcessLeft());
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(parser.readConfig(good));
    std::string a, b;
    parser.getValue("G", "A", a);
    parser.getValue("G", "B", b);
    EXPECT_EQ(a + b, "12");
}

TEST(KeyFile, MayBeLargerThanMemory)
{
    const TempTree tree;
    const auto path = tree.write("a.conf", "[G]\nA=1\nB=" + std::string(100 << 20, 'x') + "\n");
    const auto good = tree.write("b.conf", "[G]\nB=2\n");
    const auto before = openDescriptors();
    ConfigParser parser(ConfigParser::BadUid);
    {
        const MemoryGuard guard(64 << 20);
        EXPECT_THROW(parser.readConfig(path), std::bad_alloc);
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(parser.readConfig(good));
    std::string a, b;
    parser.getValue("G", "A", a);
    parser.getValue("G", "B", b);
    EXPECT_EQ(a + b, "12");
}

#endif

TEST(Command, MayBeKilled)
{
    const CapturedRecords records;
    int status = 0;
    EXPECT_EQ(capture("echo a; kill -KILL $$; echo b", {}, &status), "a\n");
    EXPECT_EQ(status, SIGKILL);
    EXPECT_TRUE(records.empty());
    const Substitutor substitutor(ConfigParser::BadUid);
    std::string out;
    std::pair<std::string, std::string> reference;
    EXPECT_EQ(substitutor.resolve("system:echo a; kill -KILL $$", out, reference), 1);
    EXPECT_EQ(out, "");
}

TEST(Command, IsWaitedForWhenItClosesItsOutputEarly)
{
    const TempTree tree;
    int status = 0;
    EXPECT_EQ(capture("echo a; exec >&-; sleep 0.2; echo late >" + tree.path("late") + "; exit 3", {}, &status), "a\n");
    EXPECT_EQ(status, 3 << 8);
    EXPECT_EQ(tree.read("late"), "late\n");
}

TEST(Command, IsReadUntilItsLastChildClosesTheOutput)
{
    int status = -1;
    EXPECT_EQ(capture("(sleep 0.2; echo b) & echo a", {}, &status), "a\nb\n");
    EXPECT_EQ(status, 0);
}

// As somebody else than root, for whom the number of processes knows no limit. What failed decides the exit code.
[[noreturn]] void captureWithoutProcesses()
{
    if (getuid() == 0 && setresuid(65534, 65534, 65534) != 0)
        _exit(1);
    const LimitGuard none(RLIMIT_NPROC, 0);
    const CapturedRecords records;
    int status = 0;
    if (capture("true", {}, &status) != "" || status != -1)
        _exit(2);
    for (const int reason : {EAGAIN, ENOMEM}) { // of the kernel, and what the C library makes of it
        if (records.errors() == Texts{"Failed to execute 'true': "s + std::strerror(reason)})
            _exit(0);
    }
    _exit(3);
}

TEST(CommandDeathTest, ReportsThatNoProcessIsLeft)
{
    EXPECT_EXIT(captureWithoutProcesses(), testing::ExitedWithCode(0), "");
}

} // namespace
