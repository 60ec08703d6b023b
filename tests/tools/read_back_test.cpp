// SPDX-License-Identifier: Apache-2.0
#include "dump.h"

#include "support/captured_records.h"
#include "support/captured_stream.h"
#include "support/env_guard.h"
#include "support/temp_tree.h"
#include "tools/generated_configuration.h"

#include <tovrin/parser/config_parser.h>

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <set>

namespace {

using namespace Tovrin::Testing;
using namespace Tovrin::Tool;
using Tovrin::Parser::ConfigParser;

using Name = std::pair<std::string, std::string>;
using Store = std::map<Name, std::vector<std::string>>;

// What a program gets that reads the files, and registers no key.
Store storeOf(const std::vector<std::string> &files)
{
    using namespace Tovrin::Parser::Logging;
    lConfigParser->setTarget(LoggerConfig::Systemd);
    const CapturedRecords silence;
    ConfigParser parser(ConfigParser::BadUid);
    for (const auto &file : files)
        parser.readConfig(file);
    Store store;
    for (const auto &entry : parser)
        store[{entry.group(), entry.key()}] = entry.value();
    return store;
}

std::string printed(const DumpOptions &options)
{
    const CapturedStream silence(std::cerr);
    testing::internal::CaptureStdout();
    dump(options);
    return testing::internal::GetCapturedStdout();
}

// The keys of which the text says that they read back differently.
std::set<Name> markedAsDifferent(const std::string &text)
{
    std::set<Name> names;
    std::istringstream lines(text);
    std::string group;
    bool marked = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('[')) {
            group = line.substr(1, line.size() - 2);
        } else if (line.starts_with("# Reads back differently: ")) {
            marked = true;
        } else if (const auto separator = line.find('='); separator != std::string::npos && !line.starts_with('#')) {
            if (std::exchange(marked, false))
                names.insert({group, line.substr(0, separator)});
        }
    }
    return names;
}

class ReadBack : public testing::TestWithParam<const char *> {
protected:
    DumpOptions options() const
    {
        DumpOptions result;
        result.host.runCommands = true;
        result.origin = std::string(GetParam()) == "origin";
        result.raw = std::string(GetParam()) == "raw";
        return result;
    }

    const EnvGuard set{"TOVRIN_SET", "of one line;two items"};
    const EnvGuard unset{"TOVRIN_UNSET", std::nullopt};
    const TempTree folder;
};

TEST_P(ReadBack, GivesTheSameStoreButForWhatIsMarked)
{
    std::size_t compared = 0;
    std::size_t different = 0;
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        const GeneratedConfiguration generated(seed);
        auto reading = options();
        for (std::size_t i = 0; i < generated.files.size(); ++i)
            reading.paths.push_back(
                folder.write(std::to_string(seed) + "/" + std::to_string(i) + ".conf", generated.files[i]));
        const auto text = printed(reading);
        const auto marked = markedAsDifferent(text);
        different += marked.size();
        if (reading.raw && !marked.empty())
            continue; // what refers to a marked key is different too
        const auto before = storeOf(reading.paths);
        const auto after = storeOf({folder.write(std::to_string(seed) + "/printed", text)});
        for (const auto &[name, values] : before) {
            if (marked.contains(name))
                continue;
            ASSERT_TRUE(after.contains(name)) << "seed " << seed << ": [" << name.first << "] " << name.second;
            ASSERT_EQ(after.at(name), values) << "seed " << seed << ": [" << name.first << "] " << name.second;
            ++compared;
        }
        for (const auto &[name, values] : after)
            ASSERT_TRUE(before.contains(name)) << "seed " << seed << ": [" << name.first << "] " << name.second;
    }
    EXPECT_GT(compared, 500u);
    EXPECT_GT(different, 10u);
}

INSTANTIATE_TEST_SUITE_P(Dump, ReadBack, testing::Values("resolved", "origin", "raw"),
                         [](const auto &row) { return std::string(row.param); });

} // namespace
