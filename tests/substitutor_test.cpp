// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/substitutor.h>

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/config_value.h>

#include "support/captured_records.h"
#include "support/env_guard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace std::string_literals;
using testing::ElementsAre;
using Tovrin::Parser::ConfigParser;
using Tovrin::Parser::ConfigValue;
using Tovrin::Parser::Substitutor;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::EnvGuard;

// Only the store may register templates. In this program, which sees nothing but the public interface, this class takes
// its place.
class Tovrin::Parser::ConfigParserPrivate {
public:
    static void addTemplate(Substitutor &substitutor, const std::string &name, const std::string &text)
    {
        substitutor.templates_.emplace(name, text);
    }
};

namespace {

using References = std::vector<std::pair<std::string, std::string>>;

struct Reference {
    std::string group;
    std::string key;
    std::uint32_t position;
};

struct Row {
    std::string text;
    std::string result;
    std::vector<Reference> references = {};
};

ConfigValue valueOf(const std::string &text, const std::vector<Reference> &references)
{
    ConfigValue value(text);
    for (const auto &[group, key, position] : references)
        value.addReference(group, key, position);
    return value;
}

// "GROUP/KEY@POSITION" a reference: what a failed comparison should show.
std::string describe(const ConfigValue &value)
{
    std::string text = "'" + value.data() + "'";
    for (const auto &[group, key] : value.references())
        text += " " + group + "/" + key;
    std::vector<std::string> marks;
    for (std::size_t i = 0; i < value.references().size(); ++i)
        marks.push_back("<" + std::to_string(i) + ">");
    return text + " as '" + value.resolve(marks) + "'";
}

Substitutor substitutorWith(const std::vector<std::pair<std::string, std::string>> &templates)
{
    Substitutor substitutor(ConfigParser::BadUid);
    for (const auto &[name, text] : templates)
        Tovrin::Parser::ConfigParserPrivate::addTemplate(substitutor, name, text);
    return substitutor;
}

void expectResults(const Substitutor &substitutor, const std::vector<Row> &rows)
{
    for (const auto &[text, result, references] : rows) {
        const CapturedRecords records;
        ConfigValue value;
        EXPECT_TRUE(substitutor.substituted(text, value)) << text;
        EXPECT_EQ(value, valueOf(result, references)) << text << " gives " << describe(value);
        EXPECT_TRUE(records.empty()) << text;
    }
}

void expectResults(const std::vector<Row> &rows)
{
    expectResults(Substitutor(ConfigParser::BadUid), rows);
}

// Expects each text to fail with one error, in which the whole text follows the message.
void expectErrors(const std::string &message, const std::vector<std::string> &texts)
{
    for (const auto &text : texts) {
        const CapturedRecords records;
        ConfigValue value("former");
        EXPECT_FALSE(Substitutor(ConfigParser::BadUid).substituted(text, value)) << text;
        EXPECT_THAT(records.all(), ElementsAre(CapturedRecords::Record{3, message + text}));
        EXPECT_EQ(value.data(), "former") << text;
    }
}

} // namespace

TEST(Substitutor, CopiesTextWithoutTemplates)
{
    expectResults({{"", ""},
                   {"a", "a"},
                   {"a b\tc", "a b\tc"},
                   {"a}b{c", "a}b{c"},
                   {"{}", "{}"},
                   {"{env:HOME}", "{env:HOME}"},
                   {"a:b/c", "a:b/c"},
                   {"a\nb", "a\nb"},
                   {"a\0b"s, "a\0b"s},
                   {"\xFF\x80", "\xFF\x80"}});
}

TEST(Substitutor, CollapsesDoubledDollarSigns)
{
    expectResults({{"a$$b", "a$b"},
                   {"$$", "$"},
                   {"$$$$", "$$"},
                   {"$$$$$$", "$$$"},
                   {"$${x}", "${x}"},
                   {"$$$${env:HOME}", "$${env:HOME}"},
                   {"5$$", "5$"}});
}

