// SPDX-License-Identifier: Apache-2.0
#include "hash_index.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

namespace {

std::size_t arrayBytes = 0; // of the last array

} // namespace

// Behind each array stands what would look like a slot in use to somebody who reads on.
void *operator new[](std::size_t size)
{
    constexpr std::size_t Behind = 64;
    auto *const piece = static_cast<char *>(std::malloc(size + Behind));
    if (!piece)
        throw std::bad_alloc();
    std::memset(piece + size, 0xEE, Behind);
    arrayBytes = size;
    return piece;
}

void operator delete[](void *piece) noexcept
{
    std::free(piece);
}

void operator delete[](void *piece, std::size_t) noexcept
{
    std::free(piece);
}

namespace {

using Tovrin::Parser::HashIndex;

// Adds the numbers from 1 on, each under the hash that `hashOf` says.
template <typename HashOf> HashIndex filled(std::uint32_t count, HashOf hashOf)
{
    HashIndex index;
    for (std::uint32_t number = 1; number <= count; ++number)
        EXPECT_EQ(index.findOrAdd(
                      hashOf(number), [=](auto found) { return found == number; }, [=] { return number; }),
                  number);
    return index;
}

template <typename HashOf> void expectAllFound(std::uint32_t count, HashOf hashOf)
{
    const auto index = filled(count, hashOf);
    for (std::uint32_t number = 1; number <= count; ++number)
        EXPECT_EQ(index.find(hashOf(number), [=](auto found) { return found == number; }), number);
    EXPECT_EQ(index.find(hashOf(1), [](auto) { return false; }), 0U);
}

TEST(HashIndex, FindsNothingWhenEmpty)
{
    const HashIndex index;
    EXPECT_EQ(index.find(0, [](auto) { return true; }), 0U);
}

TEST(HashIndex, FindsWhatWasAddedOfAnyCount)
{
    const auto spread = [](std::uint32_t number) { return number * 2654435761U; };
    for (const std::uint32_t count : {1U, 2U, 3U, 4U, 5U, 8U, 9U, 2048U, 2049U, 3276U, 3277U, 20000U})
        expectAllFound(count, spread);
}

TEST(HashIndex, FindsWhatSharesAHashAndWhatStandsBehindTheLastSlot)
{
    expectAllFound(300, [](std::uint32_t) { return 0xFFFFFFFFU; });
    expectAllFound(300, [](std::uint32_t number) { return number % 2 ? 0xFFFFFFFFU : 0U; });
}

TEST(HashIndex, AsksForMatchesOnlyWhereTheWholeHashIsTheSame)
{
    const auto index = filled(1, [](std::uint32_t) { return 0x80000001U; });
    EXPECT_EQ(index.find(1, [](auto) { return true; }), 0U);
    EXPECT_EQ(index.find(0x80000001U, [](auto) { return true; }), 1U);
}

TEST(HashIndex, MakesNothingThatIsThere)
{
    auto index = filled(1, [](std::uint32_t) { return 7U; });
    const auto make = []() -> std::uint32_t { throw std::logic_error("made"); };
    EXPECT_EQ(index.findOrAdd(
                  7, [](auto) { return true; }, make),
              1U);
}

TEST(HashIndex, AddsNothingWhenMakingThrows)
{
    HashIndex index;
    const auto matches = [](auto) { return true; };
    EXPECT_THROW(index.findOrAdd(7, matches, []() -> std::uint32_t { throw std::runtime_error("no"); }),
                 std::runtime_error);
    EXPECT_EQ(index.find(7, matches), 0U);
    EXPECT_EQ(index.findOrAdd(7, matches, [] { return 1U; }), 1U);
}

TEST(HashIndex, ReadsNothingBehindItsSlotsWhenItGrows)
{
    const auto index = filled(5000, [](std::uint32_t number) { return number; });
    EXPECT_EQ(index.find(0xEEEEEEEEU, [](auto) { return true; }), 0U);
}

TEST(HashIndex, KeepsHalfOfItsSlotsFreeAndAFifthWhenLarge)
{
    struct Sizes {
        std::uint32_t count;
        std::size_t slots;
    };
    for (const auto &[count, slots] : std::vector<Sizes>{{1, 8},
                                                         {4, 8},
                                                         {5, 16},
                                                         {8, 16},
                                                         {9, 32},
                                                         {2047, 4096},
                                                         {2048, 4096},
                                                         {2049, 4096},
                                                         {3276, 4096},
                                                         {3277, 8192},
                                                         {6553, 8192},
                                                         {6554, 16384}}) {
        filled(count, [](std::uint32_t number) { return number; });
        EXPECT_EQ(arrayBytes, slots * 2 * sizeof(std::uint32_t)) << count;
    }
}

} // namespace
