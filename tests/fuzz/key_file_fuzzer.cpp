// SPDX-License-Identifier: Apache-2.0

// The key-file reader beside an iterator over a plain input stream, through any sequence of its operations.
//
// Input: a byte for what stands before the text, a letter for each operation, FieldEnd, the text.

#include "harness.h"
#include "key_file_cursor.h"
#include "reference.h"
#include "stand_ins.h"

#include <tovrin/parser/key_file_parser.h>

#include <algorithm>

namespace {

using namespace Tovrin::Fuzz;
using Tovrin::Parser::KeyFileCursor;
using Tovrin::Parser::KeyFileParser;

constexpr std::size_t BufferSize = 64 * 1024; // of the library's reader

// Comments, one or many, after which the end of the buffer falls into the text.
std::string padding(unsigned choice)
{
    if (choice < 192)
        return "";
    std::string lines(BufferSize - choice % 32, '#');
    for (std::size_t end = choice < 224 ? 1023 : lines.size() - 1; end < lines.size(); end += 1024)
        lines[end] = '\n';
    lines.back() = '\n';
    return lines;
}

class Walk {
public:
    explicit Walk(const MemoryFile &file, const std::string &text)
        : file_(file.path()), library_(file_.begin()), end_(file_.end()), reference_(text, file.path(), expected_)
    {
        compare();
    }

    void step(char operation)
    {
        switch (operation) {
        case 'r':
            line_ = library_.readNextLine();
            expectEqual("readNextLine", line_, reference_.readNextLine());
            break;
        case 'g':
            library_.parseAndSetGroup(line_);
            reference_.parseAndSetGroup(line_);
            break;
        case 'k':
            expectEqual("parseAndSetKeyAndValue", library_.parseAndSetKeyAndValue(line_),
                        reference_.parseAndSetKeyAndValue(line_));
            break;
        case 'm': {
            KeyFileParser::iterator taken(std::move(library_));
            library_ = std::move(taken);
            break;
        }
        case 'e':
            library_.seekEnd();
            reference_.seekEnd();
            break;
        default:
            ++library_;
            reference_.seekNext();
        }
        compare();
    }

    // To the end, or twice past the place where the reader stays for ever.
    void finish(std::size_t lines)
    {
        for (std::size_t steps = 0; steps < lines + 2 && !reference_.isAtEnd(); ++steps)
            step('n');
    }

    const Records &expected() const { return expected_; }

private:
    void compare()
    {
        const Reference::Entry seen{library_->group, library_->key, library_->value};
        expectEqual("entry", seen, reference_.entry());
        expectEqual("error", file_.error(), reference_.error());
        expectEqual("at the end", library_ == end_, reference_.isAtEnd());
        expectEqual("not at the end", library_ != end_, !reference_.isAtEnd());
        expectEqual("key", (*library_).key, seen.key);
    }

    Records expected_;
    KeyFileParser file_;
    KeyFileParser::iterator library_;
    KeyFileParser::iterator end_;
    Reference::KeyFileIterator reference_;
    std::string line_ = "[";
};

// The cursor by itself, whose entries lie in its buffers: until the next step, and where it stays for ever.
void checkCursor(const MemoryFile &file, const std::string &text, std::size_t lines)
{
    Records ignored;
    KeyFileParser parser(file.path());
    KeyFileCursor cursor(parser);
    Reference::KeyFileIterator reference(text, file.path(), ignored);
    for (std::size_t steps = 0; steps < lines + 3; ++steps) {
        const auto step = cursor.seekNext();
        if (step == KeyFileCursor::Step::End)
            return expect(reference.isAtEnd(), "the cursor is at the end too early");
        const Reference::Entry seen{std::string(cursor.group()), std::string(cursor.key()),
                                    std::string(cursor.value())};
        if (step == KeyFileCursor::Step::Entry || !parser.error())
            expectEqual("entry of the cursor", seen, reference.entry());
        reference.seekNext();
    }
}

// What cannot be read shows in the error flag alone.
void checkUnreadable(const std::string &path)
{
    KeyFileParser file(path);
    auto entry = file.begin();
    expect(file.error(), "a reader says that there is nothing to be had");
    ++entry;
    expect(entry->group.empty() && entry->key.empty() && entry->value.empty(), "no entry");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const MemoryFile file(FirstDescriptor);
    StandIns standIns;
    Input input(data, size);
    const auto before = padding(input.byte());
    const auto operations = input.field();
    const auto text = before + expanded(input.rest());
    file.write(text);

    Walk walk(file, text);
    for (const char operation : operations)
        walk.step(operation);
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    walk.finish(lines);
    expectEqual("records", standIns.takeRecords(), walk.expected());
    if (operations.empty()) {
        checkCursor(file, text, lines);
        standIns.takeRecords();
        checkUnreadable("/nonexistent");
        checkUnreadable("/proc/self"); // a directory
        expectEqual("records of what cannot be read", standIns.takeRecords(), {});
    }
    return 0;
}
