// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_value.h>

#include "support/captured_records.h"
#include "support/stderr_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <stdexcept>
#include <type_traits>

using namespace std::string_literals;
using Tovrin::Parser::ConfigValue;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::StderrRecords;

namespace {

using References = std::vector<std::pair<std::string, std::string>>;

struct Reference {
    std::string group;
    std::string key;
    std::uint32_t position;
};

ConfigValue valueOf(const std::string &text, const std::vector<Reference> &references)
{
    ConfigValue value(text);
    for (const auto &[group, key, position] : references)
        value.addReference(group, key, position);
    return value;
}

// The text "ab" with a reference in its middle.
ConfigValue sample()
{
    return valueOf("ab", {{"G", "K", 1}});
}

const std::string &dataOf(const ConfigValue &value)
{
    return value.data();
}

} // namespace

TEST(ConfigValue, IsEmptyAndPlainAtFirst)
{
    const ConfigValue value;
    EXPECT_EQ(value.data(), "");
    EXPECT_EQ(value.type(), 0);
    EXPECT_EQ(value.references(), References{});
    EXPECT_TRUE(value.empty());
}

TEST(ConfigValue, TakesTextVerbatim)
{
    for (const auto &text : {"  a "s, ""s, "a"s, " \t\r\n\v\f"s, "a\0b\0"s, "${x}$$"s}) {
        const ConfigValue value(text);
        EXPECT_EQ(value.data(), text);
        EXPECT_EQ(value.type(), 0) << text;
        EXPECT_TRUE(value.references().empty()) << text;
    }
    EXPECT_EQ(ConfigValue("  a ").data(), "  a ");
    EXPECT_EQ(ConfigValue("").data(), "");
}

TEST(ConfigValue, RejectsANullPointer)
{
    const char *nothing = nullptr;
    EXPECT_THROW(ConfigValue{nothing}, std::logic_error);
}

TEST(ConfigValue, ConvertsFromTextImplicitly)
{
    static_assert(std::is_convertible_v<const char *, ConfigValue>);
    static_assert(std::is_convertible_v<std::string, ConfigValue>);
    EXPECT_EQ(ConfigValue("a") + "b", ConfigValue("ab"));
    EXPECT_EQ(dataOf("literal").size(), 7U);
}

TEST(ConfigValue, NumbersItsTypesZeroAndOne)
{
    static_assert(sizeof(ConfigValue::Type) == 4);
    EXPECT_EQ(static_cast<int>(ConfigValue("a").type()), 0);
    EXPECT_EQ(static_cast<int>(sample().type()), 1);
}

TEST(ConfigValue, SetStringTrims)
{
    const std::vector<std::pair<std::string, std::string>> rows{
        {"  a ", "a"},    {"", ""},   {" \t\n\v\f\r", ""},      {"\ta b\r\n", "a b"},
        {"a\tb", "a\tb"}, {"a", "a"}, {"\0 a \0"s, "\0 a \0"s}, {"\xA0 a", "\xA0 a"},
        {" 0 ", "0"},
    };
    for (const auto &[text, stored] : rows) {
        ConfigValue value;
        value.setString(text);
        EXPECT_EQ(value.data(), stored) << text;
        EXPECT_EQ(value.type(), 0) << text;
    }
}

TEST(ConfigValue, SetStringLeavesReferencesAndPositions)
{
    auto value = sample();
    value.setString("  xyz ");
    EXPECT_EQ(value, valueOf("xyz", {{"G", "K", 1}}));
    EXPECT_EQ(value.type(), 1);
    EXPECT_EQ(value.resolve({"1"}), "x1yz");
}

TEST(ConfigValue, SetStringAcceptsItsOwnText)
{
    ConfigValue value(" own text, longer than any small buffer inside a string ");
    value.setString(value.data());
    EXPECT_EQ(value.data(), "own text, longer than any small buffer inside a string");
}

TEST(ConfigValue, ClearRemovesTextAndReferences)
{
    auto value = sample();
    value.clear();
    EXPECT_EQ(value.data(), "");
    EXPECT_EQ(value.type(), 0);
    EXPECT_TRUE(value.references().empty());
    EXPECT_TRUE(value.empty());
}

