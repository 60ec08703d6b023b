// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/export.h>

#include <memory>
#include <string>

namespace Tovrin::Parser {

class KeyFileCursor;

// Walks the entries of one key file, a line at a time, and stores nothing.
//
//     # comment            a line that begins with "#" or ";"; blank lines are skipped too
//     [Group]              a header; the entries before the first one belong to the group ""
//     Key=value            the value is everything behind the first "=", verbatim
//
// Nothing is trimmed: a space before the "=" belongs to the key. Names consist of letters, digits, "-", ".", "_" and
// spaces, and a key cannot begin with a space. A carriage return is an ordinary character.
//
// A bad line is logged through Logging::lConfigParser, with the line number deliberately as one raw byte, and raises
// error(), which stays raised. The walk that the reader is made for:
//
//     KeyFileParser file(path);
//     for (auto entry = file.begin(); entry != file.end() && !file.error(); ++entry)
//         use(entry->group, entry->key, entry->value);
//
// The last line of a file must end with a newline. At one that does not, the iterator stays for ever and never equals
// end(); that is deliberate.
//
// A reader and its iterators are for one thread at a time; the reader must outlive its iterators.
class TOVRIN_EXPORT KeyFileParser {
public:
    // Where a walk stands. It has the file open, and owns the entry that it shows; it can be moved but not copied.
    class TOVRIN_EXPORT iterator {
    public:
        // One entry, as the file has it.
        struct data {
            std::string group; // "" before the first header
            std::string key;   // up to the first "="
            std::string value; // behind it; "" if there is nothing
        };

        // Opens the file and advances to the first entry, or goes to the end of the file.
        iterator(KeyFileParser *parser, bool atEnd);
        iterator(iterator &&other) noexcept;
        iterator &operator=(iterator &&other) noexcept;
        ~iterator();

        // The last entry that was read; all empty before the first. Valid until the iterator is moved or advanced.
        data &operator*();
        data *operator->();

        // The same as seekNext().
        iterator &operator++();

        // Equal if both belong to the same reader and stand at the same offset of the file.
        bool operator==(const iterator &other) const;
        bool operator!=(const iterator &other) const;

        // Advances to the next entry; at the end, and at an unterminated last line, stays where it is.
        void seekNext();

        // Goes to the present end of the file.
        void seekEnd();

        // Reads one line, whatever it holds, and returns it without its newline.
        std::string readNextLine();

        // Takes the line as a group header: sets the entry's group, or reports a bad line.
        void parseAndSetGroup(const std::string &line);

        // Takes the line as "KEY=VALUE": sets the entry's key and value and returns true, or reports a bad line.
        bool parseAndSetKeyAndValue(const std::string &line);

    private:
        std::unique_ptr<KeyFileCursor> cursor_;
        data entry_;
    };

    // Stores the path; begin() and end() open the file.
    explicit KeyFileParser(const std::string &path);

    // True once a bad line was read, or the file could not be opened or read. Never reset.
    bool error() const;

    // The first entry. Check error() before using it: a file that cannot be opened shows here.
    iterator begin();

    // The end of the file as it is now. Every call opens the file anew.
    iterator end();

private:
    friend class KeyFileCursor;

    std::string path_;
    bool error_ = false;
};

} // namespace Tovrin::Parser
