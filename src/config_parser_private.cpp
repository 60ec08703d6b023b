// SPDX-License-Identifier: Apache-2.0
#include "config_parser_private.h"

#include "key_file_cursor.h"
#include "template_filler.h"
#include "text_scan.h"
#include "visit_budget.h"

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/key_file_parser.h>
#include <tovrin/parser/logging.h>

#include <stdexcept>

namespace Tovrin::Parser {

using Logging::lConfigParser;
using Logging::logError;
using Logging::logWarning;

namespace {

using Behaviour = ValueStore::Behaviour;

Behaviour behaviourOf(std::int32_t registered)
{
    switch (registered) {
    case ConfigParser::Replace:
        return Behaviour::Replace;
    case ConfigParser::Amend:
        return Behaviour::Amend;
    case -1:
        return Behaviour::Ignore;
    default:
        return Behaviour::StoreNothing;
    }
}

constexpr std::int32_t TooManyVisits = -1;

} // namespace

// One file on its way into the store.
class ConfigParserPrivate::FileReading {
public:
    FileReading(ConfigParserPrivate &parser, const std::string &path)
        : parser_(parser), store_(parser.store_), file_(path), cursor_(file_), filler_(parser.substitutor_)
    {
    }

    bool run()
    {
        try {
            readAll();
        } catch (const std::length_error &) { // GCOVR_EXCL_LINE: takes a text of 4 GiB
            return false;                     // a text too long for the store GCOVR_EXCL_LINE
        }
        return !file_.error();
    }

private:
    void readAll()
    {
        // At an unterminated last line the cursor stays, and this never ends: files have to end with a newline.
        while (cursor_.seekNext() != KeyFileCursor::Step::End && !file_.error()) {
            applyEntry();
            store_.compactIfWasteful(); // for the sake of a key that is set over and over
        }
    }

    void applyEntry()
    {
        if (cursor_.headerCount() != groupHeaderCount_) {
            group_ = ValueStore::hashed(cursor_.group());
            groupHeaderCount_ = cursor_.headerCount();
        }
        const auto name = ValueStore::hashed(group_, cursor_.key());
        auto *entry = store_.anyRegistered() ? store_.find(name) : &store_.findOrAdd(name);
        const auto behaviour = parser_.getReplacementBehaviour(entry);
        if (behaviour == Behaviour::NotRegistered || behaviour == Behaviour::Ignore)
            return;
        if (cursor_.value().empty())
            store_.drop(*entry);
        else
            applyItems(*entry, behaviour);
    }

    void applyItems(ValueStore::Entry &entry, Behaviour behaviour)
    {
        auto rest = cursor_.value();
        const bool mayHoldTemplates = rest.find('$') != std::string_view::npos;
        while (!rest.empty()) {
            const auto item = takeUntil(rest, ';');
            if (item.empty())
                continue;
            if (!mayHoldTemplates)
                apply(entry, behaviour, trimmed(item), {});
            else if (substitute(item))
                apply(entry, behaviour, filler_.trimmedOutput(), references_);
        }
    }

    void apply(ValueStore::Entry &entry, Behaviour behaviour, std::string_view text,
               std::span<const ValueStore::Reference> references)
    {
        if (behaviour == Behaviour::Replace)
            store_.replace(entry, text, references);
        else if (behaviour == Behaviour::Amend && !(text.empty() && references.empty()))
            store_.append(entry, text, references);
    }

    // Fills in the templates of an item, into filler_ and references_. Kept out of line: most items have none.
    [[gnu::noinline]] bool substitute(std::string_view item)
    {
        references_.clear();
        const bool filled = filler_.fill(item, [this](const auto &group, const auto &key, auto position) {
            references_.push_back(store_.referenceTo(ValueStore::hashed(group, key), position));
        });
        for (auto &reference : references_) {
            reference.position = static_cast<std::uint32_t>(
                offsetAfterTrim(reference.position, filler_.output(), filler_.trimmedOutput()));
        }
        return filled;
    }

