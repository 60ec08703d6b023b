// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_parser.h>

#include "support/captured_records.h"
#include "support/env_guard.h"
#include "support/parsers.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>
#include <new>
#include <type_traits>

using namespace std::string_literals;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using Tovrin::Parser::ConfigParser;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::EnvGuard;
using Tovrin::Testing::parserOf;
using Tovrin::Testing::readText;
using Tovrin::Testing::TempTree;
using Record = CapturedRecords::Record;

namespace {

constexpr auto depthMessage = "Max depth reached, possibly circular reference.";

// A parser with the one key "k" of the group "g".
ConfigParser parserWith(ConfigParser::ReplacementBehaviour behaviour)
{
    ConfigParser parser(ConfigParser::BadUid);
    parser.addKey("g", "k", behaviour);
    return parser;
}

template <typename T> T get(const ConfigParser &parser, const std::string &key, const std::string &group = "g")
{
    T out{};
    parser.getValue(group, key, out);
    return out;
}

std::string textOf(const ConfigParser &parser, const std::string &key = "k", const std::string &group = "g")
{
    return get<std::string>(parser, key, group);
}

// The values of g/k; none if there is no such entry, which a list getter would make.
std::vector<std::string> listOf(const ConfigParser &parser, const std::string &key = "k",
                                const std::string &group = "g")
{
    return parser.contains(group, key) ? get<std::vector<std::string>>(parser, key, group) : std::vector<std::string>{};
}

// k1, k2 and so on.
std::string numberedKey(int number)
{
    std::string key = "k";
    return key += std::to_string(number);
}

std::string referenceTo(const std::string &key)
{
    return "${config:g/" + key + "}";
}

// k1 is a text, and each other key names the one before it.
ConfigParser chainOf(int length)
{
    std::string text = "[g]\nk1=end\n";
    for (int i = 2; i <= length; ++i)
        text += numberedKey(i) + "=" + referenceTo(numberedKey(i - 1)) + "\n";
    return parserOf(text);
}

} // namespace

// ---- Which keys are stored ------------------------------------------------------------------------------------------

TEST(ConfigParser, IsEmptyAtFirst)
{
    const ConfigParser parser(1000);
    EXPECT_FALSE(parser.contains(""));
    EXPECT_FALSE(parser.contains("g"));
    EXPECT_FALSE(parser.contains("g", "k"));
}

TEST(ConfigParser, HasAnIdForNoUser)
{
    static_assert(std::is_same_v<decltype(ConfigParser::BadUid), const std::uint32_t>);
    EXPECT_EQ(ConfigParser::BadUid, 4294967295U);
}

TEST(ConfigParser, NumbersItsBehaviours)
{
    static_assert(std::is_same_v<std::underlying_type_t<ConfigParser::ReplacementBehaviour>, std::int32_t>);
    static_assert(ConfigParser::Replace == 0 && ConfigParser::ReplacementBehaviour::Amend == 1);
    SUCCEED();
}