TEST(Substitutor, RecordsReferencesWhereTheirValuesBelong)
{
    expectResults({{"pre-${config:G/K}-post", "pre--post", {{"G", "K", 4}}},
                   {"${config:A/B}${config:C/D}", "", {{"A", "B", 0}, {"C", "D", 0}}},
                   {"${config:G/K}", "", {{"G", "K", 0}}},
                   {"a${config:G/K}", "a", {{"G", "K", 1}}},
                   {"${config:G/K}}", "}", {{"G", "K", 0}}},
                   {"a${config:A/B}b${config:C/D}c", "abc", {{"A", "B", 1}, {"C", "D", 2}}},
                   {"${config:G/K}${config:G/K}", "", {{"G", "K", 0}, {"G", "K", 0}}}});
}

TEST(Substitutor, CountsPositionsInTheOutput)
{
    const EnvGuard home("HOME", "/home/u");
    const EnvGuard umlaut("TOVRIN_TEST_UMLAUT", "\xC3\xA4");
    expectResults({{"${env:HOME}/x${config:G/K}", "/home/u/x", {{"G", "K", 9}}},
                   {"$$${config:G/K}$$", "$$", {{"G", "K", 1}}},
                   {"$$$$${env:HOME}${config:G/K}", "$$/home/u", {{"G", "K", 9}}},
                   {"${env:TOVRIN_TEST_UMLAUT}${config:G/K}", "\xC3\xA4", {{"G", "K", 2}}}});
}

TEST(Substitutor, EndsATemplateAtTheFirstBrace)
{
    const EnvGuard odd("${TOVRIN_TEST", "v");
    expectResults({{"${env:${TOVRIN_TEST}}", "v}"}, {"${config:${a/b}}", "}", {{"${a", "b", 0}}}});

    const CapturedRecords records;
    ConfigValue value;
    EXPECT_FALSE(Substitutor(ConfigParser::BadUid).substituted("${a${b}}", value));
    EXPECT_THAT(records.errors(), ElementsAre("No such template 'a${b'"));
}

TEST(Substitutor, KnowsNoEscapeInsideATemplate)
{
    const EnvGuard odd("A$$B{C:D E", "v");
    expectResults({{"${env:A$$B{C:D E}", "v"}, {"${config:$$/$}", "", {{"$$", "$", 0}}}});
}

TEST(Substitutor, TrimsTheFinishedText)
{
    const EnvGuard padded("TOVRIN_TEST_PADDED", " \t v \n ");
    const EnvGuard blank("TOVRIN_TEST_BLANK", "  ");
    expectResults({{"  a ", "a"},
                   {" ", ""},
                   {" $$ ", "$"},
                   {"${env:TOVRIN_TEST_PADDED}", "v"},
                   {"x${env:TOVRIN_TEST_PADDED}x", "x \t v \n x"},
                   {"${env:TOVRIN_TEST_BLANK}", ""}});
}

TEST(Substitutor, MovesPositionsWithTheTrimmedText)
{
    const EnvGuard padded("TOVRIN_TEST_PADDED", "  v  ");
    expectResults({{" a${config:G/K}b", "ab", {{"G", "K", 1}}},
                   {"a ${config:G/K}", "a", {{"G", "K", 1}}},
                   {" ${config:G/K}", "", {{"G", "K", 0}}},
                   {" ${config:G/K} ", "", {{"G", "K", 0}}},
                   {"${config:G/K} a", "a", {{"G", "K", 0}}},
                   {"  ${config:G/K}  a", "a", {{"G", "K", 0}}},
                   {" \t\n\v\f\r${config:G/K}a", "a", {{"G", "K", 0}}},
                   {"a \t\n\v\f\r${config:G/K}", "a", {{"G", "K", 1}}},
                   {"  ${config:A/B} a ${config:C/D}  ", "a", {{"A", "B", 0}, {"C", "D", 1}}},
                   {" a${config:A/B} b ${config:C/D} ", "a b", {{"A", "B", 1}, {"C", "D", 3}}},
                   {"a  ${config:G/K}  b", "a    b", {{"G", "K", 3}}},
                   {"${env:TOVRIN_TEST_PADDED}${config:G/K}", "v", {{"G", "K", 1}}},
                   {"${config:G/K}${env:TOVRIN_TEST_PADDED}", "v", {{"G", "K", 0}}}});
}

