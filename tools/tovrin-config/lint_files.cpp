// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

#include "check_guess.h"
#include "text_scan.h"

#include <tovrin/parser/helpers.h>

#include <algorithm>
#include <filesystem>
#include <map>

namespace Tovrin::Tool {

namespace {

namespace fs = std::filesystem;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Takes the number at the front of the text off, without leading zeros.
std::string_view takeNumber(std::string_view &text)
{
    const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
    auto number = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(number.size());
    number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
    return number;
}

// Whether a person would put a behind b: numbers count as numbers, and capitals as small letters.
bool comesAfter(std::string_view a, std::string_view b)
{
    while (!a.empty() && !b.empty()) {
        if (isDigit(a.front()) && isDigit(b.front())) {
            const auto ofA = takeNumber(a);
            const auto ofB = takeNumber(b);
            if (ofA != ofB)
                return ofA.size() != ofB.size() ? ofA.size() > ofB.size() : ofA > ofB;
            continue;
        }
        const char ofA = Parser::toLower(a.front());
        const char ofB = Parser::toLower(b.front());
        if (ofA != ofB)
            return static_cast<unsigned char>(ofA) > static_cast<unsigned char>(ofB);
        a.remove_prefix(1);
        b.remove_prefix(1);
    }
    return b.empty() && !a.empty();
}

std::string nameOf(const SourceFile &file)
{
    const bool isDirectory = file.path.ends_with('/');
    return Parser::Helpers::basename2(isDirectory ? file.path.substr(0, file.path.size() - 1) : file.path);
}

void lintOrder(std::span<const SourceFile> files, Findings &findings)
{
    for (std::size_t i = 1; i < files.size(); ++i) {
        const auto before = nameOf(files[i - 1]);
        const auto name = nameOf(files[i]);
        if (!comesAfter(before, name))
            continue;
        const bool byCase = withoutCapitals(before) > withoutCapitals(name);
        findings.add(FindingId::FileOrder, files[i].path,
                     "read after " + inQuotes(before) + ": names sort byte by byte, " +
                         (byCase ? "capitals before small letters" : "and \"10\" before \"9\""));
    }
}

void lintIgnored(const SourcePath &directory, Findings &findings)
{
    std::error_code error;
    for (const auto &member : fs::directory_iterator(directory.path, error)) {
        const auto name = member.path().filename().string();
        if ((name.ends_with(".conf") && !name.starts_with('.')) || member.is_directory(error))
            continue;
        findings.add(FindingId::IgnoredFile, member.path().string(),
                     name.starts_with('.') ? "not read: its name begins with \".\""
                                           : "not read: its name does not end in \".conf\"");
    }
}

void lintDirectory(const SourcePath &directory, const CheckContext &context, Findings &findings)
{
    if (!directory.reason.empty()) {
        findings.add(FindingId::Unreadable, directory.path, "cannot be read: " + directory.reason);
        return;
    }
    if (directory.isPattern)
        findings.add(FindingId::PatternDirectory, directory.path,
                     "a program takes this name for a pattern, and reads all that matches it instead");
    if (directory.fileCount == 0)
        findings.add(FindingId::EmptyDirectory, directory.path, "no \"*.conf\" in this directory");
    lintOrder(std::span(context.sources.files).subspan(directory.firstFile, directory.fileCount), findings);
    lintIgnored(directory, findings);
}

void lintFile(const SourceFile &file, Findings &findings)
{
    switch (file.state) {
    case SourceFile::State::Read:
        break;
    case SourceFile::State::NotAFile:
        findings.add(FindingId::NotAFile, file.path, "cannot be read: " + file.reason);
        break;
    case SourceFile::State::NotFound:
    case SourceFile::State::NotReadable:
        findings.add(FindingId::Unreadable, file.path, "cannot be read: " + file.reason);
        break;
    }
}

void lintName(const SourceFile &file, Findings &findings)
{
    if (file.state == SourceFile::State::Read && !file.path.ends_with(".conf"))
        findings.add(FindingId::NotConf, file.path,
                     "its name does not end in \".conf\", so that it would be passed over in a directory");
}

// A person who knows other programs expects the later file to hide the earlier one.
void lintSameNames(const CheckContext &context, Findings &findings)
{
    std::map<std::string, const SourceFile *> read;
    for (const auto &path : context.sources.paths) {
        for (std::size_t i = 0; path.isDirectory && i < path.fileCount; ++i) {
            const auto &file = context.sources.files[path.firstFile + i];
            const auto [found, isNew] = read.emplace(nameOf(file), &file);
            if (!isNew && found->second->path != file.path)
                findings.add(FindingId::SameName, file.path,
                             "has the name of " + found->second->path + ": both count, neither hides the other");
        }
    }
}

// A list holds each of its values twice then.
void lintReadTwice(const CheckContext &context, Findings &findings)
{
    std::map<std::pair<std::uint64_t, std::uint64_t>, const SourceFile *> read;
    for (const auto &file : context.sources.files) {
        if (file.state != SourceFile::State::Read)
            continue;
        const auto [found, isNew] = read.emplace(std::pair(file.device, file.inode), &file);
        if (!isNew)
            findings.add(FindingId::ReadTwice, file.path,
                         "the same file as " + found->second->path + ": it is read twice");
    }
}

} // namespace

void lintFiles(const CheckContext &context, Findings &findings)
{
    const auto &sources = context.sources;
    bool anyProblem = false;
    for (const auto &path : sources.paths) {
        anyProblem = anyProblem || !path.reason.empty();
        if (path.isDirectory)
            lintDirectory(path, context, findings);
        else
            lintName(sources.files[path.firstFile], findings);
    }
    for (const auto &file : sources.files)
        lintFile(file, findings);
    lintSameNames(context, findings);
    lintReadTwice(context, findings);
    if (sources.files.empty() && !anyProblem)
        findings.add(FindingId::NothingToRead, sources.paths.front().path, "there is nothing to read");
}

} // namespace Tovrin::Tool
