// SPDX-License-Identifier: Apache-2.0
#include "keys_file.h"

#include "bad_line.h"
#include "nearest.h"
#include "problems.h"
#include "sources.h"
#include "text_scan.h"

#include <algorithm>
#include <map>
#include <utility>

namespace Tovrin::Tool {

namespace {

using Behaviour = Parser::ConfigParser::ReplacementBehaviour;

constexpr std::array<std::string_view, AllValueTypes.size()> TypeNames{"string", "bool",   "int",
                                                                       "int64",  "double", "mount"};

constexpr std::array<std::string_view, 2> BehaviourNames{"replace", "amend"}; // by their numbers

std::string listed(std::span<const std::string_view> names)
{
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i)
        list.append(i == 0 ? "" : i + 1 == names.size() ? " or " : ", ").append(names[i]);
    return list;
}

class KeysFileReading {
public:
    KeysFileReading(const SourceFile &file, Problems &problems) : file_(file), problems_(problems) {}

    std::optional<std::vector<KnownKey>> run()
    {
        const auto before = problems_.count();
        reportFile();
        for (const auto &assignment : file_.assignments)
            add(assignment);
        if (problems_.count() != before)
            return std::nullopt;
        return std::move(keys_);
    }

private:
    void reportFile()
    {
        if (file_.state != SourceFile::State::Read)
            problems_.report("cannot read '" + file_.path + "': " + file_.reason);
        else if (!file_.endsWithNewline)
            problems_.report("cannot read '" + file_.path + "': no newline at its end");
        for (const auto &line : file_.badLines)
            problems_.reportAt(file_.path, line.line,
                               std::string(describe(line.problem)) + ": '" + std::string(line.text) + "'");
    }

    void add(const Assignment &assignment)
    {
        auto rest = assignment.value;
        const auto behaviour = Parser::takeUntil(rest, ';');
        const bool hasType = behaviour.size() != assignment.value.size();
        const auto number = std::find(BehaviourNames.begin(), BehaviourNames.end(), behaviour) - BehaviourNames.begin();
        const auto type = hasType ? valueTypeFromName(rest) : std::nullopt;
        const auto [first, isNew] = lines_.emplace(std::pair(assignment.group, assignment.key), assignment.line);
        if (static_cast<std::size_t>(number) == BehaviourNames.size())
            report(assignment, behaviour, BehaviourNames);
        else if (hasType && !type)
            report(assignment, rest, TypeNames);
        else if (!isNew)
            problems_.reportAt(file_.path, assignment.line,
                               "registered before, in line " + std::to_string(first->second));
        else
            keys_.push_back({std::string(assignment.group), std::string(assignment.key), static_cast<Behaviour>(number),
                             type, assignment.line});
    }

    void report(const Assignment &assignment, std::string_view word, std::span<const std::string_view> expected)
    {
        auto text = "'" + std::string(word) + "' is not " + listed(expected);
        if (const auto nearest = nearestName(word, expected))
            text += "; did you mean '" + std::string(*nearest) + "'?";
        problems_.reportAt(file_.path, assignment.line, text);
    }

    const SourceFile &file_;
    Problems &problems_;
    std::vector<KnownKey> keys_;
    std::map<std::pair<std::string_view, std::string_view>, std::uint32_t> lines_;
};

} // namespace

std::optional<std::vector<KnownKey>> readKeysFile(const std::string &path, Problems &problems)
{
    return KeysFileReading(readSourceFile(path), problems).run();
}

std::optional<ValueType> valueTypeFromName(std::string_view name)
{
    const auto found = std::find(TypeNames.begin(), TypeNames.end(), name);
    if (found == TypeNames.end())
        return std::nullopt;
    return AllValueTypes[static_cast<std::size_t>(found - TypeNames.begin())];
}

std::string_view nameOf(ValueType type)
{
    return TypeNames[static_cast<std::size_t>(type)];
}

} // namespace Tovrin::Tool
