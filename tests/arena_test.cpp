// SPDX-License-Identifier: Apache-2.0
#include "arena.h"

#include "support/allocations.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>

namespace {

using Tovrin::Parser::Arena;
using Tovrin::Testing::Allocations;

// ValueStore's tests show the rest of what an arena does.

TEST(Arena, HasNoPieceOfNumberZero)
{
    for (const std::size_t size : {1U, 4096U, 16384U, 16388U, 65536U, 100000U}) {
        Arena arena;
        EXPECT_NE(arena.allocate(size), 0U) << size;
        EXPECT_NE(arena.allocate(size), 0U) << size;
    }
}

// Most configurations are small.
TEST(Arena, TakesFourKibibytesForAFewPieces)
{
    const Allocations allocations;
    Arena arena;
    for (int i = 0; i < 100; ++i)
        arena.allocate(40);
    EXPECT_EQ(allocations.bytes(), 4096 + 2 * sizeof(void *)); // and the places of the first block in two lists
}

TEST(Arena, GivesOnlyPiecesOfOverSixteenKibibytesABlockOfTheirOwn)
{
    Arena arena;
    const auto first = arena.allocate(4);
    arena.allocate(16 * 1024 + 4);
    EXPECT_EQ(arena.at(arena.allocate(4)), arena.at(first) + 4);
    const auto large = arena.allocate(16 * 1024);
    EXPECT_EQ(arena.at(arena.allocate(4)), arena.at(large) + 16 * 1024);
}

#if SIZE_MAX > UINT32_MAX // elsewhere the addresses end before the numbers

TEST(Arena, RefusesMoreThanItsNumbersCount)
{
    constexpr std::size_t all = (std::size_t{1} << 32) * Arena::Unit;
    Arena arena;
    const auto piece = arena.allocate(8);
    EXPECT_THROW(arena.allocate(all), std::bad_alloc); // the first block has taken numbers too
    EXPECT_EQ(arena.used(), 8U);
    EXPECT_NE(arena.at(arena.allocate(8)), arena.at(piece));
}

#endif

} // namespace
