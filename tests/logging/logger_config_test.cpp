// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/logging.h>

#include "support/captured_records.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <stdexcept>

namespace {

using namespace Tovrin::Parser::Logging;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::TempTree;

// An identity that no other test uses, since configurations are never removed.
std::string freshIdent()
{
    static int count = 0;
    return "test.logger-config." + std::to_string(++count);
}

TEST(LoggerConfig, StartsWithTheGivenLevelAndTheJournal)
{
    const LoggerConfig config("test.ident", LoggerConfig::LogInfo);
    EXPECT_STREQ(config.ident(), "test.ident");
    EXPECT_EQ(config.target(), LoggerConfig::Systemd);
    EXPECT_TRUE(config.enabled(LoggerConfig::LogInfo));
    EXPECT_FALSE(config.enabled(LoggerConfig::LogDebug));
}

TEST(LoggerConfig, OfTheLibraryWarnsToTheJournal)
{
    EXPECT_STREQ(lConfigParser->ident(), "com.quenby.tovrin.lib.ConfigParser");
    EXPECT_EQ(lConfigParser, LoggerConfig::instance("com.quenby.tovrin.lib.ConfigParser"));
    EXPECT_EQ(lConfigParser->target(), LoggerConfig::Systemd);
    EXPECT_TRUE(lConfigParser->enabled(LoggerConfig::LogWarning));
    EXPECT_FALSE(lConfigParser->enabled(LoggerConfig::LogInfo));
}

TEST(LoggerConfig, NumbersTargetsAsTheInterfaceDoes)
{
    EXPECT_EQ(static_cast<int>(LoggerConfig::Systemd), 0);
    EXPECT_EQ(static_cast<int>(LoggerConfig::Stdout), 1);
    EXPECT_EQ(static_cast<int>(LoggerConfig::Stderr), 2);
    EXPECT_EQ(static_cast<int>(LoggerConfig::File), 3);
}

TEST(LoggerConfig, CopiesItsIdentity)
{
    std::string ident = "test.copied";
    const LoggerConfig config(ident.c_str(), LoggerConfig::LogInfo);
    ident.assign(ident.size(), 'x');
    EXPECT_STREQ(config.ident(), "test.copied");
}

TEST(LoggerConfig, ComparesLevelsAsSignedNumbers)
{
    LoggerConfig config("test.signed", LoggerConfig::LogInfo);
    const struct {
        int configured, asked;
        bool enabled;
    } rows[] = {{2, 2, true},
                {2, 3, false},
                {2, 1, true},
                {0, -1, true},
                {-1, 0, false},
                {-1, -1, true},
                {100, 99, true},
                {4, 100, false},
                {INT_MIN, INT_MAX, false},
                {INT_MAX, INT_MIN, true}};
    for (const auto &row : rows) {
        EXPECT_TRUE(config.setLevel(static_cast<LoggerConfig::Level>(row.configured)));
        EXPECT_EQ(config.enabled(static_cast<LoggerConfig::Level>(row.asked)), row.enabled)
            << row.asked << " at " << row.configured;
    }
}

TEST(LoggerConfig, IsNotRegisteredByItsConstructor)
{
    const LoggerConfig config("test.unregistered", LoggerConfig::LogInfo);
    EXPECT_EQ(LoggerConfig::instance("test.unregistered"), nullptr);
}

TEST(LoggerConfig, AcceptsIdentitiesOfTheAllowedCharacters)
{
    for (const char *ident : {"a.b", "-._", "A.z-9_", ".", "..", "com.example.Daemon_2"})
        EXPECT_STREQ(LoggerConfig::create(ident, LoggerConfig::LogInfo)->ident(), ident);
}

TEST(LoggerConfigDeathTest, StopsTheProcessForAnInvalidIdentity)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const char *ident : {"", "nodots", "a b.c", "a.b ", "a/b.c", "a.b=", "a.b;", "\xc3\xa4.b", "a.b\n"}) {
        EXPECT_DEATH(LoggerConfig::create(ident, LoggerConfig::LogInfo),
                     ": src/logging/logger_config\\.cpp:[0-9]+: .*Assertion `identIsValid\\(ident\\)' failed")
            << "'" << ident << "'";
    }
}

