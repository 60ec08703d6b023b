// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/key_file_parser.h>

#include "support/captured_records.h"
#include "support/stderr_records.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <tuple>

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Tovrin::Parser::KeyFileParser;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::StderrRecords;
using Tovrin::Testing::TempTree;

namespace {

using Entry = std::tuple<std::string, std::string, std::string>; // group, key, value
using Entries = std::vector<Entry>;

// A key file on the disk, and a reader of it.
struct File {
    explicit File(std::string_view text) : path(tree.write("test.conf", text)), parser(path) {}

    void append(std::string_view text) const { std::ofstream(path, std::ios::app | std::ios::binary) << text; }

    TempTree tree;
    std::string path;
    KeyFileParser parser;
};

Entry entryAt(KeyFileParser::iterator &position)
{
    return {position->group, position->key, position->value};
}

// All entries, also those behind bad lines. Stops after `limit` of them: an unterminated line repeats for ever.
Entries entriesOf(KeyFileParser &parser, std::size_t limit = 1000)
{
    Entries entries;
    for (auto entry = parser.begin(); entry != parser.end() && entries.size() < limit; ++entry)
        entries.push_back(entryAt(entry));
    return entries;
}

// Writes one of many files. Each is a new one, because writing over a file makes some file systems wait for the disk.
std::string writeOneOfMany(std::string_view text)
{
    static const TempTree tree;
    static int number = 0;
    return tree.write(std::to_string(++number), text);
}

Entries entriesOf(std::string_view text)
{
    KeyFileParser parser(writeOneOfMany(text));
    return entriesOf(parser);
}

std::string message(const std::string &what, const std::string &path, unsigned lineNumber, const std::string &line)
{
    return what + path + " (" + static_cast<char>(lineNumber) + "): '" + line + "'";
}

// Reads the text to its end, and expects one error about the given line of it.
void expectBadLine(const std::string &text, const std::string &what, unsigned lineNumber, const std::string &line)
{
    const auto path = writeOneOfMany(text);
    KeyFileParser parser(path);
    const StderrRecords records;
    entriesOf(parser);
    EXPECT_EQ(records.text(), "ERROR: " + message(what, path, lineNumber, line) + "\n") << text;
    EXPECT_TRUE(parser.error()) << text;
}

constexpr auto unexpected = "Unexpected line in ";
constexpr auto badGroup = "Could not parse line as group in ";
constexpr auto badGroupName = "Group name contains invalid characters in ";
constexpr auto badKey = "Could not parse line as key in ";
constexpr auto badKeyName = "Key contains invalid characters in ";

bool mayBeginAKey(int c)
{
    return c == '-' || c == '.' || c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
           (c >= 'a' && c <= 'z');
}

// Every byte but the one that ends a line.
std::vector<char> allBytesOfLines()
{
    std::vector<char> bytes;
    for (int c = 0; c < 256; ++c) {
        if (c != '\n')
            bytes.push_back(static_cast<char>(c));
    }
    return bytes;
}

bool mayStandInAName(char c)
{
    return c == ' ' || mayBeginAKey(static_cast<unsigned char>(c));
}

} // namespace

// ---- Kinds of lines -------------------------------------------------------------------------------------------------

TEST(KeyFile, TellsTheKindOfALineByItsFirstByte)
{
    for (const char c : allBytesOfLines()) {
        const auto line = c + "x=v"s;
        const bool isKey = mayBeginAKey(static_cast<unsigned char>(c));
        const bool isComment = c == '#' || c == ';';
        if (isKey || isComment) {
            const CapturedRecords records;
            const Entries found = isKey ? Entries{{"", c + "x"s, "v"}, {"", "last", "1"}} : Entries{{"", "last", "1"}};
            EXPECT_EQ(entriesOf(line + "\nlast=1\n"), found) << "byte " << static_cast<int>(c);
            EXPECT_TRUE(records.empty()) << "byte " << static_cast<int>(c);
        } else {
            expectBadLine(line + "\nlast=1\n", c == '[' ? badGroup : unexpected, 1, line);
        }
    }
}

TEST(KeyFile, SkipsBlankLinesAndComments)
{
    EXPECT_EQ(entriesOf("\n\n#c\n;d\n#\n;\n# [g]\n;k=v\na=1\n\n\n#end\nb=2\n\n"),
              (Entries{{"", "a", "1"}, {"", "b", "2"}}));
}

TEST(KeyFile, OfCommentsAndBlankLinesHasNoEntry)
{
    for (const auto *text : {"\n", "\n\n\n", "# c\n", ";\n\n# c\n", "[g]\n", "[g]\n\n[h]\n# c\n"}) {
        File file(text);
        const CapturedRecords records;
        EXPECT_TRUE(file.parser.begin() == file.parser.end()) << text;
        EXPECT_FALSE(file.parser.error()) << text;
        EXPECT_TRUE(records.empty()) << text;
    }
}

