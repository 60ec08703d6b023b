// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check_model.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace Tovrin::Tool {

// How many values a program visits to resolve one, and the circles in which it would visit them for ever.
//
// Where look-ups decide which value a reference gets, the worst one counts. The search keeps a stack of its own: a
// chain of references may be as long as the configuration.
class Visits {
public:
    using Count = std::uint64_t;

    static constexpr Count Endless = std::numeric_limits<Count>::max();
    static constexpr Count Uncounted = 1'000'000'000'000'000'000; // or more

    struct Cycle {
        std::vector<Model::Number> entries; // each refers to the next, and the last one to the first
        std::vector<Model::Number> items;   // the item of each that does
    };

    explicit Visits(const Model &model);

    // Visits to resolve the item, itself included; Endless if it leads into a circle.
    Count of(const Model::Item &item) const;

    // Circles without an entry in common; not all that there are, but each endless item leads into one.
    const std::vector<Cycle> &cycles() const { return cycles_; }

private:
    enum class State : std::uint8_t { New, Open, Done };

    // An entry whose items are being visited.
    struct Frame {
        Model::Number entry;
        Model::Number item; // 0 when there is none left
        std::size_t nextReference = 0;
        Count ofItem = 1;
        Count ofEntry = 0; // of the worst item so far
    };

    void visit(Model::Number entry);
    void enter(Model::Number entry);
    bool advance();
    void leaveItem(Frame &frame);
    void addCycle(Model::Number entry);
    static Count sum(Count a, Count b);

    const Model &model_;
    std::vector<State> states_; // by the numbers of the entries, as the following
    std::vector<Count> counts_;
    std::vector<bool> onCycle_;
    std::vector<Frame> frames_;
    std::vector<Cycle> cycles_;
};

} // namespace Tovrin::Tool
