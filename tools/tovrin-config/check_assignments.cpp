// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

namespace Tovrin::Tool {

namespace {

using Setting = Model::Setting;
using Item = Model::Item;

// What one assignment does, and what is done to it.
class AssignmentCheck {
public:
    AssignmentCheck(const Model &model, const Setting &setting, Findings &findings)
        : model_(model), setting_(setting), findings_(findings)
    {
    }

    void run()
    {
        if (setting_.assignment->value.empty()) {
            if (!setting_.drops)
                add(FindingId::DropsNothing, setting_.assignment->valueColumn(),
                    "an empty value takes back what was set before, but nothing was");
            return;
        }
        if (setting_.itemCount == 0)
            add(FindingId::NoItems, setting_.assignment->valueColumn(),
                "\";\" alone changes nothing; only an empty value takes back what was set before");
        checkBlankItems();
        checkEnd();
    }

private:
    void add(FindingId id, std::size_t column, std::string text)
    {
        addAt(setting_, column, id, std::move(text), findings_);
    }

    void checkBlankItems()
    {
        const bool replaces = model_.replaces(model_.entry(setting_.entry));
        for (const auto &item : model_.items(setting_)) {
            if (item.blank && item.outcome == FilledItem::Outcome::Stored)
                add(FindingId::BlankItem, model_.columnOf(item),
                    replaces ? "white space alone sets an empty value"
                             : "white space alone changes nothing; only an empty value takes back what was set before");
        }
    }

    // One finding for each setting that ends items of this one.
    void checkEnd()
    {
        Model::Number told = 0;
        for (const auto &item : model_.items(setting_)) {
            if (item.endedBy == 0 || item.endedBy == told)
                continue;
            told = item.endedBy;
            tellEnd(item, model_.setting(told));
        }
    }

    void tellEnd(const Item &item, const Setting &end)
    {
        const auto column = model_.columnOf(item);
        if (end.assignment->value.empty())
            add(FindingId::Dropped, column, "taken back by " + placeOf(end));
        else if (end.assignment == setting_.assignment)
            add(FindingId::SeveralItems, column, "only the last item stays: the key is registered as replaced");
        else if (end.file == setting_.file)
            add(FindingId::SetTwice, column, "replaced in line " + std::to_string(end.assignment->line));
        else
            add(FindingId::Overridden, column, "replaced by " + placeOf(end));
    }

    const Model &model_;
    const Setting &setting_;
    Findings &findings_;
};

} // namespace

void checkAssignments(const CheckContext &context, Findings &findings)
{
    for (const auto &setting : context.model.settings()) {
        if (context.model.accepts(context.model.entry(setting.entry)))
            AssignmentCheck(context.model, setting, findings).run();
    }
}

} // namespace Tovrin::Tool
