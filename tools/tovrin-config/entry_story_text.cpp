// SPDX-License-Identifier: Apache-2.0
#include "entry_story.h"

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

class Telling {
public:
    Telling(const EntryStory &story, Color color) : story_(story), paint_(color, STDOUT_FILENO) {}

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
        case Deed::Stored:
            return paint_.green("stored") + condition(event);
        case Deed::Replaced:
            return paint_.green("replaced what was there") + condition(event);
        case Deed::Appended:
            return paint_.green("appended") + condition(event);
        case Deed::Dropped:
            return paint_.yellow("dropped the key");
        case Deed::Skipped:
            return paint_.yellow("skipped, because the key is not registered");
        case Deed::Failed:
            return paint_.red("dropped, because " + printable(event.culprit) + " failed");
        case Deed::Nothing:
            break;
        }
        return event.assignment->value.empty() ? "changed nothing: the key had no value" : "nothing to store";
    }

    // What the deed hangs on, since a template that fails drops its item.
    std::string condition(const Event &event) const
    {
        std::string conditions;
        for (const auto kept : keptTemplates(story_.stored(event)))
            conditions += (conditions.empty() ? ", if " : " and ") + printable(kept) + " succeeds (" +
                          (isCommand(kept) ? "not run)" : "not looked up)");
        return paint_.yellow(conditions);
    }

    void tellUnread()
    {
        if (story_.unread.empty())
            return;
        out_ += "\nNot read:\n";
        for (const auto &[file, reason, count, assignments] : story_.unread) {
            const auto where =
                file->badLines.empty() ? printable(file->path) : place(*file, file->badLines.front().line);
            out_ += "  " + paint_.cyan(where) + ": " + reason + '\n';
            out_ += "      " + lost(count, !assignments.empty()) + '\n';
            for (const auto *assignment : assignments)
                tellAssignment(*file, *assignment, "      ");
        }
    }

    static std::string lost(std::size_t count, bool ofThisKey)
    {
        if (count == 0)
            return "no assignment is lost";
        return std::to_string(count) + (count == 1 ? " assignment" : " assignments") + " not read, " +
               (ofThisKey ? "of this key:" : "none of this key");
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

    const EntryStory &story_;
    Paint paint_;
    std::string out_;
};

} // namespace

std::string textOf(const EntryStory &story, Color color)
{
    return Telling(story, color).text();
}

} // namespace Tovrin::Tool
