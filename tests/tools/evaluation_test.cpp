// SPDX-License-Identifier: Apache-2.0
#include "session.h"
#include "template_text.h"

#include "support/captured_records.h"
#include "support/captured_stream.h"
#include "support/env_guard.h"
#include "support/temp_tree.h"
#include "tools/generated_configuration.h"

#include <tovrin/parser/config_parser.h>

#include <gtest/gtest.h>

#include <iostream>
#include <map>

namespace {

using namespace Tovrin::Testing;
using namespace Tovrin::Tool;
using Tovrin::Parser::ConfigParser;

// All that a configuration says.
struct Answers {
    std::map<std::pair<std::string, std::string>, std::vector<std::string>> lists;
    std::map<std::pair<std::string, std::string>, std::string> last;
    std::size_t tooManyVisits = 0;

    bool operator==(const Answers &) const = default;
};

void PrintTo(const Answers &answers, std::ostream *out)
{
    *out << answers.tooManyVisits << " without end";
    for (const auto &[name, values] : answers.lists) {
        *out << "\n[" << name.first << "] " << name.second << " = '" << answers.last.at(name) << "':";
        for (const auto &value : values)
            *out << " '" << value << "'";
    }
}

Answers answersOfCommand(const DumpOptions &options)
{
    CapturedStream silence(std::cerr);
    Session session(options, options.host);
    if (!session.ready())
        throw std::runtime_error("wrong file of keys: " + silence.text());
    const auto &evaluation = session.evaluation();
    const auto resolution = session.resolution();
    Answers answers;
    for (const auto number : evaluation.sortedEntries()) {
        const auto &entry = evaluation.entry(number);
        const std::pair name(std::string(entry.group), std::string(entry.key));
        auto &list = answers.lists[name];
        resolution.forEachResolved(entry, [&](auto text, const auto &) { list.push_back(charactersOf(text)); });
        evaluation.forEachValue(entry,
                                [&](const auto &value) { answers.tooManyVisits += !resolution.resolveQuietly(value); });
        answers.last[name] = charactersOf(resolution.resolveQuietly(evaluation.value(entry.lastValue)).value_or(""));
    }
    return answers;
}

Answers answersOfLibrary(const DumpOptions &options, const std::vector<std::string> &files,
                         const std::vector<KnownKey> &keys)
{
    ConfigParser parser(ConfigParser::BadUid);
    for (const auto &known : keys)
        parser.addKey(known.group, known.key, known.behaviour);
    for (const auto &[name, text] : options.templates)
        parser.addTemplate(name, text);
    for (const auto &file : files)
        parser.readConfig(file);
    Answers answers;
    CapturedRecords records;
    for (const auto &entry : parser) {
        const std::pair name(entry.group(), entry.key());
        answers.lists[name] = entry.value();
        for (const auto &record : records.errors())
            answers.tooManyVisits += record == "Max depth reached, possibly circular reference.";
        records.clear();
        parser.getValue(entry.group(), entry.key(), answers.last[name]);
        records.clear();
    }
    return answers;
}

DumpOptions programOptions()
{
    DumpOptions options;
    options.host.runCommands = true;
    options.templates = {{"name", " registered text "}, {"dollars", "$$ ${env:HOME} $"}};
    return options;
}

void useLibraryRecords()
{
    using namespace Tovrin::Parser::Logging;
    lConfigParser->setTarget(LoggerConfig::Systemd); // where CapturedRecords finds them
}

std::vector<KnownKey> chosenKeys(GeneratedConfiguration &generated)
{
    std::vector<KnownKey> keys;
    for (const auto &group : generated.groups())
        for (const auto &key : generated.keys()) {
            if (generated.chance(70))
                keys.push_back(
                    {group, key, generated.chance(50) ? ConfigParser::Replace : ConfigParser::Amend, std::nullopt, 0});
        }
    return keys;
}

std::string keysFileText(const std::vector<KnownKey> &keys)
{
    std::string text;
    for (const auto &known : keys)
        text += '[' + known.group + "]\n" + known.key + '=' +
                (known.behaviour == ConfigParser::Replace ? "replace" : "amend") + '\n';
    return text;
}

TEST(Evaluation, AgreesWithTheLibraryOnGeneratedConfigurations)
{
    const EnvGuard set("TOVRIN_SET", " set; $value\nof two lines ");
    const EnvGuard unset("TOVRIN_UNSET", std::nullopt);
    std::size_t entries = 0;
    std::size_t tooManyVisits = 0;
    const TempTree folder;
    for (std::uint32_t seed = 0; seed < 2000; ++seed) {
        GeneratedConfiguration generated(seed);
        auto options = programOptions();
        for (std::size_t i = 0; i < generated.files.size(); ++i)
            options.paths.push_back(
                folder.write(std::to_string(seed) + "/" + std::to_string(i) + ".conf", generated.files[i]));
        std::vector<KnownKey> keys;
        if (generated.chance(50)) {
            keys = chosenKeys(generated);
            options.keysFile = folder.write(std::to_string(seed) + "/keys", keysFileText(keys));
        }
        const auto ofCommand = answersOfCommand(options);
        useLibraryRecords();
        const auto ofLibrary = answersOfLibrary(options, options.paths, keys);
        ASSERT_EQ(ofCommand, ofLibrary) << "seed " << seed;
        entries += ofLibrary.lists.size();
        tooManyVisits += ofLibrary.tooManyVisits;
    }
    EXPECT_GT(entries, 10000u);
    EXPECT_GT(tooManyVisits, 100u);
}

TEST(Evaluation, AgreesWithTheLibraryOnTheExamples)
{
    const std::string examples = TOVRIN_EXAMPLES;
    for (const std::vector<std::string> &directories :
         {std::vector{examples + "/tovrin.conf.d"},
          std::vector{examples + "/daemon/vendor.conf.d", examples + "/daemon/local.conf.d"}}) {
        auto options = programOptions();
        options.paths = directories;
        const auto ofCommand = answersOfCommand(options);
        std::vector<std::string> files;
        for (const auto &file : readSources(directories).files)
            files.push_back(file.path);
        useLibraryRecords();
        EXPECT_EQ(ofCommand, answersOfLibrary(options, files, {}));
        EXPECT_GT(ofCommand.lists.size(), 5u);
    }
}

} // namespace
