// SPDX-License-Identifier: Apache-2.0
#include "explain.h"

#include "absence.h"
#include "bad_line.h"
#include "json_output.h"
#include "session.h"
#include "template_text.h"
#include "terminal.h"
#include "visit_budget.h"

#include <algorithm>

#include <unistd.h>

namespace Tovrin::Tool {

namespace {

using Deed = Evaluation::Deed;
using Event = Evaluation::Event;

std::string place(const SourceFile &file, std::uint32_t line)
{
    return printable(file.path) + ':' + std::to_string(line);
}

std::string place(const Evaluation::Value &value)
{
    return place(*value.file, value.assignment->line);
}

std::string shown(std::string_view templateText)
{
    return "'" + printable(charactersOf(templateText)) + "'";
}

// Files of which a program does not see everything that they say about the entry.
struct Unread {
    const SourceFile *file;
    std::string reason;
    std::size_t count;                           // of the assignments that are not read
    std::vector<const Assignment *> assignments; // those to the entry
};

// One reference, and those of the value that it stands for.
struct Contribution {
    const Evaluation::Entry *target;
    const Evaluation::Value *value; // null if the target is absent
    std::optional<std::string> text;
    bool circular;
    std::vector<Contribution> references;
};

struct Result {
    std::optional<std::string> text; // nothing if it takes too many visits
    const Evaluation::Value *value;
    std::vector<Contribution> references;
};

// What there is to tell; the two forms below say it.
class Story {
public:
    Story(const ExplainOptions &options, Session &session)
        : group(options.group), key(options.key), entry(session.evaluation().find(group, key)),
          evaluation_(session.evaluation()), resolution_(session.resolution())
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

    bool anyKnown() const { return evaluation_.anyKnown(); }

    const std::string &group;
    const std::string &key;
    const Evaluation::Entry *entry;
    std::vector<const Event *> events;
    std::vector<Unread> unread;
    std::vector<Result> results;

private:
    bool isAboutEntry(const Assignment &assignment) const { return assignment.key == key && assignment.group == group; }

    void addUnread(const SourceFile &file)
    {
        if (file.readingHangs())
            addUnread(file, "no newline at its end; a program that reads it would never return", file.assignments);
        else if (!file.badLines.empty())
            addUnread(file,
                      std::string(describe(file.badLines.front().problem)) + ": '" +
                          printable(file.badLines.front().text) + "'",
                      file.notApplied);
    }

    void addUnread(const SourceFile &file, const std::string &reason, const std::vector<Assignment> &assignments)
    {
        auto &added = unread.emplace_back(Unread{&file, reason, assignments.size(), {}});
        for (const auto &assignment : assignments) {
            if (isAboutEntry(assignment))
                added.assignments.push_back(&assignment);
        }
    }

    void addResult(const Evaluation::Value &value)
    {
        Path path{&value};
        std::uint32_t visits = 1;
        results.push_back({resolution_.resolve(value), &value, contributions(value, path, visits)});
    }

    using Path = std::vector<const Evaluation::Value *>; // that are being resolved

    // As far as a program would look.
    std::vector<Contribution> contributions(const Evaluation::Value &value, Path &path, std::uint32_t &visits)
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

    const Evaluation &evaluation_;
    Resolution resolution_;
};

class Telling {
public:
    Telling(const Story &story, Color color) : story_(story), paint_(color, STDOUT_FILENO) {}

    std::string text()
    {
        out_ = paint_.bold("[" + printable(story_.group) + "] " + printable(story_.key)) + registration() + '\n';
        tellEvents();
        tellUnread();
        tellReferences();
        tellResults();
        return std::move(out_);
    }

private:
    std::string registration() const
    {
        if (!story_.anyKnown())
            return "";
        if (!story_.entry || !story_.entry->known)
            return ", not registered";
        return story_.entry->behaviour == Parser::ConfigParser::Replace ? ", registered to be replaced"
                                                                        : ", registered to be amended";
    }

