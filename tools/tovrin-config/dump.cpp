// SPDX-License-Identifier: Apache-2.0
#include "dump.h"

#include "json_output.h"
#include "session.h"
#include "template_text.h"
#include "terminal.h"

namespace Tovrin::Tool {

namespace {

struct Shown {
    std::string text;               // a template text
    const Evaluation::Value *value; // cppcheck-suppress unusedStructMember; it is, through spans
};

class Dump {
public:
    Dump(const DumpOptions &options, Session &session)
        : options_(options), evaluation_(session.evaluation()), resolution_(session.resolution())
    {
    }

    std::string asKeyFile()
    {
        bool first = true;
        std::string_view group;
        for (const auto number : evaluation_.sortedEntries()) {
            const auto &entry = evaluation_.entry(number);
            if (entry.group != group) // the group "" sorts first, and needs no header there
                out_.append(first ? "[" : "\n[").append(entry.group).append("]\n");
            group = entry.group;
            first = false;
            collect(entry);
            addEntry(entry);
        }
        return std::move(out_);
    }

    Json asJson()
    {
        Json entries = Json::array();
        for (const auto number : evaluation_.sortedEntries()) {
            const auto &entry = evaluation_.entry(number);
            collect(entry);
            auto shown = nameOf(entry.group, entry.key);
            shown["values"] = jsonValues();
            entries.push_back(std::move(shown));
        }
        return {{"entries", std::move(entries)}};
    }

private:
    // Into values_ what is to be shown.
    void collect(const Evaluation::Entry &entry)
    {
        values_.clear();
        if (options_.raw)
            evaluation_.forEachValue(entry, [this](const auto &value) {
                values_.push_back({rawText(evaluation_, value), &value});
            });
        else
            resolution_.forEachResolved(entry, [this](auto text, const auto &value) {
                values_.push_back({std::string(text), &value});
            });
    }

    void addEntry(const Evaluation::Entry &entry)
    {
        addObstacles();
        addKeptTemplates();
        if (!options_.origin || values_.empty()) {
            addLine(entry.key, values_);
            return;
        }
        for (std::span<const Shown> rest = values_; !rest.empty();) {
            const auto ofOneLine = lengthFromOneLine(rest);
            const auto &value = *rest.front().value;
            out_ += "# " + printable(value.file->path) + ':' + std::to_string(value.assignment->line) + '\n';
            addLine(entry.key, rest.first(ofOneLine));
            rest = rest.subspan(ofOneLine);
        }
    }

    static std::size_t lengthFromOneLine(std::span<const Shown> values)
    {
        std::size_t length = 0;
        while (length < values.size() && values[length].value->assignment == values.front().value->assignment)
            ++length;
        return length;
    }

    // Says why the entry reads back differently, if it does.
    void addObstacles()
    {
        if (values_.empty()) {
            out_ += "# Reads back differently: no value is left.\n";
            return;
        }
        const char *separator = "# Reads back differently: value ";
        for (std::size_t i = 0; i < values_.size(); ++i) {
            if (const auto *obstacle = obstacleIn(values_[i].text)) {
                out_ += separator + std::to_string(i + 1) + obstacle;
                separator = ", value ";
            }
        }
        if (separator[0] == ',')
            out_ += ".\n";
    }

    // Why a key file cannot hold the value; null if it can.
    static const char *obstacleIn(std::string_view text)
    {
        if (text.find('\n') != std::string_view::npos)
            return " holds a line break, shown as \"\\n\"";
        if (text.find(';') != std::string_view::npos)
            return " holds \";\"";
        if (text.empty())
            return " is empty, which only a key that is replaced keeps";
        return nullptr;
    }

    void addKeptTemplates()
    {
        for (const auto &shown : values_) {
            if (shown.text.find('$') == std::string::npos)
                continue;
            for (const auto kept : keptTemplates(shown.text))
                out_ += (isCommand(kept) ? "# Not run: " : "# Not looked up: ") + printable(kept) + '\n';
        }
    }

    void addLine(std::string_view key, std::span<const Shown> values)
    {
        out_.append(key).append("=");
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (i > 0)
                out_ += ';';
            addValue(values[i].text);
        }
        if (values.size() == 1 && values.front().text.empty())
            out_ += ' '; // without it the line would drop the key
        out_ += '\n';
    }

    void addValue(std::string_view text)
    {
        for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
            out_.append(text.substr(0, end)).append("\\n");
            text.remove_prefix(end + 1);
        }
        out_ += text;
    }

    Json jsonValues() const
    {
        Json values = Json::array();
        for (const auto &[text, value] : values_) {
            Json shown{{"text", options_.raw ? text : charactersOf(text)}};
            if (options_.origin)
                shown["origin"] = originOf(*value);
            Tool::addKeptTemplates(shown, text);
            values.push_back(std::move(shown));
        }
        return values;
    }

    const DumpOptions &options_;
    const Evaluation &evaluation_;
    Resolution resolution_;
    std::vector<Shown> values_;
    std::string out_;
};

} // namespace

ExitCode dump(const DumpOptions &options)
{
    Session session(options, options.host);
    if (!session.ready())
        return Misuse;
    Dump dump(options, session);
    return session.finish(options.format == Format::Json ? jsonText(dump.asJson()) : dump.asKeyFile());
}

} // namespace Tovrin::Tool
