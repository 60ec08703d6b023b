// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a configuration comes to, as far as that can be told without looking anything up: which items are stored, which
// of them may be missing, what ends them, and which entries they refer to.

#include "check_items.h"
#include "hash_index.h"
#include "keys_file.h"
#include "sources.h"
#include "value_store.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace Tovrin::Tool {

class Model {
public:
    using Number = std::uint32_t; // 0 stands for none

    struct Reference {
        Number entry;
        std::uint32_t offset; // of its "${" in the item
    };

    struct Item {
        std::string_view text; // as it stands in the file
        Number setting;
        Number previous = 0; // the item of the entry before it, while both are stored
        Number endedBy = 0;  // the setting that replaced or dropped it
        std::uint32_t firstReference = 0;
        std::uint32_t referenceCount = 0;
        FilledItem::Outcome outcome = FilledItem::Outcome::Stored;
        bool blank = false;
    };

    // An assignment that a program applies.
    struct Setting {
        const SourceFile *file;
        const Assignment *assignment;
        Number entry;
        Number firstItem = 0; // of those that are not empty
        std::uint32_t itemCount = 0;
        bool drops = false; // something that was stored before
    };

    // One (group, key) that anything names.
    struct Entry {
        std::string_view group;
        std::string_view key;
        const KnownKey *known = nullptr; // its registration
        Number firstSetting = 0;
        std::uint32_t settingCount = 0;
        Number lastItem = 0; // of those that are stored at the end
        bool stored() const { return lastItem != 0; }
    };

    // All of them have to outlive the model.
    Model(const Sources &sources, const std::vector<KnownKey> &knownKeys, const RegisteredTemplates &templates);

    // Without known keys a program takes all of them, and adds.
    bool anyKnown() const { return anyKnown_; }
    bool accepts(const Entry &entry) const { return !anyKnown_ || entry.known; }
    bool replaces(const Entry &entry) const;

    // In reading order.
    std::span<const Setting> settings() const { return std::span(settings_).subspan(1); }
    std::span<const Item> items(const Setting &setting) const;

    // In the order in which they are first named, registered ones first.
    std::span<const Entry> entries() const { return std::span(entries_).subspan(1); }

    const Entry &entry(Number number) const { return entries_[number]; }
    const Setting &setting(Number number) const { return settings_[number]; }
    const Item &item(Number number) const { return items_[number]; }
    Number numberOf(const Entry &entry) const { return static_cast<Number>(&entry - entries_.data()); }
    Number numberOf(const Item &item) const { return static_cast<Number>(&item - items_.data()); }
    Number lastNumber() const { return static_cast<Number>(items_.size()); }

    std::span<const Reference> references(const Item &item) const
    {
        return std::span(references_).subspan(item.firstReference, item.referenceCount);
    }

    // The column of something in the line that the item is part of.
    std::size_t columnOf(const Item &item, std::size_t offset = 0) const;

    // Calls use(item) with each item that is stored at the end, the last one first.
    template <typename Use> void forEachStored(const Entry &entry, Use &&use) const
    {
        for (auto number = entry.lastItem; number != 0; number = items_[number].previous)
            use(items_[number]);
    }

    // The same with those of them that a reference may get: the last one, and what is the last one if look-ups fail.
    template <typename Use> void forEachReferable(const Entry &entry, Use &&use) const
    {
        for (auto number = entry.lastItem; number != 0; number = items_[number].previous) {
            use(items_[number]);
            if (items_[number].outcome == FilledItem::Outcome::Stored)
                return;
        }
    }

private:
    using GroupName = Parser::ValueStore::GroupName;

    void reserve(const Sources &sources);
    void read(const SourceFile &file);
    void add(const SourceFile &file, const Assignment &assignment, Number entry);
    void addItems(Number setting);
    Item taken(std::string_view text, Number setting);
    void store(Number item, Entry &entry);
    bool end(Entry &entry, Number setting);
    Number findOrAdd(const GroupName &group, std::string_view key);

    ItemFiller filler_;
    std::vector<Entry> entries_{1};
    std::vector<Setting> settings_{1};
    std::vector<Item> items_{1};
    std::vector<Reference> references_;
    Parser::HashIndex index_;
    bool anyKnown_;
};

} // namespace Tovrin::Tool
