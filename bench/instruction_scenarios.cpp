// SPDX-License-Identifier: Apache-2.0
// Fixed work whose instructions scripts/bench-instructions counts: unlike times, the counts hardly differ from run to
// run and from machine to machine.
//
// instruction_scenarios CORPORA DIRECTORY, under callgrind with --collect-atstart=yes: one dump for each scenario,
// named after it. Each runs once beforehand, so that the dynamic linker's work and first-time initialisations do not
// count.

#include "corpora.h"

#include <tovrin/parser/config_dir_parser.h>
#include <tovrin/parser/logging.h>

#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Tovrin::Parser;
using Bench::corpusNamed;

void require(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

void count(const char *name, const std::function<void()> &scenario)
{
    scenario();
    CALLGRIND_ZERO_STATS;
    scenario();
    CALLGRIND_DUMP_STATS_AT(name);
}

std::unique_ptr<ConfigDirParser> loaded(const std::string &corpusName, const std::string &root)
{
    auto parser = std::make_unique<ConfigDirParser>(ConfigParser::BadUid);
    const Bench::Corpus &corpus = corpusNamed(corpusName);
    const std::string path = corpus.path(root);
    require(corpus.isDirectory ? parser->readDirectory(path) : parser->readConfig(path), path.c_str());
    return parser;
}

void countLoads(const std::string &root)
{
    for (const char *corpus : {"plain_1000", "plain_10000", "typical", "lists", "references", "environment"})
        count((std::string("load_") + corpus).c_str(), [&] { loaded(corpus, root); });
}

void countSkips(const std::string &root)
{
    // Several sets of registered keys: how often their hashes collide with those of the skipped keys is chance.
    const Bench::Corpus &corpus = corpusNamed("plain_10000");
    count("skip_unregistered", [&] {
        for (std::size_t set = 0; set < 10; ++set) {
            ConfigDirParser parser(ConfigParser::BadUid);
            for (std::size_t i = set * 100; i < set * 100 + 100; ++i)
                parser.addKey(corpus.entry(i).group, corpus.entry(i).key, ConfigParser::Amend);
            require(parser.readConfig(corpus.path(root)), "plain_10000");
        }
    });
    count("skip_comments", [&] { loaded("comments", root); });
}

template <typename T>
void countQuestion(const char *name, const ConfigParser &parser, const std::vector<Bench::Entry> &keys)
{
    count(name, [&] {
        for (const Bench::Entry &entry : keys) {
            T value{};
            parser.getValue(entry.group, entry.key, value);
        }
    });
}

void countQuestions(const std::string &root)
{
    const auto plain = loaded("plain_10000", root);
    countQuestion<std::string>("get_string", *plain, Bench::sampleOf(corpusNamed("plain_10000"), 1000));
    const auto references = loaded("references", root);
    countQuestion<std::string>("get_references", *references, Bench::sampleOf(corpusNamed("references"), 1000));

    const auto typed = loaded("typed", root);
    countQuestion<int>("get_int", *typed, Bench::typedEntries("int"));
    countQuestion<double>("get_double", *typed, Bench::typedEntries("double"));
    countQuestion<bool>("get_bool", *typed, Bench::typedEntries("bool"));
    countQuestion<std::vector<std::string>>("get_strings", *typed, Bench::typedEntries("strings"));
    countQuestion<std::vector<int>>("get_ints", *typed, Bench::typedEntries("ints"));
}

void countRecords(const std::string &directory)
{
    using namespace Logging;
    const auto config = LoggerConfig::create("bench.instructions", LoggerConfig::LogWarning);
    const std::string path = directory + "/record.log";
    require(config->setTarget(path), path.c_str());
    count("record_below_level", [&] {
        for (int i = 0; i < 1000; ++i)
            logDebug(config) << "Cannot open '" << path << "'";
    });
    count("record_to_file", [&] {
        for (int i = 0; i < 1000; ++i)
            logWarning(config) << "Cannot open '" << path << "'";
    });
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    Bench::setEnvironment();
    countLoads(argv[1]);
    countSkips(argv[1]);
    countQuestions(argv[1]);
    countRecords(argv[2]);
}