TEST(KeyFile, CanBeEmpty)
{
    File file("");
    EXPECT_TRUE(file.parser.begin() == file.parser.end());
    EXPECT_FALSE(file.parser.begin() != file.parser.end());
    EXPECT_FALSE(file.parser.error());
}

TEST(KeyFile, RecognisesCommentsAtTheStartOfALineOnly)
{
    EXPECT_EQ(entriesOf("a=1 # no comment\nb=;\nc=#\n"),
              (Entries{{"", "a", "1 # no comment"}, {"", "b", ";"}, {"", "c", "#"}}));
    expectBadLine(" # c\n", unexpected, 1, " # c");
}

TEST(KeyFile, KnowsNoContinuationAndNoQuotes)
{
    EXPECT_EQ(entriesOf("a=1\\\nb=\"2\"\nc='\\n'\n"),
              (Entries{{"", "a", "1\\"}, {"", "b", "\"2\""}, {"", "c", "'\\n'"}}));
}

TEST(KeyFile, RejectsALineThatBeginsWithWhiteSpaceEvenIfItIsBlank)
{
    for (const auto *line : {" k=v", "\tk=v", " ", "\t", " [g]", "\r", "\v", "\f"})
        expectBadLine(line + "\n"s, unexpected, 1, line);
}

TEST(KeyFile, RejectsAByteOrderMark)
{
    expectBadLine("\xEF\xBB\xBFk=v\n", unexpected, 1, "\xEF\xBB\xBFk=v");
}

// ---- Key lines ------------------------------------------------------------------------------------------------------

TEST(KeyFile, SplitsAKeyLineAtTheFirstEqualsSign)
{
    const std::vector<std::tuple<std::string, std::string, std::string>> rows{
        {"key=", "key", ""},
        {"a=b=c", "a", "b=c"},
        {"k = v", "k ", " v"},
        {"k==", "k", "="},
        {"k  =  v  ", "k  ", "  v  "},
        {"a b=c d", "a b", "c d"},
        {"-=1", "-", "1"},
        {".=1", ".", "1"},
        {"_=1", "_", "1"},
        {"0=1", "0", "1"},
        {"k=\r", "k", "\r"},
        {"k=\tv\t", "k", "\tv\t"},
        {"k=[g]", "k", "[g]"},
        {"k=a;b;", "k", "a;b;"},
        {"k=${a}$$", "k", "${a}$$"},
    };
    for (const auto &[line, key, value] : rows)
        EXPECT_EQ(entriesOf(line + "\n"), (Entries{{"", key, value}})) << line;
}

TEST(KeyFile, KeepsEveryByteOfAValue)
{
    const auto bytes = allBytesOfLines();
    const std::string value(bytes.begin(), bytes.end());
    EXPECT_EQ(entriesOf("k=" + value + "\nl=\0\n"s), (Entries{{"", "k", value}, {"", "l", "\0"s}}));
}

TEST(KeyFile, AcceptsExactlyTheNameBytesInAKey)
{
    for (const char c : allBytesOfLines()) {
        const auto line = "a"s + c + "b=v";
        if (c == '=')
            EXPECT_EQ(entriesOf(line + "\n"), (Entries{{"", "a", "b=v"}}));
        else if (mayStandInAName(c))
            EXPECT_EQ(entriesOf(line + "\n"), (Entries{{"", "a"s + c + "b", "v"}})) << "byte " << static_cast<int>(c);
        else
            expectBadLine(line + "\n", badKeyName, 1, line);
    }
}

TEST(KeyFile, RejectsAKeyLineWithoutEqualsSign)
{
    for (const auto *line : {"key", "k", "k v", "key]", "ke/y", "key\r"})
        expectBadLine(line + "\n"s, badKey, 1, line);
}

TEST(KeyFile, RejectsAnInvalidKey)
{
    for (const auto *line : {"ke/y=1", "key[en]=1", "k\t=v", "k\"=v", "k#=v", "k\xC3\xA9=v", "a:b=c"})
        expectBadLine(line + "\n"s, badKeyName, 1, line);
}

TEST(KeyFile, YieldsEveryKeyLineInFileOrder)
{
    EXPECT_EQ(entriesOf("[g]\nk=1\nk=2\n[h]\nk=3\n[g]\nk=1\n"),
              (Entries{{"g", "k", "1"}, {"g", "k", "2"}, {"h", "k", "3"}, {"g", "k", "1"}}));
}

// ---- Group headers --------------------------------------------------------------------------------------------------

TEST(KeyFile, PutsEntriesBeforeTheFirstHeaderIntoTheEmptyGroup)
{
    EXPECT_EQ(entriesOf("a=1\n[g]\nb=2\n"), (Entries{{"", "a", "1"}, {"g", "b", "2"}}));
}

TEST(KeyFile, TakesTheGroupNameBetweenTheBrackets)
{
    for (const auto *name : {"", "g", "a b", " a ", " ", "-._", "0", "AZaz09"})
        EXPECT_EQ(entriesOf("[x]\n["s + name + "]\nk=v\n"), (Entries{{name, "k", "v"}})) << name;
}

