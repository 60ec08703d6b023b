// SPDX-License-Identifier: Apache-2.0
#include "helpers/random_text.h"
#include "support/text_by_stream.h"

#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <locale>
#include <sstream>

namespace {

using namespace Tovrin::Parser::Helpers;
using namespace std::string_literals;
using Tovrin::Testing::classicStream;
using Tovrin::Testing::escapeByStream;
using Tovrin::Testing::RandomRounds;
using Tovrin::Testing::RandomTexts;
using Tovrin::Testing::unescapeByStream;
using Tovrin::Testing::visible;

using Parts = std::vector<std::string>;

constexpr SplitBehaviour Behaviours[] = {DefaultSplit, SkipEmptyParts, KeepEmptyParts};

// ---- What splitting means, written down with streams --------------------------------------------------------------

// Takes one more split out of those that are allowed; false if there is none left. No limit counts nothing.
bool countSplit(int &counter, int maximum)
{
    return maximum < 0 || counter++ < maximum;
}

Parts splitByStream(const std::string &text, char separator, int maximum, SplitBehaviour behaviour)
{
    auto stream = classicStream(text);
    Parts parts;
    std::string part;
    int counter = 0;
    while (countSplit(counter, maximum) && std::getline(stream, part, separator)) {
        if (behaviour != SkipEmptyParts || !part.empty())
            parts.push_back(part);
    }
    if (!stream.eof() && std::getline(stream, part))
        parts.push_back(part);
    else if (behaviour == KeepEmptyParts && part.empty())
        parts.emplace_back();
    return parts;
}

// ---- trim, last, join -----------------------------------------------------------------------------------------------

TEST(Trim, RemovesWhiteSpaceAtTheEndsOnly)
{
    const std::vector<std::pair<std::string, std::string>> table = {
        {"", ""},
        {" ", ""},
        {" \t\n\v\f\r", ""},
        {" a b ", "a b"},
        {"\t\n\v\f\ra\r\f\v\n\t", "a"},
        {"a", "a"},
        {"\0 a \0"s, "\0 a \0"s},
        {"\xa0 \x85", "\xa0 \x85"},
    };
    for (const auto &[text, expected] : table)
        EXPECT_EQ(trim(text), expected) << visible(text);
}

TEST(Trim, KnowsTheWhiteSpaceOfTheClassicLocaleAlone)
{
    for (int byte = 0; byte < 256; ++byte) {
        const auto c = static_cast<char>(byte);
        EXPECT_EQ(trim(std::string(1, c)).empty(), std::isspace(c, std::locale::classic())) << byte;
    }
}

TEST(Last, IsTheTextBehindTheLastSeparator)
{
    EXPECT_EQ(last("a.b.c", '.'), "c");
    EXPECT_EQ(last("a.b.c", '/'), "a.b.c");
    EXPECT_EQ(last("a.b.", '.'), "");
    EXPECT_EQ(last(".", '.'), "");
    EXPECT_EQ(last("", '.'), "");
    EXPECT_EQ(last("a\0b"s, '\0'), "b");
}

TEST(Join, PutsOneSeparatorBetweenNeighbours)
{
    EXPECT_EQ(join({}, ';'), "");
    EXPECT_EQ(join({"a"}, ';'), "a");
    EXPECT_EQ(join({"a", "b", "c"}, ';'), "a;b;c");
    EXPECT_EQ(join({"", "a", "", ""}, ';'), ";a;;");
    EXPECT_EQ(join({""}, ';'), "");
}

// ---- split ----------------------------------------------------------------------------------------------------------

TEST(Split, KeepsTheValuesOfItsBehaviours)
{
    EXPECT_EQ(DefaultSplit, 0);
    EXPECT_EQ(SkipEmptyParts, 1);
    EXPECT_EQ(KeepEmptyParts, 2);
    EXPECT_EQ(sizeof(SplitBehaviour), 4u);
}

TEST(Split, HasNoLimitAndKeepsEmptyPartsButTheLastByDefault)
{
    EXPECT_EQ(split("a;;b;", ';'), split("a;;b;", ';', -1, DefaultSplit));
}

struct SplitRow {
    std::string text;
    int maximum;
    Parts byDefault, skipping, keeping;
};

const std::vector<SplitRow> SplitTable = {
    {"", -1, {}, {}, {""}},
    {"", 0, {}, {}, {""}},
    {"", 1, {}, {}, {""}},
    {"a;b;c", -1, {"a", "b", "c"}, {"a", "b", "c"}, {"a", "b", "c"}},
    {"a;b;c", 0, {"a;b;c"}, {"a;b;c"}, {"a;b;c"}},
    {"a;b;c", 1, {"a", "b;c"}, {"a", "b;c"}, {"a", "b;c"}},
    {"a;b;c", 2, {"a", "b", "c"}, {"a", "b", "c"}, {"a", "b", "c"}},
    {"a;b;c", 9, {"a", "b", "c"}, {"a", "b", "c"}, {"a", "b", "c"}},
    {"a;;b;", -1, {"a", "", "b"}, {"a", "b"}, {"a", "", "b", ""}},
    {"a;;b;", -7, {"a", "", "b"}, {"a", "b"}, {"a", "", "b", ""}},
    {";", -1, {""}, {}, {"", ""}},
    {";;", -1, {"", ""}, {}, {"", "", ""}},
    {"a;", 1, {"a"}, {"a"}, {"a", ""}},
    {";a;b", 1, {"", "a;b"}, {"a;b"}, {"", "a;b"}},
    {";;a", 2, {"", "", "a"}, {"a"}, {"", "", "a"}},
    {"a;b\nc;d", 1, {"a", "b"}, {"a", "b"}, {"a", "b"}},
    {"a;b\nc;d", -1, {"a", "b\nc", "d"}, {"a", "b\nc", "d"}, {"a", "b\nc", "d"}},
    {"a\nb", 0, {"a"}, {"a"}, {"a"}},
    {"a;\nb", 1, {"a", ""}, {"a", ""}, {"a", ""}},
    {"\n", 0, {""}, {""}, {""}},
};

TEST(Split, FollowsTheTableOfItsBehaviours)
{
    for (const auto &row : SplitTable) {
        const auto input = visible(row.text) + " " + std::to_string(row.maximum);
        EXPECT_EQ(split(row.text, ';', row.maximum, DefaultSplit), row.byDefault) << input;
        EXPECT_EQ(split(row.text, ';', row.maximum, SkipEmptyParts), row.skipping) << input;
        EXPECT_EQ(split(row.text, ';', row.maximum, KeepEmptyParts), row.keeping) << input;
    }
}

TEST(Split, ReadsATextAsAStreamWould)
{
    RandomTexts texts(";;;\n ab\0"s, 14);
    for (int round = 0; round < RandomRounds; ++round) {
        const auto text = texts.next();
        const auto separator = ";\n \0"s[texts.number(4)];
        const int maximum = static_cast<int>(texts.number(9)) - 2;
        for (const auto behaviour : Behaviours)
            ASSERT_EQ(split(text, separator, maximum, behaviour), splitByStream(text, separator, maximum, behaviour))
                << visible(text) << " separator " << int(separator) << " maximum " << maximum << " behaviour "
                << behaviour;
    }
}

// ---- validateString -------------------------------------------------------------------------------------------------

TEST(ValidateString, AcceptsOnlyAllowedCharacters)
{
    EXPECT_TRUE(validateString("cab", "abc", ""));
    EXPECT_FALSE(validateString("cabd", "abc", ""));
    EXPECT_FALSE(validateString("a", "", ""));
    EXPECT_FALSE(validateString("a\0b"s, "abc", ""));
    EXPECT_TRUE(validateString("a\0b"s, "\0abc"s, ""));
}

TEST(ValidateString, WantsEveryRequiredCharacter)
{
    EXPECT_TRUE(validateString("a.b-", "-.ab", ".-"));
    EXPECT_FALSE(validateString("a.b", "-.ab", ".-"));
    EXPECT_FALSE(validateString("ab", "-.ab", "."));
}

TEST(ValidateString, AcceptsAnEmptyTextIfNothingIsRequired)
{
    EXPECT_TRUE(validateString("", "", ""));
    EXPECT_TRUE(validateString("", "abc", ""));
    EXPECT_FALSE(validateString("", "abc", "a"));
}

TEST(ValidateString, OrdersTheAllowedCharactersByByteValue)
{
    const std::string allowed = "aZ\x7f\x80\xff";
    std::string sorted = allowed;
    std::sort(sorted.begin(), sorted.end(),
              [](char a, char b) { return static_cast<unsigned char>(a) < static_cast<unsigned char>(b); });
    for (const char c : allowed)
        EXPECT_TRUE(validateString(std::string(1, c), sorted, "")) << int(c);
}

// ---- escape and unescape --------------------------------------------------------------------------------------------

TEST(Escape, WritesByteValuesOfWhatIsNotAllowed)
{
    EXPECT_EQ(escape("a-b", '%', "ab", 'x'), "a%x2db");
    EXPECT_EQ(escape("a-b", '%', "ab", 'X'), "a%2db");
    EXPECT_EQ(escape("\xff\x80", '%', "", '\0'), "%ff%80");
    EXPECT_EQ(escape("", '%', "ab", 'x'), "");
}

TEST(Escape, DropsWhiteSpace)
{
    EXPECT_EQ(escape("a b", '%', "ab", 'x'), "ab");
    EXPECT_EQ(escape(" \t\n\v\f\r", '%', " ", 'x'), "");
}

TEST(Escape, FillsAShortByteValueWithASpace)
{
    EXPECT_EQ(escape("\a", '%', "", 'x'), "%x 7");
    EXPECT_EQ(escape("\0\x0f\x10"s, '%', "", '-'), "% 0% f%10");
}

TEST(Escape, TreatsEveryByteAsAStreamWould)
{
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(escape(text, '%', "09AZaz", 'x'), escapeByStream(text, '%', "09AZaz", 'x')) << byte;
    }
}