    ConfigParserPrivate &parser_;
    ValueStore &store_;
    KeyFileParser file_;
    KeyFileCursor cursor_;
    TemplateFiller filler_;
    ValueStore::GroupName group_ = ValueStore::hashed("");
    std::uint64_t groupHeaderCount_ = 0;
    std::vector<ValueStore::Reference> references_; // of the item that was filled in last
};

ConfigParserPrivate::ConfigParserPrivate(std::uint32_t uid) : substitutor_(uid)
{
}

ConfigParserPrivate::ConfigParserPrivate(const ConfigParserPrivate &other)
    : store_(other.store_), substitutor_(other.substitutor_)
{
    substitutor_.templates_ = other.substitutor_.templates_; // which copying a substitutor leaves out
}

void ConfigParserPrivate::addKey(const std::string &group, const std::string &key, std::int32_t behaviour)
{
    store_.registerEntry(store_.findOrAdd(ValueStore::hashed(group, key)), behaviourOf(behaviour));
}

void ConfigParserPrivate::addTemplate(const std::string &name, const std::string &value)
{
    substitutor_.templates_.emplace(name, value);
}

void ConfigParserPrivate::checkKey(const std::string &group, const std::string &key) const
{
    warnUnlessRegistered(find(group, key), group, key);
}

bool ConfigParserPrivate::contains(const std::string &group) const
{
    const auto *found = store_.findGroup(ValueStore::hashed(group));
    return found && found->present();
}

bool ConfigParserPrivate::contains(const std::string &group, const std::string &key) const
{
    const auto *entry = find(group, key);
    warnUnlessRegistered(entry, group, key);
    return entry && entry->present();
}

bool ConfigParserPrivate::readConfig(const std::string &path)
{
    const bool loaded = FileReading(*this, path).run();
    if (!loaded)
        logError(lConfigParser) << "Failed to load config from '" << path << "'";
    return loaded;
}

template <typename Text> void ConfigParserPrivate::resolveValue(const ValueStore::Value &value, Text &out) const
{
    std::int32_t counter = 0;
    out.clear();
    resolveValueDepth(value, out, counter);
    if (counter >= 0)
        return;
    logError(lConfigParser) << "Max depth reached, possibly circular reference.";
    out.clear();
}

template void ConfigParserPrivate::resolveValue(const ValueStore::Value &value, std::string &out) const;
template void ConfigParserPrivate::resolveValue(const ValueStore::Value &value, std::pmr::string &out) const;

void ConfigParserPrivate::resolvedText(const std::string &group, const std::string &key, std::string &out) const
{
    const auto *value = findLastValue(group, key);
    if (!value)
        return;
    if (value->isPlain())
        out = value->text();
    else
        resolveValue(*value, out);
}

void ConfigParserPrivate::resolvedTexts(const std::string &group, const std::string &key, std::vector<std::string> &out)
{
    const auto &entry = listEntry(group, key);
    out.reserve(out.size() + store_.valueCount(entry));
    forEachResolved(entry, [&out](std::string_view text) { out.emplace_back(text); });
}

const ValueStore::Entry *ConfigParserPrivate::find(const std::string &group, const std::string &key) const
{
    return store_.find(ValueStore::hashed(group, key));
}

ValueStore::Entry &ConfigParserPrivate::listEntry(const std::string &group, const std::string &key)
{
    auto &entry = store_.findOrAdd(ValueStore::hashed(group, key));
    store_.makePresent(entry);
    return entry;
}

// Null if the key has no value.
const ValueStore::Value *ConfigParserPrivate::findLastValue(const std::string &group, const std::string &key) const
{
    const auto *entry = find(group, key);
    return entry ? store_.lastValue(*entry) : nullptr;
}

// What reading does with an entry, null standing for one that nothing has named yet. A parser without any registered
// key accepts all of them.
ValueStore::Behaviour ConfigParserPrivate::getReplacementBehaviour(const ValueStore::Entry *entry) const
{
    if (!store_.anyRegistered())
        return Behaviour::Amend;
    return entry ? entry->behaviour() : Behaviour::NotRegistered;
}

void ConfigParserPrivate::warnUnlessRegistered(const ValueStore::Entry *entry, std::string_view group,
                                               std::string_view key) const
{
    if (store_.anyRegistered() && !(entry && entry->registered()))
        logWarning(lConfigParser) << std::string(group) << "/" << std::string(key)
                                  << " has not been added to the parser";
}

// Appends the resolved text of a value. The counter runs over all values visited, whatever their nesting; at its end it
// becomes TooManyVisits, and what was appended so far is worth nothing.
template <typename Text>
void ConfigParserPrivate::resolveValueDepth(const ValueStore::Value &value, Text &out, std::int32_t &counter) const
{
    if (static_cast<std::uint32_t>(counter) >= MaximumVisits) {
        counter = TooManyVisits;
        return;
    }
    ++counter;
    const auto text = value.text();
    std::size_t copied = 0;
    for (const auto &reference : value.references()) {
        out.append(text, copied, reference.position - copied);
        copied = reference.position;
        const auto &entry = store_.entryOf(reference);
        warnUnlessRegistered(&entry, store_.groupOf(entry).name(), entry.key());
        if (!entry.hasValues())
            continue;
        resolveValueDepth(*store_.lastValue(entry), out, counter);
        if (counter < 0)
            return;
    }
    out.append(text, copied);
}

} // namespace Tovrin::Parser