TEST(KeyFile, AcceptsExactlyTheNameBytesInAGroup)
{
    for (const char c : allBytesOfLines()) {
        const auto line = "[a"s + c + "b]";
        if (mayStandInAName(c))
            EXPECT_EQ(entriesOf(line + "\nk=v\n"), (Entries{{"a"s + c + "b", "k", "v"}})) << static_cast<int>(c);
        else
            expectBadLine(line + "\nk=v\n", badGroupName, 1, line);
    }
}

TEST(KeyFile, RejectsWhatIsNoGroupHeader)
{
    for (const auto *line : {"[", "[a", "[a] ", "[a]\r", "[a]#", "[a]b", "[a]b=c", "[]x", "[[", "[ "})
        expectBadLine(line + "\n"s, badGroup, 1, line);
}

TEST(KeyFile, RejectsAnInvalidGroupName)
{
    for (const auto *line : {"[a]b]", "[[a]", "[a]]", "[]]", "[[]", "[a/b]", "[a=b]", "[a\tb]"})
        expectBadLine(line + "\n"s, badGroupName, 1, line);
}

TEST(KeyFile, KeepsTheGroupAcrossABadHeader)
{
    for (const auto *bad : {"[h", "[h/i]", "["}) {
        const CapturedRecords records;
        EXPECT_EQ(entriesOf("[g]\n"s + bad + "\nk=v\n"), (Entries{{"g", "k", "v"}})) << bad;
    }
}

// ---- Line endings ---------------------------------------------------------------------------------------------------

TEST(KeyFile, TakesACarriageReturnForAnOrdinaryCharacter)
{
    File file("[g]\r\nk=v\r\n\r\nl=\r\n");
    const CapturedRecords records;
    EXPECT_EQ(entriesOf(file.parser), (Entries{{"", "k", "v\r"}, {"", "l", "\r"}}));
    EXPECT_THAT(records.errors(), ElementsAre(message(badGroup, file.path, 1, "[g]\r"), //
                                              message(unexpected, file.path, 3, "\r")));
}

TEST(KeyFile, EndsLinesAtLineFeedsOnly)
{
    EXPECT_EQ(entriesOf("k=a\rl=b\vm=c\x1A\xE2\x80\xA8n=d\n"), (Entries{{"", "k", "a\rl=b\vm=c\x1A\xE2\x80\xA8n=d"}}));
}

// ---- Messages and the error flag ------------------------------------------------------------------------------------

TEST(KeyFile, ReportsEachKindOfBadLineAtErrorLevel)
{
    File file("/\n[a\n[a/]\nkey\nke/y=\n");
    const CapturedRecords records;
    entriesOf(file.parser);
    EXPECT_THAT(
        records.all(),
        ElementsAre(
            CapturedRecords::Record{3, "Unexpected line in " + file.path + " (\x01): '/'"},
            CapturedRecords::Record{3, "Could not parse line as group in " + file.path + " (\x02): '[a'"},
            CapturedRecords::Record{3, "Group name contains invalid characters in " + file.path + " (\x03): '[a/]'"},
            CapturedRecords::Record{3, "Could not parse line as key in " + file.path + " (\x04): 'key'"},
            CapturedRecords::Record{3, "Key contains invalid characters in " + file.path + " (\x05): 'ke/y='"}));
}

TEST(KeyFile, WritesTheLineNumberAsOneRawByte)
{
    const std::vector<std::pair<unsigned, char>> rows{{1, '\x01'},   {10, '\n'},  {65, 'A'},     {66, 'B'},
                                                      {255, '\xFF'}, {256, '\0'}, {257, '\x01'}, {66 + 65536, 'B'}};
    for (const auto &[lineNumber, byte] : rows) {
        File file(std::string(lineNumber - 1, '\n') + "/\n");
        const StderrRecords records;
        entriesOf(file.parser);
        EXPECT_EQ(records.text(), "ERROR: Unexpected line in " + file.path + " (" + byte + "): '/'\n") << lineNumber;
    }
}

TEST(KeyFile, CountsLinesOfEveryKind)
{
    expectBadLine("\n# c\n;\n[g]\nk=v\n\nl=\n/\n", unexpected, 8, "/");
}

TEST(KeyFile, QuotesThePathAsItWasGiven)
{
    const TempTree tree;
    tree.write("a b%s.conf", "/\n");
    KeyFileParser parser(tree.root() + "/.//a b%s.conf");
    const CapturedRecords records;
    entriesOf(parser);
    EXPECT_THAT(records.errors(), ElementsAre("Unexpected line in " + tree.root() + "/.//a b%s.conf (\x01): '/'"));
}

TEST(KeyFile, GoesOnBehindABadLine)
{
    File file("a=1\n/\n[\nb=2\n/\nc=3\n");
    const CapturedRecords records;
    EXPECT_EQ(entriesOf(file.parser), (Entries{{"", "a", "1"}, {"", "b", "2"}, {"", "c", "3"}}));
    EXPECT_EQ(records.errors().size(), 3U);
}

