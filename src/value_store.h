// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a parser holds: groups, their entries (a key each), and the list of values of every entry.
//
// All of it lives in one arena, as records of a small head with the text behind it, so that reading a file costs hardly
// any allocation and an entry little more than its text. Invariants:
//
// - A record never moves, except in compactIfWasteful(), which ends the life of every pointer that was handed out.
// - An entry exists as soon as anything names it: a registration, a reference, a value. It is *present*, and part of
//   what programs see, only from its first value, or from being asked for as a list, until it is dropped; its group is
//   present from then on for ever.
// - An entry's values form a ring: the last one names the first. That is one number for both ends.
// - Groups and entries are linked in the order in which they came to be, which makes iteration repeatable.
// - A value's references stand before its record, in the order of their positions, none of which is past the text.
// - The hashes are seeded per process: a hostile file cannot choose names that collide.
//
// A text of 4 GiB or more throws std::length_error.

#include "arena.h"
#include "hash_index.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Tovrin::Parser {

class ValueStore {
public:
    class Group;
    class Entry;
    class Value;

    // How a key is registered. Numbers other than those of ConfigParser::ReplacementBehaviour are one.
    enum class Behaviour : std::int8_t {
        NotRegistered,
        Ignore, // what -1 registers: known, but not read
        Replace,
        Amend,
        StoreNothing,
    };

    // Names that were hashed once for many look-ups. The texts must outlive them.
    struct GroupName {
        std::string_view text;
        std::uint64_t hash;
    };
    struct EntryName {
        GroupName group;
        std::string_view key;
        std::uint32_t hash;
    };
    static GroupName hashed(std::string_view group);
    static EntryName hashed(const GroupName &group, std::string_view key);
    static EntryName hashed(std::string_view group, std::string_view key) { return hashed(hashed(group), key); }

    // In the text of a value, where the value of the entry belongs.
    struct Reference {
        Arena::Number entry;
        std::uint32_t position;
    };

    ValueStore() = default;
    ValueStore(const ValueStore &other);
    ValueStore &operator=(const ValueStore &) = delete;

    // Null if nothing named it so far. An entry that is found need not be present.
    const Group *findGroup(const GroupName &name) const;
    Entry *find(const EntryName &name) const;

    // Makes the entry if need be; it is not present then.
    Entry &findOrAdd(const EntryName &name);

    // The first registration stays.
    void registerEntry(Entry &entry, Behaviour behaviour);
    bool anyRegistered() const { return anyRegistered_; }

    // A reference for a value of this store; makes the entry if need be.
    Reference referenceTo(const EntryName &name, std::uint32_t position);
    const Entry &entryOf(const Reference &reference) const;

    // Changes of an entry's list. The text must not lie in this store.
    void append(Entry &entry, std::string_view text, std::span<const Reference> references);
    void replace(Entry &entry, std::string_view text, std::span<const Reference> references);
    void drop(Entry &entry);
    void makePresent(Entry &entry);

    // The walk over all there is; null at the end.
    const Group *firstGroup() const;
    const Group *groupAfter(const Group &group) const;
    const Group &groupOf(const Entry &entry) const;
    const Entry *firstEntry(const Group &group) const;
    const Entry *entryAfter(const Entry &entry) const;
    const Value *lastValue(const Entry &entry) const;
    std::size_t valueCount(const Entry &entry) const;

    // Calls use(value) with each value of the entry, in order.
    template <typename Use> void forEachValue(const Entry &entry, Use &&use) const;

    // Replaced and dropped values stay in the arena. Rebuilds the store without them once they are most of it, which
    // ends the life of all pointers into the store. Cheap to ask for after every change.
    void compactIfWasteful();

    // Bytes that records take, for tests and benchmarks.
    std::size_t used() const { return arena_.used(); }

private:
    template <typename Record> Record *at(Arena::Number number) const
    {
        return number == 0 ? nullptr : reinterpret_cast<Record *>(arena_.at(number));
    }
    template <typename Record> Arena::Number makeRecord(std::string_view text);
    template <typename Record> void link(Arena::Number &first, Arena::Number &last, Arena::Number added);

