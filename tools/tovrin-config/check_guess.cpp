// SPDX-License-Identifier: Apache-2.0
#include "check_guess.h"

#include "nearest.h"
#include "text_scan.h"

namespace Tovrin::Tool {

namespace {

using Parser::ValueStore;

std::uint32_t hashOf(std::string_view group, std::string_view key)
{
    return ValueStore::hashed(group, key).hash;
}

} // namespace

std::string folded(std::string_view name)
{
    std::string result;
    for (const char c : name) {
        if (!Parser::isSpace(c))
            result += Parser::toLower(c);
    }
    return result;
}

std::string nameOf(const Model::Entry &entry)
{
    return std::string(entry.group).append("/").append(entry.key);
}

Guesser::Guesser(const Model &model, std::vector<Model::Number> candidates)
    : model_(model), candidates_(std::move(candidates)), effortLeft_(50'000'000)
{
    for (const auto number : candidates_) {
        const auto &entry = model_.entry(number);
        const auto group = folded(entry.group);
        const auto key = folded(entry.key);
        const auto looksSame = [&](Model::Number other) {
            return folded(model_.entry(other).group) == group && folded(model_.entry(other).key) == key;
        };
        looks_.findOrAdd(hashOf(group, key), looksSame, [number] { return number; });
        const auto isKey = [&](Model::Number other) { return model_.entry(other).key == entry.key; };
        keys_.findOrAdd(hashOf("", entry.key), isKey, [number] { return number; });
        keysOfGroups_[entry.group].push_back(entry.key);
    }
}

const Model::Entry *Guesser::sameButForLooks(std::string_view group, std::string_view key) const
{
    const auto foldedGroup = folded(group);
    const auto foldedKey = folded(key);
    const auto looksSame = [&](Model::Number other) {
        return folded(model_.entry(other).group) == foldedGroup && folded(model_.entry(other).key) == foldedKey;
    };
    const auto found = looks_.find(hashOf(foldedGroup, foldedKey), looksSame);
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
    const auto found = keys_.find(hashOf("", key), isKey);
    return found == 0 ? nullptr : &model_.entry(found);
}

} // namespace Tovrin::Tool
