// SPDX-License-Identifier: Apache-2.0
#include "evaluation.h"

#include "bad_line.h"
#include "host_templates.h"
#include "problems.h"
#include "template_scanner.h"
#include "template_text.h"
#include "text_scan.h"

#include <tovrin/parser/helpers.h>

#include <algorithm>

namespace Tovrin::Tool {

namespace {

using Parser::ConfigParser;
using Parser::ValueStore;

void reportUnlistedDirectories(const Sources &sources, Problems &problems)
{
    std::vector<std::string> directories;
    for (const auto &path : sources.paths) {
        if (!path.reason.empty())
            problems.report("cannot read '" + path.path + "': " + path.reason);
        directories.push_back(path.path);
    }
    if (sources.files.empty() && problems.count() == 0)
        problems.report("no '*.conf' in " + Parser::Helpers::join(directories, ' '));
}

// Says why a program would not read all of the file.
void reportFile(const SourceFile &file, Problems &problems)
{
    if (file.state != SourceFile::State::Read) {
        problems.report("cannot read '" + file.path + "': " + file.reason);
    } else if (file.readingHangs()) {
        problems.report("cannot read '" + file.path +
                        "': no newline at its end; a program that reads it would never return");
    } else if (!file.badLines.empty()) {
        const auto &bad = file.badLines.front();
        problems.reportAt(file.path, bad.line,
                          std::string(describe(bad.problem)) + ", so nothing is read from here on: '" +
                              std::string(bad.text) + "'");
    }
}

} // namespace

Evaluation::Evaluation(const Sources &sources, const std::vector<KnownKey> &knownKeys, HostTemplates &templates,
                       Problems &problems)
    : templates_(templates), problems_(problems)
{
    reserveFor(sources);
    for (const auto &known : knownKeys)
        add(known);
    reportUnlistedDirectories(sources, problems);
    for (const auto &file : sources.files) {
        reportFile(file, problems);
        if (!file.readingHangs())
            read(file);
    }
    problems.unsetLine();
}

const Evaluation::Entry *Evaluation::find(std::string_view group, std::string_view key) const
{
    const auto name = ValueStore::hashed(group, key);
    const auto number = entryIndex_.find(name.hash, [&](Number entry) { return isNamed(entry, name); });
    return number == 0 ? nullptr : &entries_[number];
}

std::vector<Evaluation::Number> Evaluation::sortedEntries() const
{
    // By group, then by key within each: comparing both every time would cost more than anything else here.
    auto groups = groups_;
    std::sort(groups.begin(), groups.end(), [](const auto &one, const auto &other) { return one.name < other.name; });
    std::vector<Number> numbers;
    numbers.reserve(entries_.size());
    for (const auto &group : groups) {
        const auto start = static_cast<std::ptrdiff_t>(numbers.size());
        for (auto number = group.firstEntry; number != 0; number = entries_[number].nextOfGroup) {
            if (entries_[number].present())
                numbers.push_back(number);
        }
        std::sort(numbers.begin() + start, numbers.end(),
                  [this](Number one, Number other) { return entries_[one].key < entries_[other].key; });
    }
    return numbers;
}

// Growing in steps would copy more than reading does.
void Evaluation::reserveFor(const Sources &sources)
{
    std::size_t assignments = 0;
    for (const auto &file : sources.files)
        assignments += file.assignments.size();
    entries_.reserve(assignments + 1);
    values_.reserve(assignments + 1);
    events_.reserve(assignments);
}

void Evaluation::add(const KnownKey &known)
{
    auto &entry = entries_[findOrAdd(ValueStore::hashed(known.group, known.key))];
    entry.known = true;
    entry.behaviour = known.behaviour;
    anyKnown_ = true;
}

void Evaluation::read(const SourceFile &file)
{
    auto group = ValueStore::hashed("");
    std::uint32_t headerLine = 0;
    for (const auto &assignment : file.assignments) {
        if (assignment.headerLine != headerLine) {
            group = ValueStore::hashed(assignment.group);
            headerLine = assignment.headerLine;
        }
        apply(file, assignment, findOrAdd(ValueStore::hashed(group, assignment.key)));
    }
}

void Evaluation::apply(const SourceFile &file, const Assignment &assignment, Number entry)
{
    Event event{&file, &assignment, assignment.value, Deed::Nothing};
    if (anyKnown_ && !entries_[entry].known) {
        event.deed = Deed::Skipped;
        events_.push_back(event);
    } else if (assignment.value.empty()) {
        event.deed = entries_[entry].present() ? Deed::Dropped : Deed::Nothing;
        entries_[entry].firstValue = entries_[entry].lastValue = 0;
        events_.push_back(event);
    } else {
        for (auto rest = assignment.value; !rest.empty();) {
            event.item = Parser::takeUntil(rest, ';');
            applyItem(event, entry);
        }
    }
}

void Evaluation::applyItem(Event event, Number entry)
{
    const auto firstReference = references_.size();
    if (event.item.find('$') == std::string_view::npos) {
        if (!event.item.empty())
            store(event, entry, Parser::trimmed(event.item), firstReference);
    } else if (fill(event)) {
        trimFilled(firstReference);
        store(event, entry, texts_.emplace_back(Parser::trimmed(filled_)), firstReference);
    } else {
        references_.resize(firstReference);
    }
    events_.push_back(event);
}

void Evaluation::store(Event &event, Number entryNumber, std::string_view text, std::size_t firstReference)
{
    auto &entry = entries_[entryNumber];
    const bool replaces = entry.behaviour == ConfigParser::Replace;
    const auto referenceCount = references_.size() - firstReference;
    if (!replaces && text.empty() && referenceCount == 0)
        return; // an empty value replaces, but is not appended
    const auto number = static_cast<Number>(values_.size());
    values_.push_back({text, event.file, event.assignment, static_cast<std::uint32_t>(firstReference),
                       static_cast<std::uint32_t>(referenceCount), 0});
    event.deed = !replaces ? Deed::Appended : entry.present() ? Deed::Replaced : Deed::Stored;
    if (replaces || !entry.present())
        entry.firstValue = number;
    else
        values_[entry.lastValue].next = number;
    entry.lastValue = number;
    event.value = number;
}

// Fills in the templates of an item, into filled_ and references_.
bool Evaluation::fill(Event &event)
{
    using Piece = Parser::TemplateScanner::Piece;
    problems_.setLine(event.file->path, event.assignment->line);
    Parser::TemplateScanner scanner(event.item);
    filled_.clear();
    for (;;) {
        switch (scanner.next()) {
        case Piece::Text:
            appendAsText(filled_, scanner.text());
            break;
        case Piece::Template:
            if (!fillTemplate(scanner.text())) {
                fail(event, event.item.substr(scanner.offset(), scanner.text().size() + sizeof "${}" - 1));
                return false;
            }
            break;
        case Piece::LoneDollar:
            problems_.errorHere("'$' must be followed by '{' or '$': " + std::string(event.item));
            fail(event, event.item.substr(scanner.offset()));
            return false;
        case Piece::Unterminated:
            problems_.errorHere("a template without '}': " + std::string(event.item));
            fail(event, event.item.substr(scanner.offset()));
            return false;
        case Piece::End:
            return true;
        }
    }
}

bool Evaluation::fillTemplate(std::string_view contents)
{
    switch (templates_.lookUp(contents)) {
    case HostTemplates::Result::Text:
        appendAsText(filled_, templates_.text());
        return true;
    case HostTemplates::Result::Reference: {
        const auto [group, key] = templates_.reference();
        const auto target = findOrAdd(ValueStore::hashed(group, key));
        references_.push_back({target, static_cast<std::uint32_t>(filled_.size())});
        return true;
    }
    case HostTemplates::Result::Kept:
        filled_.append("${").append(contents).append("}");
        return true;
    case HostTemplates::Result::Failed:
        break;
    }
    return false;
}

// Moves the positions to where they are in the trimmed text.
void Evaluation::trimFilled(std::size_t firstReference)
{
    const auto kept = Parser::trimmed(filled_);
    for (auto i = firstReference; i < references_.size(); ++i)
        references_[i].position =
            static_cast<std::uint32_t>(Parser::offsetAfterTrim(references_[i].position, filled_, kept));
}

void Evaluation::fail(Event &event, std::string_view culprit)
{
    event.deed = Deed::Failed;
    event.culprit = culprit;
}

Evaluation::Number Evaluation::findOrAdd(const Name &name)
{
    return entryIndex_.findOrAdd(
        name.hash, [&](Number entry) { return isNamed(entry, name); }, [&] { return makeEntry(name); });
}

Evaluation::Number Evaluation::findOrAddGroup(const GroupName &name)
{
    return groupIndex_.findOrAdd(
        static_cast<std::uint32_t>(name.hash), [&](Number group) { return groups_[group].name == name.text; },
        [&] {
            groups_.push_back({name.text});
            return static_cast<Number>(groups_.size() - 1);
        });
}

Evaluation::Number Evaluation::makeEntry(const Name &name)
{
    auto &group = groups_[findOrAddGroup(name.group)];
    const auto number = static_cast<Number>(entries_.size());
    entries_.push_back({group.name, name.key, std::exchange(group.firstEntry, number)});
    return number;
}

bool Evaluation::isNamed(Number entry, const Name &name) const
{
    return entries_[entry].key == name.key && entries_[entry].group == name.group.text;
}

} // namespace Tovrin::Tool