    bool isNamed(Arena::Number entry, const EntryName &name) const;
    bool isNamed(Arena::Number group, const GroupName &name) const;
    Arena::Number findOrAddNumber(const EntryName &name);
    Arena::Number findOrAddGroup(const GroupName &name);
    Arena::Number makeEntry(const EntryName &name);
    Arena::Number makeGroup(const GroupName &name);
    Value &makeValue(std::string_view text, std::span<const Reference> references);
    void copyEntry(const ValueStore &other, const Entry &entry, Entry &copy);
    void wasteValues(const Entry &entry);
    void swap(ValueStore &other);

    Arena arena_;
    HashIndex groups_;
    HashIndex entries_;
    Arena::Number firstGroup_ = 0;
    Arena::Number lastGroup_ = 0; // also tried first when an entry is added: files hold groups together
    std::size_t wasted_ = 0;      // bytes of records that nothing names any more
    bool anyRegistered_ = false;
};

// The records. Their texts begin right behind the last field, in what would otherwise be padding.

class ValueStore::Group {
public:
    std::string_view name() const { return {text_, length_}; }
    bool present() const { return present_; }

private:
    friend class ValueStore;

    Arena::Number next_ = 0;
    Arena::Number firstEntry_ = 0;
    Arena::Number lastEntry_ = 0;
    std::uint32_t length_ = 0;
    bool present_ = false;
    char text_[3] = {};
};

class ValueStore::Entry {
public:
    std::string_view key() const { return {text_, length_}; }
    bool present() const { return present_; }
    bool hasValues() const { return lastValue_ != 0; }
    Behaviour behaviour() const { return behaviour_; }
    bool registered() const { return behaviour_ != Behaviour::NotRegistered; }

private:
    friend class ValueStore;

    static constexpr std::uint8_t MaximumCount = 255; // longer lists are rare, and can be walked

    Arena::Number next_ = 0; // of the group
    Arena::Number group_ = 0;
    Arena::Number lastValue_ = 0;
    std::uint32_t length_ = 0;
    Behaviour behaviour_ : 4 = Behaviour::NotRegistered;
    bool present_ : 1 = false;
    std::uint8_t valueCount_ = 0; // at most MaximumCount, which stands for more too
    char text_[2] = {};
};

class ValueStore::Value {
public:
    std::string_view text() const { return {reinterpret_cast<const char *>(this + 1), length_}; }
    bool isPlain() const { return referenceCount_ == 0; }
    std::span<const Reference> references() const
    {
        return {reinterpret_cast<const Reference *>(this) - referenceCount_, referenceCount_};
    }

private:
    friend class ValueStore;

    Arena::Number next_ = 0;
    std::uint32_t length_ = 0;
    std::uint32_t referenceCount_ = 0;
};

// The walk is what looking up a list consists of.

inline const ValueStore::Group *ValueStore::firstGroup() const
{
    return at<Group>(firstGroup_);
}

inline const ValueStore::Group *ValueStore::groupAfter(const Group &group) const
{
    return at<Group>(group.next_);
}

inline const ValueStore::Group &ValueStore::groupOf(const Entry &entry) const
{
    return *at<Group>(entry.group_);
}

inline const ValueStore::Entry *ValueStore::firstEntry(const Group &group) const
{
    return at<Entry>(group.firstEntry_);
}

inline const ValueStore::Entry *ValueStore::entryAfter(const Entry &entry) const
{
    return at<Entry>(entry.next_);
}

inline const ValueStore::Entry &ValueStore::entryOf(const Reference &reference) const
{
    return *at<Entry>(reference.entry);
}

inline const ValueStore::Value *ValueStore::lastValue(const Entry &entry) const
{
    return at<Value>(entry.lastValue_);
}

template <typename Use> void ValueStore::forEachValue(const Entry &entry, Use &&use) const
{
    const auto *const last = lastValue(entry);
    if (!last)
        return;
    const auto *value = last;
    do {
        value = at<Value>(value->next_);
        use(*value);
    } while (value != last);
}

} // namespace Tovrin::Parser