TEST(KeyFile, RaisesTheErrorWithTheStepThatReadsTheBadLine)
{
    File file("a=1\n/\nb=2\nc=3\n");
    const CapturedRecords records;
    auto entry = file.parser.begin();
    EXPECT_FALSE(file.parser.error());
    ++entry;
    EXPECT_TRUE(file.parser.error());
    EXPECT_EQ(entryAt(entry), (Entry{"", "b", "2"}));
}

TEST(KeyFile, KeepsTheErrorForAllItsIterators)
{
    File file("/\na=1\n");
    {
        const CapturedRecords records;
        EXPECT_EQ(entriesOf(file.parser), (Entries{{"", "a", "1"}}));
    }
    file.tree.write("test.conf", "b=2\n");
    EXPECT_EQ(entriesOf(file.parser), (Entries{{"", "b", "2"}}));
    EXPECT_TRUE(file.parser.error());
    EXPECT_FALSE(KeyFileParser(file.path).error());
}

// ---- Files that cannot be read --------------------------------------------------------------------------------------

TEST(KeyFile, OpensNothingAtConstruction)
{
    const TempTree tree;
    KeyFileParser parser(tree.path("late.conf"));
    EXPECT_FALSE(parser.error());
    tree.write("late.conf", "a=1\n");
    EXPECT_EQ(entriesOf(parser), (Entries{{"", "a", "1"}}));
    EXPECT_FALSE(parser.error());
}

TEST(KeyFile, ThatIsMissingIsAnErrorAtBegin)
{
    const TempTree tree;
    for (const auto &path : {tree.path("missing.conf"), tree.path("no/folder.conf"), ""s}) {
        KeyFileParser parser(path);
        const CapturedRecords records;
        const auto begin = parser.begin();
        EXPECT_TRUE(parser.error()) << path;
        EXPECT_TRUE(begin != parser.end()) << path;
        EXPECT_TRUE(begin == parser.begin()) << path;
        EXPECT_TRUE(records.empty()) << path;
    }
}

TEST(KeyFile, ThatIsMissingHasAnEndWithoutAnError)
{
    const TempTree tree;
    KeyFileParser parser(tree.path("missing.conf"));
    auto end = parser.end();
    EXPECT_TRUE(end == parser.end());
    EXPECT_FALSE(parser.error());
    ++end;
    EXPECT_TRUE(parser.error());
    EXPECT_TRUE(end == parser.end());
}

TEST(KeyFile, ThatIsMissingStaysMissingForAnIterator)
{
    const TempTree tree;
    KeyFileParser parser(tree.path("missing.conf"));
    auto entry = parser.begin();
    tree.write("missing.conf", "a=1\n");
    ++entry;
    EXPECT_EQ(entryAt(entry), (Entry{"", "", ""}));
    EXPECT_TRUE(parser.error());
}

TEST(KeyFile, ThatOpensButCannotBeReadIsAnErrorAtBegin)
{
    const TempTree tree;
    for (const auto &path : {tree.makeDirectory("x.conf"), "/proc/self/mem"s, "/"s}) {
        KeyFileParser parser(path);
        const CapturedRecords records;
        auto entry = parser.begin();
        EXPECT_TRUE(parser.error()) << path;
        EXPECT_EQ(entryAt(entry), (Entry{"", "", ""})) << path;
        EXPECT_TRUE(records.empty()) << path;
    }
}

// ---- Unterminated last lines ----------------------------------------------------------------------------------------

namespace {

// Steps to the unterminated last line, and expects the iterator to stay there for ever with this entry.
void expectStays(File &file, const Entry &entry, int steps)
{
    auto position = file.parser.begin();
    for (int i = 0; i < steps; ++i)
        ++position;
    auto other = file.parser.begin();
    for (int i = 0; i < steps; ++i)
        ++other;
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(entryAt(position), entry);
        EXPECT_TRUE(position != file.parser.end());
        EXPECT_TRUE(position == other);
        ++position;
    }
}

} // namespace

TEST(KeyFileUnterminated, KeyLineIsYieldedForEver)
{
    File file("[g]\na=1\nb=2");
    const CapturedRecords records;
    expectStays(file, {"g", "b", "2"}, 1);
    EXPECT_FALSE(file.parser.error());
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(entriesOf(file.parser, 4), (Entries{{"g", "a", "1"}, {"g", "b", "2"}, {"g", "b", "2"}, {"g", "b", "2"}}));
}

TEST(KeyFileUnterminated, OnlyLineIsYieldedForEver)
{
    File file("a=1");
    expectStays(file, {"", "a", "1"}, 0);
    EXPECT_FALSE(file.parser.error());
}

TEST(KeyFileUnterminated, CommentRepeatsTheEntryBeforeIt)
{
    for (const auto *comment : {"# c", ";", "#k=v"}) {
        File file("a=1\n"s + comment);
        expectStays(file, {"", "a", "1"}, 1);
        auto position = file.parser.begin();
        ++position;
        EXPECT_TRUE(position != file.parser.begin()) << "moved on to the start of the comment";
        EXPECT_FALSE(file.parser.error());
    }
}

