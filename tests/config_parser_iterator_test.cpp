// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_parser.h>

#include "support/captured_records.h"
#include "support/parsers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <tuple>
#include <type_traits>

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Tovrin::Parser::ConfigParser;
using Tovrin::Parser::ConfigParserIterator;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::parserOf;
using Tovrin::Testing::readText;

namespace {

using Value = ConfigParserIterator::value_type;
using Texts = std::vector<std::string>;
using Entry = std::tuple<std::string, std::string, Texts>; // group, key, values

std::vector<Entry> entriesOf(const ConfigParser &parser)
{
    std::vector<Entry> entries;
    for (const auto &entry : parser)
        entries.emplace_back(entry.group(), entry.key(), entry.value());
    return entries;
}

Entry entryAt(const ConfigParserIterator &position)
{
    const auto value = *position;
    return {value.group(), value.key(), value.value()};
}

} // namespace

// ---- The walk -------------------------------------------------------------------------------------------------------

TEST(ConfigParserIterator, OfAnEmptyParserIsAtTheEnd)
{
    const ConfigParser parser(ConfigParser::BadUid);
    EXPECT_TRUE(parser.begin() == parser.end());
    EXPECT_FALSE(parser.begin() != parser.end());
}

TEST(ConfigParserIterator, VisitsEveryEntryOnce)
{
    const auto parser = parserOf("a=0\n[g]\nk=1;2\nl=3\n[h]\nk=4\n[g]\nm=5\nk=6\n");
    EXPECT_THAT(entriesOf(parser),
                UnorderedElementsAre(Entry{"", "a", {"0"}}, Entry{"g", "k", {"1", "2", "6"}}, Entry{"g", "l", {"3"}},
                                     Entry{"h", "k", {"4"}}, Entry{"g", "m", {"5"}}));
}

TEST(ConfigParserIterator, VisitsThousandsOfEntriesOnce)
{
    std::string text;
    std::set<Entry> expected;
    for (int g = 0; g < 50; ++g) {
        const auto group = "group"s + std::to_string(g);
        text += "[" + group + "]\n";
        for (int k = 0; k < 60; ++k) {
            const auto key = "key"s + std::to_string(k);
            text += key + "=" + group + key + "\n";
            expected.insert({group, key, {group + key}});
        }
    }
    const auto entries = entriesOf(parserOf(text));
    EXPECT_EQ(entries.size(), expected.size());
    EXPECT_EQ(std::set<Entry>(entries.begin(), entries.end()), expected);
}

TEST(ConfigParserIterator, KeepsTheKeysOfAGroupTogether)
{
    const auto parser = parserOf("[g]\na=1\n[h]\na=1\n[i]\na=1\n[g]\nb=1\n[h]\nb=1\n[i]\nb=1\n[g]\nc=1\n");
    std::vector<std::string> groups;
    for (const auto &[group, key, values] : entriesOf(parser)) {
        if (groups.empty() || groups.back() != group)
            groups.push_back(group);
    }
    EXPECT_THAT(groups, UnorderedElementsAre("g", "h", "i"));
}

TEST(ConfigParserIterator, VisitsNoGroupWithoutKeys)
{
    const auto parser = parserOf("[g]\nk=1\nk=\n");
    EXPECT_TRUE(parser.contains("g"));
    EXPECT_TRUE(parser.begin() == parser.end());
}

TEST(ConfigParserIterator, StepsOverGroupsWithoutKeysAnywhere)
{
    std::string text;
    std::vector<Entry> expected;
    for (int g = 0; g < 20; ++g) {
        const auto group = "g"s + std::to_string(g);
        text += "[" + group + "]\nk=1\n" + (g % 3 != 0 ? "k=\n" : "");
        if (g % 3 == 0)
            expected.push_back({group, "k", {"1"}});
    }
    EXPECT_THAT(entriesOf(parserOf(text)), testing::UnorderedElementsAreArray(expected));
}

TEST(ConfigParserIterator, VisitsAKeyWithoutValues)
{
    const ConfigParser parser(ConfigParser::BadUid);
    std::vector<int> numbers;
    parser.getValue("g", "k", numbers);
    EXPECT_THAT(entriesOf(parser), ElementsAre(Entry{"g", "k", {}}));
}

TEST(ConfigParserIterator, VisitsDroppedKeysNoMore)
{
    const auto parser = parserOf("[g]\nk=1\nl=2\nk=\n");
    EXPECT_THAT(entriesOf(parser), ElementsAre(Entry{"g", "l", {"2"}}));
}

