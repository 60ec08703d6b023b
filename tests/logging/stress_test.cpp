// SPDX-License-Identifier: Apache-2.0
//
// Logging from many threads at once. Half of what these tests check is checked by ThreadSanitizer, when they are built
// with it.
#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/logging.h>

#include "support/captured_stream.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <thread>

#include <sys/stat.h>

namespace {

using namespace Tovrin::Parser::Logging;
using namespace Tovrin::Parser::Logging::Types;
using Tovrin::Testing::CapturedStream;
using Tovrin::Testing::TempTree;

constexpr int ThreadCount = 8;
constexpr int RecordsPerThread = 20000;

void inThreads(int count, const std::function<void(int)> &work)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < count; ++thread)
        threads.emplace_back(work, thread);
    for (auto &thread : threads)
        thread.join();
}

void logRecords(const std::shared_ptr<LoggerConfig> &config, int thread)
{
    for (int record = 0; record < RecordsPerThread; ++record)
        logInfo(config) << "thread " << thread << " record " << record << " end";
}

// Reads one line that logRecords() wrote; false for any other text.
bool readLine(const std::string &line, int &thread, int &record)
{
    int end = 0;
    return std::sscanf(line.c_str(), "INFO: thread %d record %d end%n", &thread, &record, &end) == 2 &&
           static_cast<std::size_t>(end) == line.size();
}

// The number of lines in the file, each of them a whole record.
int countWholeLines(const std::string &path)
{
    std::ifstream file(path);
    EXPECT_TRUE(file.is_open()) << path;
    int lines = 0, thread = 0, record = 0;
    for (std::string line; std::getline(file, line); ++lines)
        EXPECT_TRUE(readLine(line, thread, record)) << "'" << line << "' in " << path;
    return lines;
}

TEST(LoggingThreads, LoseNoLineOfAFileAndBreakNone)
{
    const TempTree tree;
    const auto config = LoggerConfig::create("stress.file", LoggerConfig::LogInfo);
    ASSERT_TRUE(config->setTarget(tree.path("log")));
    inThreads(ThreadCount, [&config](int thread) { logRecords(config, thread); });

    std::vector<int> next(ThreadCount, 0);
    std::ifstream file(tree.path("log"));
    int thread = 0, record = 0;
    for (std::string line; std::getline(file, line); ++next[static_cast<std::size_t>(thread)]) {
        ASSERT_TRUE(readLine(line, thread, record)) << "'" << line << "'";
        ASSERT_EQ(record, next.at(static_cast<std::size_t>(thread))) << "'" << line << "'";
    }
    EXPECT_EQ(next, std::vector<int>(ThreadCount, RecordsPerThread));
}

TEST(LoggingThreads, KeepLinesWholeThatAPipeTakesInPieces)
{
    constexpr int count = 40;
    const std::string text(20000, 'x'); // far more than a pipe takes at once
    const TempTree tree;
    const std::string path = tree.path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread reader([&] {
        std::ifstream pipe(path);
        int lines = 0;
        for (std::string line; std::getline(pipe, line); ++lines)
            ASSERT_EQ(line, "INFO: " + text);
        EXPECT_EQ(lines, ThreadCount * count);
    });
    const auto config = LoggerConfig::create("stress.pipe", LoggerConfig::LogInfo);
    ASSERT_TRUE(config->setTarget(path));
    inThreads(ThreadCount, [&](int) {
        for (int i = 0; i < count; ++i)
            logInfo(config) << text;
    });
    config->setTarget(LoggerConfig::Systemd); // the end of the file for the reader
    reader.join();
}

// Takes everything and keeps no state, so that it may be written to from many threads.
class SinkBuffer : public std::streambuf {
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char *, std::streamsize size) override { return size; }
};

TEST(LoggingThreads, MayLogWhileTargetsLevelsAndTheRegistryChange)
{
    const TempTree tree;
    const CapturedStream restored(std::cout);
    SinkBuffer sink;
    std::cout.rdbuf(&sink);
    const auto config = LoggerConfig::create("stress.changing", LoggerConfig::LogInfo);
    std::atomic<int> rounds = 0;
    std::atomic<bool> stop = false;
    int lines = 0;
    std::thread changer([&] {
        for (; !stop; ++rounds) {
            config->setTarget(tree.path("log"));
            config->setLevel(LoggerConfig::LogDebug);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            config->setTarget("stdout");
            lines += countWholeLines(tree.path("log")); // nothing is written to it any more
            config->setLevel(LoggerConfig::LogCritical);
            config->setTarget(LoggerConfig::Systemd);
            config->setLevel("info");
            LoggerConfig::create(("stress.changing." + std::to_string(rounds)).c_str(), LoggerConfig::LogInfo);
        }
    });
    inThreads(ThreadCount, [&](int thread) {
        do {
            logRecords(config, thread);
        } while (rounds < 50);
    });
    stop = true;
    changer.join();
    EXPECT_GT(lines, 0);
    EXPECT_NE(LoggerConfig::instance("stress.changing.49"), nullptr);
}

