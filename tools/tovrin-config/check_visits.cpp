// SPDX-License-Identifier: Apache-2.0
#include "check_visits.h"

#include <algorithm>

namespace Tovrin::Tool {

Visits::Visits(const Model &model)
    : model_(model), states_(model.entries().size() + 1), counts_(states_.size()), onCycle_(states_.size())
{
    for (const auto &entry : model.entries())
        visit(model.numberOf(entry));
}

Visits::Count Visits::of(const Model::Item &item) const
{
    Count count = 1;
    for (const auto &reference : model_.references(item))
        count = sum(count, counts_[reference.entry]);
    return count;
}

void Visits::visit(Model::Number entry)
{
    if (states_[entry] != State::New)
        return;
    enter(entry);
    while (!frames_.empty()) {
        if (advance())
            continue;
        const auto &frame = frames_.back();
        states_[frame.entry] = State::Done;
        counts_[frame.entry] = frame.ofEntry;
        frames_.pop_back();
    }
}

void Visits::enter(Model::Number entry)
{
    states_[entry] = State::Open;
    frames_.push_back({entry, model_.entry(entry).lastItem});
}

// One step of the topmost entry: false if it has none left.
bool Visits::advance()
{
    auto &frame = frames_.back();
    if (frame.item == 0)
        return false;
    const auto references = model_.references(model_.item(frame.item));
    if (frame.nextReference == references.size()) {
        leaveItem(frame);
        return true;
    }
    const auto target = references[frame.nextReference].entry;
    if (states_[target] == State::New) {
        enter(target); // and come back to this reference
        return true;
    }
    if (states_[target] == State::Open) {
        addCycle(target);
        frame.ofItem = Endless;
    } else {
        frame.ofItem = sum(frame.ofItem, counts_[target]);
    }
    ++frame.nextReference;
    return true;
}

// A stored item hides those before it from references; one that depends on a look-up does not.
void Visits::leaveItem(Frame &frame)
{
    const auto &item = model_.item(frame.item);
    frame.ofEntry = std::max(frame.ofEntry, frame.ofItem);
    frame.ofItem = 1;
    frame.nextReference = 0;
    frame.item = item.outcome == FilledItem::Outcome::Stored ? 0 : item.previous;
}

// The frames from the entry on are a circle. It is left out if one of them is on another one already, which keeps the
// effort linear; a frame is looked at once, since it is on a circle afterwards.
void Visits::addCycle(Model::Number entry)
{
    auto first = frames_.end();
    bool isNew = true;
    do {
        --first;
        isNew = !onCycle_[first->entry];
        onCycle_[first->entry] = true;
    } while (isNew && first->entry != entry);
    if (!isNew)
        return;
    Cycle cycle;
    for (; first != frames_.end(); ++first) {
        cycle.entries.push_back(first->entry);
        cycle.items.push_back(first->item);
    }
    cycles_.push_back(std::move(cycle));
}

Visits::Count Visits::sum(Count a, Count b)
{
    return a == Endless || b == Endless ? Endless : std::min(a + b, Uncounted);
}

} // namespace Tovrin::Tool
