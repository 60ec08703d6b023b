// SPDX-License-Identifier: Apache-2.0
#pragma once

// The key files of a configuration, held in memory as they stand, and what a reading program makes of each of their
// lines. Nothing is looked up, logged or waited for: pipes and devices are not opened.

#include "key_file_line.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Tool {

// A line "KEY=VALUE". The texts are parts of the file's text; the key begins in column 1.
struct Assignment {
    std::string_view group; // "" also above the first header
    std::string_view key;
    std::string_view value;   // as it stands behind the "="
    std::uint32_t line;       // numbers count from 1
    std::uint32_t headerLine; // of the group; 0 above the first header
    std::size_t valueColumn() const { return key.size() + 2; }
};

struct Header {
    std::string_view name; // what stands behind the "["
    std::uint32_t line;
};

struct BadLine {
    Parser::LineProblem problem;
    std::string_view text;
    std::uint32_t line;
};

struct SourceFile {
    enum class State {
        Read,
        NotFound,   // nothing can be asked about it
        NotAFile,   // a directory, a pipe, a device
        NotReadable // it is a file, but not for us
    };

    std::string path; // a directory found among the files of another one ends with "/"
    State state = State::Read;
    std::string reason; // why it was not read, as what follows "cannot read PATH: "

    // All of the following are empty for a file that was not read. The texts live as long as the file does, also when
    // it is moved.
    std::string_view text;
    std::vector<Header> headers;         // all valid ones
    std::vector<Assignment> assignments; // those that a reading program applies
    std::vector<Assignment> notApplied;  // those that it does not, since a bad line stands above them
    std::vector<BadLine> badLines;       // all of them, though reading stops at the first
    bool endsWithNewline = true;         // as the empty file does

    // A program that reads it does not return: it shows the last entry again and again.
    bool readingHangs() const { return !endsWithNewline && badLines.empty(); }

    // Which one it is and who may write it, as stat() tells.
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint32_t mode = 0;
    std::uint32_t owner = 0;
    std::uint32_t owningGroup = 0;

    std::unique_ptr<char[]> buffer; // holds the text
};

// One of the paths that were named.
struct SourcePath {
    std::string path;
    bool isDirectory = false;
    bool isPattern = false;    // a directory whose name programs match against others, as the library does
    std::string reason;        // why the directory could not be listed; "" if it was
    std::size_t firstFile = 0; // its files in Sources::files
    std::size_t fileCount = 0;
};

struct Sources {
    std::vector<SourcePath> paths;
    std::vector<SourceFile> files; // in reading order
};

// What the name of a directory stands for when it holds characters of patterns.
enum class Naming {
    AsInPrograms, // for all that it matches
    Exact         // for that directory, and nothing else is looked at
};

// The files named by the paths, in the order in which they are read: a file is itself, a directory the "*.conf" in it
// as ConfigDirParser finds them.
Sources readSources(const std::vector<std::string> &paths, Naming naming = Naming::AsInPrograms);

// Reads one file, of whatever kind.
SourceFile readSourceFile(const std::string &path);

} // namespace Tovrin::Tool