TEST(LoggingThreads, MaySetUpLoggingMeanwhile)
{
    const auto config = LoggerConfig::create("stress.setup", LoggerConfig::LogWarning);
    config->setTarget("/dev/null");
    inThreads(4, [&config](int thread) {
        for (int i = 0; i < 200; ++i) {
            if (thread == 0)
                setupLogging(nullptr);
            else
                LoggerConfig::create(("stress.setup." + std::to_string(thread * 1000 + i)).c_str(),
                                     LoggerConfig::LogWarning);
            logWarning(config) << "round " << i;
        }
    });
    EXPECT_NE(LoggerConfig::instance("stress.setup.1000"), nullptr);
    EXPECT_NE(LoggerConfig::instance("stress.setup.3199"), nullptr);
}

// Two threads that find no configuration may both add one: everyone gets a valid handle, and the first is found later.
TEST(LoggingThreads, MayCreateTheSameIdentityAtOnce)
{
    std::vector<std::shared_ptr<LoggerConfig>> created(ThreadCount);
    inThreads(ThreadCount, [&created](int thread) {
        created[static_cast<std::size_t>(thread)] = LoggerConfig::create("stress.same", LoggerConfig::LogError);
    });
    const auto found = LoggerConfig::instance("stress.same");
    EXPECT_NE(std::find(created.begin(), created.end(), found), created.end());
    for (const auto &config : created)
        EXPECT_STREQ(config->ident(), "stress.same");
}

// What a daemon does with a parser of its own: registers, reads, resolves, walks, and gets its share of records.
void useAParser(const std::string &path, const std::string &name)
{
    using Tovrin::Parser::ConfigParser;
    for (int round = 0; round < 200; ++round) {
        ConfigParser parser(ConfigParser::BadUid);
        for (const char *key : {"Name", "Greeting", "List"})
            parser.addKey("Group", key, ConfigParser::Amend);
        parser.addTemplate("registered", name);
        ASSERT_TRUE(parser.readConfig(path));
        std::string greeting;
        std::vector<std::string> list;
        parser.getValue("Group", "Greeting", greeting);
        parser.getValue("Group", "List", list);
        parser.checkKey("Group", name); // which it warns of
        ASSERT_EQ(greeting, "hello " + name + "-" + name);
        ASSERT_EQ(list, (std::vector<std::string>{"first", path, "last"}));
        const ConfigParser copy(parser);
        int entries = 0;
        for (auto entry = copy.begin(); entry != copy.end(); ++entry)
            entries += (*entry).group() == "Group";
        ASSERT_EQ(entries, 3);
    }
}

TEST(LoggingThreads, MayEachUseAParserWhileBothLog)
{
    const TempTree tree;
    lConfigParser->setLevel(LoggerConfig::LogDebug);
    ASSERT_TRUE(lConfigParser->setTarget(tree.path("log")));
    inThreads(2, [&tree](int thread) {
        const auto name = "thread" + std::to_string(thread);
        const auto path = tree.path(name + ".conf");
        tree.write(name + ".conf", "[Group]\nName=" + name +
                                       "\nAbsent=1\nGreeting=hello ${registered}-"
                                       "${config:Group/Name}\nList=first;${realpath:" +
                                       path + "};${env:TOVRIN_ABSENT};last\n");
        useAParser(path, name);
    });
    lConfigParser->setTarget(LoggerConfig::Systemd);
    lConfigParser->setLevel(LoggerConfig::LogWarning);
    std::map<std::string, int> lines;
    std::istringstream log(tree.read("log"));
    for (std::string line; std::getline(log, line);)
        ++lines[line];
    const std::map<std::string, int> expected = {
        {"DEBUG: Failed to read 'TOVRIN_ABSENT' from environment variables for template 'env:TOVRIN_ABSENT'", 400},
        {"WARNING: Group/thread0 has not been added to the parser", 200},
        {"WARNING: Group/thread1 has not been added to the parser", 200}};
    EXPECT_EQ(lines, expected);
}

} // namespace
