// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

#include "key_file_line.h"
#include "text_scan.h"

#include <algorithm>

namespace Tovrin::Tool {

namespace {

using Parser::LineProblem;

struct LineFault {
    FindingId id;
    std::size_t column;
    std::string text;
};

bool isBlank(std::string_view text)
{
    return Parser::trimmed(text).empty();
}

LineFault unexpected(std::string_view line)
{
    std::string text;
    if (isBlank(line))
        text = line == "\r" ? "the line is not empty: it holds a carriage return"
                            : "the line is not empty: it holds white space";
    else if (Parser::isSpace(line.front()))
        text = "white space at the start of the line";
    else
        text = "a line cannot begin with " + inQuotes(line.substr(0, 1));
    return {FindingId::UnexpectedLine, 1, text};
}

LineFault badHeader(std::string_view line)
{
    const auto end = line.rfind(']');
    if (end == std::string_view::npos)
        return {FindingId::BadHeader, line.size() + 1, "the group's header does not end with \"]\""};
    const auto rest = line.substr(end + 1);
    return {FindingId::BadHeader, end + 2,
            std::string(rest == "\r"    ? "a carriage return"
                        : isBlank(rest) ? "white space"
                                        : "text") +
                " behind the \"]\" of a group's header"};
}

LineFault badName(FindingId id, std::string_view line, std::size_t start, const char *what)
{
    const auto at = start + Parser::validNameLength(line.substr(start));
    return {id, at + 1,
            inQuotes(line.substr(at, 1)) + " in the name of a " + what +
                ", which holds only letters, digits, \"-\", \".\", \"_\" and spaces"};
}

LineFault faultOf(const BadLine &line)
{
    switch (line.problem) {
    case LineProblem::None:
    case LineProblem::Unexpected:
        break;
    case LineProblem::NoGroup:
        return badHeader(line.text);
    case LineProblem::InvalidGroup:
        return badName(FindingId::BadGroupName, line.text, 1, "group");
    case LineProblem::NoKey:
        return {FindingId::NoEquals, line.text.size() + 1, "no \"=\" behind the key"};
    case LineProblem::InvalidKey:
        return badName(FindingId::BadKeyName, line.text, 0, "key");
    }
    return unexpected(line.text);
}

std::string whatIsLost(const SourceFile &file, bool isFollowed)
{
    std::string text;
    if (!file.notApplied.empty()) {
        const auto line = std::to_string(file.notApplied.front().line);
        const auto count = file.notApplied.size();
        text = "; reading stops here, and " +
               (count == 1 ? "the entry of line " + line + " is lost"
                           : std::to_string(count) + " entries are lost, from line " + line + " on");
    }
    if (isFollowed)
        text += "; a program that calls readDirectories reads no later file either";
    return text;
}

void lintBadLines(const SourceFile &file, bool isFollowed, Findings &findings)
{
    for (const auto &line : file.badLines) {
        auto fault = faultOf(line);
        if (&line == &file.badLines.front())
            fault.text += whatIsLost(file, isFollowed);
        findings.add(fault.id, file.path, line.line, fault.column, std::move(fault.text));
    }
}

// One finding for a file, since all lines are alike.
void lintCarriageReturns(const SourceFile &file, Findings &findings)
{
    const auto first = file.text.find('\r');
    if (first == std::string_view::npos)
        return;
    const auto before = file.text.substr(0, first);
    const auto line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
    const auto lineStart = before.rfind('\n') + 1; // npos + 1 is 0
    std::size_t lines = 0;
    for (auto rest = file.text; !rest.empty();)
        lines += Parser::takeUntil(rest, '\n').find('\r') != std::string_view::npos ? 1 : 0;
    findings.add(FindingId::CarriageReturn, file.path, line, first - lineStart + 1,
                 "carriage returns in " + std::to_string(lines) + (lines == 1 ? " line" : " lines") +
                     ": they are no line ends, but white space");
}

void lintEnd(const SourceFile &file, Findings &findings)
{
    if (file.endsWithNewline)
        return;
    const auto lines = static_cast<std::size_t>(std::count(file.text.begin(), file.text.end(), '\n'));
    const auto column = file.text.size() - (file.text.rfind('\n') + 1) + 1;
    findings.add(FindingId::NoNewline, file.path, lines + 1, column,
                 std::string("no newline at the end of the file") +
                     (file.readingHangs() ? ": a program that reads it never returns" : ""));
}

bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && !Parser::isSpace(c)) || byte == 0x7f;
}

void lintAssignment(const SourceFile &file, const Assignment &assignment, Findings &findings)
{
    const auto [group, key, value, line, headerLine] = assignment;
    if (key.back() == ' ')
        findings.add(FindingId::SpaceBeforeEquals, file.path, line, key.find_last_not_of(' ') + 2,
                     "white space before \"=\" belongs to the key, which is " + inQuotes(key));
    else if (!value.empty() && Parser::isSpace(value.front()) && !isBlank(value.substr(0, value.find(';'))))
        findings.add(FindingId::SpaceAfterEquals, file.path, line, assignment.valueColumn(),
                     "white space behind \"=\" is cut off");
    const auto control = std::find_if(value.begin(), value.end(), isControl);
    if (control != value.end())
        findings.add(FindingId::ControlCharacter, file.path, line,
                     assignment.valueColumn() + static_cast<std::size_t>(control - value.begin()),
                     "control character " + inQuotes(std::string(1, *control)) + " in the value");
}

void lintHeader(const SourceFile &file, const Header &header, Findings &findings)
{
    if (header.name.starts_with(' ') || header.name.ends_with(' '))
        findings.add(FindingId::SpaceAroundGroup, file.path, header.line,
                     header.name.starts_with(' ') ? 2 : header.name.find_last_not_of(' ') + 3,
                     "white space at the end of a name belongs to the group, which is " + inQuotes(header.name));
}

// Past the last file that a directory holds.
std::size_t endOfDirectories(const Sources &sources)
{
    std::size_t end = 0;
    for (const auto &path : sources.paths) {
        if (path.isDirectory && path.fileCount > 0)
            end = path.firstFile + path.fileCount;
    }
    return end;
}

// isFollowed: it stands in a directory, and another file of one comes later.
void lintFile(const SourceFile &file, bool isFollowed, Findings &findings)
{
    lintBadLines(file, isFollowed, findings);
    lintCarriageReturns(file, findings);
    lintEnd(file, findings);
    for (const auto &header : file.headers)
        lintHeader(file, header, findings);
    for (const auto *assignments : {&file.assignments, &file.notApplied})
        for (const auto &assignment : *assignments)
            lintAssignment(file, assignment, findings);
}

} // namespace

void lintLines(const CheckContext &context, Findings &findings)
{
    const auto &[paths, files] = context.sources;
    const auto end = endOfDirectories(context.sources);
    for (const auto &path : paths) {
        for (auto file = path.firstFile; file < path.firstFile + path.fileCount; ++file)
            lintFile(files[file], path.isDirectory && file + 1 < end, findings);
    }
}

} // namespace Tovrin::Tool
