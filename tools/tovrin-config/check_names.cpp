// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

#include "check_guess.h"

#include <algorithm>

namespace Tovrin::Tool {

namespace {

using Entry = Model::Entry;
using Setting = Model::Setting;

std::vector<Model::Number> registeredEntries(const Model &model)
{
    std::vector<Model::Number> numbers;
    for (const auto &entry : model.entries()) {
        if (entry.known)
            numbers.push_back(model.numberOf(entry));
    }
    return numbers;
}

std::string withoutBlanks(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}

// How two names differ that look the same.
std::string difference(const std::string &a, const std::string &b)
{
    if (withoutCapitals(a) == withoutCapitals(b))
        return "in case";
    return withoutBlanks(a) == withoutBlanks(b) ? "in white space" : "in case and white space";
}

void reportUnregistered(const Setting &setting, const Entry &entry, Guesser &guesser, Findings &findings)
{
    const auto *same = guesser.sameButForLooks(entry.group, entry.key);
    const auto *meant = same ? same : guesser.nearest(entry.group, entry.key);
    addAt(setting, 1, same ? FindingId::NearName : FindingId::Unregistered,
          inQuotes(nameOf(entry)) + " is not registered, so the program passes it over" +
              (meant ? "; did you mean " + inQuotes(nameOf(*meant)) + "?" : ""),
          findings);
}

void checkRegistered(const CheckContext &context, Findings &findings)
{
    Guesser guesser(context.model, registeredEntries(context.model));
    for (const auto &setting : context.model.settings()) {
        const auto &entry = context.model.entry(setting.entry);
        if (!entry.known)
            reportUnregistered(setting, entry, guesser, findings);
    }
}

// Names that look the same, of groups or of the keys of a group. The one that is used less is the mistake, else the
// one that comes later.
class Lookalikes {
public:
    // Returns the number of the first name that looks like this one; this one's if there is none.
    Model::Number firstLike(std::string_view scope, std::string_view name, Model::Number number)
    {
        const auto same = [&](Model::Number other) {
            return names_[other - 1].scope == scope && lookSame(names_[other - 1].text, name);
        };
        const auto found = index_.findOrAdd(hash_(scope, name), same, [&] {
            names_.push_back({scope, name, number});
            return static_cast<Model::Number>(names_.size());
        });
        return names_[found - 1].number;
    }

private:
    struct Name {
        std::string_view scope;
        std::string_view text;
        Model::Number number;
    };
    LooksHash hash_;
    std::vector<Name> names_;
    Parser::HashIndex index_;
};

void reportKey(const Model &model, const Entry &wrong, const Entry &right, Findings &findings)
{
    addAt(model.setting(wrong.firstSetting), 1, FindingId::NearName,
          "key " + inQuotes(wrong.key) + " differs only " + difference(std::string(wrong.key), std::string(right.key)) +
              " from " + inQuotes(right.key) + " at " + placeOf(model.setting(right.firstSetting)),
          findings);
}

void checkKeys(const Model &model, Findings &findings)
{
    Lookalikes lookalikes;
    for (const auto &entry : model.entries()) {
        if (entry.settingCount == 0)
            continue;
        const auto &first = model.entry(lookalikes.firstLike(entry.group, entry.key, model.numberOf(entry)));
        if (&first == &entry)
            continue;
        const bool firstIsWrong = first.settingCount < entry.settingCount;
        reportKey(model, firstIsWrong ? first : entry, firstIsWrong ? entry : first, findings);
    }
}

struct Group {
    std::string_view name;
    const Setting *firstSetting;
    std::size_t settingCount = 0;
};

std::vector<Group> groupsOf(const Model &model)
{
    std::vector<Group> groups;
    Parser::HashIndex index;
    for (const auto &setting : model.settings()) {
        const auto name = model.entry(setting.entry).group;
        const auto isNamed = [&](std::uint32_t number) { return groups[number - 1].name == name; };
        const auto number =
            index.findOrAdd(static_cast<std::uint32_t>(Parser::ValueStore::hashed(name).hash), isNamed, [&] {
                groups.push_back({name, &setting});
                return static_cast<std::uint32_t>(groups.size());
            });
        ++groups[number - 1].settingCount;
    }
    return groups;
}

std::uint32_t headerLineOf(const Setting &setting)
{
    const auto &assignment = *setting.assignment;
    return assignment.headerLine == 0 ? assignment.line : assignment.headerLine;
}

void reportGroup(const Group &wrong, const Group &right, Findings &findings)
{
    const auto line = headerLineOf(*wrong.firstSetting);
    findings.add(FindingId::NearName, wrong.firstSetting->file->path, line, 1,
                 "group " + inQuotes(wrong.name) + " differs only " +
                     difference(std::string(wrong.name), std::string(right.name)) + " from " + inQuotes(right.name) +
                     " at " + right.firstSetting->file->path + ":" + std::to_string(headerLineOf(*right.firstSetting)));
}

void checkGroups(const Model &model, Findings &findings)
{
    Lookalikes lookalikes;
    const auto groups = groupsOf(model);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const auto number = lookalikes.firstLike("", groups[i].name, static_cast<Model::Number>(i));
        const auto &first = groups[number];
        if (number == i)
            continue;
        const bool firstIsWrong = first.settingCount < groups[i].settingCount;
        reportGroup(firstIsWrong ? first : groups[i], firstIsWrong ? groups[i] : first, findings);
    }
}

} // namespace

void checkNames(const CheckContext &context, Findings &findings)
{
    if (context.model.anyKnown()) {
        checkRegistered(context, findings);
    } else {
        checkGroups(context.model, findings);
        checkKeys(context.model, findings);
    }
}

} // namespace Tovrin::Tool