TEST(Escape, ReadsATextAsAStreamWould)
{
    RandomTexts texts("ab%x \t\n\v\f\r\0\a\x1f\x7f\x80\xa0\xff"s, 12);
    for (int round = 0; round < RandomRounds; ++round) {
        const auto text = texts.next();
        const auto marker = "xX\0"s[texts.number(3)];
        ASSERT_EQ(escape(text, '%', "ab", marker), escapeByStream(text, '%', "ab", marker)) << visible(text);
    }
}

TEST(Unescape, DecodesDigitsOfEitherCaseWithAndWithoutTheMarker)
{
    EXPECT_EQ(unescape("%41", '%'), "A");
    EXPECT_EQ(unescape("%x41", '%'), "A");
    EXPECT_EQ(unescape("a%fFb%00", '%'), "a\xff"
                                         "b\0"s);
    EXPECT_EQ(unescape("plain", '%'), "plain");
    EXPECT_EQ(unescape("", '%'), "");
}

TEST(Unescape, YieldsNothingAfterABadDigit)
{
    for (const std::string text : {"%4G", "ab%4G", "%G4", "%xx41", "%X41", "%%41", "%-1", "%41%"})
        EXPECT_EQ(unescape(text, '%'), "") << text;
}

TEST(Unescape, ReadsEachByteInThePlaceOfADigitAsAStreamWould)
{
    for (int byte = 0; byte < 256; ++byte) {
        const std::string any(1, static_cast<char>(byte));
        EXPECT_EQ(unescape("-" + any + "1", '-'), unescapeByStream("-" + any + "1", '-')) << "byte " << byte;
        EXPECT_EQ(unescape("-1" + any, '-'), unescapeByStream("-1" + any, '-')) << "byte " << byte;
    }
}

