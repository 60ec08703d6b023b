// SPDX-License-Identifier: Apache-2.0
#include "entry_story.h"

#include "bad_line.h"
#include "session.h"
#include "terminal.h"
#include "visit_budget.h"

#include <algorithm>

namespace Tovrin::Tool {

EntryStory::EntryStory(const std::string &entryGroup, const std::string &entryKey, Session &session)
    : group(entryGroup), key(entryKey), entry(session.evaluation().find(group, key)), evaluation_(session.evaluation()),
      resolution_(session.resolution())
{
    for (const auto &event : evaluation_.events()) {
        if (isAboutEntry(*event.assignment))
            events.push_back(&event);
    }
    for (const auto &file : session.sources().files)
        addUnread(file);
    if (entry)
        evaluation_.forEachValue(*entry, [this](const auto &value) { addResult(value); });
}

bool EntryStory::isAssigned() const
{
    return !events.empty() ||
           std::any_of(unread.begin(), unread.end(), [](const Unread &file) { return !file.assignments.empty(); });
}

bool EntryStory::isAboutEntry(const Assignment &assignment) const
{
    return assignment.key == key && assignment.group == group;
}

void EntryStory::addUnread(const SourceFile &file)
{
    if (file.readingHangs())
        addUnread(file, "no newline at its end; a program that reads it would never return", file.assignments);
    else if (!file.badLines.empty())
        addUnread(file,
                  std::string(describe(file.badLines.front().problem)) + ": '" + printable(file.badLines.front().text) +
                      "'",
                  file.notApplied);
}

void EntryStory::addUnread(const SourceFile &file, const std::string &reason,
                           const std::vector<Assignment> &assignments)
{
    auto &added = unread.emplace_back(Unread{&file, reason, assignments.size(), {}});
    for (const auto &assignment : assignments) {
        if (isAboutEntry(assignment))
            added.assignments.push_back(&assignment);
    }
}

void EntryStory::addResult(const Evaluation::Value &value)
{
    Path path{&value};
    std::uint32_t visits = 1;
    results.push_back({resolution_.resolve(value), &value, contributions(value, path, visits)});
}

// As far as a program would look.
std::vector<Contribution> EntryStory::contributions(const Evaluation::Value &value, Path &path, std::uint32_t &visits)
{
    std::vector<Contribution> result;
    for (const auto &reference : evaluation_.references(value)) {
        const auto &target = evaluation_.entry(reference.entry);
        if (!target.present()) {
            result.push_back({&target, nullptr, "", false, {}});
            continue;
        }
        if (++visits > Parser::MaximumVisits)
            break;
        const auto &last = evaluation_.value(target.lastValue);
        const bool circular = std::find(path.begin(), path.end(), &last) != path.end();
        result.push_back({&target, &last, std::nullopt, circular, {}});
        if (circular)
            continue;
        path.push_back(&last);
        result.back().references = contributions(last, path, visits);
        path.pop_back();
        result.back().text = resolution_.resolveQuietly(last);
    }
    return result;
}

} // namespace Tovrin::Tool
