// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a configuration comes to, with the reasons: the store as ConfigParser::readConfig() fills it, but for each value
// the line that it comes from, and for each assignment what it did.
//
// Texts of values are *template texts*: a dollar sign is "$$", and a template that was kept, since nothing is run or
// looked up unasked, is still there. So a text tells a kept template from the same characters in a value, and is what a
// key file would say. References are no part of the text, but stand beside it. The sources and the known keys have to
// outlive the evaluation, which copies neither.

#include "hash_index.h"
#include "keys_file.h"
#include "options.h"
#include "sources.h"
#include "value_store.h"

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Tool {

class HostTemplates;
class Problems;

class Evaluation {
public:
    using Number = std::uint32_t; // of an entry or a value; 0 stands for none

    struct Reference {
        Number entry;
        std::uint32_t position; // in the text
    };

    // One stored value.
    struct Value {
        std::string_view text; // without what the references insert
        const SourceFile *file;
        const Assignment *assignment;
        std::uint32_t firstReference;
        std::uint32_t referenceCount;
        Number next; // of the entry
        bool isPlain() const { return referenceCount == 0; }
    };

    // One (group, key) that anything names. It is present, and part of what programs see, while it has values.
    struct Entry {
        std::string_view group;
        std::string_view key;
        Number nextOfGroup = 0;
        Number firstValue = 0;
        Number lastValue = 0;
        bool known = false; // registered
        Parser::ConfigParser::ReplacementBehaviour behaviour = Parser::ConfigParser::Amend;
        bool present() const { return firstValue != 0; }
    };

    enum class Deed {
        Stored,   // as the first value of a key that is replaced
        Replaced, // all that the entry held
        Appended,
        Dropped, // the entry, by an empty assignment
        Skipped, // because the key is not registered
        Failed,  // because of a template
        Nothing, // had nothing to store or to drop
    };

    // What one item of an assignment did; an assignment that did something as a whole is one item.
    struct Event {
        const SourceFile *file;
        const Assignment *assignment;
        std::string_view item; // as it stands in the file
        Deed deed;
        Number value = 0;              // that was stored
        std::string_view culprit = {}; // the template, or the part of the item, that failed
    };

    // Reports what is wrong with the files, and reads those that a program would not hang on. Without known keys every
    // key is accepted.
    Evaluation(const Sources &sources, const std::vector<KnownKey> &knownKeys, HostTemplates &templates,
               Problems &problems);

    const std::vector<Event> &events() const { return events_; }

    // Null if nothing names it.
    const Entry *find(std::string_view group, std::string_view key) const;

    const Entry &entry(Number number) const { return entries_[number]; }
    std::size_t entryCount() const { return entries_.size(); } // number 0 included
    const Value &value(Number number) const { return values_[number]; }
    std::span<const Reference> references(const Value &value) const
    {
        return std::span(references_).subspan(value.firstReference, value.referenceCount);
    }
    bool anyKnown() const { return anyKnown_; }

    // All present entries, by group and then key.
    std::vector<Number> sortedEntries() const;

    template <typename Use> void forEachValue(const Entry &entry, Use &&use) const
    {
        for (auto number = entry.firstValue; number != 0; number = values_[number].next)
            use(values_[number]);
    }

private:
    using GroupName = Parser::ValueStore::GroupName;
    using Name = Parser::ValueStore::EntryName;

    struct Group {
        std::string_view name;
        Number firstEntry = 0;
    };

    void reserveFor(const Sources &sources);
    void add(const KnownKey &known);
    void read(const SourceFile &file);
    void apply(const SourceFile &file, const Assignment &assignment, Number entry);
    void applyItem(Event event, Number entry);
    void store(Event &event, Number entry, std::string_view text, std::size_t firstReference);
    bool fill(Event &event);
    bool fillTemplate(std::string_view contents);
    void trimFilled(std::size_t firstReference);
    void fail(Event &event, std::string_view culprit);
    Number findOrAdd(const Name &name);
    Number findOrAddGroup(const GroupName &name);
    Number makeEntry(const Name &name);
    bool isNamed(Number entry, const Name &name) const;

    HostTemplates &templates_;
    Problems &problems_;
    std::vector<Group> groups_{1};
    std::vector<Entry> entries_{1};
    std::vector<Value> values_{1};
    std::vector<Reference> references_;
    std::vector<Event> events_;
    std::deque<std::string> texts_; // of values that are no part of a file
    std::string filled_;
    Parser::HashIndex groupIndex_;
    Parser::HashIndex entryIndex_;
    bool anyKnown_ = false;
};

} // namespace Tovrin::Tool
