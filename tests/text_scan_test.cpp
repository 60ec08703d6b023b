// SPDX-License-Identifier: Apache-2.0
#include "text_scan.h"

#include <gtest/gtest.h>

#include <locale>
#include <string>
#include <string_view>

namespace {

using namespace Tovrin::Parser;

constexpr std::size_t LongestCompared = 40; // well beyond the sizes that sameText() compares by words

TEST(SameText, IsTrueForEqualTextsWhateverStandsAroundThem)
{
    for (std::size_t size = 0; size <= LongestCompared; ++size) {
        const std::string text(size, 'a');
        const std::string one = "<<<<<<<<" + text + "<<<<<<<<";
        const std::string other = ">>>>>>>>" + text + ">>>>>>>>";
        EXPECT_TRUE(sameText(std::string_view(one).substr(8, size), std::string_view(other).substr(8, size))) << size;
    }
}

TEST(SameText, SeesADifferenceAnywhere)
{
    for (std::size_t size = 1; size <= LongestCompared; ++size) {
        const std::string a(size, 'a');
        for (std::size_t position = 0; position < size; ++position) {
            std::string b = a;
            b[position] = '\0';
            EXPECT_FALSE(sameText(a, b)) << "byte " << position << " of " << size;
        }
    }
}

TEST(SameText, IsFalseForTheBeginningOfAText)
{
    const std::string a(LongestCompared, 'a');
    for (std::size_t size = 0; size < LongestCompared; ++size) {
        EXPECT_FALSE(sameText(a.substr(0, size), a.substr(0, size + 1))) << size;
        EXPECT_FALSE(sameText(a.substr(0, size + 1), a.substr(0, size))) << size;
    }
}

TEST(Characters, AreThoseOfTheClassicLocale)
{
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        EXPECT_EQ(isSpace(c), std::isspace(c, std::locale::classic())) << byte;
        EXPECT_EQ(toLower(c), std::tolower(c, std::locale::classic())) << byte;
    }
}

TEST(TakeUntil, TakesTheSeparatorButDoesNotGiveIt)
{
    std::string_view text = "a::b";
    EXPECT_EQ(takeUntil(text, ':'), "a");
    EXPECT_EQ(text, ":b");
    EXPECT_EQ(takeUntil(text, ':'), "");
    EXPECT_EQ(takeUntil(text, ':'), "b");
    EXPECT_EQ(text, "");
    EXPECT_EQ(takeUntil(text, ':'), "");
}

TEST(OffsetAfterTrim, StaysInsideWhatIsKept)
{
    const std::string_view text = "  ab ";
    const std::string_view kept = trimmed(text);
    ASSERT_EQ(kept, "ab");
    const std::size_t expected[] = {0, 0, 0, 1, 2, 2};
    for (std::size_t offset = 0; offset <= text.size(); ++offset)
        EXPECT_EQ(offsetAfterTrim(offset, text, kept), expected[offset]) << offset;
}

} // namespace
