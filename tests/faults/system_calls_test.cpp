// SPDX-License-Identifier: Apache-2.0
//
// Calls of the kernel that fail where no file on disk would make them.
#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include "support/captured_records.h"
#include "support/env_guard.h"
#include "support/system_calls.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace Tovrin::Parser;
using namespace Tovrin::Parser::Logging;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::EnvGuard;
using Tovrin::Testing::SystemCalls;
using Tovrin::Testing::TempTree;
using Texts = std::vector<std::string>;

TEST(InterruptedRead, IsRepeated)
{
    const TempTree tree;
    const auto path = tree.write("a.conf", "[G]\nK=1\n");
    ConfigParser parser(ConfigParser::BadUid);
    SystemCalls calls;
    calls.fail(SystemCalls::Read, EINTR, 3);
    EXPECT_TRUE(parser.readConfig(path));
    EXPECT_EQ(calls.count(SystemCalls::Read), 5U); // three in vain, the text, the end
    EXPECT_TRUE(parser.contains("G", "K"));
}

TEST(FailedRead, FailsTheFile)
{
    const TempTree tree;
    const auto path = tree.write("a.conf", "[G]\nK=1\n");
    for (const int error : {EIO, EISDIR, ESTALE, EAGAIN}) {
        const CapturedRecords records;
        ConfigParser parser(ConfigParser::BadUid);
        {
            SystemCalls calls;
            calls.fail(SystemCalls::Read, error);
            EXPECT_FALSE(parser.readConfig(path));
        }
        EXPECT_FALSE(parser.contains("G"));
        EXPECT_EQ(records.errors(), (Texts{"Failed to load config from '" + path + "'"}));
    }
}

TEST(FailedRead, FailsTheFileInTheMiddleOfALine)
{
    const TempTree tree;
    for (const std::string start : {"L=", "#", "[", "\x01"}) {
        const auto path = tree.write("a.conf", "K=1\n" + start + std::string(200000, 'x') + "\nM=1\n");
        const CapturedRecords records;
        ConfigParser parser(ConfigParser::BadUid);
        {
            SystemCalls calls;
            calls.failAfter(SystemCalls::Read, EIO, 2);
            EXPECT_FALSE(parser.readConfig(path)) << start;
            EXPECT_EQ(calls.count(SystemCalls::Read), 3U) << start;
        }
        EXPECT_EQ(records.errors().back(), "Failed to load config from '" + path + "'");
        EXPECT_TRUE(parser.contains("", "K")) << start;
        EXPECT_FALSE(parser.contains("", "M")) << start;
    }
}

TEST(InterruptedOpen, IsRepeatedForALogFile)
{
    const TempTree tree;
    const auto config = LoggerConfig::create("faults.open", LoggerConfig::LogInfo);
    {
        SystemCalls calls;
        calls.fail(SystemCalls::Open, EINTR, 3);
        EXPECT_TRUE(config->setTarget(tree.path("log")));
        EXPECT_EQ(calls.count(SystemCalls::Open), 4U);
    }
    logInfo(config) << "text";
    EXPECT_EQ(tree.read("log"), "INFO: text\n");
    config->setTarget(LoggerConfig::Systemd);
}

TEST(InterruptedWrite, IsRepeatedForALogFile)
{
    const TempTree tree;
    const auto config = LoggerConfig::create("faults.write", LoggerConfig::LogInfo);
    ASSERT_TRUE(config->setTarget(tree.path("log")));
    SystemCalls calls;
    calls.fail(SystemCalls::Write, EINTR, 3);
    logInfo(config) << "text";
    EXPECT_EQ(calls.count(SystemCalls::Write), 4U);
    EXPECT_EQ(tree.read("log"), "INFO: text\n");
    config->setTarget(LoggerConfig::Systemd);
}

TEST(ShortWrite, IsContinuedForALogFile)
{
    const TempTree tree;
    const auto config = LoggerConfig::create("faults.write", LoggerConfig::LogInfo);
    ASSERT_TRUE(config->setTarget(tree.path("log")));
    SystemCalls calls;
    calls.shortenWrites(3);
    logInfo(config) << "text";
    EXPECT_EQ(calls.count(SystemCalls::Write), 4U);
    EXPECT_EQ(tree.read("log"), "INFO: text\n");
    config->setTarget(LoggerConfig::Systemd);
}

TEST(FailedWrite, SilencesALogFile)
{
    for (const int error : {ENOSPC, EIO, 0}) { // 0 is a write that takes nothing, and would for ever
        const TempTree tree;
        const auto config = LoggerConfig::create("faults.write", LoggerConfig::LogInfo);
        ASSERT_TRUE(config->setTarget(tree.path("log")));
        SystemCalls calls;
        calls.fail(SystemCalls::Write, error);
        logInfo(config) << "lost";
        logInfo(config) << "dropped";
        EXPECT_EQ(calls.count(SystemCalls::Write), 1U);
        EXPECT_EQ(tree.read("log"), "");
        config->setTarget(LoggerConfig::Systemd);
    }
}

// A folder other than the one that GLib remembers, so that a reading needs a profile of its own.
class OwnProfile : public testing::Test {
protected:
    static void SetUpTestSuite() { Helpers::getDconfValue("/org/tovrin/key", ConfigParser::BadUid); } // remembers

    const TempTree tree;
    const EnvGuard profile{"DCONF_PROFILE", tree.write("profile", "user-db:user\nfile-db:" + tree.path("db") + "\n")};
    const EnvGuard folder{"XDG_CONFIG_HOME", tree.makeDirectory("another")};
};

TEST_F(OwnProfile, IsWrittenOnAfterAShortWrite)
{
    SystemCalls calls;
    calls.shortenWrites(3);
    Helpers::getDconfValue("/org/tovrin/key", ConfigParser::BadUid);
    EXPECT_GE(calls.count(SystemCalls::Write), 4U);
}

TEST_F(OwnProfile, YieldsNothingWhenItCannotBeWritten)
{
    for (const auto call : {SystemCalls::MemfdCreate, SystemCalls::Write}) {
        SystemCalls calls;
        calls.fail(call, ENOSPC);
        EXPECT_EQ(Helpers::getDconfValue("/org/tovrin/key", ConfigParser::BadUid), "");
        EXPECT_EQ(calls.count(SystemCalls::MemfdCreate), 1U);
        EXPECT_EQ(calls.count(SystemCalls::Write), 1U); // in vain, in either way
    }
    EXPECT_EQ(Helpers::getenv2("DCONF_PROFILE", ""), tree.path("profile"));
}

} // namespace