TEST(ConfigValue, CanBeFilledAgainAfterClear)
{
    auto value = sample();
    value.clear();
    value.addReference("H", "L", 0);
    EXPECT_EQ(value, valueOf("", {{"H", "L", 0}}));
}

TEST(ConfigValue, KeepsReferencesInTheirOrder)
{
    const auto value = valueOf("ab", {{"G", "K", 0}, {"", "", 1}, {"G", "K", 2}});
    EXPECT_EQ(value.references(), (References{{"G", "K"}, {"", ""}, {"G", "K"}}));
    EXPECT_EQ(value.type(), 1);
}

TEST(ConfigValue, HandsOutItsTextWithoutACopy)
{
    const ConfigValue value("a\0b"s);
    EXPECT_EQ(&value.data(), &value.data());
    EXPECT_EQ(value.c_str(), value.data().c_str());
    EXPECT_EQ(std::memcmp(value.c_str(), "a\0b\0", 4), 0);
}

TEST(ConfigValue, DataLeavesReferencesUnresolved)
{
    EXPECT_EQ(sample().data(), "ab");
    EXPECT_STREQ(sample().c_str(), "ab");
}

TEST(ConfigValue, PlainValuesShareOneEmptyListOfReferences)
{
    const ConfigValue one("a");
    ConfigValue other = sample();
    other.clear();
    EXPECT_EQ(&one.references(), &other.references());
}

TEST(ConfigValue, IsEmptyWithoutTextAndReferences)
{
    EXPECT_TRUE(ConfigValue().empty());
    EXPECT_TRUE(ConfigValue("").empty());
    EXPECT_FALSE(ConfigValue(" ").empty());
    EXPECT_FALSE(sample().empty());
    EXPECT_FALSE(valueOf("", {{"G", "K", 0}}).empty());
}

TEST(ConfigValueResolve, InsertsAtThePositions)
{
    struct Row {
        ConfigValue value;
        std::vector<std::string> resolved;
        std::string text;
    };
    const std::vector<Row> rows{
        {valueOf("ab", {{"X", "x", 1}, {"Y", "y", 2}}), {"1", "22"}, "a1b22"},
        {valueOf("", {{"X", "x", 0}}), {"x"}, "x"},
        {valueOf("", {{"X", "x", 0}, {"Y", "y", 0}}), {"1", "2"}, "12"},
        {valueOf("ab", {{"X", "x", 0}, {"Y", "y", 0}, {"Z", "z", 2}}), {"11", "", "3"}, "11ab3"},
        {valueOf("ab", {{"X", "x", 1}}), {""}, "ab"},
        {valueOf("ab", {{"X", "x", 1}}), {"\0\n"s}, "a\0\nb"s},
        {valueOf("ab", {{"X", "x", 1}}), {" ${Y} "}, "a ${Y} b"},
    };
    for (const auto &[value, resolved, text] : rows)
        EXPECT_EQ(value.resolve(resolved), text) << value.data();
}

TEST(ConfigValueResolve, ReturnsThePlainTextWhateverTheListHolds)
{
    const CapturedRecords records;
    EXPECT_EQ(ConfigValue(" a ").resolve({}), " a ");
    EXPECT_EQ(ConfigValue(" a ").resolve({"1", "2"}), " a ");
    EXPECT_TRUE(records.empty());
}

TEST(ConfigValueResolve, LeavesTheValueAsItIs)
{
    const auto value = sample();
    EXPECT_EQ(value.resolve({"1"}), "a1b");
    EXPECT_EQ(value.resolve({"2"}), "a2b");
    EXPECT_EQ(value, sample());
}

TEST(ConfigValueResolve, AddsTheLengthsOfAllEarlierInsertions)
{
    const auto value = valueOf("ab", {{"X", "x", 2}, {"Y", "y", 0}}); // against the order that is asked for
    EXPECT_EQ(value.resolve({"1", "2"}), "a2b1");
}

TEST(ConfigValueResolve, WarnsOfAMismatchWithTheCountsAsRawBytes)
{
    for (const auto &resolved : {std::vector<std::string>{"1"}, std::vector<std::string>{"1", "2", "3"}}) {
        const CapturedRecords records;
        EXPECT_EQ(valueOf("ab", {{"X", "x", 1}, {"Y", "y", 2}}).resolve(resolved), "ab");
        const auto text =
            "ConfigValue references size \x02 mismatch with resolve list size "s + static_cast<char>(resolved.size());
        EXPECT_THAT(records.all(), testing::ElementsAre(CapturedRecords::Record{4, text}));
    }
}

