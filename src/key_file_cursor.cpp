// SPDX-License-Identifier: Apache-2.0
#include "key_file_cursor.h"

#include "key_file_line.h"

#include <tovrin/parser/key_file_parser.h>
#include <tovrin/parser/logging.h>

namespace Tovrin::Parser {

using Logging::lConfigParser;
using Logging::logError;

namespace {

// How the library's record of a bad line begins.
constexpr const char *recordOf(LineProblem problem)
{
    switch (problem) {
    case LineProblem::NoGroup:
        return "Could not parse line as group in ";
    case LineProblem::InvalidGroup:
        return "Group name contains invalid characters in ";
    case LineProblem::NoKey:
        return "Could not parse line as key in ";
    case LineProblem::InvalidKey:
        return "Key contains invalid characters in ";
    case LineProblem::None:
    case LineProblem::Unexpected:
        break;
    }
    return "Unexpected line in ";
}

} // namespace

KeyFileCursor::KeyFileCursor(KeyFileParser &parser) : parser_(parser), reader_(parser.path_)
{
}

KeyFileCursor::Step KeyFileCursor::seekNext()
{
    while (reader_.good()) {
        if (reader_.nothingBuffered())
            keepEntry();
        switch (kindOfLine(reader_.peek())) {
        case LineKind::Skipped:
            skipNextLine();
            break;
        case LineKind::Group:
            keepEntryIfLineNeedsRead();
            parseAndSetGroup(readNextLine());
            break;
        case LineKind::Key:
            if (parseAndSetKeyAndValue(readNextLine()))
                return Step::Entry;
            forgetEntry(); // the buffer that the last one was in may be gone
            break;
        case LineKind::Other:
            keepEntryIfLineNeedsRead();
            reportBadLine(LineProblem::Unexpected, readNextLine());
            break;
        case LineKind::End:
            if (reader_.metEnd())
                return Step::End;
            break;
        }
    }
    if (!reader_.metEnd())
        parser_.error_ = true;
    return Step::Stay;
}

void KeyFileCursor::seekEnd()
{
    reader_.seekEnd();
    position_ = reader_.tell();
}

std::string_view KeyFileCursor::readNextLine()
{
    beginLine();
    return reader_.readLine();
}

void KeyFileCursor::parseAndSetGroup(std::string_view line)
{
    const auto parsed = parseGroupLine(line);
    if (parsed.problem != LineProblem::None) {
        reportBadLine(parsed.problem, line);
        return;
    }
    group_ = parsed.name;
    ++headerCount_;
}

bool KeyFileCursor::parseAndSetKeyAndValue(std::string_view line)
{
    const auto parsed = parseKeyLine(line);
    if (parsed.problem != LineProblem::None) {
        reportBadLine(parsed.problem, line);
        return false;
    }
    setEntry(parsed.key, parsed.value);
    return true;
}

void KeyFileCursor::setEntry(std::string_view key, std::string_view value)
{
    key_ = key;
    value_ = value;
    keptBuffer_.reset();
    entryIsKept_ = false;
}

// Makes key and value independent of the buffer that they were read into. A long entry takes that buffer along: a copy
// would need as much memory again.
void KeyFileCursor::keepEntry()
{
    if (entryIsKept_)
        return;
    const std::size_t keyLength = key_.size();
    if (keyLength + value_.size() > LineReader::InitialCapacity) {
        keptBuffer_ = reader_.handOverBuffer();
    } else {
        kept_.assign(key_).append(value_);
        key_ = std::string_view(kept_).substr(0, keyLength);
        value_ = std::string_view(kept_).substr(keyLength);
    }
    entryIsKept_ = true;
}

void KeyFileCursor::skipNextLine()
{
    beginLine();
    if (reader_.skipBufferedLine())
        return;
    keepEntry();
    reader_.skipLine();
}

// An unterminated comment or header at the end of a file shows the entry before it once more.
void KeyFileCursor::keepEntryIfLineNeedsRead()
{
    if (reader_.nextLineNeedsRead())
        keepEntry();
}

void KeyFileCursor::beginLine()
{
    position_ = reader_.tell();
    ++lineNumber_;
}

void KeyFileCursor::reportBadLine(LineProblem problem, std::string_view line)
{
    // One raw byte on purpose, not digits: the bytes of a record are part of the interface.
    logError(lConfigParser) << recordOf(problem) << parser_.path_ << " (" << static_cast<char>(lineNumber_) << "): '"
                            << std::string(line) << "'";
    parser_.error_ = true;
}

} // namespace Tovrin::Parser
