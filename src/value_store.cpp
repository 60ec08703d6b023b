// SPDX-License-Identifier: Apache-2.0
#include "value_store.h"

#include "text_scan.h"

#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <sys/auxv.h>
#include <utility>
#include <vector>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace Tovrin::Parser {

namespace {

// The kernel gives every process 16 random bytes, which costs no system call.
std::uint64_t processSeed()
{
    static const std::uint64_t seed = [] {
        std::uint64_t random = 0;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel hands the address over as a number
        if (const auto *bytes = reinterpret_cast<const void *>(getauxval(AT_RANDOM)))
            std::memcpy(&random, bytes, sizeof random);
        return random;
    }();
    return seed;
}

// Entries have hashes of their own, so the index of the groups can do with half of theirs.
std::uint32_t indexHash(const ValueStore::GroupName &name)
{
    return static_cast<std::uint32_t>(name.hash);
}

std::uint32_t checkedLength(std::string_view text)
{
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("ValueStore: text of 4 GiB or more");
    return static_cast<std::uint32_t>(text.size());
}

} // namespace

ValueStore::ValueStore(const ValueStore &other)
{
    for (const auto *group = other.firstGroup(); group; group = other.groupAfter(*group)) {
        const auto name = hashed(group->name());
        at<Group>(findOrAddGroup(name))->present_ = group->present();
        for (const auto *entry = other.firstEntry(*group); entry; entry = other.entryAfter(*entry))
            copyEntry(other, *entry, findOrAdd(hashed(name, entry->key())));
    }
}

ValueStore::GroupName ValueStore::hashed(std::string_view group)
{
    return {group, XXH3_64bits_withSeed(group.data(), group.size(), processSeed())};
}

ValueStore::EntryName ValueStore::hashed(const GroupName &group, std::string_view key)
{
    return {group, key, static_cast<std::uint32_t>(XXH3_64bits_withSeed(key.data(), key.size(), group.hash))};
}

const ValueStore::Group *ValueStore::findGroup(const GroupName &name) const
{
    return at<Group>(groups_.find(indexHash(name), [&](Arena::Number group) { return isNamed(group, name); }));
}

ValueStore::Entry *ValueStore::find(const EntryName &name) const
{
    return at<Entry>(entries_.find(name.hash, [&](Arena::Number entry) { return isNamed(entry, name); }));
}

ValueStore::Entry &ValueStore::findOrAdd(const EntryName &name)
{
    return *at<Entry>(findOrAddNumber(name));
}

void ValueStore::registerEntry(Entry &entry, Behaviour behaviour)
{
    if (entry.registered())
        return;
    entry.behaviour_ = behaviour;
    anyRegistered_ = true;
}

ValueStore::Reference ValueStore::referenceTo(const EntryName &name, std::uint32_t position)
{
    return {findOrAddNumber(name), position};
}

void ValueStore::append(Entry &entry, std::string_view text, std::span<const Reference> references)
{
    auto &added = makeValue(text, references);
    const auto number = added.next_;
    if (entry.hasValues())
        std::swap(added.next_, at<Value>(entry.lastValue_)->next_); // joins two rings
    entry.lastValue_ = number;
    if (entry.valueCount_ < Entry::MaximumCount)
        ++entry.valueCount_;
    makePresent(entry);
}

void ValueStore::replace(Entry &entry, std::string_view text, std::span<const Reference> references)
{
    const auto &added = makeValue(text, references);
    wasteValues(entry);
    entry.lastValue_ = added.next_;
    entry.valueCount_ = 1;
    makePresent(entry);
}

void ValueStore::drop(Entry &entry)
{
    wasteValues(entry);
    entry.lastValue_ = 0;
    entry.valueCount_ = 0;
    entry.present_ = false;
}

void ValueStore::makePresent(Entry &entry)
{
    if (entry.present_)
        return;
    entry.present_ = true;
    at<Group>(entry.group_)->present_ = true;
}

std::size_t ValueStore::valueCount(const Entry &entry) const
{
    if (entry.valueCount_ < Entry::MaximumCount)
        return entry.valueCount_;
    std::size_t count = 0;
    forEachValue(entry, [&count](const Value &) { ++count; });
    return count;
}

void ValueStore::compactIfWasteful()
{
    constexpr std::size_t NotWorthIt = 64 * 1024;
    if (wasted_ < NotWorthIt || wasted_ < arena_.used() / 2)
        return;
    try {
        ValueStore compacted(*this);
        swap(compacted);
    } catch (const std::bad_alloc &) {
        wasted_ = 0; // as large as it is, until as much again is wasted: not a new attempt with every value
    }
}

