// SPDX-License-Identifier: Apache-2.0
#include "check_guess.h"

#include "nearest.h"
#include "text_scan.h"

#include <algorithm>

namespace Tovrin::Tool {

namespace {

using Parser::ValueStore;

// Leaves out what people overlook.
void fold(std::string_view name, std::string &folded)
{
    folded.clear();
    for (const char c : name) {
        if (!Parser::isSpace(c))
            folded += Parser::toLower(c);
    }
}

std::uint32_t hashOfKey(std::string_view key)
{
    return static_cast<std::uint32_t>(ValueStore::hashed(key).hash);
}

} // namespace

std::string withoutCapitals(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), Parser::toLower);
    return text;
}

bool lookSame(std::string_view a, std::string_view b)
{
    for (;;) {
        a = Parser::withoutLeadingSpace(a);
        b = Parser::withoutLeadingSpace(b);
        if (a.empty() || b.empty())
            return a.empty() && b.empty();
        if (Parser::toLower(a.front()) != Parser::toLower(b.front()))
            return false;
        a.remove_prefix(1);
        b.remove_prefix(1);
    }
}

std::uint32_t LooksHash::operator()(std::string_view group, std::string_view key)
{
    fold(group, group_);
    fold(key, key_);
    return ValueStore::hashed(group_, key_).hash;
}

std::string nameOf(const Model::Entry &entry)
{
    return std::string(entry.group).append("/").append(entry.key);
}

Guesser::Guesser(const Model &model, std::vector<Model::Number> candidates)
    : model_(model), candidates_(std::move(candidates))
{
    for (const auto number : candidates_) {
        const auto &entry = model_.entry(number);
        const auto looksSame = [&](Model::Number other) {
            return lookSame(model_.entry(other).group, entry.group) && lookSame(model_.entry(other).key, entry.key);
        };
        looks_.findOrAdd(hashOfLooks_(entry.group, entry.key), looksSame, [number] { return number; });
        const auto isKey = [&](Model::Number other) { return model_.entry(other).key == entry.key; };
        keys_.findOrAdd(hashOfKey(entry.key), isKey, [number] { return number; });
        keysOfGroups_[entry.group].push_back(entry.key);
    }
}

const Model::Entry *Guesser::sameButForLooks(std::string_view group, std::string_view key)
{
    const auto looksSame = [&](Model::Number other) {
        return lookSame(model_.entry(other).group, group) && lookSame(model_.entry(other).key, key);
    };
    const auto found = looks_.find(hashOfLooks_(group, key), looksSame);
    return found == 0 ? nullptr : &model_.entry(found);
}

const Model::Entry *Guesser::nearest(std::string_view group, std::string_view key)
{
    if (const auto *same = sameButForLooks(group, key))
        return same;
    if (const auto *mistyped = nearestOfGroup(group, key))
        return mistyped;
    return sameKeyElsewhere(key);
}

const Model::Entry *Guesser::nearestOfGroup(std::string_view group, std::string_view key)
{
    const auto keys = keysOfGroups_.find(group);
    if (keys == keysOfGroups_.end())
        return nullptr;
    constexpr std::size_t TypicalLength = 16;
    const auto effort = keys->second.size() * (key.size() + 1) * TypicalLength;
    if (effort > effortLeft_)
        return nullptr;
    effortLeft_ -= effort;
    const auto found = nearestName(key, keys->second);
    return found ? sameButForLooks(group, *found) : nullptr;
}

const Model::Entry *Guesser::sameKeyElsewhere(std::string_view key) const
{
    const auto isKey = [&](Model::Number other) { return model_.entry(other).key == key; };
    const auto found = keys_.find(hashOfKey(key), isKey);
    return found == 0 ? nullptr : &model_.entry(found);
}

} // namespace Tovrin::Tool