TEST(Substitutor, ResolvesTrimmedValuesWithoutAnException)
{
    for (const auto &[text, resolved] : std::vector<std::pair<std::string, std::string>>{
             {" a${config:G/K}b", "axb"}, {"a ${config:G/K}", "ax"}, {"  ${config:G/K}  ", "x"}}) {
        ConfigValue value;
        ASSERT_TRUE(Substitutor(ConfigParser::BadUid).substituted(text, value)) << text;
        EXPECT_EQ(value.resolve({"x"}), resolved) << text;
    }
}

TEST(Substitutor, ReplacesTheTextAndAddsToTheReferencesOfTheValue)
{
    auto value = valueOf("former text", {{"A", "B", 0}});
    EXPECT_TRUE(Substitutor(ConfigParser::BadUid).substituted("ab${config:G/K}", value));
    EXPECT_EQ(value, valueOf("ab", {{"A", "B", 0}, {"G", "K", 2}})) << describe(value);
}

// They belong to the former text, from which nothing was cut.
TEST(Substitutor, LeavesThePositionsOfFormerReferencesWhenItTrims)
{
    auto value = valueOf("former", {{"A", "B", 4}});
    EXPECT_TRUE(Substitutor(ConfigParser::BadUid).substituted("  abcd${config:G/K}e", value));
    EXPECT_EQ(value, valueOf("abcde", {{"A", "B", 4}, {"G", "K", 4}})) << describe(value);
}

TEST(Substitutor, MakesAValueOfPlainTypeUnlessThereIsAReference)
{
    const Substitutor substitutor(ConfigParser::BadUid);
    ConfigValue plain;
    ConfigValue reference;
    substitutor.substituted("a$$", plain);
    substitutor.substituted("${config:G/K}", reference);
    EXPECT_EQ(plain.type(), 0);
    EXPECT_EQ(reference.type(), 1);
    EXPECT_FALSE(reference.empty());
}

TEST(Substitutor, RejectsALoneDollarSign)
{
    expectErrors("'$' must be followed by '{' or '$': ",
                 {"price $5", "abc$", "$", "$ {x}", "$$$", "a$}", "$x${", " $", "${config:G/K}$", "$\n{x}"});
}

TEST(Substitutor, RejectsAnOpenTemplate)
{
    expectErrors("Invalid template substitution, missing '}': ",
                 {"x${config:G/K", "${", "a$${${", "${env:HOME", "${config:G/K}${config:G/K", "${a$$"});
}

TEST(Substitutor, AddsNothingToTheMessageOfAFailedLookup)
{
    const EnvGuard unset("TOVRIN_TEST_UNSET", std::nullopt);
    const std::vector<std::pair<std::string, CapturedRecords::Record>> rows{
        {"a ${nope} b", {3, "No such template 'nope'"}},
        {"${}", {3, "No such template ''"}},
        {"${nope}$", {3, "No such template 'nope'"}},
        {"${Config:G/K}", {3, "Invalid template 'Config:G/K'"}},
        {"${config:G}${", {3, "Invalid format 'G' for conf template 'config:G'"}},
        {"${env:TOVRIN_TEST_UNSET}",
         {7, "Failed to read 'TOVRIN_TEST_UNSET' from environment variables for template 'env:TOVRIN_TEST_UNSET'"}},
    };
    for (const auto &[text, record] : rows) {
        const CapturedRecords records;
        ConfigValue value("former");
        EXPECT_FALSE(Substitutor(ConfigParser::BadUid).substituted(text, value)) << text;
        EXPECT_THAT(records.all(), ElementsAre(record)) << text;
        EXPECT_EQ(value.data(), "former") << text;
    }
}