// Each in a process that is only a copy of this one: there are many.
TEST(LoggerConfigDeathTest, RefusesEachByteThatIsNoLetterDigitOrOneOfThree)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    for (int byte = 1; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const auto ident = std::string("test.byte") + c;
        if (byte < 128 && (std::isalnum(byte) || c == '-' || c == '.' || c == '_'))
            EXPECT_EQ(LoggerConfig::create(ident.c_str(), LoggerConfig::LogInfo)->ident(), ident);
        else
            EXPECT_DEATH(LoggerConfig::create(ident.c_str(), LoggerConfig::LogInfo), "identIsValid") << byte;
    }
}

TEST(LoggerConfig, ThrowsForANullIdentity)
{
    EXPECT_THROW(LoggerConfig::create(nullptr, LoggerConfig::LogInfo), std::logic_error);
    EXPECT_THROW(LoggerConfig(nullptr, LoggerConfig::LogInfo), std::logic_error);
    EXPECT_THROW(LoggerConfig::instance(nullptr), std::logic_error);
}

TEST(LoggerConfig, IsFoundByItsExactIdentity)
{
    const auto config = LoggerConfig::create("test.Exact", LoggerConfig::LogInfo);
    EXPECT_EQ(LoggerConfig::instance("test.Exact"), config);
    for (const char *ident : {"test.exact", "test.Exac", "test.Exact.", "", "no.such"})
        EXPECT_EQ(LoggerConfig::instance(ident), nullptr) << ident;
}

TEST(LoggerConfig, LivesOnWithoutAHandle)
{
    const std::string ident = freshIdent();
    const std::weak_ptr<LoggerConfig> config = LoggerConfig::create(ident.c_str(), LoggerConfig::LogDebug);
    ASSERT_FALSE(config.expired());
    EXPECT_EQ(LoggerConfig::instance(ident.c_str()), config.lock());
}

TEST(LoggerConfig, IsReusedWithTheLatestLevelAndItsTarget)
{
    const std::string ident = freshIdent();
    const auto first = LoggerConfig::create(ident.c_str(), LoggerConfig::LogError);
    first->setTarget(LoggerConfig::Stdout);
    EXPECT_EQ(LoggerConfig::create(ident.c_str(), LoggerConfig::LogInfo), first);
    EXPECT_TRUE(first->enabled(LoggerConfig::LogInfo));
    EXPECT_FALSE(first->enabled(LoggerConfig::LogDebug));
    EXPECT_EQ(first->target(), LoggerConfig::Stdout);
}

TEST(LoggerConfig, WarnsOfReuseByItsFormerLevel)
{
    const struct {
        LoggerConfig::Level former, latest;
        bool warns;
    } rows[] = {{LoggerConfig::LogWarning, LoggerConfig::LogCritical, true},
                {LoggerConfig::LogDebug, LoggerConfig::LogError, true},
                {LoggerConfig::LogError, LoggerConfig::LogDebug, false}};
    for (const auto &row : rows) {
        const std::string ident = freshIdent();
        LoggerConfig::create(ident.c_str(), row.former);
        const CapturedRecords records;
        LoggerConfig::create(ident.c_str(), row.latest);
        std::vector<CapturedRecords::Record> expected;
        if (row.warns)
            expected.push_back({4, "Reusing logger for identity: " + ident});
        EXPECT_EQ(records.all(), expected) << "from " << row.former << " to " << row.latest;
    }
}

TEST(LoggerConfig, WritesNoIdentityOrTimeBesideTheMessage)
{
    const TempTree tree;
    const std::string ident = freshIdent();
    LoggerConfig::create(ident.c_str(), LoggerConfig::LogWarning)->setTarget(tree.path("log"));
    LoggerConfig::create(ident.c_str(), LoggerConfig::LogWarning);
    EXPECT_EQ(tree.read("log"), "WARNING: Reusing logger for identity: " + ident + "\n");
}

} // namespace