    void tellEvents()
    {
        out_ += "\nAssignments, in reading order:\n";
        for (std::size_t i = 0; i < story_.events.size(); ++i) {
            const auto &event = *story_.events[i];
            const bool isFirst = i == 0 || story_.events[i - 1]->assignment != event.assignment;
            const bool isLast = i + 1 == story_.events.size() || story_.events[i + 1]->assignment != event.assignment;
            if (isFirst)
                tellAssignment(*event.file, *event.assignment, "  ");
            out_ += "      " +
                    (isFirst && isLast    ? ""
                     : event.item.empty() ? "(empty): "
                                          : printable(event.item) + ": ") +
                    deed(event) + '\n';
        }
        if (story_.events.empty())
            out_ += "  none\n";
    }

    void tellAssignment(const SourceFile &file, const Assignment &assignment, const char *indent)
    {
        out_ += indent + paint_.cyan(place(file, assignment.line)) + ": " + printable(assignment.key) + '=' +
                printable(assignment.value) + '\n';
    }

    std::string deed(const Event &event) const
    {
        switch (event.deed) {
        case Deed::Replaced:
            return paint_.green("replaced what was there");
        case Deed::Appended:
            return paint_.green("appended");
        case Deed::Dropped:
            return paint_.yellow("dropped the key");
        case Deed::Skipped:
            return paint_.yellow("skipped, because the key is not registered");
        case Deed::Failed:
            return paint_.red("dropped, because " + printable(event.culprit) + " failed");
        case Deed::Nothing:
            break;
        }
        return "nothing to store";
    }

    void tellUnread()
    {
        if (story_.unread.empty())
            return;
        out_ += "\nNot read:\n";
        for (const auto &[file, reason, count, assignments] : story_.unread) {
            const auto line = file->badLines.empty() ? "" : ':' + std::to_string(file->badLines.front().line);
            out_ += "  " + paint_.cyan(printable(file->path) + line) + ": " + reason + "\n      " +
                    std::to_string(count) + (count == 1 ? " assignment" : " assignments") + " not read, " +
                    (assignments.empty() ? "none of this key" : "of this key:") + '\n';
            for (const auto *assignment : assignments)
                tellAssignment(*file, *assignment, "      ");
        }
    }

    void tellReferences()
    {
        const bool any = std::any_of(story_.results.begin(), story_.results.end(),
                                     [](const auto &result) { return !result.references.empty(); });
        if (!any)
            return;
        out_ += "\nReferences:\n";
        for (const auto &result : story_.results)
            tellContributions(result.references, "  ");
    }

    void tellContributions(const std::vector<Contribution> &contributions, const std::string &indent)
    {
        for (const auto &[target, value, text, circular, references] : contributions) {
            out_ += indent + "${config:" + printable(target->group) + '/' + printable(target->key) + "} ";
            if (!value)
                out_ += paint_.yellow("is nothing: the key has no value");
            else if (circular)
                out_ += paint_.red("is a circle: it is being resolved already") + ", " + paint_.cyan(place(*value));
            else if (!text)
                out_ += paint_.red("cannot be resolved") + ", from " + paint_.cyan(place(*value));
            else
                out_ += "is " + shown(*text) + kept(*text) + ", from " + paint_.cyan(place(*value));
            out_ += '\n';
            tellContributions(references, indent + "  ");
        }
    }

    void tellResults()
    {
        out_ += "\nResult:\n";
        for (const auto &[text, value, references] : story_.results) {
            if (!text)
                out_ += "  " + paint_.red("more than " + std::to_string(Parser::MaximumVisits) + " visits") +
                        ", from " + paint_.cyan(place(*value)) + '\n';
            else if (text->empty() && !value->isPlain())
                out_ += "  nothing, which lists leave out, from " + paint_.cyan(place(*value)) + '\n';
            else
                out_ += "  " + shown(*text) + kept(*text) + ", from " + paint_.cyan(place(*value)) + '\n';
        }
        if (story_.results.empty())
            out_ += "  no value\n";
    }

