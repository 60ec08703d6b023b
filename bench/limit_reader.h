// SPDX-License-Identifier: Apache-2.0
#pragma once

// The limit: every check of the format (kinds of lines, names, headers, a missing last newline), values split at ";"
// and trimmed, "$$", "${env:...}" and "${config:...}" understood, every value stored and looked up. Left out: messages,
// copies, iteration, behaviours other than appending, the other template sources.
//
// One arena holds records that name each other by offsets, each followed by its text: [Group][name], [Entry][key],
// [Value][text]; one hash table finds entries. An entry without a value was only accepted or referred to. Storing may
// move the arena: only offsets stay valid.

#include "line_pieces.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace Bench {

class LimitReader {
public:
    LimitReader() : slots_(512) { enterGroup({}); }
    LimitReader(const LimitReader &) = delete;
    ~LimitReader() { std::free(arena_); }

    struct Entry {
        std::uint32_t group, first, last, size; // offsets, 0 for none
    };
    struct Value {
        std::uint32_t next, references, size;
        std::string_view text() const { return {reinterpret_cast<const char *>(this + 1), size}; }
    };

    // Once a key is accepted, all others are skipped.
    void accept(std::string_view group, std::string_view key)
    {
        filtering_ = false;
        enterGroup(group);
        filtering_ = findOrInsert(key, hashOf(key, hashOf(group, 0))) != 0;
    }

    // False for a file that cannot be read, holds a bad line or does not end with a newline.
    bool readFile(const char *path)
    {
        enterGroup({});
        return readPieces(path, buffer_, [this](const char *lines, const char *end) { return parse(lines, end); });
    }

    Entry find(std::string_view group, std::string_view key) const
    {
        const std::uint32_t entry = slots_[slotOf(group, key, hashOf(key, hashOf(group, 0)))].entry;
        return entry ? *at<Entry>(entry) : Entry{};
    }
    const Value *valueAt(std::uint32_t offset) const { return offset ? at<Value>(offset) : nullptr; }

    // Appends the text with its references filled in; false if they go round in circles.
    bool resolve(const Value &value, std::string &out, int &visits) const
    {
        if (++visits > 33)
            return false;
        std::size_t done = 0;
        for (std::uint32_t offset = value.references; offset; offset = at<Reference>(offset)->next) {
            const Reference &reference = *at<Reference>(offset);
            out += value.text().substr(done, reference.position - done);
            done = reference.position;
            const Value *target = reference.entry ? valueAt(at<Entry>(reference.entry)->last) : nullptr;
            if (target && !resolve(*target, out, visits))
                return false;
        }
        out += value.text().substr(done);
        return true;
    }

private:
    struct Group {
        std::uint32_t hash, size;
    };
    struct Reference {
        std::uint32_t next, position, entry, size;
    };
    struct Slot {
        std::uint32_t hash, entry; // entry 0: free
    };
    static constexpr std::size_t Unit = 4; // of offsets
    template <typename Record> Record *at(std::uint32_t offset) const
    {
        return reinterpret_cast<Record *>(arena_ + offset * Unit);
    }

    template <typename Record> std::string_view textAt(std::uint32_t offset) const
    {
        return {reinterpret_cast<const char *>(at<Record>(offset) + 1), at<Record>(offset)->size};
    }

    template <typename Record> std::uint32_t store(Record record, std::string_view text)
    {
        record.size = static_cast<std::uint32_t>(text.size());
        const std::size_t offset = used_;
        used_ += (sizeof record + text.size() + Unit - 1) / Unit * Unit;
        if (used_ > capacity_)
            arena_ = static_cast<char *>(std::realloc(arena_, capacity_ = used_ + used_ / 4 + 4096));
        std::memcpy(arena_ + offset, &record, sizeof record);
        std::memcpy(arena_ + offset + sizeof record, text.data(), text.size());
        return static_cast<std::uint32_t>(offset / Unit);
    }

    static std::uint32_t hashOf(std::string_view text, std::uint64_t hash)
    {
        const auto mix = [](std::uint64_t mixed) { return (mixed ^ mixed >> 32) * 0x9e3779b97f4a7c15U; };
        std::uint64_t word = text.size();
        for (; text.size() > 8; text.remove_prefix(std::min<std::size_t>(8, text.size() - 8))) { // the last two overlap
            hash = mix(hash ^ word);
            std::memcpy(&word, text.data(), 8);
        }
        hash = mix(hash ^ word);
        if (text.size() == 8)
            std::memcpy(&word, text.data(), 8);
        for (std::size_t i = 0; i < text.size() % 8; ++i)
            word = word << 8 | static_cast<unsigned char>(text[i]);
        return static_cast<std::uint32_t>(mix(hash ^ word) >> 32);
    }

    std::size_t slotOf(std::string_view group, std::string_view key, std::uint32_t hash) const
    {
        for (std::size_t i = hash;; ++i) {
            const Slot &slot = slots_[i &= slots_.size() - 1];
            if (!slot.entry || (slot.hash == hash && textAt<Entry>(slot.entry) == key &&
                                textAt<Group>(at<Entry>(slot.entry)->group) == group))
                return i;
        }
    }

