// SPDX-License-Identifier: Apache-2.0
//
// That the options of cmake/Hardening.cmake do their work. The library itself has no call left whose buffer they would
// check, so its symbols cannot show it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// Not inlined, or the compiler sees what is coming and refuses.
[[gnu::noinline]] void copyIntoRoom(const std::string &text)
{
    char room[8];
    std::memcpy(room, text.data(), text.size());
    asm volatile("" : : "r"(room) : "memory"); // or the copy is left out as useless
}

TEST(HardeningDeathTest, StopsAtAnOverrunBuffer)
{
    copyIntoRoom("as long");
    EXPECT_DEATH(copyIntoRoom("longer than the room"), "buffer overflow detected");
}

} // namespace