TEST(Unescape, YieldsNothingForAnEscapeThatIsCutOff)
{
    for (const std::string text : {"%", "%x", "%4", "%x4", "a%4 ", "%x "})
        EXPECT_EQ(unescape(text, '%'), "") << text;
}

TEST(Unescape, SkipsWhiteSpaceAlsoBetweenTheDigits)
{
    EXPECT_EQ(unescape("%4 1", '%'), "A");
    EXPECT_EQ(unescape("% \t4\n1 b ", '%'), "Ab");
    EXPECT_EQ(unescape("%x 41", '%'), "A");
    EXPECT_EQ(unescape("% x41", '%'), "") << "white space between the escape character and the marker";
}

TEST(Unescape, ReadsATextAsAStreamWould)
{
    RandomTexts texts("%%%xX0149aAfFgG \n\v\0\xff"s, 10);
    for (int round = 0; round < RandomRounds; ++round) {
        const auto text = texts.next();
        const auto escapeCharacter = "%x4 "[texts.number(4)];
        ASSERT_EQ(unescape(text, escapeCharacter), unescapeByStream(text, escapeCharacter))
            << visible(text) << " escape character " << escapeCharacter;
    }
}

TEST(Unescape, UndoesEscapeOfTextsWithoutShortBytesAndSpace)
{
    const std::string text = "key=\"\xc3\xa4\"%x/\x7f";
    EXPECT_EQ(unescape(escape(text, '%', "eky", 'x'), '%'), text);
    EXPECT_EQ(unescape(escape(text, '%', "eky", '-'), '%'), text);
}

} // namespace
