// SPDX-License-Identifier: Apache-2.0
#include "resolution.h"

#include "problems.h"
#include "visit_budget.h"

namespace Tovrin::Tool {

std::optional<std::string> Resolution::resolve(const Evaluation::Value &value) const
{
    std::string text;
    std::uint32_t visits = 0;
    problems_.setLine(value.file->path, value.assignment->line);
    if (append(value, text, visits, &problems_))
        return text;
    problems_.errorHere("[" + std::string(value.assignment->group) + "] " + std::string(value.assignment->key) +
                        " takes more than " + std::to_string(Parser::MaximumVisits) +
                        " visits to resolve, possibly because of a circular reference");
    return std::nullopt;
}

std::optional<std::string> Resolution::resolveQuietly(const Evaluation::Value &value) const
{
    std::string text;
    std::uint32_t visits = 0;
    return append(value, text, visits, nullptr) ? std::optional(std::move(text)) : std::nullopt;
}

// The count runs over all values visited, whatever their nesting. False once it would exceed the budget.
bool Resolution::append(const Evaluation::Value &value, std::string &out, std::uint32_t &visits,
                        Problems *problems) const
{
    if (visits >= Parser::MaximumVisits)
        return false;
    ++visits;
    std::size_t copied = 0;
    for (const auto &reference : evaluation_.references(value)) {
        out.append(value.text, copied, reference.position - copied);
        copied = reference.position;
        const auto &target = evaluation_.entry(reference.entry);
        if (problems && evaluation_.anyKnown() && !target.known)
            problems->warnHere("refers to [" + std::string(target.group) + "] " + std::string(target.key) +
                               ", which is not registered");
        if (target.present() && !append(evaluation_.value(target.lastValue), out, visits, problems))
            return false;
    }
    out.append(value.text, copied);
    return true;
}

std::string rawText(const Evaluation &evaluation, const Evaluation::Value &value)
{
    std::string text;
    std::size_t copied = 0;
    for (const auto &reference : evaluation.references(value)) {
        const auto &target = evaluation.entry(reference.entry);
        text.append(value.text, copied, reference.position - copied);
        text.append("${config:").append(target.group).append("/").append(target.key).append("}");
        copied = reference.position;
    }
    return text.append(value.text, copied);
}

} // namespace Tovrin::Tool
