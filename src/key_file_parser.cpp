// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/key_file_parser.h>

#include "key_file_cursor.h"

namespace Tovrin::Parser {

namespace {

void takeEntry(KeyFileCursor &cursor, KeyFileParser::iterator::data &entry)
{
    entry.key = cursor.key();
    entry.value = cursor.value();
    cursor.forgetEntry();
}

} // namespace

KeyFileParser::KeyFileParser(const std::string &path) : path_(path)
{
}

bool KeyFileParser::error() const
{
    return error_;
}

KeyFileParser::iterator KeyFileParser::begin()
{
    return iterator(this, false);
}

KeyFileParser::iterator KeyFileParser::end()
{
    return iterator(this, true);
}

KeyFileParser::iterator::iterator(KeyFileParser *parser, bool atEnd) : cursor_(new KeyFileCursor(*parser))
{
    if (atEnd)
        seekEnd();
    else
        seekNext();
}

KeyFileParser::iterator::iterator(iterator &&other) noexcept = default;
KeyFileParser::iterator &KeyFileParser::iterator::operator=(iterator &&other) noexcept = default;
KeyFileParser::iterator::~iterator() = default;

KeyFileParser::iterator::data &KeyFileParser::iterator::operator*()
{
    return entry_;
}

KeyFileParser::iterator::data *KeyFileParser::iterator::operator->()
{
    return &entry_;
}

KeyFileParser::iterator &KeyFileParser::iterator::operator++()
{
    seekNext();
    return *this;
}

bool KeyFileParser::iterator::operator==(const iterator &other) const
{
    return cursor_->parser() == other.cursor_->parser() && cursor_->position() == other.cursor_->position();
}

bool KeyFileParser::iterator::operator!=(const iterator &other) const
{
    return !(*this == other);
}

void KeyFileParser::iterator::seekNext()
{
    const auto headersBefore = cursor_->headerCount();
    const auto step = cursor_->seekNext();
    if (cursor_->headerCount() != headersBefore)
        entry_.group = cursor_->group();
    if (step == KeyFileCursor::Step::Entry)
        takeEntry(*cursor_, entry_);
    else if (step == KeyFileCursor::Step::End)
        cursor_->seekEnd();
}

void KeyFileParser::iterator::seekEnd()
{
    cursor_->seekEnd();
}

std::string KeyFileParser::iterator::readNextLine()
{
    return std::string(cursor_->readNextLine());
}

void KeyFileParser::iterator::parseAndSetGroup(const std::string &line)
{
    const auto headersBefore = cursor_->headerCount();
    cursor_->parseAndSetGroup(line);
    if (cursor_->headerCount() != headersBefore)
        entry_.group = cursor_->group();
}

bool KeyFileParser::iterator::parseAndSetKeyAndValue(const std::string &line)
{
    if (!cursor_->parseAndSetKeyAndValue(line))
        return false;
    takeEntry(*cursor_, entry_);
    return true;
}

} // namespace Tovrin::Parser