    // Marks the templates that the text still holds.
    std::string kept(std::string_view text) const
    {
        std::string marks;
        for (const auto templateText : keptTemplates(text))
            marks += " (" + printable(templateText) + (isCommand(templateText) ? " not run)" : " not looked up)");
        return paint_.yellow(marks);
    }

    const Story &story_;
    Paint paint_;
    std::string out_;
};

std::string_view wordFor(Deed deed)
{
    switch (deed) {
    case Deed::Replaced:
        return "replaced";
    case Deed::Appended:
        return "appended";
    case Deed::Dropped:
        return "dropped";
    case Deed::Skipped:
        return "skipped";
    case Deed::Failed:
        return "failed";
    case Deed::Nothing:
        break;
    }
    return "nothing";
}

Json jsonEvents(const Story &story)
{
    Json assignments = Json::array();
    const Assignment *last = nullptr;
    for (const auto *event : story.events) {
        if (event->assignment != last)
            assignments.push_back({{"path", event->file->path},
                                   {"line", event->assignment->line},
                                   {"value", event->assignment->value},
                                   {"items", Json::array()}});
        last = event->assignment;
        Json item{{"text", event->item}, {"did", wordFor(event->deed)}};
        if (event->deed == Deed::Failed)
            item["because"] = event->culprit;
        assignments.back()["items"].push_back(std::move(item));
    }
    return assignments;
}

Json jsonUnread(const Story &story)
{
    Json files = Json::array();
    for (const auto &[file, reason, count, assignments] : story.unread) {
        Json json{{"path", file->path}};
        if (!file->badLines.empty())
            json["line"] = file->badLines.front().line;
        json["reason"] = reason;
        json["count"] = count;
        json["assignments"] = Json::array();
        for (const auto *assignment : assignments)
            json["assignments"].push_back({{"line", assignment->line}, {"value", assignment->value}});
        files.push_back(std::move(json));
    }
    return files;
}

// The text as characters, or null.
void addText(Json &json, const std::optional<std::string> &text)
{
    json["text"] = text ? Json(charactersOf(*text)) : Json(nullptr);
    if (text)
        addKeptTemplates(json, *text);
}

Json jsonContributions(const std::vector<Contribution> &contributions)
{
    Json list = Json::array();
    for (const auto &[target, value, text, circular, references] : contributions) {
        auto json = nameOf(target->group, target->key);
        addText(json, text);
        if (value)
            json["origin"] = originOf(*value);
        else
            json["missing"] = true;
        if (circular)
            json["circular"] = true;
        json["references"] = jsonContributions(references);
        list.push_back(std::move(json));
    }
    return list;
}

Json jsonStory(const Story &story)
{
    auto json = nameOf(story.group, story.key);
    if (story.anyKnown())
        json["registered"] = story.entry && story.entry->known;
    json["assignments"] = jsonEvents(story);
    json["notRead"] = jsonUnread(story);
    json["values"] = Json::array();
    for (const auto &[text, value, references] : story.results) {
        Json result;
        addText(result, text);
        result["origin"] = originOf(*value);
        result["references"] = jsonContributions(references);
        json["values"].push_back(std::move(result));
    }
    return json;
}

} // namespace

ExitCode explain(const ExplainOptions &options)
{
    Session session(options, options.host);
    if (!session.ready())
        return Misuse;
    const Story story(options, session);
    const bool anyUnread = std::any_of(story.unread.begin(), story.unread.end(),
                                       [](const Unread &unread) { return !unread.assignments.empty(); });
    if (story.events.empty() && !anyUnread) {
        session.problems().report(absence(session.evaluation(), options.group, options.key));
        return session.finish("");
    }
    return session.finish(options.format == Format::Json ? jsonText(jsonStory(story))
                                                         : Telling(story, options.color).text());
}

} // namespace Tovrin::Tool
