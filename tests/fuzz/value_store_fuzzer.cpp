// SPDX-License-Identifier: Apache-2.0

// The store of a parser beside maps and lists, and the two things that it is built on, each alone: its arena beside
// separate allocations, its hash index beside a map.
//
// Input: a byte that chooses one of the three, then bytes for each operation.

#include "arena.h"
#include "harness.h"
#include "hash_index.h"
#include "value_store.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <tuple>

namespace {

using namespace Tovrin::Fuzz;
using namespace Tovrin::Parser;

// Texts of all the sizes that something depends on: words, units, blocks.
std::string takeText(Input &input)
{
    static constexpr std::size_t sizes[] = {0,  1,  2,  3,   4,   5,    7,      8,      9,      15,     16,
                                            17, 31, 64, 300, 999, 4090, 16'380, 16'390, 65'500, 70'000, 140'000};
    const auto choice = input.byte();
    std::string text(sizes[choice % std::size(sizes)], 'a');
    for (std::size_t i = 0; i < text.size(); i += 1 + text.size() / 3)
        text[i] = static_cast<char>('A' + choice / std::size(sizes));
    return text;
}

// ---- Arena ----------------------------------------------------------------------------------------------------------

void checkArena(Input &input)
{
    struct Copy {
        Arena::Number number;
        std::string text;
    };
    Arena arena;
    std::vector<Copy> copies;
    std::size_t used = 0;
    while (!input.empty()) {
        const auto text = takeText(input);
        const auto number = arena.allocate(text.size());
        expect(number != 0 || text.empty(), "number 0 is no piece");
        if (text.empty())
            continue;
        expect(reinterpret_cast<std::uintptr_t>(arena.at(number)) % Arena::Unit == 0, "a piece is aligned");
        std::memcpy(arena.at(number), text.data(), text.size());
        copies.push_back({number, text});
        used += (text.size() + 3) / 4 * 4;
        expectEqual("used", arena.used(), used);
    }
    for (const auto &copy : copies) {
        const std::string text(reinterpret_cast<const char *>(arena.at(copy.number)), copy.text.size());
        expectEqual("a piece stays as it is", text, copy.text);
    }
}

// ---- Hash index -----------------------------------------------------------------------------------------------------

// Few hashes for many keys, in clusters that meet at the end of the table.
std::uint32_t hashOf(std::uint8_t key, std::uint8_t spread)
{
    const auto low = spread == 0 ? 7u : static_cast<std::uint32_t>(key) % spread;
    return low | static_cast<std::uint32_t>(key & 1) << 31;
}

void checkIndex(Input &input)
{
    HashIndex index;
    std::map<unsigned, std::uint32_t> numbers;
    std::vector<unsigned> keys{0};
    const auto spread = input.byte();
    const auto hasKey = [&](unsigned key) {
        return [&keys, key](std::uint32_t number) { return keys.at(number) == key; };
    };
    while (!input.empty()) {
        const auto operation = input.choice(3);
        const auto key = input.byte();
        const auto hash = hashOf(key, spread);
        if (operation == 1) {
            const auto number = index.findOrAdd(hash, hasKey(key), [&] {
                keys.push_back(key);
                return static_cast<std::uint32_t>(keys.size() - 1);
            });
            expectEqual("number", number, numbers.emplace(key, number).first->second);
        } else if (operation == 2 && !numbers.count(key)) {
            try {
                index.findOrAdd(hash, hasKey(key), []() -> std::uint32_t { throw std::bad_alloc(); });
                fail("a failure to make a thing is passed on");
            } catch (const std::bad_alloc &) {
            }
        }
        const auto found = numbers.find(key);
        expectEqual("found", index.find(hash, hasKey(key)), found == numbers.end() ? 0u : found->second);
    }
    expectEqual("things made", keys.size(), numbers.size() + 1);
    for (const auto &[key, number] : numbers)
        expectEqual("found in the end", index.find(hashOf(static_cast<std::uint8_t>(key), spread), hasKey(key)),
                    number);
}

// ---- Store ----------------------------------------------------------------------------------------------------------

using Name = std::pair<std::string, std::string>;

using NamedReference = std::pair<Name, unsigned>; // with its position

using Value = std::pair<std::string, std::vector<NamedReference>>;

struct Entry {
    ValueStore::Behaviour behaviour = ValueStore::Behaviour::NotRegistered;
    bool present = false;
    std::vector<Value> values = {};

    bool operator==(const Entry &) const = default;
};

std::string describe(const Entry &entry)
{
    return "behaviour " + Tovrin::Fuzz::describe(entry.behaviour) + (entry.present ? " present " : " absent ") +
           Tovrin::Fuzz::describe(entry.values);
}

struct Model {
    std::map<Name, Entry> entries;
    std::set<std::string> presentGroups;
    bool anyRegistered = false;

    void makePresent(const Name &name)
    {
        entries[name].present = true;
        presentGroups.insert(name.first);
    }
};

// Names that differ in their lengths, at their ends, or in the midst.
std::string nameFrom(unsigned choice)
{
    std::string name(choice % 21, 'n');
    if (!name.empty())
        name[choice / 21 * name.size() / 8 % name.size()] = static_cast<char>('a' + choice / 21);
    return name;
}

Name takeName(Input &input)
{
    const auto group = input.byte();
    return {nameFrom(group % 64), nameFrom(input.byte())};
}

ValueStore::EntryName hashed(const Name &name)
{
    return ValueStore::hashed(name.first, name.second);
}

class StoreCheck {
public:
    explicit StoreCheck(Input &input) : input_(input) {}

    void run()
    {
        while (!input_.empty())
            operate();
        compare(*store_);
        compare(ValueStore(*store_));
    }

private:
    void operate()
    {
        const auto operation = input_.choice(9);
        const Name name = takeName(input_);
        switch (operation) {
        case 0:
            registerEntry(name, static_cast<ValueStore::Behaviour>(1 + input_.choice(4)));
            break;
        case 1:
            append(name, {takeText(input_), {}});
            break;
        case 2:
            replace(name);
            break;
        case 3:
            drop(name);
            break;
        case 4:
            store_->makePresent(store_->findOrAdd(hashed(name)));
            model_.makePresent(name);
            break;
        case 5:
            store_->compactIfWasteful();
            break;
        case 6:
            for (int i = 0; i < 130; ++i) // more than 255 values are not counted
                append(name, {std::to_string(i), {}});
            break;
        case 7:
            store_ = std::make_unique<ValueStore>(*store_);
            break;
        default:
            compareEntry(*store_, name);
        }
    }

    void registerEntry(const Name &name, ValueStore::Behaviour behaviour)
    {
        store_->registerEntry(store_->findOrAdd(hashed(name)), behaviour);
        auto &entry = model_.entries[name];
        if (entry.behaviour == ValueStore::Behaviour::NotRegistered)
            entry.behaviour = behaviour;
        model_.anyRegistered = true;
    }

    std::vector<ValueStore::Reference> takeReferences(Value &value)
    {
        std::vector<ValueStore::Reference> references;
        unsigned position = 0;
        for (auto count = input_.choice(4); count > 0; --count) {
            const auto name = takeName(input_);
            position = std::min(position + input_.choice(9), static_cast<unsigned>(value.first.size()));
            references.push_back(store_->referenceTo(hashed(name), position));
            value.second.emplace_back(name, position);
            model_.entries[name];
        }
        return references;
    }

    void append(const Name &name, Value value)
    {
        auto &entry = store_->findOrAdd(hashed(name));
        store_->append(entry, value.first, takeReferences(value));
        model_.entries[name].values.push_back(value);
        model_.makePresent(name);
    }

    void replace(const Name &name)
    {
        auto &entry = store_->findOrAdd(hashed(name));
        Value value{takeText(input_), {}};
        store_->replace(entry, value.first, takeReferences(value));
        model_.entries[name].values = {value};
        model_.makePresent(name);
    }

    void drop(const Name &name)
    {
        if (auto *entry = store_->find(hashed(name)))
            store_->drop(*entry);
        const auto found = model_.entries.find(name);
        if (found == model_.entries.end())
            return;
        found->second.values.clear();
        found->second.present = false;
    }

    static Value valueOf(const ValueStore &store, const ValueStore::Value &stored)
    {
        Value value;
        value.first = stored.text();
        for (const auto &reference : stored.references()) {
            const auto &target = store.entryOf(reference);
            value.second.emplace_back(Name(store.groupOf(target).name(), target.key()), reference.position);
        }
        expectEqual("plain", stored.isPlain(), value.second.empty());
        return value;
    }

    static Entry entryOf(const ValueStore &store, const ValueStore::Entry &stored)
    {
        Entry entry{stored.behaviour(), stored.present()};
        store.forEachValue(stored,
                           [&](const ValueStore::Value &value) { entry.values.push_back(valueOf(store, value)); });
        expectEqual("number of values", store.valueCount(stored), entry.values.size());
        expectEqual("has values", stored.hasValues(), !entry.values.empty());
        if (stored.hasValues())
            expectEqual("last value", valueOf(store, *store.lastValue(stored)), entry.values.back());
        return entry;
    }

    void compareEntry(const ValueStore &store, const Name &name) const
    {
        const auto *stored = store.find(hashed(name));
        const auto known = model_.entries.find(name);
        expectEqual("known", stored != nullptr, known != model_.entries.end());
        if (stored)
            expectEqual("entry", entryOf(store, *stored), known->second);
    }

    // The walk shows each entry once, under its group, and nothing else.
    void compare(const ValueStore &store) const
    {
        std::map<Name, Entry> walked;
        for (const auto *group = store.firstGroup(); group; group = store.groupAfter(*group)) {
            const std::string groupName(group->name());
            expectEqual("group", store.findGroup(ValueStore::hashed(groupName)) == group, true);
            expectEqual("present group", group->present(), model_.presentGroups.count(groupName) != 0);
            for (const auto *entry = store.firstEntry(*group); entry; entry = store.entryAfter(*entry)) {
                const Name name(groupName, entry->key());
                expect(walked.emplace(name, entryOf(store, *entry)).second, "an entry stands in the walk once");
                expect(store.find(hashed(name)) == entry, "an entry that is walked over is found");
            }
        }
        expectEqual("entries", walked, model_.entries);
        expectEqual("any registered", store.anyRegistered(), model_.anyRegistered);
    }

    Input &input_;
    std::unique_ptr<ValueStore> store_ = std::make_unique<ValueStore>();
    Model model_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    switch (input.choice(4)) {
    case 0:
        checkArena(input);
        break;
    case 1:
        checkIndex(input);
        break;
    default:
        StoreCheck(input).run();
    }
    return 0;
}
