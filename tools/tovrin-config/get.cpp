// SPDX-License-Identifier: Apache-2.0
#include "get.h"

#include "absence.h"
#include "json_output.h"
#include "session.h"
#include "template_text.h"
#include "terminal.h"

#include <tovrin/parser/helpers.h>

#include <optional>

namespace Tovrin::Tool {

namespace {

template <typename Number> std::optional<Json> toNumber(const std::string &text)
{
    bool ok = false;
    const auto number = Parser::Helpers::stringToNumber<Number>(text, &ok);
    return ok ? std::optional<Json>(number) : std::nullopt;
}

// What a typed getter makes of the text; nothing if it is not of the type.
std::optional<Json> converted(const std::string &text, ValueType type)
{
    switch (type) {
    case ValueType::Bool:
        return text == "true" || text == "false" ? std::optional<Json>(text == "true") : std::nullopt;
    case ValueType::Int:
        return toNumber<int>(text);
    case ValueType::Int64:
        return toNumber<long long>(text);
    case ValueType::Double:
        return toNumber<double>(text);
    case ValueType::Mount:
        return Parser::Helpers::validMountEntry(text) ? std::optional<Json>(text) : std::nullopt;
    case ValueType::String:
        break;
    }
    return text;
}

class Get {
public:
    Get(const GetOptions &options, Session &session) : options_(options), session_(session) {}

    ExitCode run()
    {
        const auto *entry = session_.evaluation().find(options_.group, options_.key);
        if (!entry || !entry->present())
            session_.problems().report(absence(session_.evaluation(), options_.group, options_.key, options_.keysFile));
        else if (collect(*entry))
            return session_.finish(options_.format == Format::Json ? asJson() : asText());
        return session_.finish("");
    }

private:
    struct Answer {
        Json value;
        std::string templateText;
        const Evaluation::Value *origin;
    };

    bool collect(const Evaluation::Entry &entry)
    {
        const auto resolution = session_.resolution();
        bool fine = true;
        const auto add = [&](std::string_view text, const Evaluation::Value &value) {
            fine = addConverted(text, value) && fine;
        };
        if (options_.list)
            return resolution.forEachResolved(entry, add) && fine;
        const auto &last = session_.evaluation().value(entry.lastValue);
        const auto text = resolution.resolve(last);
        if (!text)
            return false;
        add(*text, last);
        return fine;
    }

    bool addConverted(std::string_view templateText, const Evaluation::Value &value)
    {
        const auto text = charactersOf(templateText);
        auto &problems = session_.problems();
        problems.setLine(value.file->path, value.assignment->line);
        const auto result = converted(text, options_.type); // logs what is wrong with a mount entry
        if (!result)
            problems.errorHere("'" + text + "' is not of the type " + std::string(nameOf(options_.type)));
        else
            answers_.push_back({*result, std::string(templateText), &value});
        return result.has_value();
    }

    std::string asText() const
    {
        std::string out;
        for (const auto &answer : answers_) {
            noteKeptTemplates(answer);
            if (options_.origin)
                out += answer.origin->file->path + ':' + std::to_string(answer.origin->assignment->line) + ": ";
            out += answer.value.is_string() ? answer.value.get_ref<const std::string &>() : answer.value.dump();
            out += options_.endWithNul ? '\0' : '\n';
        }
        return out;
    }

    // On standard error: the value itself cannot be marked.
    void noteKeptTemplates(const Answer &answer) const
    {
        for (const auto kept : keptTemplates(answer.templateText))
            session_.problems().noteAt(answer.origin->file->path, answer.origin->assignment->line,
                                       "holds " + std::string(kept) +
                                           (isCommand(kept) ? ", not run" : ", not looked up"));
    }

    std::string asJson() const
    {
        auto json = nameOf(options_.group, options_.key);
        if (options_.list) {
            json["values"] = Json::array();
            for (const auto &answer : answers_)
                json["values"].push_back(described(answer, Json::object()));
        } else {
            json = described(answers_.front(), std::move(json));
        }
        return jsonText(json);
    }

    Json described(const Answer &answer, Json json) const
    {
        json["value"] = answer.value;
        if (options_.origin)
            json["origin"] = originOf(*answer.origin);
        addKeptTemplates(json, answer.templateText);
        return json;
    }

    const GetOptions &options_;
    Session &session_;
    std::vector<Answer> answers_;
};

} // namespace

ExitCode get(const GetOptions &options)
{
    Session session(options, options.host);
    return session.ready() ? Get(options, session).run() : Misuse;
}

} // namespace Tovrin::Tool