TEST(ConfigParserIterator, IncrementsInBothForms)
{
    const auto parser = parserOf("[g]\na=1\nb=2\nc=3\n");
    auto position = parser.begin();
    const auto first = position;
    const auto former = position++;
    EXPECT_TRUE(former == first);
    EXPECT_TRUE(position != first);
    const auto second = position;
    auto &returned = ++position;
    EXPECT_EQ(&returned, &position);
    EXPECT_TRUE(position != second);
    EXPECT_TRUE(position != parser.end());
    EXPECT_TRUE(++position == parser.end());
}

TEST(ConfigParserIterator, StaysAtTheEnd)
{
    const auto parser = parserOf("[g]\nk=1\n");
    auto end = parser.end();
    EXPECT_TRUE(++end == parser.end());
    EXPECT_TRUE(end++ == parser.end());
    EXPECT_TRUE(end == parser.end());
}

TEST(ConfigParserIterator, ComparesItsPosition)
{
    const auto parser = parserOf("[g]\na=1\nb=2\n");
    EXPECT_TRUE(parser.begin() == parser.begin());
    EXPECT_TRUE(parser.end() == parser.end());
    auto position = parser.begin();
    ++position;
    EXPECT_FALSE(position == parser.begin());
    EXPECT_FALSE(position != position);
}

TEST(ConfigParserIterator, OfAnotherParserIsNeverEqual)
{
    const auto parser = parserOf("[g]\nk=1\n");
    const ConfigParser copy(parser);
    EXPECT_TRUE(parser.begin() != copy.begin());
    EXPECT_TRUE(parser.end() != copy.end());
    EXPECT_FALSE(parser.end() == copy.end());
    const ConfigParser empty(ConfigParser::BadUid);
    const ConfigParser otherEmpty(ConfigParser::BadUid);
    EXPECT_TRUE(empty.end() != otherEmpty.end());
    EXPECT_TRUE(empty.begin() != otherEmpty.begin());
}

TEST(ConfigParserIterator, CopiesAreIndependent)
{
    const auto parser = parserOf("[g]\na=1\nb=2\n");
    auto position = parser.begin();
    const auto copy = position;
    ++position;
    EXPECT_TRUE(copy == parser.begin());
    auto assigned = parser.end();
    assigned = position;
    EXPECT_TRUE(assigned == position);
    ++assigned;
    EXPECT_TRUE(assigned == parser.end());
    EXPECT_TRUE(position != parser.end());
}

TEST(ConfigParserIterator, MayBeAssignedToItselfAndAcrossParsers)
{
    const auto parser = parserOf("[g]\na=1\n");
    const auto other = parserOf("[h]\nb=2\n");
    auto position = parser.begin();
    const auto &same = position;
    position = same;
    EXPECT_EQ(entryAt(position), (Entry{"g", "a", {"1"}}));
    position = other.begin();
    EXPECT_EQ(entryAt(position), (Entry{"h", "b", {"2"}}));
    EXPECT_TRUE(++position == other.end());
}

TEST(ConfigParserIterator, IsAnInputIterator)
{
    using Traits = std::iterator_traits<ConfigParserIterator>;
    static_assert(std::is_base_of_v<std::input_iterator_tag, Traits::iterator_category>);
    static_assert(std::is_same_v<Traits::value_type, Value>);
    static_assert(std::is_same_v<decltype(*std::declval<const ConfigParserIterator &>()), Value>);
    const auto parser = parserOf("[g]\na=1\nb=2\n");
    EXPECT_EQ(std::distance(parser.begin(), parser.end()), 2);
}

// ---- What it finds --------------------------------------------------------------------------------------------------

TEST(ConfigParserIterator, AtTheEndIsEmpty)
{
    const auto parser = parserOf("[g]\nk=1\n");
    EXPECT_EQ(entryAt(parser.end()), (Entry{"", "", {}}));
}

TEST(ConfigParserIterator, ResolvesReferences)
{
    const auto parser = parserOf("[g]\nk=<${config:h/x}>;plain;$$\n[h]\nx=1;2\n");
    EXPECT_THAT(entriesOf(parser),
                UnorderedElementsAre(Entry{"g", "k", {"<2>", "plain", "$"}}, Entry{"h", "x", {"1", "2"}}));
}

TEST(ConfigParserIterator, ResolvesAfreshEachTime)
{
    ConfigParser parser(ConfigParser::BadUid);
    parser.addKey("g", "k", ConfigParser::Replace);
    parser.addKey("h", "x", ConfigParser::Replace);
    EXPECT_TRUE(readText(parser, "[g]\nk=<${config:h/x}>\n[h]\nx=1\n"));
    EXPECT_THAT(entriesOf(parser), testing::Contains(Entry{"g", "k", {"<1>"}}));
    EXPECT_TRUE(readText(parser, "[h]\nx=2\n"));
    EXPECT_THAT(entriesOf(parser), testing::Contains(Entry{"g", "k", {"<2>"}}));
}