template <typename Record> Arena::Number ValueStore::makeRecord(std::string_view text)
{
    static_assert(alignof(Record) <= Arena::Unit && offsetof(Record, text_) + sizeof(Record::text_) == sizeof(Record));
    const auto length = checkedLength(text);
    const auto number = arena_.allocate(offsetof(Record, text_) + text.size());
    auto *record = new (arena_.at(number)) Record;
    record->length_ = length;
    text.copy(reinterpret_cast<char *>(record) + offsetof(Record, text_), text.size());
    return number;
}

template <typename Record> void ValueStore::link(Arena::Number &first, Arena::Number &last, Arena::Number added)
{
    (last == 0 ? first : at<Record>(last)->next_) = added;
    last = added;
}

bool ValueStore::isNamed(Arena::Number entry, const EntryName &name) const
{
    const auto *candidate = at<Entry>(entry);
    return sameText(candidate->key(), name.key) && isNamed(candidate->group_, name.group);
}

bool ValueStore::isNamed(Arena::Number group, const GroupName &name) const
{
    return sameText(at<Group>(group)->name(), name.text);
}

Arena::Number ValueStore::findOrAddNumber(const EntryName &name)
{
    return entries_.findOrAdd(
        name.hash, [&](Arena::Number entry) { return isNamed(entry, name); }, [&] { return makeEntry(name); });
}

Arena::Number ValueStore::findOrAddGroup(const GroupName &name)
{
    if (lastGroup_ != 0 && isNamed(lastGroup_, name))
        return lastGroup_;
    return groups_.findOrAdd(
        indexHash(name), [&](Arena::Number group) { return isNamed(group, name); }, [&] { return makeGroup(name); });
}

Arena::Number ValueStore::makeEntry(const EntryName &name)
{
    const auto groupNumber = findOrAddGroup(name.group);
    const auto number = makeRecord<Entry>(name.key);
    auto *group = at<Group>(groupNumber);
    at<Entry>(number)->group_ = groupNumber;
    link<Entry>(group->firstEntry_, group->lastEntry_, number);
    return number;
}

Arena::Number ValueStore::makeGroup(const GroupName &name)
{
    const auto number = makeRecord<Group>(name.text);
    link<Group>(firstGroup_, lastGroup_, number);
    return number;
}

// A ring of its own: the value is its own successor, which tells its number too.
ValueStore::Value &ValueStore::makeValue(std::string_view text, std::span<const Reference> references)
{
    const auto length = checkedLength(text);
    const auto block = arena_.allocate(references.size_bytes() + sizeof(Value) + text.size());
    auto *bytes = arena_.at(block);
    if (!references.empty())
        std::memcpy(bytes, references.data(), references.size_bytes());
    auto *value = new (bytes + references.size_bytes()) Value;
    value->next_ = static_cast<Arena::Number>(block + references.size_bytes() / Arena::Unit);
    value->length_ = length;
    value->referenceCount_ = static_cast<std::uint32_t>(references.size());
    text.copy(reinterpret_cast<char *>(value + 1), text.size());
    return *value;
}

void ValueStore::copyEntry(const ValueStore &other, const Entry &entry, Entry &copy)
{
    if (entry.registered())
        registerEntry(copy, entry.behaviour());
    copy.present_ = entry.present();
    std::vector<Reference> references;
    other.forEachValue(entry, [&](const Value &value) {
        references.clear();
        for (const auto &reference : value.references()) {
            const auto &target = other.entryOf(reference);
            references.push_back(referenceTo(hashed(other.groupOf(target).name(), target.key()), reference.position));
        }
        append(copy, value.text(), references);
    });
}

void ValueStore::wasteValues(const Entry &entry)
{
    forEachValue(entry, [this](const Value &value) {
        wasted_ += Arena::roundedUp(value.references().size_bytes() + sizeof(Value) + value.length_);
    });
}

void ValueStore::swap(ValueStore &other)
{
    std::swap(arena_, other.arena_);
    std::swap(groups_, other.groups_);
    std::swap(entries_, other.entries_);
    std::swap(firstGroup_, other.firstGroup_);
    std::swap(lastGroup_, other.lastGroup_);
    std::swap(wasted_, other.wasted_);
    std::swap(anyRegistered_, other.anyRegistered_);
}

} // namespace Tovrin::Parser
