// SPDX-License-Identifier: Apache-2.0
#include "reference_cycles.h"

#include <algorithm>

namespace Tovrin::Tool {

namespace {

// Tarjan's strongly connected components, with a stack of its own: a chain of references may be as long as the
// configuration.
class CycleSearch {
public:
    explicit CycleSearch(const Evaluation &evaluation)
        : evaluation_(evaluation), states_(evaluation.entryCount()), cycles_(evaluation.entryCount())
    {
    }

    std::vector<std::uint32_t> run()
    {
        for (Evaluation::Number number = 1; number < states_.size(); ++number) {
            if (states_[number].index == 0)
                searchFrom(number);
        }
        return std::move(cycles_);
    }

private:
    struct State {
        std::uint32_t index = 0;  // in the order of the first visits, from 1
        std::uint32_t lowest = 0; // index that can be reached
        bool open = false;        // in a component that is not complete
    };
    struct Frame {
        Evaluation::Number entry;
        std::span<const Evaluation::Reference> references;
        std::size_t next = 0;
    };

    std::span<const Evaluation::Reference> referencesOf(Evaluation::Number number) const
    {
        const auto &entry = evaluation_.entry(number);
        if (!entry.present())
            return {};
        return evaluation_.references(evaluation_.value(entry.lastValue));
    }

    void enter(Evaluation::Number number)
    {
        states_[number] = {++lastIndex_, lastIndex_, true};
        open_.push_back(number);
        frames_.push_back({number, referencesOf(number)});
    }

    void searchFrom(Evaluation::Number start)
    {
        enter(start);
        while (!frames_.empty()) {
            auto &frame = frames_.back();
            auto &state = states_[frame.entry];
            if (frame.next == frame.references.size()) {
                leave(frame);
                continue;
            }
            const auto target = frame.references[frame.next++].entry;
            if (states_[target].index == 0)
                enter(target);
            else if (states_[target].open)
                state.lowest = std::min(state.lowest, states_[target].index);
        }
    }

    void leave(const Frame &frame)
    {
        const auto number = frame.entry;
        const auto references = frame.references;
        frames_.pop_back();
        const auto &state = states_[number];
        if (!frames_.empty()) {
            auto &caller = states_[frames_.back().entry];
            caller.lowest = std::min(caller.lowest, state.lowest);
        }
        if (state.lowest == state.index)
            closeComponent(number, references);
    }

    // A component of one entry is a cycle only if that refers to itself.
    void closeComponent(Evaluation::Number root, std::span<const Evaluation::Reference> references)
    {
        const bool isCycle =
            open_.back() != root || std::any_of(references.begin(), references.end(),
                                                [root](const auto &reference) { return reference.entry == root; });
        Evaluation::Number member = 0;
        while (member != root) {
            member = open_.back();
            open_.pop_back();
            states_[member].open = false;
            if (isCycle)
                cycles_[member] = states_[root].index;
        }
    }

    const Evaluation &evaluation_;
    std::vector<State> states_;
    std::vector<std::uint32_t> cycles_;
    std::vector<Evaluation::Number> open_;
    std::vector<Frame> frames_;
    std::uint32_t lastIndex_ = 0;
};

} // namespace

std::vector<std::uint32_t> cyclesOf(const Evaluation &evaluation)
{
    return CycleSearch(evaluation).run();
}

} // namespace Tovrin::Tool
