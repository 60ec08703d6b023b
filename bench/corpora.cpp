// SPDX-License-Identifier: Apache-2.0
#include "corpora.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace Bench {

namespace {

constexpr std::size_t TextSize = 45; // of key and value together

// Not <random>: its distributions differ between standard libraries.
class Random {
public:
    Random(std::uint64_t seed, std::uint64_t index) : state_(seed * 0x9e3779b97f4a7c15U + index * 0xd1342543de82ef95U)
    {
    }

    std::size_t below(std::size_t bound)
    {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t mixed = (state_ ^ state_ >> 30) * 0xbf58476d1ce4e5b9U;
        mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111ebU;
        return (mixed ^ mixed >> 31) % bound;
    }

    std::string text(std::size_t size, const std::string &alphabet)
    {
        std::string result;
        while (result.size() < size)
            result += alphabet[below(alphabet.size())];
        return result;
    }

private:
    std::uint64_t state_;
};

const std::string Letters = "abcdefghijklmnopqrstuvwxyz";
const std::string ValueCharacters = "abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ/_-:";

std::string padded(std::size_t number, int digits)
{
    char text[32];
    std::snprintf(text, sizeof text, "%0*zu", digits, number);
    return text;
}

std::string word(Random &random)
{
    static const char *const words[] = {"Audio",   "Buffer", "Camera",  "Device", "Enabled", "Format",
                                        "Gateway", "Home",   "Input",   "Layout", "Memory",  "Network",
                                        "Output",  "Path",   "Session", "Timeout"};
    return words[random.below(std::size(words))];
}

Entry plain(const std::string &group, const std::string &key, const std::string &value)
{
    return {group, key, value, value};
}

// Names are unique by their number, as long as those of real configurations, and differ early.
Entry entryOfText(std::uint64_t seed, std::size_t index, const std::string &group)
{
    Random random(seed, index);
    std::string key = "k";
    key += std::to_string(index) + word(random);
    if (key.size() < 12)
        key += word(random);
    return plain(group, key, random.text(TextSize - key.size(), ValueCharacters));
}

template <std::size_t Count> Entry plainEntry(std::size_t index)
{
    constexpr std::size_t groups = Count < 1000 ? 20 : 1000;
    return entryOfText(Count, index, "Group" + padded(index / (Count / groups), 4));
}

constexpr std::size_t RegisteredKeys = 100;

Entry registeredEntry(std::size_t index)
{
    return entryOfText(21, index, "Registered");
}

Entry skippedEntry(std::size_t index)
{
    return entryOfText(22, index, "Skipped" + padded(index / 100, 4));
}

Entry lonelyEntry(std::size_t index)
{
    return entryOfText(23, index, "Lonely" + padded(index, 6));
}

constexpr std::size_t ManyFiles = 10000, EntriesPerFile = 20;

Entry layeredEntry(std::size_t index)
{
    return entryOfText(24, index, "File" + padded(index / EntriesPerFile, 5));
}

std::string list(Random &random, std::size_t items, std::size_t itemSize, const std::string &alphabet)
{
    std::string result;
    for (std::size_t i = 0; i < items; ++i)
        result.append(i ? ";" : "").append(random.text(itemSize, alphabet));
    return result;
}

std::string lastItem(const std::string &text)
{
    return text.substr(text.rfind(';') + 1);
}

Entry listEntry(std::size_t index)
{
    Random random(25, index);
    const std::string value = list(random, 20, 7, Letters);
    return {"Lists" + padded(index / 100, 3), "list" + std::to_string(index), value, lastItem(value)};
}

constexpr std::size_t ReferredEntries = 100;

Entry referredEntry(std::size_t index)
{
    Random random(26, index);
    return plain("Base", "base" + padded(index, 3), random.text(12, ValueCharacters));
}

// The referred entries come first; after them every entry names three of them.
Entry referringEntry(std::size_t index)
{
    if (index < ReferredEntries)
        return referredEntry(index);
    Random random(27, index);
    Entry entry{"Refers" + padded(index / 100, 3), "refer" + std::to_string(index), "", ""};
    for (int i = 0; i < 3; ++i) {
        const std::string literal = random.text(4, Letters);
        const Entry target = referredEntry(random.below(ReferredEntries));
        entry.value += literal + "${config:" + target.group + "/" + target.key + "}";
        entry.expected += literal + target.value;
    }
    return entry;
}

constexpr const char *Variables[][2] = {{"TOVRIN_BENCH_HOME", "/home/someone"},
                                        {"TOVRIN_BENCH_RUNTIME", "/run/user/100000"},
                                        {"TOVRIN_BENCH_INSTANCE", "default"}};

Entry environmentEntry(std::size_t index)
{
    Random random(28, index);
    const auto &variable = Variables[random.below(std::size(Variables))];
    const std::string rest = random.text(12, Letters);
    return {"Paths" + padded(index / 100, 3), "path" + std::to_string(index),
            "${env:" + std::string(variable[0]) + "}/" + rest, variable[1] + std::string("/") + rest};
}

Entry largeEntry(std::size_t index)
{
    Random random(29, index);
    return plain("Large", "large" + padded(index, 2), random.text(65536, ValueCharacters));
}

constexpr std::size_t TypedEntries = 300;
constexpr const char *TypedKinds[] = {"int", "double", "bool", "strings", "ints"};

// 20 groups like those of plain_300; the kinds take turns.
Entry typedEntryAt(std::size_t index)
{
    Random random(33, index);
    const std::string kind = TypedKinds[index % std::size(TypedKinds)];
    Entry entry = entryOfText(35, index, "Typed" + padded(index / 15, 4));
    if (kind == "int")
        entry.value = std::to_string(random.below(2000000)); // up to seven digits
    else if (kind == "double")
        entry.value = std::to_string(random.below(10000)) + "." + padded(random.below(1000), 3);
    else if (kind == "bool")
        entry.value = random.below(2) ? "true" : "false";
    else if (kind == "strings")
        entry.value = list(random, 20, 7, Letters);
    else
        entry.value = list(random, 20, 5, "123456789");
    entry.expected = lastItem(entry.value);
    return entry;
}

// What a directory of a host looks like: mostly plain entries, every sixth a list, every seventh with references.
constexpr std::size_t TypicalFiles = 20, TypicalEntriesPerFile = 15;

Entry typicalEntry(std::size_t index)
{
    Random random(30, index);
    Entry entry = entryOfText(30, index, "Part" + padded(index / 30, 2));
    if (index % 6 == 5) {
        entry.value = list(random, 3 + random.below(6), 7, Letters);
        entry.expected = lastItem(entry.value);
    } else if (index % 7 == 6 && (index - 1) % 6 != 5 && (index - 1) % 7 != 6) {
        const Entry target = typicalEntry(index - 1);
        entry.value = "/opt/${config:" + target.group + "/" + target.key + "}/data";
        entry.expected = "/opt/" + target.expected + "/data";
    }
    return entry;
}

Entry appendedEntry(std::size_t index)
{
    Random random(31, index);
    return plain("Amended", "items", random.text(20, ValueCharacters));
}

// Writes entries in order, with a header whenever the group changes.
class FileWriter {
public:
    explicit FileWriter(const std::string &path) : file_(path, std::ios::binary | std::ios::trunc) {}

