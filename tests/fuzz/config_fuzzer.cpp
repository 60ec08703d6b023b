// SPDX-License-Identifier: Apache-2.0

// A whole configuration: keys and templates are registered, several files are read, and every getter and the iteration
// are compared with a second parser. Then it is read again in other portions, with the same result.
//
// Input: lines that register, FieldEnd, and files with FieldEnd between them. A line is a letter, a name, and "=" with
// what belongs to it: "RG/K" registers a key to be replaced, "A" amended, "I" ignored, "N" substituted but not stored;
// "Tname=text" is a template.

#include "harness.h"
#include "reference_store.h"
#include "stand_ins.h"

#include <tovrin/parser/config_parser.h>

#include <cstring>
#include <numeric>

namespace {

using namespace Tovrin::Fuzz;
using Reference::Name;
using Reference::Store;
using Tovrin::Parser::ConfigParser;
using Tovrin::Parser::ConfigParserIterator;

using Files = std::vector<std::string>;
using Snapshot = std::map<Name, std::vector<std::string>>;

const std::string EnvFileText = "A=one\nB = \" two \"\n";

const MemoryFile &envFile()
{
    static const MemoryFile file(FirstDescriptor);
    return file;
}

const MemoryFile &configFile()
{
    static const MemoryFile file(FirstDescriptor + 1);
    return file;
}

void registerLine(const std::string &line, ConfigParser &parser, Store &store)
{
    static const std::map<char, int> behaviours{{'R', 0}, {'A', 1}, {'N', 2}, {'I', -1}};
    const char kind = line.empty() ? '\0' : line[0];
    const char separator = kind == 'T' ? '=' : '/';
    const auto end = line.find(separator);
    const std::string first = line.substr(0, end).erase(0, 1);
    const std::string second = end == std::string::npos ? "" : line.substr(end + 1);
    if (kind == 'T') {
        parser.addTemplate(first, second);
        store.addTemplate(first, second);
    } else if (const auto behaviour = behaviours.find(kind); behaviour != behaviours.end()) {
        parser.addKey(first, second, static_cast<ConfigParser::ReplacementBehaviour>(behaviour->second));
        store.addKey({first, second}, behaviour->second);
    }
}

void registerAll(const std::string &lines, ConfigParser &parser, Store &store)
{
    for (const auto &line : Reference::split(lines, '\n'))
        registerLine(line, parser, store);
}

bool read(ConfigParser &parser, const std::string &text)
{
    configFile().write(text);
    return parser.readConfig(configFile().path());
}

// ---- Getters --------------------------------------------------------------------------------------------------------

template <typename T> T converted(const std::string &text, bool &ok)
{
    if constexpr (std::is_same_v<T, bool>) {
        ok = text == "true" || text == "false";
        return text == "true";
    } else {
        return Reference::number<T>(text, ok);
    }
}

template <typename T> bool same(const T &a, const T &b)
{
    return std::memcmp(&a, &b, sizeof a) == 0; // which tells -0 from 0
}

template <typename T>
void compareSingle(const ConfigParser &parser, const Name &name, const std::optional<std::string> &text)
{
    T value = static_cast<T>(1);
    T unflagged = static_cast<T>(1);
    bool ok = !text;
    parser.getValue(name.first, name.second, value, &ok);
    parser.getValue(name.first, name.second, unflagged);
    bool expectedOk = false;
    const T expected = text ? converted<T>(*text, expectedOk) : static_cast<T>(1);
    expect(same(value, expected) && same(unflagged, expected),
           "single value: " + describe(value) + " instead of " + describe(expected));
    expectEqual("flag of a single value", ok, expectedOk);
}

template <typename T>
void compareList(const ConfigParser &parser, const Name &name, const std::vector<std::string> &texts)
{
    std::vector<T> expected{static_cast<T>(1)}; // which stays: lists are appended
    std::vector<T> values = expected;
    std::vector<T> unflagged = expected;
    bool expectedOk = true;
    for (const auto &text : texts) {
        bool ok = false;
        expected.push_back(converted<T>(text, ok));
        expectedOk = expectedOk && ok;
    }
    bool ok = !expectedOk;
    parser.getValue(name.first, name.second, values, &ok);
    parser.getValue(name.first, name.second, unflagged);
    expectEqual("list", values, expected);
    expectEqual("list without a flag", unflagged, expected);
    expectEqual("flag of a list", ok, expectedOk);
}

template <typename... T> void compareGetters(const ConfigParser &parser, Store &store, const Name &name)
{
    const auto text = store.single(name);
    std::string value = "untouched";
    parser.getValue(name.first, name.second, value);
    expectEqual("text", value, text.value_or("untouched"));
    (compareSingle<T>(parser, name, text), ...);

    const auto texts = store.list(name);
    std::vector<std::string> values;
    parser.getValue(name.first, name.second, values);
    expectEqual("texts", values, texts);
    (compareList<T>(parser, name, texts), ...);
}

// The records of each question once, then those of all getters for their number.
void compareKey(const ConfigParser &parser, Store &store, const Name &name, StandIns &standIns)
{
    parser.checkKey(name.first, name.second);
    store.checkKey(name);
    expectEqual("contains group", parser.contains(name.first), store.contains(name.first));
    expectEqual("contains", parser.contains(name.first, name.second), store.contains(name));
    std::string value;
    parser.getValue(name.first, name.second, value);
    store.single(name);
    expectEqual("records of a key", standIns.takeRecords(), store.takeRecords());
    compareGetters<bool, int, long long, double>(parser, store, name);
    expectEqual("present after a list getter", parser.contains(name.first, name.second), true);
    standIns.takeRecords();
    store.takeRecords();
}

// ---- Iteration ------------------------------------------------------------------------------------------------------

Snapshot snapshotOf(const ConfigParser &parser)
{
    Snapshot snapshot;
    std::vector<std::string> groups;
    for (auto entry = parser.begin(); entry != parser.end(); ++entry) {
        const auto shown = *entry;
        const bool added = snapshot.emplace(Name(shown.group(), shown.key()), shown.value()).second;
        expect(added, "an entry is visited once");
        if (groups.empty() || groups.back() != shown.group())
            groups.push_back(shown.group());
    }
    const auto runs = groups.size();
    std::sort(groups.begin(), groups.end());
    groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
    expectEqual("the keys of a group are visited together", runs, groups.size());
    return snapshot;
}

void checkIterators(const ConfigParser &parser)
{
    auto first = parser.begin();
    const auto copy = first;
    if (first == parser.end()) {
        auto shown = *first;
        expect(shown.operator==({"", "", std::vector<std::string>()}), "the end shows nothing");
        expect(++first == copy, "the end stays");
        return;
    }
    const auto before = first++;
    expect(before == copy && first != copy, "the value before it was advanced");
    first = copy;
    auto one = ConfigParserIterator::value_type("group", "key", "value");
    expectEqual("the list of a single value", one.value(), {"value"});
    const auto copied(one);
    expect(one.operator==(copied), "a copy is equal");
    one = *first;
    expect(one.operator==(*copy) && !one.operator!=(*copy), "an entry is equal to itself");
}

// ---- Other portions -------------------------------------------------------------------------------------------------

// A file begins in the group of no name.
std::string inOneGo(const Files &files)
{
    return std::accumulate(files.begin(), files.end(), std::string(),
                           [](const std::string &all, const std::string &file) { return all + "[]\n" + file; });
}

Files entryByEntry(const Files &files)
{
    Records ignored;
    Files entries;
    for (const auto &file : files) {
        for (Reference::KeyFileIterator walk(file, "", ignored); !walk.isAtEnd(); walk.seekNext()) {
            const auto &entry = walk.entry();
            entries.push_back("[" + entry.group + "]\n" + entry.key + "=" + entry.value + "\n");
        }
    }
    return entries;
}

void checkPortions(const std::string &lines, const Files &portions, const Snapshot &expected, const char *what)
{
    ConfigParser parser(ConfigParser::BadUid);
    Store ignored("");
    registerAll(lines, parser, ignored);
    for (const auto &portion : portions)
        expect(read(parser, portion), "what was read in one way can be read in another");
    expectEqual(what, snapshotOf(parser), expected);
}

// A copy is equal, takes registrations and reads on as the original would, and does that alone.
void checkCopy(const ConfigParser &parser, const Store &store, const Snapshot &expected, const Files &files)
{
    ConfigParser copy(parser);
    Store storeCopy(store);
    expectEqual("a copy", snapshotOf(copy), expected);
    registerAll("A/k\nRNew/k\nNNew/n\nTT=late ${config:New/k}", copy, storeCopy);
    const auto more = "[]\nk=${config:/k};${T}\n[New]\nk=1\nn=1\n" + (files.empty() ? "" : files.front());
    read(copy, more);
    storeCopy.readConfig(more, configFile().path());
    const ConfigParser moved(std::move(copy));
    expectEqual("a copy that read on", snapshotOf(moved), storeCopy.all());
    expectEqual("the original after its copy read on", snapshotOf(parser), expected);
}

Files takeFiles(Input &input)
{
    Files files;
    while (!input.empty() && files.size() < 8)
        files.push_back(terminated(expanded(input.field())));
    return files;
}

// Names from all over the store, and one that it has not.
std::vector<Name> someNames(const Store &store, std::size_t count)
{
    const auto all = store.names();
    std::vector<Name> names{{"Absent", "key"}};
    for (std::size_t i = 0; i < all.size(); i += 1 + all.size() / count)
        names.push_back(all[i]);
    return names;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t Many = 24;
    constexpr std::size_t Large = 20'000;
    if (Reference::namesForeignFile(std::string(data, data + size), envFile().path()))
        return 0;
    envFile().write(EnvFileText);
    StandIns standIns;
    Input input(data, size);
    const auto lines = input.field();
    const auto files = takeFiles(input);

    ConfigParser parser(ConfigParser::BadUid);
    Store store(EnvFileText);
    registerAll(lines, parser, store);
    bool allLoaded = true;
    for (const auto &file : files) {
        const bool loaded = read(parser, file);
        expectEqual("loaded", loaded, store.readConfig(file, configFile().path()));
        allLoaded = allLoaded && loaded;
    }
    expectEqual("records of reading", standIns.takeRecords(), store.takeRecords());

    const auto snapshot = snapshotOf(parser);
    expectEqual("iteration", snapshot, store.all());
    checkIterators(parser);
    checkCopy(parser, store, snapshot, files);
    if (allLoaded) {
        checkPortions(lines, {inOneGo(files)}, snapshot, "read in one go");
        if (const auto entries = entryByEntry(files); entries.size() <= Many)
            checkPortions(lines, entries, snapshot, "read entry by entry");
    }
    standIns.takeRecords();
    store.takeRecords();

    for (const auto &name : someNames(store, inOneGo(files).size() > Large ? 4 : 10))
        compareKey(parser, store, name, standIns);
    return 0;
}
