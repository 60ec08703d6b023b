// SPDX-License-Identifier: Apache-2.0
#include "sources.h"

#include "helpers/random_text.h"
#include "support/captured_records.h"
#include "support/temp_tree.h"

#include <tovrin/parser/key_file_parser.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include <sys/stat.h>
#include <unistd.h>

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Tovrin::Parser::KeyFileParser;
using Tovrin::Parser::LineProblem;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::RandomTexts;
using Tovrin::Testing::TempTree;
using namespace Tovrin::Tool;

namespace Tovrin::Tool {

bool operator==(const Assignment &a, const Assignment &b)
{
    return std::tie(a.group, a.key, a.value, a.line, a.headerLine) ==
           std::tie(b.group, b.key, b.value, b.line, b.headerLine);
}

bool operator==(const Header &a, const Header &b)
{
    return std::tie(a.name, a.line) == std::tie(b.name, b.line);
}

bool operator==(const BadLine &a, const BadLine &b)
{
    return std::tie(a.problem, a.text, a.line) == std::tie(b.problem, b.text, b.line);
}

} // namespace Tovrin::Tool

namespace {

// Each text is a new file, because writing over one makes some file systems wait for the disk.
SourceFile sourceOf(std::string_view text)
{
    static const TempTree tree;
    static int number = 0;
    return readSourceFile(tree.write(std::to_string(++number), text));
}

std::vector<std::string> pathsOf(const Sources &sources)
{
    std::vector<std::string> paths;
    for (const auto &file : sources.files)
        paths.push_back(file.path);
    return paths;
}

TEST(SourceFile, GivesEachAssignmentItsPlace)
{
    const auto file = sourceOf("top=1\n"
                               "# comment\n"
                               "\n"
                               "[A b]\n"
                               "k=v=w\n"
                               "[]\n"
                               "Key = v \n");
    EXPECT_THAT(file.assignments, ElementsAre(Assignment{"", "top", "1", 1, 0}, Assignment{"A b", "k", "v=w", 5, 4},
                                              Assignment{"", "Key ", " v ", 7, 6}));
    EXPECT_THAT(file.headers, ElementsAre(Header{"A b", 4}, Header{"", 6}));
    EXPECT_EQ(file.assignments[2].valueColumn(), 6u);
    EXPECT_THAT(file.badLines, IsEmpty());
    EXPECT_TRUE(file.endsWithNewline);
}

TEST(SourceFile, KnowsWhatABadLineKeepsFromBeingApplied)
{
    const auto file = sourceOf("[G]\na=1\n b=2\nc=3\n[H\nd=4\n[I]\n=\ne=5\n[J/]\nf\ng/=\n");
    EXPECT_THAT(file.assignments, ElementsAre(Assignment{"G", "a", "1", 2, 1}));
    EXPECT_THAT(file.notApplied, ElementsAre(Assignment{"G", "c", "3", 4, 1}, Assignment{"G", "d", "4", 6, 1},
                                             Assignment{"I", "e", "5", 9, 7}));
    EXPECT_THAT(file.badLines,
                ElementsAre(BadLine{LineProblem::Unexpected, " b=2", 3}, BadLine{LineProblem::NoGroup, "[H", 5},
                            BadLine{LineProblem::Unexpected, "=", 8}, BadLine{LineProblem::InvalidGroup, "[J/]", 10},
                            BadLine{LineProblem::NoKey, "f", 11}, BadLine{LineProblem::InvalidKey, "g/=", 12}));
    EXPECT_FALSE(file.readingHangs());
}

TEST(SourceFile, KeepsItsTextsWhenItMoves)
{
    auto file = sourceOf("[G]\nk=v\n");
    const auto moved = std::move(file);
    EXPECT_EQ(moved.text, "[G]\nk=v\n");
    EXPECT_THAT(moved.assignments, ElementsAre(Assignment{"G", "k", "v", 2, 1}));
}

TEST(SourceFile, ReadsFilesOfTheKernel)
{
    const auto file = readSourceFile("/proc/self/cmdline"); // of the size 0, for stat()
    EXPECT_EQ(file.state, SourceFile::State::Read);
    EXPECT_FALSE(file.text.empty());
}

TEST(SourceFile, ReadsLongFilesWhole)
{
    const std::string longLine = "k=" + std::string(3'000'000, 'x') + '\n';
    EXPECT_EQ(sourceOf(longLine + longLine).text, longLine + longLine);
}

TEST(SourceFile, SaysWhyItWasNotRead)
{
    const TempTree tree;
    const auto pipe = tree.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto endless = tree.write("endless", "");
    std::filesystem::resize_file(endless, 1ULL << 40);
    const auto loop = tree.path("loop");
    std::filesystem::create_symlink("loop", loop);

    using State = SourceFile::State;
    for (const auto &[path, state, reason] : std::vector<std::tuple<std::string, State, std::string>>{
             {pipe, State::NotAFile, "not a regular file"},
             {tree.root(), State::NotAFile, "not a regular file"},
             {"/dev/zero", State::NotAFile, "not a regular file"},
             {endless, State::NotReadable, "longer than 64 MiB"},
             {tree.path("missing"), State::NotFound, "No such file or directory"},
             {loop, State::NotFound, "Too many levels of symbolic links"},
             {"", State::NotFound, "No such file or directory"}}) {
        const auto file = readSourceFile(path);
        EXPECT_EQ(file.state, state) << path;
        EXPECT_EQ(file.reason, reason) << path;
        EXPECT_TRUE(file.text.empty() && file.assignments.empty()) << path;
    }
}

TEST(SourceFile, KnowsWhoMayWriteIt)
{
    const TempTree tree;
    const auto path = tree.write("a.conf", "");
    ASSERT_EQ(chmod(path.c_str(), 0664), 0);
    const auto file = readSourceFile(path);
    EXPECT_EQ(file.mode, 0664u);
    EXPECT_EQ(file.owner, geteuid());
    EXPECT_EQ(file.owningGroup, getegid());
}

TEST(Sources, ListsDirectoriesAsTheLibraryReadsThem)
{
    const TempTree tree;
    for (const std::string name : {"d/b.conf", "d/10-a.conf", "d/9-a.conf", "d/B.conf", "d/.hidden.conf", "d/a.txt"})
        tree.write(name, "");
    tree.makeDirectory("d/sub.conf");
    const auto one = tree.write("one", "");
    const auto d = tree.path("d");

    const auto sources = readSources({d + "/", one, d + "/none", d});
    const std::vector<std::string> ofD{d + "/10-a.conf", d + "/9-a.conf", d + "/B.conf", d + "/b.conf",
                                       d + "/sub.conf/"};
    auto expected = ofD;
    expected.insert(expected.end(), {one, d + "/none"});
    expected.insert(expected.end(), ofD.begin(), ofD.end());
    EXPECT_EQ(pathsOf(sources), expected);

    ASSERT_EQ(sources.paths.size(), 4u);
    EXPECT_TRUE(sources.paths[0].isDirectory);
    EXPECT_FALSE(sources.paths[1].isDirectory);
    EXPECT_EQ(sources.paths[3].path, d);
    EXPECT_EQ(sources.paths[3].firstFile, 7u);
    EXPECT_EQ(sources.paths[3].fileCount, 5u);
    EXPECT_EQ(sources.files[4].state, SourceFile::State::NotAFile);
    EXPECT_EQ(sources.files[6].state, SourceFile::State::NotFound);
}

// What ConfigParser::readConfig() sees of a file.
struct Reading {
    std::vector<std::tuple<std::string, std::string, std::string>> entries;
    bool error = false;
    bool hangs = false;