    std::uint32_t findOrInsert(std::string_view key, std::uint32_t hash)
    {
        Slot &slot = slots_[slotOf(textAt<Group>(group_), key, hash)];
        if (slot.entry || filtering_)
            return slot.entry;
        const std::uint32_t entry = store(Entry{group_, 0, 0, 0}, key);
        slot = {hash, entry};
        if (++entryCount_ * 8 > slots_.size() * 7)
            growTable();
        return entry;
    }

    void growTable()
    {
        std::vector<Slot> old(slots_.size() * 2);
        old.swap(slots_);
        for (const Slot &slot : old) {
            std::size_t i = slot.hash;
            while (slot.entry && slots_[i & (slots_.size() - 1)].entry)
                ++i;
            if (slot.entry)
                slots_[i & (slots_.size() - 1)] = slot;
        }
    }

    void enterGroup(std::string_view name) { group_ = store(Group{hashOf(name, 0), 0}, name); }

    bool parse(const char *line, const char *end) // whole lines: the newline stops each scan
    {
        for (const char *next; line != end; line = next) {
            const bool isGroup = *line == '[', isSkipped = *line == '\n' || *line == '#' || *line == ';';
            const char *stop = line + isGroup;
            while (!isSkipped && isNameCharacter(*stop))
                ++stop;
            const std::uint32_t hash = isSkipped ? 0 : hashOf({line, stop}, at<Group>(group_)->hash);
            __builtin_prefetch(&slots_[hash & (slots_.size() - 1)]); // it comes while the end of the line is found
            next = findChar(stop, end, '\n') + 1;
            if (isGroup && *stop == ']' && stop + 2 == next)
                enterGroup({line + 1, stop});
            else if (!isGroup && *stop == '=' && stop != line && *line != ' ')
                storeValues(findOrInsert({line, stop}, hash), {stop + 1, next - 1});
            else if (!isSkipped)
                return false;
        }
        return true;
    }

    void storeValues(std::uint32_t entry, std::string_view text)
    {
        if (!entry)
            return;
        if (text.empty())
            at<Entry>(entry)->first = at<Entry>(entry)->last = 0;
        const bool hasTemplates = text.find('$') != text.npos;
        for (const char *p = text.data(), *const end = p + text.size(), *stop; p < end; p = stop + 1) {
            stop = findChar(p, end, ';');
            std::uint32_t references = 0;
            if (stop == p || (hasTemplates && !substitute({p, stop}, references)))
                continue;
            const std::string_view item = trimmed(hasTemplates ? std::string_view(output_) : std::string_view(p, stop));
            const std::uint32_t value = store(Value{0, references, 0}, item);
            const std::uint32_t last = at<Entry>(entry)->last;
            (last ? at<Value>(last)->next : at<Entry>(entry)->first) = value;
            at<Entry>(entry)->last = value;
        }
    }

    bool substitute(std::string_view text, std::uint32_t &references) // false drops the item
    {
        output_.clear();
        std::uint32_t last = 0;
        for (std::size_t dollar; (dollar = text.find('$')) != text.npos;) {
            output_ += text.substr(0, dollar);
            const bool escaped = text.substr(dollar, 2) == "$$";
            const std::size_t stop = escaped ? dollar + 1 : text.find('}', dollar);
            const std::string_view contents = text.substr(dollar, stop - dollar);
            const std::size_t before = output_.size();
            const std::uint32_t reference = contents.starts_with("${config:") ? referenceTo(contents.substr(9)) : 0;
            if (reference)
                last = (last ? at<Reference>(last)->next : references) = reference;
            const char *value =
                contents.starts_with("${env:") ? std::getenv(std::string(contents.substr(6)).c_str()) : "";
            output_ += escaped ? "$" : value ? value : "";
            if (stop == text.npos || (output_.size() == before && !reference))
                return false;
            text.remove_prefix(stop + 1);
        }
        output_ += text;
        return true;
    }

    std::uint32_t referenceTo(std::string_view name) // group/key
    {
        const std::size_t slash = name.find('/');
        if (slash == name.npos || slash == 0 || slash + 1 == name.size() || name.find('/', slash + 1) != name.npos)
            return 0;
        const std::string_view group = name.substr(0, slash), key = name.substr(slash + 1);
        const std::uint32_t hash = hashOf(key, hashOf(group, 0));
        std::uint32_t entry = slots_[slotOf(group, key, hash)].entry;
        if (!entry && !filtering_) {
            const std::uint32_t current = group_;
            enterGroup(group);
            entry = findOrInsert(key, hash);
            group_ = current;
        }
        return store(Reference{0, static_cast<std::uint32_t>(output_.size()), entry, 0}, {});
    }

    char *arena_ = nullptr;
    std::size_t used_ = Unit, capacity_ = 0; // bytes; offset 0 stands for none
    std::vector<Slot> slots_;
    std::uint32_t group_ = 0, entryCount_ = 0; // group_: the current one
    bool filtering_ = false;
    std::vector<char> buffer_;
    std::string output_;
};

} // namespace Bench