TEST(ConfigParser, WithoutRegisteredKeysStoresAndAmendsAll)
{
    const CapturedRecords records;
    const auto parser = parserOf("a=1\n[g]\nk=1;2\nk=3\n[h]\nk=x\n[g]\nk=4\n");
    EXPECT_THAT(listOf(parser, "a", ""), ElementsAre("1"));
    EXPECT_THAT(listOf(parser), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(listOf(parser, "k", "h"), ElementsAre("x"));
    parser.checkKey("g", "unknown");
    EXPECT_FALSE(parser.contains("g", "unknown"));
    EXPECT_TRUE(records.empty());
}

TEST(ConfigParser, SkipsUnregisteredKeysSilently)
{
    auto parser = parserWith(ConfigParser::Amend);
    const CapturedRecords records;
    EXPECT_TRUE(readText(parser, "[g]\nk=1\nl=2\nl=$\nl=\n[h]\nk=3\n"));
    EXPECT_TRUE(records.empty());
    EXPECT_THAT(listOf(parser), ElementsAre("1"));
    EXPECT_FALSE(parser.contains("h"));
}

TEST(ConfigParser, ComparesGroupsAndKeysExactly)
{
    ConfigParser parser(ConfigParser::BadUid);
    parser.addKey("ab", "c", ConfigParser::Amend);
    const CapturedRecords records;
    EXPECT_TRUE(readText(parser, "[a]\nbc=1\n[AB]\nc=2\n[ab]\nC=3\nc =4\nc=5\n[ab ]\nc=6\n[abc]\nc=7\n"));
    EXPECT_THAT(listOf(parser, "c", "ab"), ElementsAre("5"));
    for (const auto *group : {"a", "AB", "ab ", "abc", ""})
        EXPECT_FALSE(parser.contains(group)) << group;
}

TEST(ConfigParser, FirstRegistrationOfAKeyWins)
{
    auto parser = parserWith(ConfigParser::Amend);
    const CapturedRecords records;
    parser.addKey("g", "k", ConfigParser::Replace);
    EXPECT_TRUE(readText(parser, "[g]\nk=a;b\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("a", "b"));
    EXPECT_TRUE(records.empty());
}

TEST(ConfigParser, RegistrationAffectsLaterReadsOnly)
{
    auto parser = parserOf("[g]\nk=a;b\nl=1\n");
    parser.addKey("g", "k", ConfigParser::Replace);
    EXPECT_THAT(listOf(parser), ElementsAre("a", "b"));
    EXPECT_TRUE(readText(parser, "[g]\nk=c\nl=2\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("c"));
    const CapturedRecords records;
    EXPECT_THAT(listOf(parser, "l"), ElementsAre("1"));
}

TEST(ConfigParser, ContainsWarnsOfAnUnregisteredKeyAndAnswers)
{
    auto parser = parserOf("[G]\nK=1\n");
    parser.addKey("g", "k", ConfigParser::Amend);
    const CapturedRecords records;
    EXPECT_TRUE(parser.contains("G", "K"));
    EXPECT_FALSE(parser.contains("G", "L"));
    EXPECT_THAT(records.all(), ElementsAre(Record{4, "G/K has not been added to the parser"},
                                           Record{4, "G/L has not been added to the parser"}));
}

TEST(ConfigParser, ContainsDoesNotWarnOfARegisteredKeyOrAGroup)
{
    const auto parser = parserWith(ConfigParser::Replace);
    const CapturedRecords records;
    EXPECT_FALSE(parser.contains("g", "k"));
    EXPECT_FALSE(parser.contains("unknown"));
    EXPECT_TRUE(records.empty());
}

TEST(ConfigParser, CheckKeyWarnsOfAnUnregisteredKey)
{
    const auto parser = parserWith(ConfigParser::Replace);
    const CapturedRecords records;
    parser.checkKey("g", "k");
    EXPECT_TRUE(records.empty());
    parser.checkKey("G", "k");
    parser.checkKey("", "");
    EXPECT_THAT(records.all(), ElementsAre(Record{4, "G/k has not been added to the parser"},
                                           Record{4, "/ has not been added to the parser"}));
}

// ---- What an entry does to its key ----------------------------------------------------------------------------------

TEST(ConfigParser, SplitsValuesIntoItems)
{
    const std::vector<std::pair<std::string, std::vector<std::string>>> rows{
        {"a", {"a"}},
        {"a;b", {"a", "b"}},
        {"a;;b;", {"a", "b"}},
        {";a", {"a"}},
        {" a ; b\t", {"a", "b"}},
        {"a; ;b", {"a", "b"}},
        {"a,b c", {"a,b c"}},
        {"a=b", {"a=b"}},
        {"\"a;b\"", {"\"a", "b\""}},
        {"a\\;b", {"a\\", "b"}},
    };
    for (const auto &[value, items] : rows) {
        EXPECT_EQ(listOf(parserOf("[g]\nk=" + value + "\n")), items) << value;
        auto replacing = parserWith(ConfigParser::Replace);
        EXPECT_TRUE(readText(replacing, "[g]\nk=" + value + "\n")) << value;
        EXPECT_THAT(listOf(replacing), ElementsAre(items.back())) << value;
    }
}

TEST(ConfigParser, ReplaceKeepsTheLastItemAndAmendAll)
{
    for (const auto &[behaviour, values] :
         {std::pair{ConfigParser::Replace, std::vector<std::string>{"d"}},
          std::pair{ConfigParser::Amend, std::vector<std::string>{"a", "b", "c", "d"}}}) {
        auto parser = parserWith(behaviour);
        EXPECT_TRUE(readText(parser, "[g]\nk=a;b\nk=c\n"));
        EXPECT_TRUE(readText(parser, "[g]\nk=d\n"));
        EXPECT_EQ(listOf(parser), values);
    }
}

TEST(ConfigParser, EmptyAssignmentDropsTheKeyButNotItsGroup)
{
    for (const auto behaviour : {ConfigParser::Replace, ConfigParser::Amend}) {
        auto parser = parserWith(behaviour);
        EXPECT_TRUE(readText(parser, "[g]\nk=a\nk=\n"));
        EXPECT_FALSE(parser.contains("g", "k"));
        EXPECT_TRUE(parser.contains("g"));
        EXPECT_TRUE(readText(parser, "[g]\nk=b\n"));
        EXPECT_THAT(listOf(parser), ElementsAre("b"));
    }
}

TEST(ConfigParser, EmptyAssignmentLeavesOtherKeysAlone)
{
    const auto parser = parserOf("[g]\nk=a\nl=b\n[h]\nk=c\n[g]\nk=\n");
    EXPECT_FALSE(parser.contains("g", "k"));
    EXPECT_THAT(listOf(parser, "l"), ElementsAre("b"));
    EXPECT_THAT(listOf(parser, "k", "h"), ElementsAre("c"));
}

TEST(ConfigParser, EmptyAssignmentMakesNoGroup)
{
    const auto parser = parserOf("[g]\nk=\n[h]\n");
    EXPECT_FALSE(parser.contains("g"));
    EXPECT_FALSE(parser.contains("h"));
}

TEST(ConfigParser, EmptyItemsKeepWhatTheKeyHolds)
{
    for (const auto behaviour : {ConfigParser::Replace, ConfigParser::Amend}) {
        for (const auto *value : {";", ";;", ";;;"}) {
            auto parser = parserWith(behaviour);
            EXPECT_TRUE(readText(parser, "[g]\nk=a\nk="s + value + "\n"));
            EXPECT_THAT(listOf(parser), ElementsAre("a")) << value;
        }
    }
}

TEST(ConfigParser, EmptyItemsMakeNoEntry)
{
    for (const auto behaviour : {ConfigParser::Replace, ConfigParser::Amend}) {
        auto parser = parserWith(behaviour);
        EXPECT_TRUE(readText(parser, "[g]\nk=;\n"));
        EXPECT_FALSE(parser.contains("g", "k"));
        EXPECT_FALSE(parser.contains("g"));
    }
}

TEST(ConfigParser, WhiteSpaceAloneIsAnEmptyTextForReplaceAndNothingForAmend)
{
    const EnvGuard blank("TOVRIN_TEST_BLANK", " \t ");
    for (const auto *value : {" ", "\t", " ; ", "${env:TOVRIN_TEST_BLANK}", "${system:true}", "\r"}) {
        auto replacing = parserWith(ConfigParser::Replace);
        EXPECT_TRUE(readText(replacing, "[g]\nk=a\nk="s + value + "\n"));
        EXPECT_THAT(listOf(replacing), ElementsAre("")) << value;

        auto amending = parserWith(ConfigParser::Amend);
        EXPECT_TRUE(readText(amending, "[g]\nk="s + value + "\n"));
        EXPECT_FALSE(amending.contains("g", "k")) << value;
        EXPECT_FALSE(amending.contains("g")) << value;
    }
}

TEST(ConfigParser, TrimsItemsAndKeepsSpacesOfKeys)
{
    const auto parser = parserOf("[g]\nk = v \n");
    EXPECT_FALSE(parser.contains("g", "k"));
    EXPECT_THAT(listOf(parser, "k "), ElementsAre("v"));
}

TEST(ConfigParser, UnknownBehaviourSubstitutesButStoresNothing)
{
    auto parser = parserOf("[g]\nk=former\n");
    parser.addKey("g", "k", static_cast<ConfigParser::ReplacementBehaviour>(7));
    const CapturedRecords records;
    EXPECT_TRUE(readText(parser, "[g]\nk=a;$;b\n"));
    EXPECT_THAT(records.all(), ElementsAre(Record{3, "'$' must be followed by '{' or '$': $"}));
    EXPECT_THAT(listOf(parser), ElementsAre("former"));
    EXPECT_TRUE(readText(parser, "[g]\nk=\n"));
    EXPECT_FALSE(parser.contains("g", "k"));
}

TEST(ConfigParser, KeyRegisteredAsMinusOneIsIgnored)
{
    auto parser = parserOf("[g]\nk=former\n");
    parser.addKey("g", "k", static_cast<ConfigParser::ReplacementBehaviour>(-1));
    const CapturedRecords records;
    EXPECT_TRUE(readText(parser, "[g]\nk=a;$;b\nk=\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("former"));
    parser.checkKey("g", "k");
    EXPECT_TRUE(records.empty());
}

// ---- Templates in items ---------------------------------------------------------------------------------------------

TEST(ConfigParser, FillsInTemplatesWhenReading)
{
    ConfigParser parser(ConfigParser::BadUid);
    {
        const EnvGuard variable("TOVRIN_TEST_VALUE", "before");
        EXPECT_TRUE(readText(parser, "[g]\nk=<${env:TOVRIN_TEST_VALUE}>;$$5\n"));
    }
    const EnvGuard variable("TOVRIN_TEST_VALUE", "after");
    EXPECT_THAT(listOf(parser), ElementsAre("<before>", "$5"));
}

TEST(ConfigParser, FailedItemIsLeftOutWithoutFailingTheFile)
{
    const std::vector<std::tuple<std::string, std::string, std::vector<std::string>>> rows{
        {"a;$;b", "b", {"former", "a", "b"}},
        {"a;$", "a", {"former", "a"}},
        {"$;b", "b", {"former", "b"}},
        {"$", "former", {"former"}},
        {"${config:g/l} $", "former", {"former"}},
    };
    for (const auto &[value, replaced, amended] : rows) {
        const CapturedRecords records;
        auto replacing = parserWith(ConfigParser::Replace);
        EXPECT_TRUE(readText(replacing, "[g]\nk=former\nk=" + value + "\n")) << value;
        EXPECT_THAT(listOf(replacing), ElementsAre(replaced)) << value;
        auto amending = parserWith(ConfigParser::Amend);
        EXPECT_TRUE(readText(amending, "[g]\nk=former\nk=" + value + "\n")) << value;
        EXPECT_EQ(listOf(amending), amended) << value;
        EXPECT_EQ(records.errors().size(), 2U) << value;
    }
}

TEST(ConfigParser, FailedItemMakesNoEntry)
{
    for (const auto behaviour : {ConfigParser::Replace, ConfigParser::Amend}) {
        const CapturedRecords records;
        auto parser = parserWith(behaviour);
        EXPECT_TRUE(readText(parser, "[g]\nk=${nope}\n"));
        EXPECT_FALSE(parser.contains("g", "k"));
        EXPECT_FALSE(parser.contains("g"));
        EXPECT_THAT(records.all(), ElementsAre(Record{3, "No such template 'nope'"}));
    }
}

TEST(ConfigParser, SplitsItemsBeforeItLooksForTemplates)
{
    const CapturedRecords records;
    const auto parser = parserOf("[g]\nk=${system:echo a; echo b}\n");
    EXPECT_THAT(listOf(parser), ElementsAre("echo b}"));
    EXPECT_THAT(records.all(), ElementsAre(Record{3, "Invalid template substitution, missing '}': ${system:echo a"}));
}

TEST(ConfigParser, DoesNotSplitWhatATemplateInserts)
{
    const EnvGuard list("TOVRIN_TEST_LIST", "a;b");
    ConfigParser parser(ConfigParser::BadUid);
    parser.addTemplate("list", "c;d");
    EXPECT_TRUE(readText(parser, "[g]\nk=${env:TOVRIN_TEST_LIST};${list}\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("a;b", "c;d"));
}

TEST(ConfigParserTemplates, AreInsertedVerbatim)
{
    ConfigParser parser(ConfigParser::BadUid);
    const EnvGuard home("HOME", "/home/u");
    for (const auto &[name, text] : std::vector<std::pair<std::string, std::string>>{
             {"name", "text"}, {"", "empty"}, {"raw", "${env:HOME}$$${name}"}, {"padded", "  p  "}, {"none", ""}})
        parser.addTemplate(name, text);
    EXPECT_TRUE(
        readText(parser, "[g]\nk=${name}\nk=${}\nk=${raw}\nk=${padded}\nk=<${padded}>\nk=${none}\nk=<${none}>\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("text", "empty", "${env:HOME}$$${name}", "p", "<  p  >", "<>"));
}

TEST(ConfigParserTemplates, FirstRegistrationOfANameWins)
{
    ConfigParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    parser.addTemplate("name", "first");
    parser.addTemplate("name", "second");
    EXPECT_TRUE(readText(parser, "[g]\nk=${name}\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("first"));
    EXPECT_TRUE(records.empty());
}

TEST(ConfigParserTemplates, AreFoundByTheExactName)
{
    ConfigParser parser(ConfigParser::BadUid);
    parser.addTemplate("name", "text");
    parser.addTemplate("env", "not the source");
    const CapturedRecords records;
    EXPECT_TRUE(readText(parser, "[g]\nk=${Name};${ name};${name };${env}\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("not the source"));
    EXPECT_THAT(records.errors(),
                ElementsAre("No such template 'Name'", "No such template ' name'", "No such template 'name '"));
}

TEST(ConfigParserTemplates, WithAColonInTheirNameAreNeverFound)
{
    ConfigParser parser(ConfigParser::BadUid);
    parser.addTemplate("a:b", "text");
    const CapturedRecords records;
    EXPECT_TRUE(readText(parser, "[g]\nk=${a:b}\n"));
    EXPECT_THAT(records.errors(), ElementsAre("Invalid template 'a:b'"));
}

TEST(ConfigParserTemplates, RegisteredLaterDoNotChangeWhatWasRead)
{
    ConfigParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_TRUE(readText(parser, "[g]\nk=${name}\n"));
    parser.addTemplate("name", "text");
    EXPECT_FALSE(parser.contains("g", "k"));
    EXPECT_TRUE(readText(parser, "[g]\nk=${name}\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("text"));
}

// ---- Copies ---------------------------------------------------------------------------------------------------------

TEST(ConfigParserCopy, HasValuesKeysAndTemplates)
{
    auto original = parserWith(ConfigParser::Replace);
    original.addTemplate("name", "text");
    EXPECT_TRUE(readText(original, "[g]\nk=${config:g/k}-1\n"));
    ConfigParser copy(original);
    EXPECT_TRUE(copy.contains("g", "k"));

    const CapturedRecords records;
    EXPECT_FALSE(copy.contains("g", "l"));
    EXPECT_THAT(records.warnings(), ElementsAre("g/l has not been added to the parser"));
    EXPECT_TRUE(readText(copy, "[g]\nk=a;${name}\nl=1\n"));
    EXPECT_THAT(listOf(copy), ElementsAre("text"));
}

TEST(ConfigParserCopy, IsIndependentOfTheOriginal)
{
    auto original = parserOf("[g]\nk=a\n");
    ConfigParser copy(original);
    EXPECT_TRUE(readText(original, "[g]\nk=b\nl=1\n"));
    EXPECT_TRUE(readText(copy, "[g]\nk=c\n"));
    original.addKey("x", "y", ConfigParser::Replace);
    original.addTemplate("name", "text");
    EXPECT_THAT(listOf(copy), ElementsAre("a", "c"));
    EXPECT_FALSE(copy.contains("g", "l"));

    const CapturedRecords records;
    copy.checkKey("g", "k");
    EXPECT_TRUE(readText(copy, "[g]\nm=${name}\n"));
    EXPECT_THAT(records.all(), ElementsAre(Record{3, "No such template 'name'"}));
    EXPECT_THAT(get<std::vector<std::string>>(original, "k"), ElementsAre("a", "b"));
}

TEST(ConfigParserCopy, KnowsGroupsWhoseKeysWereDroppedAndKeysWithoutValues)
{
    const auto original = parserOf("[g]\nk=a\nk=\n");
    get<std::vector<int>>(original, "emptied", "h");
    const ConfigParser copy(original);
    EXPECT_TRUE(copy.contains("g"));
    EXPECT_FALSE(copy.contains("g", "k"));
    EXPECT_TRUE(copy.contains("h", "emptied"));
    EXPECT_FALSE(copy.contains("i"));
}

TEST(ConfigParserCopy, OutlivesTheOriginal)
{
    auto original = std::make_unique<ConfigParser>(parserOf("[g]\nk=${config:g/l}\nl=x\n"));
    const ConfigParser copy(*original);
    original.reset();
    EXPECT_EQ(textOf(copy), "x");
}

TEST(ConfigParserMove, TakesEverythingOver)
{
    auto original = parserWith(ConfigParser::Amend);
    original.addTemplate("name", "text");
    EXPECT_TRUE(readText(original, "[g]\nk=a\n"));
    ConfigParser moved(std::move(original));
    EXPECT_TRUE(readText(moved, "[g]\nk=${name}\nl=1\n"));
    EXPECT_THAT(listOf(moved), ElementsAre("a", "text"));
    const CapturedRecords records;
    EXPECT_FALSE(moved.contains("g", "l"));
    EXPECT_THAT(records.warnings(), ElementsAre("g/l has not been added to the parser"));
}

// ---- Files that fail ------------------------------------------------------------------------------------------------

TEST(ConfigParserBadFile, IsReportedWhenMissing)
{
    const TempTree tree;
    for (const auto &path : {tree.path("missing.conf"), tree.path("no/folder.conf"), ""s}) {
        ConfigParser parser(ConfigParser::BadUid);
        const CapturedRecords records;
        EXPECT_FALSE(parser.readConfig(path)) << path;
        EXPECT_THAT(records.all(), ElementsAre(Record{3, "Failed to load config from '" + path + "'"}));
        EXPECT_TRUE(parser.begin() == parser.end());
    }
}

TEST(ConfigParserBadFile, IsReportedWhenItCannotBeRead)
{
    const TempTree tree;
    for (const auto &path : {tree.makeDirectory("x.conf"), tree.root() + "/x.conf/", "/proc/self/mem"s, "/"s}) {
        auto parser = parserOf("[g]\nk=former\n");
        const CapturedRecords records;
        EXPECT_FALSE(parser.readConfig(path)) << path;
        EXPECT_THAT(records.all(), ElementsAre(Record{3, "Failed to load config from '" + path + "'"}));
        EXPECT_THAT(listOf(parser), ElementsAre("former")) << path;
    }
}

TEST(ConfigParserBadFile, KeepsTheEntriesBeforeTheBadLineAlone)
{
    const TempTree tree;
    const auto path = tree.write("x.conf", "[g]\nk=a\n/\n[\nk=b\n/\nk=c\n");
    auto parser = parserOf("[g]\nk=former\n");
    const CapturedRecords records;
    EXPECT_FALSE(parser.readConfig(path));
    EXPECT_THAT(listOf(parser), ElementsAre("former", "a"));
    EXPECT_THAT(records.all(), ElementsAre(Record{3, "Unexpected line in " + path + " (\x03): '/'"},
                                           Record{3, "Could not parse line as group in " + path + " (\x04): '['"},
                                           Record{3, "Failed to load config from '" + path + "'"}));
}

TEST(ConfigParserBadFile, MayHaveItsBadLineAnywhere)
{
    const std::vector<std::pair<std::string, std::vector<std::string>>> rows{
        {"/\n[g]\nk=a\n", {}},   {"[g]\n/\nk=a\n", {}},       {"[g]\nk=a\n/\n", {"a"}}, {"[g]\nk=a\n/", {"a"}},
        {"[g]\nk=a\n[h", {"a"}}, {"[g]\nk=a\nno key", {"a"}}, {"[g]\r\nk=a\n", {}},     {"/\n", {}},
    };
    for (const auto &[text, values] : rows) {
        ConfigParser parser(ConfigParser::BadUid);
        const CapturedRecords records;
        EXPECT_FALSE(readText(parser, text)) << text;
        EXPECT_EQ(listOf(parser), values) << text;
        EXPECT_EQ(records.errors().size(), 2U) << text;
    }
}

TEST(ConfigParserBadFile, DoesNotKeepLaterFilesFromLoading)
{
    ConfigParser parser(ConfigParser::BadUid);
    const CapturedRecords records;
    EXPECT_FALSE(readText(parser, "[g]\nk=a\n/\n"));
    EXPECT_TRUE(readText(parser, "[g]\nk=b\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("a", "b"));
}

TEST(ConfigParserBadFile, DoesNotKeepTheGroupForTheNextFile)
{
    auto parser = parserOf("[g]\n");
    EXPECT_TRUE(readText(parser, "k=a\n"));
    EXPECT_THAT(listOf(parser, "k", ""), ElementsAre("a"));
}

TEST(ConfigParser, ReadsFilesWithoutEntries)
{
    for (const auto *text : {"", "\n", "# c\n", "[g]\n"}) {
        const CapturedRecords records;
        const auto parser = parserOf(text);
        EXPECT_TRUE(parser.begin() == parser.end()) << text;
        EXPECT_TRUE(records.empty()) << text;
    }
}

// ---- Unterminated files ---------------------------------------------------------------------------------------------

namespace {

enum class Outcome { Returned, RanOutOfMemory, RanOutOfTime, Other };

std::ostream &operator<<(std::ostream &stream, Outcome outcome)
{
    return stream << std::vector{"returned", "ran out of memory", "ran out of time",
                                 "something else"}[static_cast<std::size_t>(outcome)];
}

std::size_t addressSpaceInUse()
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Bounds the processor time, which a busy machine does not shorten, and the memory on top of what is in use.
void limitThisProcess(int milliseconds, std::size_t bytes)
{
    alarm(60); // in case that it sleeps instead of working
    const itimerval once{{0, 0}, {milliseconds / 1000, milliseconds % 1000 * 1000}};
    setitimer(ITIMER_PROF, &once, nullptr);
    if (TOVRIN_MEMORY_CAN_BE_LIMITED) {
        const auto most = addressSpaceInUse() + bytes;
        const rlimit limit{most, most};
        setrlimit(RLIMIT_AS, &limit);
    }
}

// How reading the text ends in a child process that may use this much processor time and 4 MiB more memory.
Outcome outcomeOfReading(ConfigParser &parser, const std::string &text, int milliseconds)
{
    const TempTree tree;
    const auto path = tree.write("test.conf", text);
    const auto child = fork();
    if (child == 0) {
        limitThisProcess(milliseconds, 4U << 20);
        try {
            parser.readConfig(path);
        } catch (const std::bad_alloc &) {
            _exit(static_cast<int>(Outcome::RanOutOfMemory));
        }
        _exit(static_cast<int>(Outcome::Returned));
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) <= static_cast<int>(Outcome::RanOutOfMemory))
        return static_cast<Outcome>(WEXITSTATUS(status));
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF ? Outcome::RanOutOfTime : Outcome::Other;
}

} // namespace

TEST(ConfigParserUnterminated, FileThatIsTerminatedReturns)
{
    ConfigParser parser(ConfigParser::BadUid);
    EXPECT_EQ(outcomeOfReading(parser, "[g]\nk=a\n", 2000), Outcome::Returned);
}

TEST(ConfigParserUnterminated, AmendKeyGrowsForEver)
{
    auto parser = parserWith(ConfigParser::Amend);
    const int milliseconds = TOVRIN_MEMORY_CAN_BE_LIMITED ? 20'000 : 500;
    EXPECT_EQ(outcomeOfReading(parser, "[g]\nk=a", milliseconds),
              TOVRIN_MEMORY_CAN_BE_LIMITED ? Outcome::RanOutOfMemory : Outcome::RanOutOfTime);
}

TEST(ConfigParserUnterminated, ReplaceKeyIsSetForEverWithoutTakingMoreMemory)
{
    for (const auto *value : {"a", "a;b", "a;longer", "${config:g/k}", "x;${config:g/l}y"}) {
        auto parser = parserWith(ConfigParser::Replace);
        EXPECT_EQ(outcomeOfReading(parser, "[g]\nk="s + value, 150), Outcome::RanOutOfTime) << value;
    }
}

TEST(ConfigParserUnterminated, LastLineOfOtherKindsNeverEndsEither)
{
    for (const auto *text :
         {"[g]\nk=a\n# comment", "[g]\nk=a\n[h]", "# comment", "[g]", "[g]\nunregistered=1", "[g]\nk="}) {
        auto parser = parserWith(ConfigParser::Replace);
        EXPECT_EQ(outcomeOfReading(parser, text, 60), Outcome::RanOutOfTime) << text;
    }
}

TEST(ConfigParserUnterminated, BadLineEndsTheReading)
{
    for (const auto *text : {"[g]\nk=a\n/", "[g]\nk=a\nno key", "[g]\nk=a\n[", "/"}) {
        auto parser = parserWith(ConfigParser::Amend);
        EXPECT_EQ(outcomeOfReading(parser, text, 2000), Outcome::Returned) << text;
    }
}

// ---- Large and hostile input ----------------------------------------------------------------------------------------

TEST(ConfigParserLimits, KeepsZeroBytes)
{
    const auto parser = parserOf("[g]\nk=a\0b\0\nl=\0${config:g/k}\0\n"s);
    EXPECT_EQ(textOf(parser), "a\0b\0"s);
    EXPECT_EQ(textOf(parser, "l"), "\0a\0b\0\0"s);
}

TEST(ConfigParserLimits, ReadsALineOfAHundredMegabytes)
{
    const std::size_t size = 100'000'000;
    const TempTree tree;
    const auto path = tree.write("test.conf", "[g]\nk=");
    std::filesystem::resize_file(path, size); // a hole: zero bytes that take no room
    std::ofstream(path, std::ios::app) << "end\nl=1\n";
    auto parser = parserWith(ConfigParser::Replace);
    parser.addKey("g", "l", ConfigParser::Replace);
    EXPECT_TRUE(parser.readConfig(path));
    const auto text = textOf(parser);
    ASSERT_EQ(text.size(), size - 6 + 3);
    EXPECT_EQ(text.substr(text.size() - 4), "\0end"s);
    EXPECT_EQ(textOf(parser, "l"), "1");
}

TEST(ConfigParserLimits, ReportsALongBadLineBehindAnEntry)
{
    const std::string longText(200 * 1024, 'x');
    for (const auto &line : {"/" + longText, "[" + longText, "[/" + longText + "]", longText, "k/" + longText + "="}) {
        ConfigParser parser(ConfigParser::BadUid);
        const CapturedRecords records;
        EXPECT_FALSE(readText(parser, "[g]\nk=a\n" + line + "\n# comment\n[h]\n")) << line[0];
        EXPECT_THAT(listOf(parser), ElementsAre("a")) << line[0];
        EXPECT_EQ(records.errors().size(), 2U) << line[0];
    }
}

TEST(ConfigParserLimits, FillsInAHundredThousandTemplatesOfOneValue)
{
    std::string value;
    for (int i = 0; i < 100'000; ++i)
        value += "${t}";
    ConfigParser parser(ConfigParser::BadUid);
    parser.addTemplate("t", "abc");
    EXPECT_TRUE(readText(parser, "[g]\nk=" + value + "\n"));
    EXPECT_EQ(textOf(parser).size(), 300'000U);
}

TEST(ConfigParserLimits, GivesUpOnAHundredThousandReferencesOfOneValue)
{
    std::string value;
    for (int i = 0; i < 100'000; ++i)
        value += "${config:g/l}";
    const auto parser = parserOf("[g]\nk=" + value + "\nl=1\n");
    const CapturedRecords records;
    EXPECT_EQ(textOf(parser), "");
    EXPECT_THAT(records.all(), ElementsAre(Record{3, depthMessage}));
}

TEST(ConfigParserLimits, InsertsAHundredThousandReferencesToNothing)
{
    std::string value;
    for (int i = 0; i < 100'000; ++i)
        value += "${config:g/absent}.";
    const auto parser = parserOf("[g]\nk=" + value + "\n");
    EXPECT_EQ(textOf(parser), std::string(100'000, '.'));
}

TEST(ConfigParserLimits, GivesUpOnADeepChain)
{
    const auto parser = chainOf(50'000);
    const CapturedRecords records;
    EXPECT_EQ(textOf(parser, "k50000"), "");
    EXPECT_THAT(records.all(), ElementsAre(Record{3, depthMessage}));
}

TEST(ConfigParserLimits, StoresAHundredThousandItems)
{
    std::string value;
    for (int i = 0; i < 100'000; ++i)
        value += std::to_string(i) + ";";
    const auto parser = parserOf("[g]\nk=" + value + "\n");
    const auto numbers = get<std::vector<int>>(parser, "k");
    ASSERT_EQ(numbers.size(), 100'000U);
    EXPECT_EQ(numbers.back(), 99'999);
}

TEST(ConfigParserLimits, KeepsWhatIsLeftWhenMuchWasReplacedAndDropped)
{
    std::string text = "[dropped]\nk=1\nk=\n[g]\n";
    for (int i = 0; i < 20'000; ++i)
        text += "k=" + std::to_string(i) + ";${config:h/x}-" + std::to_string(i) + "\nl=a;b\nl=\n";
    text += "l=c;d\n[h]\nx=1;2\n";
    ConfigParser parser(ConfigParser::BadUid);
    parser.addKey("g", "k", ConfigParser::Replace);
    for (const auto &[group, key] : {std::pair{"dropped", "k"}, {"g", "l"}, {"h", "x"}})
        parser.addKey(group, key, ConfigParser::Amend);
    get<std::vector<int>>(parser, "emptied");

    const CapturedRecords records;
    EXPECT_TRUE(readText(parser, text));
    EXPECT_THAT(listOf(parser), ElementsAre("2-19999"));
    EXPECT_THAT(listOf(parser, "l"), ElementsAre("c", "d"));
    EXPECT_THAT(listOf(parser, "x", "h"), ElementsAre("1", "2"));
    EXPECT_TRUE(parser.contains("dropped"));
    EXPECT_FALSE(parser.contains("dropped", "k"));
    EXPECT_TRUE(records.empty());
    EXPECT_TRUE(parser.contains("g", "emptied"));
    EXPECT_THAT(records.warnings(), ElementsAre("g/emptied has not been added to the parser"));
}

// ---- References -----------------------------------------------------------------------------------------------------

TEST(ConfigParserReference, IsReplacedByTheValueOfItsEntry)
{
    const auto parser = parserOf("[g]\nk=<${config:h/x}|${config:g/y}>\ny=${config:h/x}2\n[h]\nx=1\n");
    EXPECT_EQ(textOf(parser), "<1|12>");
}

TEST(ConfigParserReference, MayNameEntriesOfEarlierAndLaterFiles)
{
    ConfigParser parser(ConfigParser::BadUid);
    EXPECT_TRUE(readText(parser, "[g]\nearly=1\nforward=${config:g/late}\n"));
    EXPECT_TRUE(readText(parser, "[g]\nlate=2\nback=${config:g/early}\n"));
    EXPECT_EQ(textOf(parser, "forward"), "2");
    EXPECT_EQ(textOf(parser, "back"), "1");
}

TEST(ConfigParserReference, FollowsLaterChanges)
{
    auto parser = parserOf("[g]\nk=<${config:g/x}>\nx=1\n");
    EXPECT_EQ(textOf(parser), "<1>");
    EXPECT_TRUE(readText(parser, "[g]\nx=2\n"));
    EXPECT_EQ(textOf(parser), "<2>");
    EXPECT_TRUE(readText(parser, "[g]\nx=\n"));
    EXPECT_EQ(textOf(parser), "<>");
}

TEST(ConfigParserReference, TakesTheLastValueOfItsEntry)
{
    const auto parser = parserOf("[g]\nk=${config:g/x}\nx=1;2;3\n");
    EXPECT_EQ(textOf(parser), "3");
}

TEST(ConfigParserReference, TakesTheLastValueEvenIfThatIsATemplate)
{
    const auto parser = parserOf("[g]\nk=<${config:g/x}>\nx=1;${config:g/absent}\n");
    EXPECT_EQ(textOf(parser), "<>");
}

TEST(ConfigParserReference, ToAnAbsentEntryIsEmpty)
{
    const CapturedRecords records;
    const auto parser = parserOf("[g]\nk=a${config:g/absent}b${config:nowhere/k}c\n");
    EXPECT_EQ(textOf(parser), "abc");
    EXPECT_TRUE(records.empty());
    EXPECT_FALSE(parser.contains("g", "absent"));
    EXPECT_FALSE(parser.contains("nowhere"));
}

TEST(ConfigParserReference, ToAnUnregisteredEntryWarnsAtEachResolution)
{
    auto parser = parserOf("[G]\nK=known before\n");
    parser.addKey("g", "k", ConfigParser::Replace);
    EXPECT_TRUE(readText(parser, "[g]\nk=${config:G/K},${config:G/absent}\n"));
    const CapturedRecords records;
    EXPECT_EQ(textOf(parser), "known before,");
    EXPECT_EQ(textOf(parser), "known before,");
    const Record first{4, "G/K has not been added to the parser"};
    const Record second{4, "G/absent has not been added to the parser"};
    EXPECT_THAT(records.all(), ElementsAre(first, second, first, second));
}

TEST(ConfigParserReference, ToAnEntryThatAListGetterLeftEmptyIsEmpty)
{
    const auto parser = parserOf("[g]\nk=a${config:g/x}b\n");
    EXPECT_THAT(get<std::vector<std::string>>(parser, "x"), IsEmpty());
    EXPECT_TRUE(parser.contains("g", "x"));
    EXPECT_EQ(textOf(parser), "ab");
    EXPECT_THAT(listOf(parser), ElementsAre("ab"));
}

TEST(ConfigParserReference, InsertsTheTextWithoutTrimmingTheResult)
{
    const auto parser = parserOf("[g]\nk=${config:g/a}  ${config:g/a}\na=x y\n");
    EXPECT_EQ(textOf(parser), "x yx y") << "white space between references is at both ends of the stored text";
    EXPECT_EQ(textOf(parserOf("[g]\nk=${config:g/a} . ${config:g/a}\na=x y\n")), "x y.x y");
}

TEST(ConfigParserReference, BelongsIntoTheTrimmedText)
{
    const std::vector<std::pair<std::string, std::string>> rows{
        {" a${config:h/x}b", "axb"},
        {"a ${config:h/x}", "ax"},
        {"  ${config:h/x}  ", "x"},
        {"${config:h/x} a", "xa"},
        {" ${config:h/x} a ", "xa"},
        {"a b ${config:h/x} c", "a b x c"},
        {" ${config:h/x} ${config:h/x}\t", "xx"},
        {"\ta ${config:h/x} b ", "a x b"},
    };
    for (const auto &[value, text] : rows)
        EXPECT_EQ(textOf(parserOf("[g]\nk=" + value + "\n[h]\nx=x\n")), text) << value;
}

TEST(ConfigParserReference, IsNotExpandedAgain)
{
    const EnvGuard variable("TOVRIN_TEST_VALUE", "${config:g/x}$$;a");
    const auto parser = parserOf("[g]\nk=<${config:g/v}>\nv=${env:TOVRIN_TEST_VALUE}\nx=1\n");
    EXPECT_EQ(textOf(parser), "<${config:g/x}$$;a>");
}

TEST(ConfigParserReference, MayBeTheWholeItemOfAnAmendKey)
{
    auto parser = parserWith(ConfigParser::Amend);
    parser.addKey("h", "x", ConfigParser::Amend);
    EXPECT_TRUE(readText(parser, "[g]\nk=a;${config:h/x};b\n[h]\nx=1\n"));
    EXPECT_THAT(listOf(parser), ElementsAre("a", "1", "b"));
}

TEST(ConfigParserReference, InCircleGivesAnEmptyTextAndOneError)
{
    for (const auto *text :
         {"[g]\nk=a${config:g/k}b\n", "[g]\nk=${config:g/l}\nl=x${config:g/k}\n", "[g]\nk=${config:g/k}${config:g/k}\n",
          "[g]\nk=${config:g/a}\na=${config:g/b}\nb=${config:g/a}\n"}) {
        const auto parser = parserOf(text);
        const CapturedRecords records;
        std::string out = "former";
        parser.getValue("g", "k", out);
        EXPECT_EQ(out, "") << text;
        EXPECT_THAT(records.all(), ElementsAre(Record{3, depthMessage})) << text;
    }
}

TEST(ConfigParserReference, BehindAFailureIsNotLookedAt)
{
    auto parser = parserWith(ConfigParser::Replace);
    EXPECT_TRUE(readText(parser, "[g]\nk=${config:g/k}${config:G/unregistered}\n"));
    const CapturedRecords records;
    EXPECT_EQ(textOf(parser), "");
    EXPECT_THAT(records.all(), ElementsAre(Record{3, depthMessage}));
}

TEST(ConfigParserReference, InCircleConvertsAsAnEmptyText)
{
    const auto parser = parserOf("[g]\nk=${config:g/k}\n");
    const CapturedRecords records;
    bool ok = true;
    int number = 5;
    parser.getValue("g", "k", number, &ok);
    EXPECT_EQ(number, 0);
    EXPECT_FALSE(ok);
    bool flag = true;
    ok = true;
    parser.getValue("g", "k", flag, &ok);
    EXPECT_FALSE(flag);
    EXPECT_FALSE(ok);
    EXPECT_THAT(records.errors(), ElementsAre(depthMessage, depthMessage));
}

// ---- The budget of a resolution -------------------------------------------------------------------------------------

namespace {

std::string repeated(const std::string &text, int count)
{
    std::string result;
    while (count-- > 0)
        result += text;
    return result;
}

void expectTooDeep(const ConfigParser &parser, const std::string &key)
{
    const CapturedRecords records;
    EXPECT_EQ(textOf(parser, key), "");
    EXPECT_THAT(records.all(), ElementsAre(Record{3, depthMessage}));
}

} // namespace

TEST(ConfigParserBudget, CoversAChainOf33Values)
{
    const auto parser = chainOf(34);
    const CapturedRecords records;
    EXPECT_EQ(textOf(parser, "k33"), "end");
    EXPECT_TRUE(records.empty());
    expectTooDeep(parser, "k34");
}

TEST(ConfigParserBudget, CountsVisitsAndNotNesting)
{
    const auto reference = "${config:g/x}"s;
    const auto parser =
        parserOf("[g]\nx=1\nfits="s + repeated(reference, 32) + "\nexceeds=" + repeated(reference, 33) + "\n");
    const CapturedRecords records;
    EXPECT_EQ(textOf(parser, "fits"), std::string(32, '1'));
    EXPECT_TRUE(records.empty());
    expectTooDeep(parser, "exceeds");
}

TEST(ConfigParserBudget, IsSharedByAllBranches)
{
    // A value of 4 visits, eight times: 33 with the value itself. One plain value more is too much.
    const auto parser =
        parserOf("[g]\nx=1\nfour=${config:g/x}${config:g/x}${config:g/x}\nfits="s + repeated("${config:g/four}", 8) +
                 "\nexceeds="s + repeated("${config:g/four}", 8) + "${config:g/x}\n");
    EXPECT_EQ(textOf(parser, "fits"), std::string(24, '1'));
    expectTooDeep(parser, "exceeds");
}

TEST(ConfigParserBudget, IsNotUsedByAbsentEntries)
{
    const auto parser =
        parserOf("[g]\nx=1\nk="s + repeated("${config:g/absent}", 100) + repeated("${config:g/x}", 32) + "\n");
    EXPECT_EQ(textOf(parser), std::string(32, '1'));
}

TEST(ConfigParserBudget, IsFreshForEachValue)
{
    const auto full = repeated("${config:g/x}", 32);
    const auto parser = parserOf("[g]\nx=1\nk=" + full + ";" + full + ";" + full + "\n");
    const CapturedRecords records;
    EXPECT_THAT(listOf(parser), ElementsAre(std::string(32, '1'), std::string(32, '1'), std::string(32, '1')));
    EXPECT_TRUE(records.empty());
}

TEST(ConfigParserBudget, EndsWhatWouldTakeExponentialTime)
{
    std::string text = "[g]\nk1=x\n";
    for (int i = 2; i <= 60; ++i) {
        const auto reference = referenceTo(numberedKey(i - 1));
        text += numberedKey(i) + "=" + reference + reference + "\n";
    }
    const auto parser = parserOf(text);
    EXPECT_EQ(textOf(parser, "k5"), std::string(16, 'x')) << "31 visits";
    expectTooDeep(parser, "k6");
    expectTooDeep(parser, "k60");
}

TEST(ConfigParserBudget, FailureLeavesOutTheItemOfAList)
{
    const auto parser = parserOf("[g]\nk=a;${config:g/k};b;x${config:g/c}\nc=${config:g/c}\n");
    const CapturedRecords records;
    EXPECT_THAT(listOf(parser), ElementsAre("a", "b"));
    EXPECT_THAT(records.errors(), Each(depthMessage));
    EXPECT_EQ(records.errors().size(), 2U);
}

// ---- Single values --------------------------------------------------------------------------------------------------

namespace {

template <typename T> struct Conversion {
    std::string text;
    T value;
    bool ok;
};

// Expects both forms of the getter to give the value, for a plain text and for one behind a reference.
template <typename T> void expectConversions(const std::vector<Conversion<T>> &rows)
{
    for (const auto &[text, value, valid] : rows) {
        const auto parser = parserOf("[g]\nk=" + text + "\nr=${config:g/k}\n");
        const CapturedRecords records;
        for (const auto *key : {"k", "r"}) {
            bool ok = !valid;
            T flagged{};
            parser.getValue("g", key, flagged, &ok);
            EXPECT_EQ(flagged, value) << text;
            EXPECT_EQ(ok, valid) << text;
            T unflagged{};
            parser.getValue("g", key, unflagged);
            EXPECT_EQ(unflagged, value) << text;
            T withoutFlag{};
            parser.getValue("g", key, withoutFlag, nullptr);
            EXPECT_EQ(withoutFlag, value) << text;
        }
        EXPECT_TRUE(records.empty()) << text;
    }
}

template <typename T> void expectUntouched(const ConfigParser &parser, const std::string &key, T former)
{
    T out = former;
    parser.getValue("g", key, out);
    EXPECT_EQ(out, former) << key;
    bool ok = true;
    parser.getValue("g", key, out, &ok);
    EXPECT_EQ(out, former) << key;
    EXPECT_FALSE(ok) << key;
    parser.getValue("g", key, out, nullptr);
    EXPECT_EQ(out, former) << key;
}

} // namespace

TEST(ConfigParserGetter, OfABoolIsTrueForTrueAlone)
{
    expectConversions<bool>({{"true", true, true},
                             {"false", false, true},
                             {"True", false, false},
                             {"TRUE", false, false},
                             {"False", false, false},
                             {"1", false, false},
                             {"0", false, false},
                             {"yes", false, false},
                             {"true.", false, false},
                             {"truefalse", false, false},
                             {" true ", true, true}});
}

TEST(ConfigParserGetter, OfAnInt)
{
    constexpr int largest = std::numeric_limits<int>::max();
    constexpr int smallest = std::numeric_limits<int>::min();
    expectConversions<int>({{"42", 42, true},
                            {"-7", -7, true},
                            {"+5", 5, true},
                            {"010", 10, true},
                            {"0x1F", 31, true},
                            {"2147483647", largest, true},
                            {"-2147483648", smallest, true},
                            {"2147483648", largest, false},
                            {"-2147483649", smallest, false},
                            {"x", 0, false},
                            {"4x", 4, false},
                            {"1.5", 1, false},
                            {"0X1F", 0, false},
                            {"-0x10", 0, false},
                            {"1 2", 1, false},
                            {"true", 0, false}});
}

TEST(ConfigParserGetter, OfALongLong)
{
    constexpr auto largest = std::numeric_limits<long long>::max();
    constexpr auto smallest = std::numeric_limits<long long>::min();
    expectConversions<long long>({{"4294967296", 4294967296LL, true},
                                  {"9223372036854775807", largest, true},
                                  {"-9223372036854775808", smallest, true},
                                  {"9223372036854775808", largest, false},
                                  {"-9223372036854775809", smallest, false},
                                  {"0x7FFFFFFFFF", 0x7FFFFFFFFFLL, true},
                                  {"x", 0, false}});
}

TEST(ConfigParserGetter, OfADouble)
{
    constexpr auto infinity = std::numeric_limits<double>::infinity();
    expectConversions<double>({{"1.5", 1.5, true},
                               {"-2e3", -2000, true},
                               {".25", 0.25, true},
                               {"7", 7, true},
                               {"1e400", infinity, false},
                               {"-1e400", -infinity, false},
                               {"0x10", 0, false},
                               {"1,5", 1, false},
                               {"x", 0, false}});
}

TEST(ConfigParserGetter, OfAStringGivesTheText)
{
    for (const auto *text : {"a", "a b", "0x1F", "$$", "\xC3\xA4"}) {
        const auto parser = parserOf("[g]\nk="s + text + "\nr=<${config:g/k}>\n");
        const auto shown = text == "$$"s ? "$"s : text;
        EXPECT_EQ(textOf(parser), shown);
        EXPECT_EQ(textOf(parser, "r"), "<" + shown + ">");
    }
}

TEST(ConfigParserGetter, TakesTheLastValue)
{
    const auto parser = parserOf("[g]\nk=1;2\nk=3\nb=true;false\nd=1;2.5\n");
    EXPECT_EQ(textOf(parser), "3");
    EXPECT_EQ(get<int>(parser, "k"), 3);
    EXPECT_EQ(get<long long>(parser, "k"), 3);
    EXPECT_EQ(get<bool>(parser, "b"), false);
    EXPECT_EQ(get<double>(parser, "d"), 2.5);
}

TEST(ConfigParserGetter, ConvertsAnEmptyText)
{
    auto parser = parserWith(ConfigParser::Replace);
    EXPECT_TRUE(readText(parser, "[g]\nk= \n"));
    std::string text = "former";
    parser.getValue("g", "k", text);
    EXPECT_EQ(text, "");
    int number = 5;
    bool ok = true;
    parser.getValue("g", "k", number, &ok);
    EXPECT_EQ(number, 0);
    EXPECT_FALSE(ok);
}

TEST(ConfigParserGetter, ConvertsWhatReferencesMake)
{
    const auto parser = parserOf("[g]\nnumber=${config:g/a}${config:g/b}\na=1\nb=2\nbool=${config:g/t}ue\nt=tr\n");
    EXPECT_EQ(get<int>(parser, "number"), 12);
    EXPECT_EQ(get<double>(parser, "number"), 12);
    EXPECT_TRUE(get<bool>(parser, "bool"));
}

TEST(ConfigParserGetter, LeavesOutUntouchedForAKeyWithoutValues)
{
    auto parser = parserOf("[g]\ndropped=1\ndropped=\n");
    get<std::vector<int>>(parser, "emptied");
    parser.addKey("other", "key", ConfigParser::Replace);
    const CapturedRecords records;
    for (const auto *key : {"dropped", "emptied", "absent"}) {
        expectUntouched<bool>(parser, key, true);
        expectUntouched<int>(parser, key, 5);
        expectUntouched<long long>(parser, key, 6);
        expectUntouched<double>(parser, key, 7.5);
        std::string text = "former";
        parser.getValue("g", key, text);
        EXPECT_EQ(text, "former") << key;
    }
    EXPECT_TRUE(records.empty());
}

TEST(ConfigParserGetter, MakesNoEntry)
{
    const ConfigParser parser(ConfigParser::BadUid);
    get<int>(parser, "k");
    textOf(parser);
    EXPECT_FALSE(parser.contains("g"));
    EXPECT_FALSE(parser.contains("g", "k"));
}

// ---- Lists ----------------------------------------------------------------------------------------------------------

namespace {

// Expects both forms of the getter to append these values of g/k to what the list holds.
template <typename T>
void expectList(const ConfigParser &parser, const std::vector<T> &former, const std::vector<T> &values, bool valid)
{
    auto expected = former;
    expected.insert(expected.end(), values.begin(), values.end());
    for (const auto *key : {"k", "r"}) {
        bool ok = !valid;
        auto flagged = former;
        parser.getValue("g", key, flagged, &ok);
        EXPECT_EQ(flagged, expected) << key;
        EXPECT_EQ(ok, valid) << key;
        auto unflagged = former;
        parser.getValue("g", key, unflagged);
        EXPECT_EQ(unflagged, expected) << key;
        auto withoutFlag = former;
        parser.getValue("g", key, withoutFlag, nullptr);
        EXPECT_EQ(withoutFlag, expected) << key;
    }
}

// A parser with the items in g/k, and behind references in g/r.
ConfigParser parserOfList(const std::vector<std::string> &items)
{
    std::string text = "[g]\n";
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto name = "item"s + std::to_string(i);
        text += name + "=" + items[i] + "\nk=" + items[i] + "\nr=${config:g/" + name + "}\n";
    }
    return parserOf(text);
}

} // namespace

TEST(ConfigParserListGetter, OfBools)
{
    expectList<bool>(parserOfList({"true", "false", "true"}), {}, {true, false, true}, true);
    expectList<bool>(parserOfList({"true", "True", "false"}), {false}, {true, false, false}, false);
}

TEST(ConfigParserListGetter, OfInts)
{
    expectList<int>(parserOfList({"1", "-2", "0x10"}), {9}, {1, -2, 16}, true);
    expectList<int>(parserOfList({"1", "x", "3"}), {}, {1, 0, 3}, false);
    expectList<int>(parserOfList({"99999999999", "3"}), {}, {2147483647, 3}, false);
}

TEST(ConfigParserListGetter, OfLongLongs)
{
    expectList<long long>(parserOfList({"99999999999", "-1"}), {9}, {99999999999LL, -1}, true);
    expectList<long long>(parserOfList({"1", "2."}), {}, {1, 2}, false);
}

TEST(ConfigParserListGetter, OfDoubles)
{
    expectList<double>(parserOfList({"1.5", "-2"}), {9.5}, {1.5, -2}, true);
    expectList<double>(parserOfList({"x", "2.5"}), {}, {0, 2.5}, false);
}

TEST(ConfigParserListGetter, OfStrings)
{
    const auto parser = parserOfList({"a", "b c", "1"});
    for (const auto *key : {"k", "r"}) {
        std::vector<std::string> out{"former"};
        parser.getValue("g", key, out);
        EXPECT_THAT(out, ElementsAre("former", "a", "b c", "1")) << key;
    }
}

TEST(ConfigParserListGetter, DoublesAListThatIsPassedTwice)
{
    const auto parser = parserOf("[g]\nk=1;2\n");
    std::vector<int> numbers;
    parser.getValue("g", "k", numbers);
    parser.getValue("g", "k", numbers);
    EXPECT_THAT(numbers, ElementsAre(1, 2, 1, 2));
    std::vector<std::string> texts;
    parser.getValue("g", "k", texts);
    parser.getValue("g", "k", texts);
    EXPECT_THAT(texts, ElementsAre("1", "2", "1", "2"));
}

TEST(ConfigParserListGetter, AppendsPlainEmptyTexts)
{
    auto parser = parserWith(ConfigParser::Replace);
    EXPECT_TRUE(readText(parser, "[g]\nk= \n"));
    EXPECT_THAT(get<std::vector<std::string>>(parser, "k"), ElementsAre(""));
    bool ok = true;
    std::vector<int> numbers;
    parser.getValue("g", "k", numbers, &ok);
    EXPECT_THAT(numbers, ElementsAre(0));
    EXPECT_FALSE(ok);
    std::vector<bool> bools;
    ok = true;
    parser.getValue("g", "k", bools, &ok);
    EXPECT_THAT(bools, ElementsAre(false));
    EXPECT_FALSE(ok);
}

TEST(ConfigParserListGetter, SkipsReferencesThatResolveToNothing)
{
    const auto parser = parserOf("[g]\nk=1;${config:g/absent};2\n");
    EXPECT_THAT(get<std::vector<std::string>>(parser, "k"), ElementsAre("1", "2"));
    bool ok = false;
    std::vector<int> numbers;
    parser.getValue("g", "k", numbers, &ok);
    EXPECT_THAT(numbers, ElementsAre(1, 2));
    EXPECT_TRUE(ok);
}

TEST(ConfigParserListGetter, MakesAnEmptyEntryForAnAbsentKey)
{
    const ConfigParser parser(ConfigParser::BadUid);
    bool ok = false;
    std::vector<double> numbers{1.5};
    parser.getValue("g", "k", numbers, &ok);
    EXPECT_THAT(numbers, ElementsAre(1.5));
    EXPECT_TRUE(ok);
    EXPECT_TRUE(parser.contains("g"));
    EXPECT_TRUE(parser.contains("g", "k"));
}

TEST(ConfigParserListGetter, OfEveryTypeMakesTheEntry)
{
    const ConfigParser parser(ConfigParser::BadUid);
    get<std::vector<bool>>(parser, "a");
    get<std::vector<std::string>>(parser, "b");
    get<std::vector<int>>(parser, "c");
    get<std::vector<long long>>(parser, "d");
    get<std::vector<double>>(parser, "e");
    for (const auto *key : {"a", "b", "c", "d", "e"})
        EXPECT_TRUE(parser.contains("g", key)) << key;
}

TEST(ConfigParserListGetter, DoesNotWarnOfAnUnregisteredKey)
{
    const auto parser = parserWith(ConfigParser::Replace);
    const CapturedRecords records;
    EXPECT_THAT(get<std::vector<int>>(parser, "unregistered"), IsEmpty());
    EXPECT_TRUE(records.empty());
}

TEST(ConfigParserListGetter, OfADroppedKeyIsEmptyAndMakesItAgain)
{
    const auto parser = parserOf("[g]\nk=1\nk=\n");
    EXPECT_FALSE(parser.contains("g", "k"));
    EXPECT_THAT(get<std::vector<int>>(parser, "k"), IsEmpty());
    EXPECT_TRUE(parser.contains("g", "k"));
}

TEST(ConfigParserListGetter, LeavesAnEntryThatFilesFillAndDrop)
{
    ConfigParser parser(ConfigParser::BadUid);
    get<std::vector<int>>(parser, "k");
    EXPECT_TRUE(readText(parser, "[g]\nk=1\n"));
    EXPECT_THAT(get<std::vector<int>>(parser, "k"), ElementsAre(1));
    get<std::vector<int>>(parser, "l");
    EXPECT_TRUE(readText(parser, "[g]\nl=\n"));
    EXPECT_FALSE(parser.contains("g", "l"));
}