TEST(Substitutor, StopsAtTheFirstFailure)
{
    const CapturedRecords records;
    ConfigValue value;
    EXPECT_FALSE(Substitutor(ConfigParser::BadUid).substituted("${config:A/B}$5${nope}${config:C/D}${", value));
    EXPECT_THAT(records.errors(),
                ElementsAre("'$' must be followed by '{' or '$': ${config:A/B}$5${nope}${config:C/D}${"));
    EXPECT_EQ(value.references(), (References{{"A", "B"}}));
}

TEST(Substitutor, LeavesReferencesMetBeforeAFailureInTheValue)
{
    const CapturedRecords records;
    for (const auto *text : {"${config:A/B} x ${config:C/D} $", "${config:A/B}${config:C/D}${nope}",
                             "${config:A/B}${config:C/D}${config:E/F", "  ${config:A/B} ${config:C/D} ${config:E}"}) {
        ConfigValue value("former");
        EXPECT_FALSE(Substitutor(ConfigParser::BadUid).substituted(text, value)) << text;
        EXPECT_EQ(value.references(), (References{{"A", "B"}, {"C", "D"}})) << text;
        EXPECT_EQ(value.type(), 1) << text;
        EXPECT_EQ(value.data(), "former") << text;
    }
}

TEST(Substitutor, FillsInRegisteredTemplatesVerbatim)
{
    const auto substitutor = substitutorWith(
        {{"name", "text"}, {"", "empty name"}, {"odd {$ name", "odd"}, {"raw", "${env:HOME}$$$"}, {"empty", ""}});
    expectResults(substitutor, {{"a-${name}-b", "a-text-b"},
                                {"${}", "empty name"},
                                {"${odd {$ name}", "odd"},
                                {"${raw}", "${env:HOME}$$$"},
                                {"x${raw}${config:G/K}", "x${env:HOME}$$$", {{"G", "K", 15}}},
                                {"a${empty}b", "ab"}});
}

TEST(Substitutor, ContainsTheExactNamesOfItsTemplates)
{
    const auto substitutor = substitutorWith({{"name", "text"}, {"a:b", "never reached"}});
    EXPECT_TRUE(substitutor.contains("name"));
    EXPECT_TRUE(substitutor.contains("a:b"));
    for (const auto *name : {"", "Name", "nam", "name ", "text", "env"})
        EXPECT_FALSE(substitutor.contains(name)) << name;
}

TEST(Substitutor, ContainsNoTemplateAtFirst)
{
    const Substitutor substitutor(0);
    for (const auto *name : {"", "config", "env", "HOME"})
        EXPECT_FALSE(substitutor.contains(name)) << name;
}

TEST(Substitutor, CopyKnowsNoTemplate)
{
    const auto original = substitutorWith({{"name", "text"}, {"", ""}});
    const Substitutor copy(original);
    EXPECT_FALSE(copy.contains("name"));
    EXPECT_FALSE(copy.contains(""));
    EXPECT_TRUE(original.contains("name"));

    const CapturedRecords records;
    ConfigValue value;
    EXPECT_FALSE(copy.substituted("${name}", value));
    EXPECT_THAT(records.errors(), ElementsAre("No such template 'name'"));
}

TEST(Substitutor, FillsInAHundredThousandTemplates)
{
    const int count = 100'000;
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "${t}$$";
    ConfigValue value;
    EXPECT_TRUE(substitutorWith({{"t", "ab"}}).substituted(text, value));
    EXPECT_EQ(value.data().size(), 3U * count);
    EXPECT_EQ(value.data().substr(3U * count - 6), "ab$ab$");
}

TEST(Substitutor, RecordsAHundredThousandReferences)
{
    const int count = 100'000;
    std::string text = " ";
    for (int i = 0; i < count; ++i)
        text += "${config:G/K}a";
    ConfigValue value;
    EXPECT_TRUE(Substitutor(ConfigParser::BadUid).substituted(text, value));
    ASSERT_EQ(value.references().size(), static_cast<std::size_t>(count));
    ConfigValue expected(std::string(count, 'a'));
    for (int i = 0; i < count; ++i)
        expected.addReference("G", "K", static_cast<std::uint32_t>(i));
    EXPECT_TRUE(value == expected);
}
