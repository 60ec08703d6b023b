// SPDX-License-Identifier: Apache-2.0
#pragma once

// The walk over a key file, line by line. KeyFileParser::iterator shows it to programs, copying each entry; the store
// walks it directly, so that the text of an entry is copied only into the store.

#include "line_reader.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Tovrin::Parser {

class KeyFileParser;
enum class LineProblem;

class KeyFileCursor {
public:
    enum class Step {
        Entry, // a new entry is ready
        End,   // the end of the file was met
        Stay,  // nothing: an error, or an unterminated last line, where a cursor stays for ever
    };

    // Opens the file of the parser, whose error flag the cursor raises.
    explicit KeyFileCursor(KeyFileParser &parser);

    // The last entry; all empty before the first, key and value also after a bad line. Valid until the next seekNext().
    std::string_view group() const { return group_; }
    std::string_view key() const { return key_; }
    std::string_view value() const { return value_; }

    // Counts the headers read, so that a caller can tell whether the group may have changed.
    std::uint64_t headerCount() const { return headerCount_; }

    const KeyFileParser *parser() const { return &parser_; }
    std::int64_t position() const { return position_; }

    Step seekNext();
    void seekEnd();
    std::string_view readNextLine();
    void parseAndSetGroup(std::string_view line);
    bool parseAndSetKeyAndValue(std::string_view line);

    // For a caller who has copied the entry: what was read may go. Needed after a line of the caller's own.
    void forgetEntry() { setEntry({}, {}); }

private:
    void setEntry(std::string_view key, std::string_view value);
    void keepEntry();
    void skipNextLine();
    void keepEntryIfLineNeedsRead();
    void beginLine();
    void reportBadLine(LineProblem problem, std::string_view line);

    KeyFileParser &parser_;
    LineReader reader_;
    std::int64_t position_ = 0;    // of the line read last, or of the end of the file; -1 if that cannot be told
    std::uint32_t lineNumber_ = 0; // lines read so far
    std::uint64_t headerCount_ = 0;
    std::string group_;
    std::string_view key_;
    std::string_view value_;
    bool entryIsKept_ = false;
    std::string kept_;                   // holds key and value once they had to leave the reader's buffer; or else
    std::unique_ptr<char[]> keptBuffer_; // that buffer
};

} // namespace Tovrin::Parser