TEST(KeyFileUnterminated, HeaderRepeatsTheEntryBeforeItInTheNewGroup)
{
    File file("[g]\na=1\n[h]");
    expectStays(file, {"h", "a", "1"}, 1);
    EXPECT_FALSE(file.parser.error());
    EXPECT_EQ(entriesOf(file.parser, 3), (Entries{{"g", "a", "1"}, {"h", "a", "1"}, {"h", "a", "1"}}));
}

TEST(KeyFileUnterminated, CommentOrHeaderAloneYieldsAnEmptyEntry)
{
    File comment("# c");
    expectStays(comment, {"", "", ""}, 0);
    EXPECT_FALSE(comment.parser.error());
    File header("[g]");
    expectStays(header, {"g", "", ""}, 0);
    EXPECT_FALSE(header.parser.error());
}

TEST(KeyFileUnterminated, BadLineIsReportedOnceAndRepeatsTheEntryBeforeIt)
{
    const std::vector<std::pair<const char *, std::string>> rows{
        {unexpected, " x"},     {badGroup, "[x"}, {badGroup, "["},
        {badGroupName, "[x/]"}, {badKey, "x"},    {badKeyName, "x/=1"},
    };
    for (const auto &[what, line] : rows) {
        File file("[g]\na=1\n" + line);
        const CapturedRecords records;
        EXPECT_EQ(entriesOf(file.parser, 4), (Entries(4, {"g", "a", "1"}))) << line;
        EXPECT_THAT(records.errors(), ElementsAre(message(what, file.path, 3, line)));
        EXPECT_TRUE(file.parser.error()) << line;
    }
}

TEST(KeyFileUnterminated, LineStaysTheLastOneEvenIfTheFileGrows)
{
    File file("a=1\nb=2");
    auto entry = file.parser.begin();
    ++entry;
    file.append("3\nc=4\n");
    ++entry;
    EXPECT_EQ(entryAt(entry), (Entry{"", "b", "2"}));
    EXPECT_FALSE(file.parser.error());
    EXPECT_EQ(entriesOf(file.parser), (Entries{{"", "a", "1"}, {"", "b", "23"}, {"", "c", "4"}}));
}

// ---- Files that change ----------------------------------------------------------------------------------------------

TEST(KeyFileThatGrows, GoesOnBehindItsFormerEnd)
{
    File file("[g]\na=1\n");
    auto entry = file.parser.begin();
    ++entry;
    EXPECT_TRUE(entry == file.parser.end());
    file.append("b=2\n");
    EXPECT_TRUE(entry != file.parser.end());
    ++entry;
    EXPECT_EQ(entryAt(entry), (Entry{"g", "b", "2"}));
    ++entry;
    EXPECT_TRUE(entry == file.parser.end());
}

TEST(KeyFileThatGrows, CountsOnFromItsFormerEnd)
{
    File file("a=1\n\n");
    auto entry = file.parser.begin();
    ++entry;
    file.append("/\n");
    const CapturedRecords records;
    ++entry;
    EXPECT_THAT(records.errors(), ElementsAre(message(unexpected, file.path, 3, "/")));
    EXPECT_TRUE(entry == file.parser.end());
}

TEST(KeyFileThatGrows, HasALaterEnd)
{
    File file("a=1\n");
    const auto formerEnd = file.parser.end();
    file.append("b=2\n");
    EXPECT_TRUE(formerEnd != file.parser.end());
    EXPECT_EQ(entriesOf(file.parser), (Entries{{"", "a", "1"}, {"", "b", "2"}}));
}

TEST(KeyFileThatShrinks, EndsAtItsNewEnd)
{
    File file("a=1\n");
    auto entry = file.parser.begin();
    std::filesystem::resize_file(file.path, 0);
    ++entry;
    EXPECT_TRUE(entry == file.parser.end());
    EXPECT_FALSE(file.parser.error());
}

// ---- Positions and the steps of an iterator -------------------------------------------------------------------------

TEST(KeyFileIterator, ComparesReadersAndOffsets)
{
    File file("a=1\nb=2\n");
    KeyFileParser twin(file.path);
    auto entry = file.parser.begin();
    EXPECT_TRUE(entry == file.parser.begin());
    EXPECT_FALSE(entry == twin.begin());
    EXPECT_TRUE(file.parser.end() == file.parser.end());
    EXPECT_TRUE(file.parser.end() != twin.end());
    ++entry;
    EXPECT_TRUE(entry != file.parser.begin());
    EXPECT_FALSE(entry != entry);
}

TEST(KeyFileIterator, ComparesTheOffsetAndNotTheEntry)
{
    File file("a=1\n[g]\nb=2\n");
    auto changed = file.parser.begin();
    changed->value = "changed";
    (*changed).group = "h";
    changed.parseAndSetGroup("[i]");
    EXPECT_TRUE(changed == file.parser.begin());
    EXPECT_EQ(entryAt(changed), (Entry{"i", "a", "changed"}));
}