TEST(ConfigParserIterator, KeepsPlainEmptyTextsAndSkipsEmptyResolvedOnes)
{
    ConfigParser parser(ConfigParser::BadUid);
    parser.addKey("g", "plain", ConfigParser::Replace);
    parser.addKey("g", "reference", ConfigParser::Replace);
    parser.addKey("g", "absent", ConfigParser::Replace);
    EXPECT_TRUE(readText(parser, "[g]\nplain= \nreference=${config:g/absent}\n"));
    EXPECT_THAT(entriesOf(parser), UnorderedElementsAre(Entry{"g", "plain", {""}}, Entry{"g", "reference", {}}));
}

TEST(ConfigParserIterator, LeavesOutAValueThatFailsToResolve)
{
    const auto parser = parserOf("[g]\nk=a;${config:g/k};b;${config:g/absent};${config:g/k}\n");
    const CapturedRecords records;
    EXPECT_THAT(entriesOf(parser), ElementsAre(Entry{"g", "k", {"a", "b"}}));
    const std::string message = "Max depth reached, possibly circular reference.";
    EXPECT_THAT(records.all(), ElementsAre(CapturedRecords::Record{3, message}, CapturedRecords::Record{3, message}));
}

TEST(ConfigParserIterator, WarnsOfReferencesToUnregisteredKeys)
{
    ConfigParser parser(ConfigParser::BadUid);
    parser.addKey("g", "k", ConfigParser::Replace);
    EXPECT_TRUE(readText(parser, "[g]\nk=<${config:G/K}>\n"));
    const CapturedRecords records;
    EXPECT_THAT(entriesOf(parser), ElementsAre(Entry{"g", "k", {"<>"}}));
    EXPECT_THAT(records.all(), ElementsAre(CapturedRecords::Record{4, "G/K has not been added to the parser"}));
}

TEST(ConfigParserIterator, DoesNotResolveUntilItIsDereferenced)
{
    const auto parser = parserOf("[g]\nk=${config:g/k}\n");
    const CapturedRecords records;
    auto position = parser.begin();
    ++position;
    EXPECT_TRUE(position == parser.end());
    EXPECT_TRUE(records.empty());
}

// ---- Its values -----------------------------------------------------------------------------------------------------

TEST(ConfigParserIteratorValue, HoldsWhatItIsMadeOf)
{
    const Value single("g", "k", std::string("v"));
    EXPECT_EQ(single.group(), "g");
    EXPECT_EQ(single.key(), "k");
    EXPECT_THAT(single.value(), ElementsAre("v"));
    EXPECT_THAT(Value("g", "k", std::string()).value(), ElementsAre(""));
    const Value list("g", "k", Texts{"a", "b"});
    EXPECT_EQ(list.group(), "g");
    EXPECT_EQ(list.key(), "k");
    EXPECT_THAT(list.value(), ElementsAre("a", "b"));
    EXPECT_THAT(Value("", "", Texts{}).value(), IsEmpty());
}

TEST(ConfigParserIteratorValue, HandsOutCopies)
{
    static_assert(std::is_same_v<decltype(std::declval<const Value &>().group()), std::string>);
    static_assert(std::is_same_v<decltype(std::declval<const Value &>().key()), std::string>);
    static_assert(std::is_same_v<decltype(std::declval<const Value &>().value()), Texts>);
    const Value original("g", "k", Texts{"a", "b"});
    const Value copy(original);
    Value assigned("", "", Texts{});
    assigned = original;
    EXPECT_TRUE(assigned == copy);
}

TEST(ConfigParserIteratorValue, OutlivesItsParser)
{
    auto parser = std::make_unique<ConfigParser>(parserOf("[g]\nk=1;2\n"));
    const auto value = *parser->begin();
    parser.reset();
    EXPECT_EQ(value.group(), "g");
    EXPECT_THAT(value.value(), ElementsAre("1", "2"));
}

TEST(ConfigParserIteratorValue, ComparesGroupKeyAndValues)
{
    // The right-hand sides are const: the operators are not, and C++20 would find the reversed ones as good.
    Value value("g", "k", Texts{"a", "b"});
    const Value same("g", "k", Texts{"a", "b"});
    EXPECT_TRUE(value == same);
    EXPECT_FALSE(value != same);
    for (const auto &other :
         {Value("h", "k", Texts{"a", "b"}), Value("g", "l", Texts{"a", "b"}), Value("g", "k", Texts{"a", "c"}),
          Value("g", "k", Texts{"b", "a"}), Value("g", "k", Texts{"a"}), Value("g", "k", Texts{"a", "b", ""}),
          Value("g", "k", Texts{})}) {
        EXPECT_FALSE(value == other) << other.group() << other.key();
        EXPECT_TRUE(value != other) << other.group() << other.key();
    }
    const Value list("g", "k", Texts{"a"});
    EXPECT_TRUE(Value("g", "k", std::string("a")) == list);
}
