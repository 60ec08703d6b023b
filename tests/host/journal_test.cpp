// SPDX-License-Identifier: Apache-2.0
#include "host/journal.h"
#include "host/private_host.h"
#include "support/temp_tree.h"

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/logging.h>

#include <cerrno>
#include <optional>

namespace {

using namespace std::string_literals;
using namespace Tovrin::Parser::Logging;
using Tovrin::Testing::Journal;
using Tovrin::Testing::JournalEntry;
using Tovrin::Testing::MissingJournal;
using Tovrin::Testing::PrivateHost;

class JournalOfTheHost : public PrivateHost {
protected:
    void SetUp() override
    {
        PrivateHost::SetUp();
        if (!IsSkipped())
            journal_.emplace();
    }

    // The message of the one record that a text makes.
    std::string messageOf(const std::string &text)
    {
        logError(config_) << text;
        const auto entries = journal_->newEntries();
        return entries.size() == 1 ? entries[0].at("MESSAGE") : std::to_string(entries.size()) + " records";
    }

    const std::shared_ptr<LoggerConfig> config_ =
        std::make_shared<LoggerConfig>("test.journal", LoggerConfig::LogDebug);
    std::optional<Journal> journal_;
};

TEST_F(JournalOfTheHost, GetsEachLevelAtItsPriority)
{
    logCritical(config_) << "critical";
    logError(config_) << "error";
    logWarning(config_) << "warning";
    logInfo(config_) << "info";
    logDebug(config_) << "debug";
    std::vector<std::pair<std::string, std::string>> found;
    for (const auto &entry : journal_->newEntries())
        found.emplace_back(entry.at("PRIORITY"), entry.at("MESSAGE"));
    EXPECT_EQ(found, (std::vector<std::pair<std::string, std::string>>{
                         {"2", "critical"}, {"3", "error"}, {"4", "warning"}, {"6", "info"}, {"7", "debug"}}));
}

// Neither a level word nor a place in the source; the name of the program is libsystemd's doing.
TEST_F(JournalOfTheHost, GetsTheMessageAlone)
{
    logWarning(config_) << "a message of " << '3' << " parts"s;
    EXPECT_EQ(journal_->newEntries(),
              (std::vector<JournalEntry>{{{"MESSAGE", "a message of 3 parts"},
                                          {"PRIORITY", "4"},
                                          {"SYSLOG_IDENTIFIER", program_invocation_short_name}}}));
}

TEST_F(JournalOfTheHost, KeepsEveryByteOfAMessage)
{
    std::string everyByte;
    for (int byte = 1; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    for (const auto &text :
         {"100 % of %s, %n and %d"s, "%"s, "two\nlines"s, "\n\n  after newlines and spaces"s, "PRIORITY=0"s,
          "a\nPRIORITY=0\nb"s, "\xc3\xa4\xe2\x82\xac"s, "\xe8"s, "\xff\xfe"s, "\x1b[31m"s, everyByte})
        EXPECT_EQ(messageOf(text), text);
}

TEST_F(JournalOfTheHost, GetsLongMessagesWhole)
{
    for (const std::size_t size : {1000u, 2047u, 2048u, 2049u, 8192u, 65536u}) {
        std::string text;
        while (text.size() < size)
            text += "line " + std::to_string(text.size()) + '\n';
        text.back() = '.';
        EXPECT_TRUE(messageOf(text) == text) << size;
    }
}

// Beyond what a datagram may hold for other users than root: libsystemd then passes a file. From 1 MiB on it drops the
// message.
TEST_F(JournalOfTheHost, GetsVeryLongMessagesWhole)
{
    const std::string text(1'000'000, 'x');
    EXPECT_TRUE(messageOf(text) == text);
}

// The journal takes texts that end at a zero byte, so what follows one is lost; the other targets keep it.
TEST_F(JournalOfTheHost, EndsAMessageAtAZeroByte)
{
    EXPECT_EQ(messageOf("before\0after"s), "before");
    logError(config_) << "before" << '\0' << "after";
    EXPECT_EQ(journal_->newEntries().at(0).at("MESSAGE"), "before");
}

// Libsystemd's doing, as is the next one.
TEST_F(JournalOfTheHost, DropsWhiteSpaceAtTheEndOfAMessage)
{
    EXPECT_EQ(messageOf(" text \t\r\n \n"), " text");
}

TEST_F(JournalOfTheHost, GetsNoRecordWithoutAnyText)
{
    for (const auto &text : {""s, " \n"s, "\0after"s})
        EXPECT_EQ(messageOf(text), "0 records") << testing::PrintToString(text);
}

TEST_F(JournalOfTheHost, GetsNothingBelowTheLevel)
{
    config_->setLevel(LoggerConfig::LogWarning);
    logInfo(config_) << "not sent";
    EXPECT_EQ(journal_->newEntries(), std::vector<JournalEntry>());
}

TEST_F(JournalOfTheHost, GetsTheRawByteOfALineNumber)
{
    const Tovrin::Testing::TempTree tree;
    const auto path = tree.write("bad.conf", std::string(199, '\n') + "bad line\n");
    Tovrin::Parser::ConfigParser parser(Tovrin::Parser::ConfigParser::BadUid);
    EXPECT_FALSE(parser.readConfig(path));
    EXPECT_EQ(journal_->newEntries().at(0).at("MESSAGE"),
              "Could not parse line as key in " + path + " (\xc8): 'bad line'");
}

TEST_F(JournalOfTheHost, MayBeMissing)
{
    {
        const MissingJournal missing;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        errno = E2BIG;
        logCritical(config_) << "lost";
        EXPECT_EQ(errno, E2BIG);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    EXPECT_EQ(messageOf("back again"), "back again");
}

} // namespace
