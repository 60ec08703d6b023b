// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Tool {

enum class Severity { Error, Warning, Note };

std::string_view nameOf(Severity severity);

// What check can find, in the order of docs/check.md.
enum class FindingId {
    // Files and directories
    Unreadable,
    NotAFile,
    NothingToRead,
    EmptyDirectory,
    PatternDirectory,
    IgnoredFile,
    NotConf,
    FileOrder,
    SameName,
    ReadTwice,
    WritableFile,
    WritableDirectory,
    // Lines
    UnexpectedLine,
    BadHeader,
    BadGroupName,
    NoEquals,
    BadKeyName,
    NoNewline,
    CarriageReturn,
    ControlCharacter,
    SpaceBeforeEquals,
    SpaceAfterEquals,
    SpaceAroundGroup,
    // Names
    NearName,
    Unregistered,
    // What assignments do to each other
    Overridden,
    SetTwice,
    Dropped,
    DropsNothing,
    NoItems,
    BlankItem,
    SeveralItems,
    // Templates
    LoneDollar,
    UnterminatedTemplate,
    CutTemplate,
    UnknownSource,
    UnknownTemplate,
    ConfigForm,
    EnvfileForm,
    NestedTemplate,
    RelativePath,
    RunsCommand,
    UnsafeCommand,
    TrimmedSpace,
    // References
    MissingEntry,
    Cycle,
    IntoCycle,
    OverBudget,
    // Values
    WrongType,
    MountEntry,
    Count
};

// The stable name of a finding, and how bad it is.
struct FindingKind {
    FindingId number;
    std::string_view id;
    Severity severity;
};

const FindingKind &kindOf(FindingId id);
std::span<const FindingKind> allFindingKinds();

// A text of a file as a finding shows it: between double quotes, and not at any length.
std::string inQuotes(std::string_view text);

// All that was found, about places in files.
class Findings {
public:
    void add(FindingId id, std::string path, std::size_t line, std::size_t column, std::string text);

    // About a file or directory as a whole.
    void add(FindingId id, std::string path, std::string text) { add(id, std::move(path), 1, 1, std::move(text)); }

    std::size_t count(Severity severity) const { return counts_[static_cast<std::size_t>(severity)]; }

    std::size_t count(FindingId id) const;

    // By path, line and column.
    void sort();

    // A line for each and one that counts them; in colour, if wanted on standard output.
    std::string text(Color color) const;

    // {"findings": [{"path", "line", "column", "severity", "id", "text"}...], "errors", "warnings", "notes"}
    std::string json() const;

private:
    struct Finding {
        std::string path;
        std::size_t line;
        std::size_t column;
        FindingId id;
        std::string text;
    };

    std::vector<Finding> findings_;
    std::array<std::size_t, 3> counts_{};
};

} // namespace Tovrin::Tool
