// SPDX-License-Identifier: Apache-2.0
#include "findings.h"

#include "json_output.h"
#include "terminal.h"

#include <algorithm>
#include <tuple>

#include <unistd.h>

namespace Tovrin::Tool {

namespace {

using enum Severity;

// Errors are what leaves an error record, hangs a program, or gives it another value than the registered type promises.
// Warnings are most likely not meant, and notes worth knowing.
constexpr std::array<FindingKind, static_cast<std::size_t>(FindingId::Count)> Kinds{{
    {FindingId::Unreadable, "unreadable", Error},
    {FindingId::NotAFile, "not-a-file", Error},
    {FindingId::NothingToRead, "nothing-to-read", Error},
    {FindingId::EmptyDirectory, "empty-directory", Note},
    {FindingId::PatternDirectory, "pattern-directory", Error},
    {FindingId::IgnoredFile, "ignored-file", Note},
    {FindingId::NotConf, "not-conf", Note},
    {FindingId::FileOrder, "file-order", Warning},
    {FindingId::SameName, "same-name", Warning},
    {FindingId::ReadTwice, "read-twice", Warning},
    {FindingId::WritableFile, "writable-file", Warning},
    {FindingId::WritableDirectory, "writable-directory", Warning},
    {FindingId::UnexpectedLine, "unexpected-line", Error},
    {FindingId::BadHeader, "bad-header", Error},
    {FindingId::BadGroupName, "bad-group-name", Error},
    {FindingId::NoEquals, "no-equals", Error},
    {FindingId::BadKeyName, "bad-key-name", Error},
    {FindingId::NoNewline, "no-newline", Error},
    {FindingId::CarriageReturn, "carriage-return", Warning},
    {FindingId::ControlCharacter, "control-character", Warning},
    {FindingId::SpaceBeforeEquals, "space-before-equals", Warning},
    {FindingId::SpaceAfterEquals, "space-after-equals", Note},
    {FindingId::SpaceAroundGroup, "space-around-group", Warning},
    {FindingId::NearName, "near-name", Warning},
    {FindingId::Unregistered, "unregistered", Warning},
    {FindingId::Overridden, "overridden", Note},
    {FindingId::SetTwice, "set-twice", Warning},
    {FindingId::Dropped, "dropped", Note},
    {FindingId::DropsNothing, "drops-nothing", Warning},
    {FindingId::NoItems, "no-items", Warning},
    {FindingId::BlankItem, "blank-item", Warning},
    {FindingId::SeveralItems, "several-items", Warning},
    {FindingId::LoneDollar, "lone-dollar", Error},
    {FindingId::UnterminatedTemplate, "unterminated-template", Error},
    {FindingId::CutTemplate, "cut-template", Error},
    {FindingId::UnknownSource, "unknown-source", Error},
    {FindingId::UnknownTemplate, "unknown-template", Error},
    {FindingId::ConfigForm, "config-form", Error},
    {FindingId::EnvfileForm, "envfile-form", Error},
    {FindingId::NestedTemplate, "nested-template", Warning},
    {FindingId::RelativePath, "relative-path", Warning},
    {FindingId::RunsCommand, "runs-command", Note},
    {FindingId::UnsafeCommand, "unsafe-command", Warning},
    {FindingId::TrimmedSpace, "trimmed-space", Warning},
    {FindingId::MissingEntry, "missing-entry", Warning},
    {FindingId::Cycle, "cycle", Error},
    {FindingId::IntoCycle, "into-cycle", Error},
    {FindingId::OverBudget, "over-budget", Error},
    {FindingId::WrongType, "wrong-type", Error},
    {FindingId::MountEntry, "mount-entry", Error},
}};

constexpr bool inTheOrderOfTheirNumbers()
{
    for (std::size_t i = 0; i < Kinds.size(); ++i) {
        if (Kinds[i].number != static_cast<FindingId>(i))
            return false;
    }
    return true;
}
static_assert(inTheOrderOfTheirNumbers());

std::string counted(std::size_t count, std::string_view what)
{
    return std::to_string(count) + ' ' + std::string(what) + (count == 1 ? "" : "s");
}

std::string painted(const Paint &paint, Severity severity)
{
    switch (severity) {
    case Error:
        return paint.red(nameOf(severity));
    case Warning:
        return paint.yellow(nameOf(severity));
    case Note:
        break;
    }
    return paint.cyan(nameOf(severity));
}

} // namespace

std::string_view nameOf(Severity severity)
{
    constexpr std::array<std::string_view, 3> Names{"error", "warning", "note"};
    return Names[static_cast<std::size_t>(severity)];
}

const FindingKind &kindOf(FindingId id)
{
    return Kinds[static_cast<std::size_t>(id)];
}

std::span<const FindingKind> allFindingKinds()
{
    return Kinds;
}

std::string inQuotes(std::string_view text)
{
    constexpr std::size_t Longest = 120;
    if (text.size() <= Longest)
        return '"' + std::string(text) + '"';
    return '"' + std::string(text.substr(0, Longest)) + "...\"";
}

void Findings::add(FindingId id, std::string path, std::size_t line, std::size_t column, std::string text)
{
    findings_.push_back({std::move(path), line, column, id, std::move(text)});
    ++counts_[static_cast<std::size_t>(kindOf(id).severity)];
}

std::size_t Findings::count(FindingId id) const
{
    return static_cast<std::size_t>(
        std::count_if(findings_.begin(), findings_.end(), [id](const Finding &finding) { return finding.id == id; }));
}

void Findings::sort()
{
    const auto place = [](const Finding &finding) {
        return std::tie(finding.path, finding.line, finding.column, finding.id, finding.text);
    };
    std::sort(findings_.begin(), findings_.end(),
              [&place](const Finding &a, const Finding &b) { return place(a) < place(b); });
}

std::string Findings::text(Color color) const
{
    const Paint paint(color, STDOUT_FILENO);
    std::string text;
    for (const auto &finding : findings_) {
        const auto &kind = kindOf(finding.id);
        text += printable(finding.path) + ':' + std::to_string(finding.line) + ':' + std::to_string(finding.column) +
                ": " + painted(paint, kind.severity) + ": " + printable(finding.text) + " [";
        text.append(kind.id).append("]\n");
    }
    return text + counted(count(Error), "error") + ", " + counted(count(Warning), "warning") + ", " +
           counted(count(Note), "note") + '\n';
}

std::string Findings::json() const
{
    Json list = Json::array();
    for (const auto &finding : findings_) {
        const auto &kind = kindOf(finding.id);
        list.push_back({{"path", finding.path},
                        {"line", finding.line},
                        {"column", finding.column},
                        {"severity", nameOf(kind.severity)},
                        {"id", kind.id},
                        {"text", finding.text}});
    }
    return jsonText({{"findings", std::move(list)},
                     {"errors", count(Error)},
                     {"warnings", count(Warning)},
                     {"notes", count(Note)}});
}

} // namespace Tovrin::Tool
