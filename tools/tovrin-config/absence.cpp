// SPDX-License-Identifier: Apache-2.0
#include "absence.h"

#include "nearest.h"

#include <algorithm>

namespace Tovrin::Tool {

namespace {

bool isSkipped(const Evaluation &evaluation, const std::string &group, const std::string &key)
{
    const auto &events = evaluation.events();
    return std::any_of(events.begin(), events.end(), [&](const auto &event) {
        return event.deed == Evaluation::Deed::Skipped && event.assignment->key == key &&
               event.assignment->group == group;
    });
}

} // namespace

std::string absence(const Evaluation &evaluation, const std::string &group, const std::string &key,
                    const std::string &keysFile)
{
    const auto name = "[" + group + "] " + key;
    if (isSkipped(evaluation, group, key))
        return name + " is not registered in " + keysFile;
    std::vector<std::string_view> groups;
    std::vector<std::string_view> keys; // of the group
    for (const auto number : evaluation.sortedEntries()) {
        const auto &entry = evaluation.entry(number);
        if (groups.empty() || groups.back() != entry.group)
            groups.push_back(entry.group);
        if (entry.group == group)
            keys.push_back(entry.key);
    }
    auto text = name + " has no value";
    if (const auto nearest = nearestName(key, keys))
        return text + "; did you mean '" + std::string(*nearest) + "'?";
    if (!keys.empty())
        return text;
    if (const auto nearest = nearestName(group, groups))
        return text + "; did you mean the group '" + std::string(*nearest) + "'?";
    return text + ", nor has any key of this group";
}

} // namespace Tovrin::Tool