TEST(KeyFileIterator, IsEmptyAtTheEnd)
{
    File file("[g]\na=1\n");
    auto end = file.parser.end();
    EXPECT_EQ(entryAt(end), (Entry{"", "", ""}));
}

TEST(KeyFileIterator, KeepsTheLastEntryWhenItReachesTheEnd)
{
    File file("[g]\na=1\n[h]\n");
    auto entry = file.parser.begin();
    ++entry;
    EXPECT_TRUE(entry == file.parser.end());
    EXPECT_EQ(entryAt(entry), (Entry{"h", "a", "1"}));
}

TEST(KeyFileIterator, StaysAtTheEnd)
{
    File file("a=1\n");
    auto end = file.parser.end();
    for (int i = 0; i < 3; ++i) {
        ++end;
        EXPECT_TRUE(end == file.parser.end());
    }
    EXPECT_FALSE(file.parser.error());
}

TEST(KeyFileIterator, IncrementReturnsTheIteratorItself)
{
    File file("a=1\nb=2\nc=3\n");
    auto entry = file.parser.begin();
    EXPECT_EQ(&++entry, &entry);
    EXPECT_EQ((++entry)->key, "c");
}

TEST(KeyFileIterator, IsMadeLikeBeginAndEnd)
{
    File file("a=1\n");
    KeyFileParser::iterator first(&file.parser, false);
    EXPECT_EQ(entryAt(first), (Entry{"", "a", "1"}));
    EXPECT_TRUE(first == file.parser.begin());
    EXPECT_TRUE(KeyFileParser::iterator(&file.parser, true) == file.parser.end());
}

TEST(KeyFileIterator, GoesOnAfterAMove)
{
    File file("a=1\nb=2\n");
    auto entry = file.parser.begin();
    auto moved = std::move(entry);
    EXPECT_EQ(entryAt(moved), (Entry{"", "a", "1"}));
    ++moved;
    EXPECT_EQ(entryAt(moved), (Entry{"", "b", "2"}));
}

TEST(KeyFileIterator, TakesThePlaceOfAnother)
{
    File file("a=1\nb=2\n");
    auto entry = file.parser.begin();
    ++entry;
    entry = file.parser.begin();
    EXPECT_EQ(entryAt(entry), (Entry{"", "a", "1"}));
    ++entry;
    EXPECT_EQ(entryAt(entry), (Entry{"", "b", "2"}));
}

TEST(KeyFileIterator, OfOneReaderHaveStreamsOfTheirOwn)
{
    File file("a=1\nb=2\nc=3\n");
    auto one = file.parser.begin();
    auto other = file.parser.begin();
    ++one;
    ++one;
    EXPECT_EQ(entryAt(one), (Entry{"", "c", "3"}));
    EXPECT_EQ(entryAt(other), (Entry{"", "a", "1"}));
}

TEST(KeyFileIterator, ReadNextLineReturnsAnyLine)
{
    File file("a=1\n/bad \n\n[g]\nlast");
    auto entry = file.parser.begin();
    EXPECT_EQ(entry.readNextLine(), "/bad ");
    EXPECT_EQ(entry.readNextLine(), "");
    EXPECT_EQ(entry.readNextLine(), "[g]");
    EXPECT_EQ(entry.readNextLine(), "last");
    EXPECT_EQ(entryAt(entry), (Entry{"", "a", "1"}));
    EXPECT_FALSE(file.parser.error());
}

TEST(KeyFileIterator, ReadNextLineStandsAtTheStartOfTheLine)
{
    File file("a=1\nb=2\nc=3\n");
    auto entry = file.parser.begin();
    auto second = file.parser.begin();
    ++second;
    EXPECT_EQ(entry.readNextLine(), "b=2");
    EXPECT_TRUE(entry == second);
    ++entry;
    EXPECT_EQ(entryAt(entry), (Entry{"", "c", "3"}));
}

TEST(KeyFileIterator, ReadNextLineCountsTheLine)
{
    File file("a=1\n\n/\n");
    auto entry = file.parser.begin();
    entry.readNextLine();
    const CapturedRecords records;
    entry.seekNext();
    EXPECT_THAT(records.errors(), ElementsAre(message(unexpected, file.path, 3, "/")));
}

TEST(KeyFileIterator, ReadNextLineFindsNothingAtTheEnd)
{
    File file("a=1\n");
    auto end = file.parser.end();
    EXPECT_EQ(end.readNextLine(), "");
    EXPECT_TRUE(end == file.parser.end());
    ++end;
    EXPECT_FALSE(file.parser.error());
}

