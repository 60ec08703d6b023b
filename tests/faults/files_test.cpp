// SPDX-License-Identifier: Apache-2.0
//
// Files that change while they are read, and a machine that has no descriptor left. What a failed read does is tested
// beside the sources.
#include <tovrin/parser/config_dir_parser.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/key_file_parser.h>
#include <tovrin/parser/logging.h>
#include <tovrin/parser/substitutor.h>

#include "support/captured_records.h"
#include "support/env_guard.h"
#include "support/limit_guard.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

using namespace Tovrin::Parser;
using namespace std::string_literals;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::EnvGuard;
using Tovrin::Testing::LimitGuard;
using Tovrin::Testing::openDescriptors;
using Tovrin::Testing::TempTree;
using Texts = std::vector<std::string>;

// ---- Changes while a file is read -----------------------------------------------------------------------------------

constexpr std::size_t LineSize = 64; // of which whole ones fill the buffer that files are read through
constexpr std::size_t LinesPerBuffer = 64 * 1024 / LineSize;
constexpr std::size_t LineCount = 4 * LinesPerBuffer;

std::string keyOf(std::size_t number)
{
    char key[16];
    std::snprintf(key, sizeof key, "Key%06zu", number);
    return key;
}

// One line, filled up to its size.
std::string lineOf(const std::string &key, const std::string &value)
{
    std::string line = key + "=" + value;
    line.resize(LineSize - 1, ' ');
    return line + "\n";
}

std::string linesOf(std::size_t first, std::size_t end)
{
    std::string text;
    for (std::size_t number = first; number < end; ++number)
        text += lineOf(keyOf(number), std::to_string(number));
    return text;
}

// A file whose second entry runs a command that does something to it, when one buffer of it has been read.
class ChangedFile {
public:
    explicit ChangedFile(const std::string &command)
        : path_(tree_.path("a.conf")), change_(tree_.write("change", "cd " + tree_.root() + "\n" + command))
    {
        tree_.write("a.conf", lineOf("First", "1") + lineOf("Change", "${system:sh change}") + linesOf(2, LineCount));
    }

    bool read()
    {
        const EnvGuard folder("PWD", tree_.root());
        std::filesystem::current_path(tree_.root());
        const bool loaded = parser_.readConfig(path_);
        std::filesystem::current_path("/");
        return loaded;
    }

    // How many of the numbered keys, from the first on, have their value; none of the others is there.
    std::size_t count() const
    {
        std::size_t found = 0;
        while (has(2 + found))
            ++found;
        std::size_t all = 0;
        for (auto position = parser_.begin(); position != parser_.end(); ++position)
            ++all;
        EXPECT_EQ(all, found + 1); // and "First"; the command printed nothing to store
        return found;
    }

private:
    bool has(std::size_t number) const
    {
        std::string value;
        parser_.getValue("", keyOf(number), value);
        return value == std::to_string(number);
    }

    const TempTree tree_;
    const std::string path_;
    const std::string change_;
    ConfigParser parser_{ConfigParser::BadUid};
};

TEST(ChangingFile, YieldsWhatWasReadBeforeItShrank)
{
    ChangedFile file("truncate -s 64 a.conf");
    EXPECT_TRUE(file.read());
    EXPECT_EQ(file.count(), LinesPerBuffer - 2);
}

TEST(ChangingFile, YieldsWhatIsLeftOfItAfterItShrank)
{
    ChangedFile file("truncate -s 131072 a.conf");
    EXPECT_TRUE(file.read());
    EXPECT_EQ(file.count(), 2 * LinesPerBuffer - 2);
}

TEST(ChangingFile, YieldsWhatIsAppendedToIt)
{
    const TempTree tree;
    const auto more = tree.write("more", linesOf(LineCount, LineCount + 10));
    ChangedFile file("cat " + more + " >>a.conf");
    EXPECT_TRUE(file.read());
    EXPECT_EQ(file.count(), LineCount + 10 - 2);
}

TEST(ChangingFile, IsReadToItsEndAfterItWasReplacedOrRemoved)
{
    for (const char *command : {"echo Other=1 >new; mv new a.conf", "rm a.conf"}) {
        ChangedFile file(command);
        EXPECT_TRUE(file.read()) << command;
        EXPECT_EQ(file.count(), LineCount - 2) << command;
    }
}