    void write(const Entry &entry)
    {
        if (entry.group != group_)
            file_ << '[' << (group_ = entry.group) << "]\n";
        file_ << entry.key << '=' << entry.value << '\n';
    }

    void writeLine(const std::string &line) { file_ << line << '\n'; }

private:
    std::ofstream file_;
    std::string group_;
};

void writeFile(const Corpus &corpus, const std::string &path)
{
    FileWriter file(path);
    for (std::size_t i = 0; i < corpus.entries; ++i)
        file.write(corpus.entry(i));
}

void writeAppended(const Corpus &corpus, const std::string &path)
{
    FileWriter file(path);
    for (std::size_t i = 0; i < corpus.units; ++i)
        file.write(appendedEntry(i));
}

void writeUnregistered(const Corpus &corpus, const std::string &path)
{
    FileWriter file(path);
    for (std::size_t i = 0; i < corpus.entries; ++i)
        file.write(registeredEntry(i));
    for (std::size_t i = 0; i < corpus.units - corpus.entries; ++i)
        file.write(skippedEntry(i));
}

void writeComments(const Corpus &corpus, const std::string &path)
{
    FileWriter file(path);
    for (std::size_t i = 0; i < corpus.entries; ++i)
        file.write(registeredEntry(i));
    for (std::size_t i = 0; i < corpus.units; ++i) {
        Random random(32, i); // prose, wrapped at 80 columns
        file.writeLine("# " + random.text(30 + random.below(48), Letters + "    ="));
    }
}

void writeDirectory(const Corpus &corpus, const std::string &path, std::size_t files, bool commented)
{
    std::filesystem::create_directory(path);
    const std::size_t perFile = corpus.entries / files;
    for (std::size_t i = 0; i < files; ++i) {
        FileWriter file(path + "/" + padded(i, 5) + "-part.conf");
        if (commented)
            file.writeLine("# What the device of this host needs; see the handbook.\n");
        for (std::size_t j = 0; j < perFile; ++j)
            file.write(corpus.entry(i * perFile + j));
    }
}

void writeTypical(const Corpus &corpus, const std::string &path)
{
    writeDirectory(corpus, path, TypicalFiles, true);
}

void writeMany(const Corpus &corpus, const std::string &path)
{
    writeDirectory(corpus, path, ManyFiles, false);
}

} // namespace