TEST(KeyFileIterator, SeekEndGoesToTheEndAndKeepsTheEntry)
{
    File file("[g]\na=1\nb=2\n");
    auto entry = file.parser.begin();
    entry.seekEnd();
    EXPECT_TRUE(entry == file.parser.end());
    EXPECT_EQ(entryAt(entry), (Entry{"g", "a", "1"}));
    entry.seekNext();
    EXPECT_TRUE(entry == file.parser.end());
}

TEST(KeyFileIterator, SeekEndClearsAnUnterminatedLine)
{
    File file("a=1");
    auto entry = file.parser.begin();
    entry.seekEnd();
    EXPECT_TRUE(entry == file.parser.end());
    file.append("\nb=2\n");
    ++entry;
    EXPECT_EQ(entryAt(entry), (Entry{"", "b", "2"})) << "behind the rest of the line, which is blank";
}

TEST(KeyFileIterator, SeekNextIsTheIncrement)
{
    File file("a=1\nb=2\n");
    auto entry = file.parser.begin();
    entry.seekNext();
    EXPECT_EQ(entryAt(entry), (Entry{"", "b", "2"}));
    entry.seekNext();
    EXPECT_TRUE(entry == file.parser.end());
}

TEST(KeyFileIterator, ParseAndSetGroupTakesAnyLine)
{
    File file("a=1\n");
    auto entry = file.parser.begin();
    for (const auto &[line, group] :
         std::vector<std::pair<std::string, std::string>>{{"[g]", "g"}, {"[]", ""}, {"[ a b ]", " a b "}}) {
        entry.parseAndSetGroup(line);
        EXPECT_EQ(entryAt(entry), (Entry{group, "a", "1"})) << line;
    }
    EXPECT_FALSE(file.parser.error());
}

TEST(KeyFileIterator, ParseAndSetGroupReportsABadLine)
{
    const std::vector<std::pair<std::string, const char *>> rows{
        {"", badGroup},   {"[", badGroup},    {"]", badGroup},          {"g", badGroup},          {"g]", badGroup},
        {"[g", badGroup}, {" [g]", badGroup}, {"[g\nh]", badGroupName}, {"[\xFF]", badGroupName},
    };
    for (const auto &[line, what] : rows) {
        File file("[f]\na=1\n");
        auto entry = file.parser.begin();
        const CapturedRecords records;
        entry.parseAndSetGroup(line);
        EXPECT_THAT(records.errors(), ElementsAre(message(what, file.path, 2, line)));
        EXPECT_TRUE(file.parser.error()) << line;
        EXPECT_EQ(entryAt(entry), (Entry{"f", "a", "1"})) << line;
    }
}

TEST(KeyFileIterator, ParseAndSetKeyAndValueTakesAnyLine)
{
    File file("[g]\na=1\n");
    auto entry = file.parser.begin();
    const std::vector<std::tuple<std::string, std::string, std::string>> rows{
        {"k=v", "k", "v"}, {"=", "", ""}, {"=v", "", "v"}, {" k=\n", " k", "\n"}, {"k==v=", "k", "=v="}};
    for (const auto &[line, key, value] : rows) {
        EXPECT_TRUE(entry.parseAndSetKeyAndValue(line)) << line;
        EXPECT_EQ(entryAt(entry), (Entry{"g", key, value})) << line;
    }
    EXPECT_FALSE(file.parser.error());
}

TEST(KeyFileIterator, ParseAndSetKeyAndValueReportsABadLine)
{
    const std::vector<std::pair<std::string, const char *>> rows{
        {"", badKey}, {"k", badKey}, {"[k]", badKey}, {"k\n=v", badKeyName}, {"#k=v", badKeyName}};
    for (const auto &[line, what] : rows) {
        File file("[g]\na=1\n");
        auto entry = file.parser.begin();
        const CapturedRecords records;
        EXPECT_FALSE(entry.parseAndSetKeyAndValue(line)) << line;
        EXPECT_THAT(records.errors(), ElementsAre(message(what, file.path, 2, line)));
        EXPECT_TRUE(file.parser.error()) << line;
        EXPECT_EQ(entryAt(entry), (Entry{"g", "a", "1"})) << line;
    }
}

TEST(KeyFileIterator, AtTheEndHasReadNoLineYet)
{
    File file("a=1\n");
    const StderrRecords records;
    auto end = file.parser.end();
    end.parseAndSetGroup("x");
    EXPECT_EQ(records.text(), "ERROR: " + message(badGroup, file.path, 0, "x") + "\n");
}

// ---- Long lines and the edges of buffers ----------------------------------------------------------------------------

TEST(KeyFileOfAnySize, KeepsLongLinesWhole)
{
    for (const std::size_t length : {4095UL, 65535UL, 65536UL, 65537UL, 200UL * 1024, 5UL * 1024 * 1024}) {
        const std::string text(length, 'x');
        EXPECT_EQ(entriesOf("#" + text + "\n[" + text + "]\n" + text + "=" + text + "\nlast=1\n"),
                  (Entries{{text, text, text}, {text, "last", "1"}}))
            << length;
    }
}