TEST(ChangingFile, LeavesAWalkAtALineThatWasCutOff)
{
    const TempTree tree;
    const auto path = tree.write("a.conf", linesOf(0, LineCount));
    KeyFileParser parser(path);
    auto entry = parser.begin();
    std::filesystem::resize_file(path, LinesPerBuffer * LineSize + 5);
    for (std::size_t number = 1; number < LinesPerBuffer; ++number, ++entry)
        ASSERT_EQ(entry->key, keyOf(number - 1));
    const auto last = entry->key;
    const CapturedRecords records;
    ++entry; // "Key00": no "=", and no newline
    EXPECT_EQ(last, keyOf(LinesPerBuffer - 1));
    EXPECT_EQ(records.errors().size(), 1U);
    EXPECT_TRUE(parser.error());
}

// ---- No descriptor left ---------------------------------------------------------------------------------------------

TEST(NoDescriptors, FailsFilesAndDirectoriesAndIsOverWithThem)
{
    const TempTree tree;
    const auto path = tree.write("d/a.conf", "[G]\nK=1\n");
    ConfigDirParser parser(ConfigDirParser::BadUid);
    const auto before = openDescriptors();
    {
        const CapturedRecords records;
        const LimitGuard none(RLIMIT_NOFILE, 0);
        EXPECT_FALSE(parser.readConfig(path));
        EXPECT_FALSE(parser.readDirectory(tree.path("d")));
        EXPECT_EQ(parser.readDirectories({tree.path("d")}), 0);
        EXPECT_EQ(records.errors(), (Texts{"Failed to load config from '" + path + "'",
                                           "No configuration to read in " + tree.path("d") + "/"}));
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(parser.readDirectory(tree.path("d")));
    EXPECT_TRUE(parser.contains("G", "K"));
}

#if TOVRIN_DESCRIPTORS_CAN_BE_LIMITED

TEST(NoDescriptors, FailsTemplatesThatOpenSomething)
{
    const TempTree tree;
    const auto path = tree.write("env", "NAME=value\n");
    const EnvGuard config("XDG_CONFIG_HOME", tree.makeDirectory("config"));
    const Substitutor substitutor(ConfigParser::BadUid);
    std::string out;
    std::pair<std::string, std::string> reference;
    const CapturedRecords records;
    const LimitGuard none(RLIMIT_NOFILE, 0);
    for (const auto &name : Texts{"envfile:" + path + ":NAME", "dconf:/org/tovrin/key", "system:echo"})
        EXPECT_EQ(substitutor.resolve(name, out, reference), 1) << name;
    EXPECT_EQ(records.errors(), (Texts{"Failed to execute 'echo': "s + std::strerror(EMFILE)}));
    EXPECT_EQ(
        records.debugs(),
        (Texts{"Failed to read 'NAME' from environment file '" + path + "' for template 'envfile:" + path + ":NAME'",
               "Failed to read '/org/tovrin/key' from dconf for template 'dconf:/org/tovrin/key'",
               "Failed to resolve 'echo' from system for template 'system:echo'"}));
}

TEST(NoDescriptors, LeavesALogFileOpenThatANewOneWasToReplace)
{
    using namespace Logging;
    const TempTree tree;
    const auto config = LoggerConfig::create("faults.descriptors", LoggerConfig::LogInfo);
    ASSERT_TRUE(config->setTarget(tree.path("log")));
    {
        const LimitGuard none(RLIMIT_NOFILE, 0);
        EXPECT_FALSE(config->setTarget(tree.path("other")));
    }
    logInfo(config) << "goes on";
    EXPECT_EQ(tree.read("log"), "ERROR: Invalid logging target '" + tree.path("other") + "'\nINFO: goes on\n");
    config->setTarget(LoggerConfig::Systemd);
}

#endif

// ---- Log files ------------------------------------------------------------------------------------------------------

TEST(LogFolder, MayVanish)
{
    using namespace Logging;
    const TempTree tree;
    const auto path = tree.makeDirectory("logs") + "/log";
    const auto config = LoggerConfig::create("faults.folder", LoggerConfig::LogInfo);
    ASSERT_TRUE(config->setTarget(path));
    logInfo(config) << "first";
    const std::ifstream reader(path);
    std::filesystem::remove_all(tree.path("logs"));
    logInfo(config) << "into the removed file";
    EXPECT_EQ((std::stringstream() << reader.rdbuf()).str(), "INFO: first\nINFO: into the removed file\n");
    EXPECT_FALSE(config->setTarget(path)); // reported into the removed file
    EXPECT_FALSE(std::filesystem::exists(tree.path("logs")));
    tree.makeDirectory("logs");
    EXPECT_TRUE(config->setTarget(path));
    logInfo(config) << "back";
    EXPECT_EQ(tree.read("logs/log"), "INFO: back\n");
    config->setTarget(LoggerConfig::Systemd);
}

} // namespace