TEST(ConfigValueResolve, WarnsWithTheLowEightBitsOfTheCounts)
{
    ConfigValue value("ab");
    for (int i = 0; i < 256 + 65; ++i)
        value.addReference("G", "K", 0);
    const StderrRecords records;
    EXPECT_EQ(value.resolve({}), "ab");
    EXPECT_EQ(value.resolve(std::vector<std::string>(256)), "ab");
    EXPECT_EQ(records.text(), "WARNING: ConfigValue references size A mismatch with resolve list size \0\n"
                              "WARNING: ConfigValue references size A mismatch with resolve list size \0\n"s);
}

TEST(ConfigValueResolve, ThrowsForAPositionBeyondTheText)
{
    EXPECT_EQ(valueOf("ab", {{"G", "K", 2}}).resolve({"1"}), "ab1");
    EXPECT_THROW(valueOf("ab", {{"G", "K", 3}}).resolve({"1"}), std::out_of_range);
    EXPECT_THROW(valueOf("", {{"G", "K", 1}}).resolve({""}), std::out_of_range);
    EXPECT_THROW(valueOf("ab", {{"G", "K", 0}, {"G", "K", 3}}).resolve({"long enough", ""}), std::out_of_range);
}

TEST(ConfigValueResolve, DoesNotWrapPositionsAround)
{
    const auto value = valueOf("ab", {{"G", "K", 0}, {"G", "K", 0xFFFFFFFF}});
    EXPECT_THROW(value.resolve({"1", "2"}), std::out_of_range);
}

TEST(ConfigValueCopy, IsDeep)
{
    auto original = sample();
    const ConfigValue copy(original);
    original.setString("changed");
    original.addReference("H", "L", 2);
    EXPECT_EQ(copy, sample());
    EXPECT_EQ(copy.type(), 1);
    EXPECT_EQ(copy.resolve({"1"}), "a1b");
}

TEST(ConfigValueCopy, OfAPlainValueIsPlain)
{
    const ConfigValue original(" a ");
    const ConfigValue copy(original);
    EXPECT_EQ(copy.data(), " a ");
    EXPECT_EQ(copy.type(), 0);
}

TEST(ConfigValueAssignment, IsDeep)
{
    auto original = sample();
    ConfigValue assigned;
    assigned = original;
    original.clear();
    EXPECT_EQ(assigned, sample());
    EXPECT_EQ(assigned.type(), 1);
}

TEST(ConfigValueAssignment, ReplacesReferencesInsteadOfAddingThem)
{
    auto value = valueOf("long text", {{"A", "a", 0}, {"B", "b", 3}});
    value = sample();
    EXPECT_EQ(value, sample());
    EXPECT_EQ(value.references(), (References{{"G", "K"}}));
}

TEST(ConfigValueAssignment, FromAPlainValueFreesTheReferences)
{
    auto value = sample();
    value = ConfigValue("plain");
    EXPECT_EQ(value.data(), "plain");
    EXPECT_EQ(value.type(), 0);
    EXPECT_TRUE(value.references().empty());
    EXPECT_EQ(value.resolve({}), "plain");
}

TEST(ConfigValueAssignment, ToItselfChangesNothing)
{
    auto value = sample();
    const auto &same = value;
    value = same;
    EXPECT_EQ(value, sample());
    EXPECT_EQ(value.type(), 1);

    ConfigValue plain(" a ");
    const auto &samePlain = plain;
    plain = samePlain;
    EXPECT_EQ(plain.data(), " a ");
}

TEST(ConfigValueAssignment, ReturnsTheValueItself)
{
    ConfigValue value;
    EXPECT_EQ(&(value = sample()), &value);
}

TEST(ConfigValueAppend, MovesPositionsByTheLengthBeforeThem)
{
    ConfigValue value("ab");
    value += valueOf("c", {{"G", "K", 0}});
    EXPECT_EQ(value, valueOf("abc", {{"G", "K", 2}}));
    EXPECT_EQ(value.type(), 1);
}

