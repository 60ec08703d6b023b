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
        return slots_ ? slotFor(hash, matches).number : 0;
    }

    // The same, but if there is none the number that make() returns is added. Throws std::bad_alloc, or what make()
    // throws, and has added nothing then.
    template <typename Matches, typename Make>
    std::uint32_t findOrAdd(std::uint32_t hash, Matches &&matches, Make &&make)
    {
        if (full())
            grow();
        Slot &slot = slotFor(hash, matches);
        if (slot.number == 0) {
            slot = {hash, make()};
            ++size_;
        }
        return slot.number;
    }

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t number;
    };

    std::size_t capacity() const { return slots_ ? mask_ + 1 : 0; }

    // A search for what is absent ends at a free slot. A small index keeps half of them free, which makes that quick;
    // in a large one a fifth has to do, since the memory counts for more there.
    bool full() const
    {
        constexpr std::size_t Large = 4096;
        return capacity() < Large ? (size_ + 1) * 2 > capacity() : (size_ + 1) * 5 > capacity() * 4;
    }

    void grow()
    {
        const std::size_t larger = slots_ ? 2 * capacity() : 8;
        const auto former = std::exchange(slots_, std::make_unique<Slot[]>(larger));
        const std::size_t formerCapacity = former ? mask_ + 1 : 0;
        mask_ = larger - 1;
        for (std::size_t i = 0; i < formerCapacity; ++i) {
            if (former[i].number != 0)
                slotFor(former[i].hash, [](std::uint32_t) { return false; }) = former[i];
        }
    }

    // The slot of what is searched, or else the free one where it would stand.
    template <typename Matches> Slot &slotFor(std::uint32_t hash, Matches &&matches) const
    {
        std::size_t i = hash & mask_;
        while (slots_[i].number != 0 && !(slots_[i].hash == hash && matches(slots_[i].number)))
            i = (i + 1) & mask_;
        return slots_[i];
    }

    std::unique_ptr<Slot[]> slots_; // a power of two of them; see full()
    std::size_t mask_ = 0;
    std::size_t size_ = 0;
};

} // namespace Tovrin::Parser
