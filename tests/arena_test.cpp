// SPDX-License-Identifier: Apache-2.0
#include "arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>

namespace {

using Tovrin::Parser::Arena;

// ValueStore's tests show the rest of what an arena does.

TEST(Arena, HasNoPieceOfNumberZero)
{
    for (const std::size_t size : {1U, 4096U, 16384U, 16388U, 65536U, 100000U}) {
        Arena arena;
        EXPECT_NE(arena.allocate(size), 0U) << size;
        EXPECT_NE(arena.allocate(size), 0U) << size;
    }
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