TEST(ConfigValueAppend, JoinsReferencesInOrder)
{
    auto value = sample();
    value += valueOf("cd", {{"H", "L", 0}, {"I", "M", 2}});
    EXPECT_EQ(value, valueOf("abcd", {{"G", "K", 1}, {"H", "L", 2}, {"I", "M", 4}}));
    EXPECT_EQ(value.resolve({"1", "2", "3"}), "a1b2cd3");
}

TEST(ConfigValueAppend, KeepsTheReferencesWhenAPlainValueFollows)
{
    auto value = sample();
    value += ConfigValue(" c");
    EXPECT_EQ(value, valueOf("ab c", {{"G", "K", 1}}));
    EXPECT_EQ(value.type(), 1);
}

TEST(ConfigValueAppend, OfPlainValuesIsPlain)
{
    ConfigValue value(" a");
    value += ConfigValue("b ");
    EXPECT_EQ(value.data(), " ab ");
    EXPECT_EQ(value.type(), 0);
}

TEST(ConfigValueAppend, DoublesAValueAppendedToItself)
{
    auto value = sample();
    value += value;
    EXPECT_EQ(value, valueOf("abab", {{"G", "K", 1}, {"G", "K", 3}}));
    EXPECT_EQ(value.resolve({"1", "2"}), "a1ba2b");

    ConfigValue plain("a text that is longer than any small buffer");
    plain += plain;
    EXPECT_EQ(plain.data(), "a text that is longer than any small buffera text that is longer than any small buffer");
}

TEST(ConfigValueAppend, ReturnsTheValueItself)
{
    ConfigValue value("a");
    (value += ConfigValue("b")) += ConfigValue("c");
    EXPECT_EQ(value.data(), "abc");
}

TEST(ConfigValuePlus, LeavesBothOperandsAsTheyAre)
{
    const ConfigValue a("ab");
    const auto b = valueOf("c", {{"G", "K", 0}});
    EXPECT_EQ(a + b, valueOf("abc", {{"G", "K", 2}}));
    EXPECT_EQ(b + a, valueOf("cab", {{"G", "K", 0}}));
    EXPECT_EQ(a.data(), "ab");
    EXPECT_EQ(a.type(), 0);
    EXPECT_EQ(b, valueOf("c", {{"G", "K", 0}}));
}

TEST(ConfigValueEquality, ComparesTextReferencesAndPositions)
{
    EXPECT_EQ(sample(), sample());
    const std::vector<ConfigValue> others{
        ConfigValue("ab"),
        ConfigValue(),
        valueOf("aB", {{"G", "K", 1}}),
        valueOf("ab", {{"H", "K", 1}}),
        valueOf("ab", {{"G", "L", 1}}),
        valueOf("ab", {{"G", "K", 2}}),
        valueOf("ab", {{"GK", "", 1}}),
        valueOf("ab", {{"G", "K", 1}, {"G", "K", 1}}),
    };
    for (const auto &other : others) {
        EXPECT_FALSE(sample() == other) << other.data();
        EXPECT_FALSE(other == sample()) << other.data();
    }
}

TEST(ConfigValueEquality, MindsTheOrderOfReferences)
{
    const auto value = valueOf("", {{"A", "a", 0}, {"B", "b", 0}});
    EXPECT_FALSE(value == valueOf("", {{"B", "b", 0}, {"A", "a", 0}}));
    EXPECT_TRUE(value == valueOf("", {{"A", "a", 0}, {"B", "b", 0}}));
}

TEST(ConfigValueEquality, IgnoresTheHistoryOfPlainValues)
{
    auto cleared = sample();
    cleared.clear();
    cleared.setString("x");
    auto assigned = sample();
    assigned = ConfigValue("x");
    EXPECT_TRUE(cleared == ConfigValue("x"));
    EXPECT_TRUE(assigned == cleared);
    EXPECT_FALSE(ConfigValue("x") == ConfigValue("x "));
}

TEST(ConfigValueOutput, IsTheTextAlone)
{
    std::ostringstream stream;
    stream << sample() << ConfigValue(" c ") << ConfigValue() << ConfigValue("\0"s);
    EXPECT_EQ(stream.str(), "ab c \0"s);
}