std::vector<Entry> typedEntries(const std::string &kind)
{
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < TypedEntries; ++i)
        if (kind == TypedKinds[i % std::size(TypedKinds)])
            entries.push_back(typedEntryAt(i));
    return entries;
}

const std::vector<Corpus> &allCorpora()
{
    constexpr std::size_t typical = TypicalFiles * TypicalEntriesPerFile, many = ManyFiles * EntriesPerFile;
    constexpr std::size_t referring = ReferredEntries + 10000;
    // name, is a directory, has templates, entries, units, entry by number, writer
    static const std::vector<Corpus> corpora = {
        {"plain_300", false, false, 300, 300, plainEntry<300>, writeFile},
        {"plain_1000", false, false, 1000, 1000, plainEntry<1000>, writeFile},
        {"plain_10000", false, false, 10000, 10000, plainEntry<10000>, writeFile},
        {"plain_100000", false, false, 100000, 100000, plainEntry<100000>, writeFile},
        {"plain_1000000", false, false, 1000000, 1000000, plainEntry<1000000>, writeFile},
        {"typical", true, true, typical, typical, typicalEntry, writeTypical},
        {"many", true, false, many, many, layeredEntry, writeMany},
        {"lists", false, false, 10000, 10000, listEntry, writeFile},
        {"references", false, true, referring, referring, referringEntry, writeFile},
        {"environment", false, true, 10000, 10000, environmentEntry, writeFile},
        {"large", false, false, 64, 64, largeEntry, writeFile},
        {"unregistered", false, false, RegisteredKeys, RegisteredKeys + 100000, registeredEntry, writeUnregistered},
        {"comments", false, false, RegisteredKeys, 100000, registeredEntry, writeComments},
        {"groups", false, false, 100000, 100000, lonelyEntry, writeFile},
        {"appended", false, false, 1, 100000, [](std::size_t) { return appendedEntry(99999); }, writeAppended},
        {"typed", false, false, TypedEntries, TypedEntries, typedEntryAt, writeFile},
    };
    return corpora;
}

const Corpus &corpusNamed(const std::string &name)
{
    for (const Corpus &corpus : allCorpora())
        if (corpus.name == name)
            return corpus;
    std::fprintf(stderr, "No such corpus: %s\n", name.c_str());
    std::exit(2);
}

std::vector<Entry> sampleOf(const Corpus &corpus, std::size_t count)
{
    Random random(34, count);
    std::vector<Entry> sample;
    sample.reserve(count);
    while (sample.size() < count)
        sample.push_back(corpus.entry(random.below(corpus.entries)));
    return sample;
}

void setEnvironment()
{
    for (const auto &[name, value] : Variables)
        ::setenv(name, value, 1);
}

} // namespace Bench
