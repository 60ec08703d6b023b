// SPDX-License-Identifier: Apache-2.0
#include "check_model.h"

#include "text_scan.h"

namespace Tovrin::Tool {

using Outcome = FilledItem::Outcome;

Model::Model(const Sources &sources, const std::vector<KnownKey> &knownKeys, const RegisteredTemplates &templates)
    : filler_(templates), anyKnown_(!knownKeys.empty())
{
    reserve(sources);
    for (const auto &known : knownKeys)
        entries_[findOrAdd(Parser::ValueStore::hashed(known.group), known.key)].known = &known;
    for (const auto &file : sources.files)
        read(file);
}

bool Model::replaces(const Entry &entry) const
{
    return entry.known && entry.known->behaviour == Parser::ConfigParser::Replace;
}

std::span<const Model::Item> Model::items(const Setting &setting) const
{
    return std::span(items_).subspan(setting.firstItem, setting.itemCount);
}

std::size_t Model::columnOf(const Item &item, std::size_t offset) const
{
    const auto &assignment = *settings_[item.setting].assignment;
    return assignment.valueColumn() + static_cast<std::size_t>(item.text.data() - assignment.value.data()) + offset;
}

void Model::reserve(const Sources &sources)
{
    std::size_t assignments = 0;
    for (const auto &file : sources.files)
        assignments += file.assignments.size();
    settings_.reserve(assignments + 1);
    items_.reserve(assignments + 1); // mostly, each has one
}

void Model::read(const SourceFile &file)
{
    std::string_view groupText;
    auto group = Parser::ValueStore::hashed(groupText);
    for (const auto &assignment : file.assignments) {
        if (assignment.group.data() != groupText.data()) {
            groupText = assignment.group;
            group = Parser::ValueStore::hashed(groupText);
        }
        add(file, assignment, findOrAdd(group, assignment.key));
    }
}

void Model::add(const SourceFile &file, const Assignment &assignment, Number entry)
{
    const auto number = static_cast<Number>(settings_.size());
    settings_.push_back({&file, &assignment, entry});
    auto &owner = entries_[entry];
    if (owner.settingCount++ == 0)
        owner.firstSetting = number;
    if (!accepts(owner))
        return;
    if (assignment.value.empty())
        settings_[number].drops = end(owner, number);
    else
        addItems(number);
}

void Model::addItems(Number setting)
{
    settings_[setting].firstItem = static_cast<Number>(items_.size());
    for (auto rest = settings_[setting].assignment->value; !rest.empty();) {
        const auto text = Parser::takeUntil(rest, ';');
        if (text.empty())
            continue;
        items_.push_back(taken(text, setting));
        ++settings_[setting].itemCount;
        store(static_cast<Number>(items_.size() - 1), entries_[settings_[setting].entry]);
    }
}

// Entries that are referred to become known here, if not before.
Model::Item Model::taken(std::string_view text, Number setting)
{
    Item item{text, setting};
    if (text.find('$') == std::string_view::npos) {
        item.blank = Parser::trimmed(text).empty();
        return item;
    }
    const auto &filled = filler_.fill(text);
    item.outcome = filled.outcome;
    item.blank = filled.blank();
    item.firstReference = static_cast<std::uint32_t>(references_.size());
    item.referenceCount = static_cast<std::uint32_t>(filled.references.size());
    for (const auto &reference : filled.references) {
        const auto entry = findOrAdd(Parser::ValueStore::hashed(reference.group), reference.key);
        references_.push_back({entry, static_cast<std::uint32_t>(reference.offset)});
    }
    return item;
}

void Model::store(Number number, Entry &entry)
{
    auto &item = items_[number];
    if (item.outcome == Outcome::Fails || (item.blank && !replaces(entry)))
        return;
    if (replaces(entry) && item.outcome == Outcome::Stored)
        end(entry, item.setting);
    item.previous = entry.lastItem;
    entry.lastItem = number;
}

// Takes all that the entry holds; returns whether there was anything.
bool Model::end(Entry &entry, Number setting)
{
    const bool any = entry.stored();
    for (auto number = entry.lastItem; number != 0; number = items_[number].previous)
        items_[number].endedBy = setting;
    entry.lastItem = 0;
    return any;
}

Model::Number Model::findOrAdd(const GroupName &group, std::string_view key)
{
    const auto isNamed = [&](Number number) {
        return entries_[number].key == key && entries_[number].group == group.text;
    };
    return index_.findOrAdd(Parser::ValueStore::hashed(group, key).hash, isNamed, [&] {
        entries_.push_back({group.text, key});
        return static_cast<Number>(entries_.size() - 1);
    });
}

} // namespace Tovrin::Tool
