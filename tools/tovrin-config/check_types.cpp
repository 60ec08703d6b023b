// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

#include "helpers/mount_entry_problem.h"
#include "text_scan.h"
#include "visit_budget.h"

#include <tovrin/parser/helpers.h>

#include <optional>

namespace Tovrin::Tool {

namespace {

using Item = Model::Item;

// Fills in references, as far as no look-up is needed for that.
class StaticTexts {
public:
    explicit StaticTexts(const CheckContext &context) : context_(context) {}

    // Nothing if the text depends on the host, or cannot be resolved.
    std::optional<std::string> textOf(const Item &item)
    {
        visitsLeft_ = Parser::MaximumVisits;
        return resolve(item);
    }

private:
    std::optional<std::string> resolve(const Item &item)
    {
        if (visitsLeft_ == 0 || item.outcome != FilledItem::Outcome::Stored)
            return std::nullopt;
        --visitsLeft_;
        const auto &model = context_.model;
        const auto filled = ItemFiller(context_.options.templates).fill(item.text); // a copy: references are recursive
        const auto kept = Parser::trimmed(filled.output);
        std::string text;
        std::size_t copied = 0;
        for (std::size_t i = 0; i < filled.references.size(); ++i) {
            const auto position = Parser::offsetAfterTrim(filled.references[i].position, filled.output, kept);
            text.append(kept, copied, position - copied);
            copied = position;
            const auto &entry = model.entry(model.references(item)[i].entry);
            if (!entry.stored())
                continue;
            const auto inserted = resolve(model.item(entry.lastItem));
            if (!inserted)
                return std::nullopt;
            text += *inserted;
        }
        return text.append(kept, copied, std::string_view::npos);
    }

    const CheckContext &context_;
    std::uint32_t visitsLeft_ = 0;
};

template <typename T> bool isNumber(const std::string &text)
{
    bool ok = false;
    Parser::Helpers::stringToNumber<T>(text, &ok);
    return ok;
}

std::string unless(bool converts, const char *problem)
{
    return converts ? "" : problem;
}

// Why the text does not convert, as what follows it; "" if it does.
std::string obstacle(const std::string &text, ValueType type)
{
    switch (type) {
    case ValueType::Bool:
        return unless(text == "true" || text == "false", "is neither \"true\" nor \"false\", and so false");
    case ValueType::Int:
        return unless(isNumber<int>(text), "is not a number of 32 bits");
    case ValueType::Int64:
        return unless(isNumber<long long>(text), "is not a number of 64 bits");
    case ValueType::Double:
        return unless(isNumber<double>(text), "is not a number");
    case ValueType::String:
    case ValueType::Mount:
        break;
    }
    return "";
}

// Splits as the library does, to tell apart what its text does not.
std::string mountProblem(const std::string &text)
{
    auto problem = Parser::mountEntryProblem(text);
    if (problem.empty())
        return "";
    problem.resize(problem.size() - 2); // the ": " before the entry
    const auto fields = Parser::Helpers::split(text, ' ').size();
    if (problem.starts_with("Not enough parts"))
        problem += ", which has " + std::to_string(fields) + " fields instead of 6; one space stands between two";
    return problem;
}

void checkItem(const Item &item, ValueType type, StaticTexts &texts, const CheckContext &context, Findings &findings)
{
    const auto text = texts.textOf(item);
    if (!text)
        return;
    if (type == ValueType::Mount) {
        if (auto problem = mountProblem(*text); !problem.empty())
            addAt(context.model, item, 0, FindingId::MountEntry, std::move(problem), findings);
    } else if (const auto problem = obstacle(*text, type); !problem.empty()) {
        addAt(context.model, item, 0, FindingId::WrongType, inQuotes(*text) + ' ' + problem, findings);
    }
}

} // namespace

void checkTypes(const CheckContext &context, Findings &findings)
{
    StaticTexts texts(context);
    for (const auto &entry : context.model.entries()) {
        if (!entry.known || !entry.known->type || *entry.known->type == ValueType::String)
            continue;
        context.model.forEachStored(
            entry, [&](const Item &item) { checkItem(item, *entry.known->type, texts, context, findings); });
    }
}

} // namespace Tovrin::Tool
