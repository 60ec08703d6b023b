// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

#include "check_guess.h"
#include "check_visits.h"
#include "visit_budget.h"

#include <algorithm>
#include <optional>

namespace Tovrin::Tool {

namespace {

using Item = Model::Item;
using Number = Model::Number;

std::vector<Number> storedEntries(const Model &model)
{
    std::vector<Number> numbers;
    for (const auto &entry : model.entries()) {
        if (entry.stored())
            numbers.push_back(model.numberOf(entry));
    }
    return numbers;
}

// Calls use(item) with each item with references that is stored at the end.
template <typename Use> void forEachReferrer(const Model &model, Use &&use)
{
    for (const auto &entry : model.entries()) {
        model.forEachStored(entry, [&](const Item &item) {
            if (item.referenceCount > 0)
                use(item);
        });
    }
}

void checkMissing(const Model &model, Findings &findings)
{
    std::optional<Guesser> guesser; // mostly, nothing is missing
    forEachReferrer(model, [&](const Item &item) {
        for (const auto &reference : model.references(item)) {
            const auto &entry = model.entry(reference.entry);
            if (entry.stored())
                continue;
            if (!guesser)
                guesser.emplace(model, storedEntries(model));
            const auto *meant = guesser->nearest(entry.group, entry.key);
            addAt(model, item, reference.offset, FindingId::MissingEntry,
                  inQuotes(nameOf(entry)) + (model.accepts(entry) ? " has no value" : " is not registered") +
                      ": the reference inserts nothing" +
                      (meant ? "; did you mean " + inQuotes(nameOf(*meant)) + "?" : ""),
                  findings);
        }
    });
}

// The path, from and to the entry that is read first. Of a very long one the middle is left out.
std::string pathOf(const Model &model, const Visits::Cycle &cycle, std::size_t first)
{
    constexpr std::size_t Shown = 50; // at each end
    const auto size = cycle.entries.size();
    std::string path;
    for (std::size_t i = 0; i < size; ++i) {
        if (i == Shown && size > 2 * Shown) {
            i = size - Shown;
            path += "... (" + std::to_string(size - 2 * Shown) + " more) ... -> ";
        }
        path += nameOf(model.entry(cycle.entries[(first + i) % size])) + " -> ";
    }
    return path + nameOf(model.entry(cycle.entries[first]));
}

std::size_t offsetOfReference(const Model &model, const Item &item, Number entry)
{
    for (const auto &reference : model.references(item)) {
        if (reference.entry == entry)
            return reference.offset;
    }
    return 0;
}

// Returns the items that the cycles lead through.
std::vector<bool> checkCycles(const Model &model, const Visits &visits, Findings &findings)
{
    std::vector<bool> told(model.lastNumber());
    for (const auto &cycle : visits.cycles()) {
        for (const auto item : cycle.items)
            told[item] = true;
        const auto earliest = std::min_element(cycle.items.begin(), cycle.items.end());
        const auto first = static_cast<std::size_t>(earliest - cycle.items.begin());
        const auto &item = model.item(*earliest);
        const auto next = cycle.entries[(first + 1) % cycle.entries.size()];
        addAt(model, item, offsetOfReference(model, item, next), FindingId::Cycle,
              "references in a circle, which resolve to nothing: " + pathOf(model, cycle, first), findings);
    }
    return told;
}

void checkVisits(const Model &model, Findings &findings)
{
    const Visits visits(model);
    const auto told = checkCycles(model, visits, findings);
    forEachReferrer(model, [&](const Item &item) {
        const auto count = visits.of(item);
        if (count <= Parser::MaximumVisits || told[model.numberOf(item)])
            return;
        if (count == Visits::Endless)
            addAt(model, item, 0, FindingId::IntoCycle, "leads into references in a circle, and so resolves to nothing",
                  findings);
        else
            addAt(model, item, 0, FindingId::OverBudget,
                  std::string("resolves to nothing: ") + (count == Visits::Uncounted ? "at least " : "") +
                      std::to_string(count) + " values would be visited for it, of which " +
                      std::to_string(Parser::MaximumVisits) + " are allowed",
                  findings);
    });
}

} // namespace

void checkReferences(const CheckContext &context, Findings &findings)
{
    checkMissing(context.model, findings);
    checkVisits(context.model, findings);
}

} // namespace Tovrin::Tool
