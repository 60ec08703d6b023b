// SPDX-License-Identifier: Apache-2.0
#include "entry_story.h"

#include "json_output.h"
#include "template_text.h"

namespace Tovrin::Tool {

namespace {

using Deed = Evaluation::Deed;

std::string_view wordFor(Deed deed)
{
    switch (deed) {
    case Deed::Stored:
        return "stored";
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

Json jsonEvents(const EntryStory &story)
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
        addKeptTemplates(item, story.stored(*event));
        assignments.back()["items"].push_back(std::move(item));
    }
    return assignments;
}

Json jsonUnread(const EntryStory &story)
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

} // namespace

std::string jsonOf(const EntryStory &story)
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
    return jsonText(json);
}

} // namespace Tovrin::Tool