    bool operator==(const Reading &) const = default;
};

Reading readByLibrary(const std::string &path, std::size_t lines)
{
    Reading reading;
    KeyFileParser parser(path);
    for (auto entry = parser.begin(); entry != parser.end() && !parser.error(); ++entry) {
        if (reading.entries.size() > lines) {
            reading.hangs = true;
            break;
        }
        reading.entries.emplace_back(entry->group, entry->key, entry->value);
    }
    reading.error = parser.error();
    return reading;
}

Reading readingOf(const SourceFile &file)
{
    Reading reading;
    for (const auto &assignment : file.assignments)
        reading.entries.emplace_back(assignment.group, assignment.key, assignment.value);
    reading.error = !file.badLines.empty();
    reading.hangs = file.readingHangs();
    return reading;
}

std::string recordOf(const BadLine &line, const std::string &path)
{
    std::string what;
    switch (line.problem) {
    case LineProblem::None:
    case LineProblem::Unexpected:
        what = "Unexpected line in ";
        break;
    case LineProblem::NoGroup:
        what = "Could not parse line as group in ";
        break;
    case LineProblem::InvalidGroup:
        what = "Group name contains invalid characters in ";
        break;
    case LineProblem::NoKey:
        what = "Could not parse line as key in ";
        break;
    case LineProblem::InvalidKey:
        what = "Key contains invalid characters in ";
        break;
    }
    return what + path + " (" + static_cast<char>(line.line) + "): '" + std::string(line.text) + "'";
}

void expectTheLibrarysReading(std::string_view text)
{
    const auto file = sourceOf(text);
    const CapturedRecords records;
    auto byLibrary = readByLibrary(file.path, text.size());
    auto bySources = readingOf(file);
    if (byLibrary.hangs && bySources.hangs) // with the last entry, or an empty one, over and over
        byLibrary.entries.resize(std::min(byLibrary.entries.size(), bySources.entries.size()));
    EXPECT_EQ(bySources, byLibrary) << Tovrin::Testing::visible(text);

    // The reader reports what it passes on its way to the next entry, so at least the first bad line. A zero byte ends
    // a record of the journal.
    const auto errors = records.errors();
    ASSERT_EQ(errors.empty(), file.badLines.empty()) << Tovrin::Testing::visible(text);
    for (std::size_t i = 0; i < errors.size(); ++i)
        EXPECT_STREQ(recordOf(file.badLines.at(i), file.path).c_str(), errors[i].c_str())
            << Tovrin::Testing::visible(text);
}

TEST(SourceFile, AgreesWithTheReaderOnExamples)
{
    for (const std::string text : {"",
                                   "\n",
                                   "#",
                                   "# c\n",
                                   "[]\n",
                                   "[",
                                   "[\n",
                                   "[a]b]\n",
                                   "[a] \n",
                                   "[a]\r\n",
                                   "\r\n",
                                   "k",
                                   "k\n",
                                   "k=",
                                   "k=\n",
                                   "k=v",
                                   "=v\n",
                                   "k=\n=\n",
                                   " k=v\n",
                                   "\tk=v\n",
                                   "k\t=v\n",
                                   "k==\n",
                                   "k=v\r\n",
                                   "[G]\nk=v\n[H]",
                                   "k=v\n# end",
                                   "k=v\n[bad",
                                   "k=v\nbad",
                                   "bad\nk=v",
                                   "\xff\n",
                                   "k\xff=v\n",
                                   "a=1\nb\nc=3\nd\n[e\nf=6\n",
                                   "a b = c d\n"})
        expectTheLibrarysReading(text);
    expectTheLibrarysReading("a\0=1\n"s);
    expectTheLibrarysReading("a=\0\n\0\nb=1\n"s);
    expectTheLibrarysReading(std::string(300, '\n') + "bad\n");
    expectTheLibrarysReading("a=" + std::string(100'000, 'x') + "\n" + std::string(100'000, 'b') + "\nc=1\n");
}

TEST(SourceFile, AgreesWithTheReaderOnGeneratedFiles)
{
    RandomTexts texts("[]==;#\n\n\n\n abZ09._-\r\t/{$}\x01\x80"s + '\0', 40);
    for (int round = 0; round < 5000; ++round)
        expectTheLibrarysReading(texts.next());
}

TEST(SourceFile, AgreesWithTheReaderOnGeneratedLines)
{
    const std::vector<std::string> lines{"[G]", "[a b]", "[]",  "k=v", "key = v ", "k=", "# c", ";",
                                         "",    "[bad",  "bad", " x",  "k/=1",     "=1", "[/]", "k=\r"};
    RandomTexts random("", 0);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (auto count = random.number(8); count > 0; --count)
            text += lines[random.number(random.number(3) == 0 ? lines.size() : 9)] + '\n';
        if (!text.empty() && random.number(4) == 0)
            text.pop_back();
        expectTheLibrarysReading(text);
    }
}

} // namespace