TEST(KeyFileOfAnySize, QuotesLongBadLinesWhole)
{
    const std::string text(200 * 1024, 'x');
    expectBadLine("/" + text + "\na=1\n", unexpected, 1, "/" + text);
    expectBadLine(text + "\na=1\n", badKey, 1, text);
    expectBadLine("[" + text + "\na=1\n", badGroup, 1, "[" + text);
}

// The entry before the line must not live on in memory that a longer buffer has taken the place of.
TEST(KeyFileOfAnySize, GoesOnBehindALongLineOfEveryKind)
{
    const std::string text(200 * 1024, 'x');
    for (const auto &line :
         {"/" + text, "[" + text, "[" + text + "/]", text, text + "/=", "#" + text, "[" + text + "]"}) {
        for (const auto *rest : {"", "\n", "# c\n", "[g]\n", "b=2\n"}) {
            File file("[f]\na=1\n" + line + "\n" + rest);
            const CapturedRecords records;
            const auto entries = entriesOf(file.parser);
            ASSERT_EQ(entries.size(), rest == "b=2\n"s ? 2U : 1U) << line[0] << rest;
            EXPECT_EQ(entries.front(), (Entry{"f", "a", "1"})) << line[0] << rest;
        }
    }
}

TEST(KeyFileOfAnySize, ReadsLinesThatCrossTheEdgeOfABuffer)
{
    const auto lines = "[group one]\nkey=value with text\n# comment\n\nother=a=b\nempty=\n\n[g]\nlast=end\n"s;
    const Entries entries{{"group one", "key", "value with text"},
                          {"group one", "other", "a=b"},
                          {"group one", "empty", ""},
                          {"g", "last", "end"}};
    for (const std::size_t edge : {4096UL, 65536UL, 131072UL}) {
        for (std::size_t before = 2; before <= lines.size() + 2; ++before) {
            const auto text = "#"s + std::string(edge - before - 2, 'x') + "\n" + lines;
            ASSERT_EQ(entriesOf(text), entries) << before << " bytes before " << edge;
        }
    }
}

TEST(KeyFileOfAnySize, ReportsBadLinesThatCrossTheEdgeOfABuffer)
{
    const auto lines = "[bad\n[b/]\nkey\nke/y=1\n line\na=1\n"s;
    for (std::size_t before = 0; before <= lines.size(); ++before) {
        File file("#"s + std::string(65536 - before - 2, 'x') + "\n" + lines);
        const CapturedRecords records;
        ASSERT_EQ(entriesOf(file.parser), (Entries{{"", "a", "1"}})) << before;
        ASSERT_THAT(records.errors(),
                    ElementsAre(message(badGroup, file.path, 2, "[bad"), message(badGroupName, file.path, 3, "[b/]"),
                                message(badKey, file.path, 4, "key"), message(badKeyName, file.path, 5, "ke/y=1"),
                                message(unexpected, file.path, 6, " line")))
            << before;
    }
}

TEST(KeyFileOfAnySize, HasEachEntryAtAnOffsetOfItsOwn)
{
    std::string text;
    for (int i = 0; i < 4096; ++i)
        text += "key=" + std::string(59, 'v') + "\n"; // 64 bytes, which divide every likely size of a buffer
    File file(text);
    const auto first = file.parser.begin();
    const auto end = file.parser.end();
    auto entry = file.parser.begin();
    for (int i = 1; i < 4096; ++i) {
        ++entry;
        ASSERT_TRUE(entry != first && entry != end) << "entry " << i;
    }
    ++entry;
    EXPECT_TRUE(entry == end);
}

TEST(KeyFileOfAnySize, EndsAtAnyOffset)
{
    for (const std::size_t edge : {4096UL, 65536UL, 131072UL}) {
        for (std::size_t size = edge - 2; size <= edge + 2; ++size) {
            const std::string value(size - 3, 'v');
            ASSERT_EQ(entriesOf("k=" + value + "\n"), (Entries{{"", "k", value}})) << size;
            ASSERT_EQ(entriesOf("k=1\n#"s + std::string(size - 6, 'c') + "\n"), (Entries{{"", "k", "1"}})) << size;
        }
    }
}

TEST(KeyFileOfAnySize, NoticesAnUnterminatedLineAtAnyOffset)
{
    for (std::size_t size = 65534; size <= 65538; ++size) {
        const std::string value(size - 2, 'v');
        File file("k=" + value);
        ASSERT_EQ(entriesOf(file.parser, 3), (Entries(3, {"", "k", value}))) << size;
        ASSERT_FALSE(file.parser.error()) << size;
    }
}

TEST(KeyFileOfAnySize, YieldsManyEntries)
{
    std::string text = "[g]\n";
    Entries entries;
    for (int i = 0; i < 20000; ++i) {
        const auto key = std::to_string(i);
        const auto value = std::to_string(i * 7);
        text += key + "=" + value + "\n";
        entries.emplace_back("g", key, value);
    }
    File file(text);
    EXPECT_EQ(entriesOf(file.parser, entries.size() + 1), entries);
}
