// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace Tovrin::Parser {

// Finds numbered things by a hash that the caller computes. Nothing is ever taken out, which makes open addressing
// simple: a search ends at the first free slot. The hash stands beside the number, so that growing touches none of the
// things and a look-up, almost always, only the right one. Number 0 stands for nothing.
class HashIndex {
public:
    // The number with this hash for which matches(number) is true, or 0.
    template <typename Matches> std::uint32_t find(std::uint32_t hash, Matches &&matches) const
    {
        if (!slots_)
            return 0;
        for (std::size_t i = hash & mask_; slots_[i].number != 0; i = (i + 1) & mask_) {
            if (slots_[i].hash == hash && matches(slots_[i].number))
                return slots_[i].number;
        }
        return 0;
    }

    // Makes room for one more, so that the next insert() cannot fail. Throws std::bad_alloc.
    void reserveOne()
    {
        if ((size_ + 1) * 5 > capacity() * 4)
            grow();
    }

    // Adds what find() did not find. Call reserveOne() before.
    void insert(std::uint32_t hash, std::uint32_t number)
    {
        place(slots_.get(), mask_, {hash, number});
        ++size_;
    }

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t number;
    };

    std::size_t capacity() const { return slots_ ? mask_ + 1 : 0; }

    void grow()
    {
        const std::size_t larger = slots_ ? 2 * capacity() : 8;
        auto slots = std::make_unique<Slot[]>(larger);
        for (std::size_t i = 0; i < capacity(); ++i) {
            if (slots_[i].number != 0)
                place(slots.get(), larger - 1, slots_[i]);
        }
        slots_ = std::move(slots);
        mask_ = larger - 1;
    }

    static void place(Slot *slots, std::size_t mask, Slot slot)
    {
        std::size_t i = slot.hash & mask;
        while (slots[i].number != 0)
            i = (i + 1) & mask;
        slots[i] = slot;
    }

    std::unique_ptr<Slot[]> slots_; // a power of two of them, at most four fifths in use
    std::size_t mask_ = 0;
    std::size_t size_ = 0;
};

} // namespace Tovrin::Parser
