// SPDX-License-Identifier: Apache-2.0
#include "key_file_cursor.h"

#include <tovrin/parser/key_file_parser.h>
#include <tovrin/parser/logging.h>

#include <algorithm>
#include <array>

namespace Tovrin::Parser {

using Logging::lConfigParser;
using Logging::logError;

namespace {

constexpr std::string_view ValidNameCharacters = " -.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";

// A table, since the check is made for every character of every key.
constexpr auto NameCharacterTable = [] {
    std::array<bool, 256> table{};
    for (const char c : ValidNameCharacters)
        table[static_cast<unsigned char>(c)] = true;
    return table;
}();

constexpr bool isNameCharacter(char c)
{
    return NameCharacterTable[static_cast<unsigned char>(c)];
}

// How much of the text is a valid name.
std::size_t validNameLength(std::string_view text)
{
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isNameCharacter) - text.begin());
}

enum class LineKind { End, Skipped, Group, Key, Other };

// The first character alone decides; -1 stands for none.
LineKind kindOf(int first)
{
    switch (first) {
    case -1:
        return LineKind::End;
    case '\n':
    case '#':
    case ';':
        return LineKind::Skipped;
    case '[':
        return LineKind::Group;
    case ' ':
        return LineKind::Other; // fine inside a name, but not at the start of a line
    default:
        return isNameCharacter(static_cast<char>(first)) ? LineKind::Key : LineKind::Other;
    }
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
        switch (kindOf(reader_.peek())) {
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
            key_ = value_ = {}; // the buffer that they were in may be gone
            break;
        case LineKind::Other:
            keepEntryIfLineNeedsRead();
            reportBadLine("Unexpected line in ", readNextLine());
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
    if (line.size() < 2 || line.front() != '[' || line.back() != ']') {
        reportBadLine("Could not parse line as group in ", line);
        return;
    }
    const std::string_view name = line.substr(1, line.size() - 2);
    if (validNameLength(name) != name.size()) {
        reportBadLine("Group name contains invalid characters in ", line);
        return;
    }
    group_ = name;
    ++headerCount_;
}

bool KeyFileCursor::parseAndSetKeyAndValue(std::string_view line)
{
    const auto separator = validNameLength(line); // since "=" is in no name, the first one ends a valid key
    if (separator == line.size() || line[separator] != '=') {
        const bool isPair = line.find('=') != std::string_view::npos;
        reportBadLine(isPair ? "Key contains invalid characters in " : "Could not parse line as key in ", line);
        return false;
    }
    key_ = line.substr(0, separator);
    value_ = line.substr(separator + 1);
    return true;
}

void KeyFileCursor::keepEntry()
{
    if (key_.data() == kept_.data())
        return;
    const std::size_t keyLength = key_.size();
    kept_.assign(key_).append(value_);
    key_ = std::string_view(kept_).substr(0, keyLength);
    value_ = std::string_view(kept_).substr(keyLength);
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

void KeyFileCursor::reportBadLine(const char *what, std::string_view line)
{
    // One raw byte on purpose, not digits: the bytes of a record are part of the interface.
    logError(lConfigParser) << what << parser_.path_ << " (" << static_cast<char>(lineNumber_) << "): '"
                            << std::string(line) << "'";
    parser_.error_ = true;
}

} // namespace Tovrin::Parser
