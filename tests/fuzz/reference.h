// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the library does with texts, done again in the plainest way: with streams, searches and lists of pieces, and
// without a thought for speed. It shares no code with src/, so that a mistake has to be made twice to go unnoticed.

#include "stand_ins.h"

#include <tovrin/parser/helpers.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <locale>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Tovrin::Fuzz::Reference {

using Name = std::pair<std::string, std::string>; // group and key

enum Priority { Error = 3, Warning = 4, Debug = 7 };

// The journal takes C strings.
inline void report(Records &records, int priority, const std::string &text)
{
    records.push_back({priority, text.c_str()});
}

// ---- Texts and numbers ----------------------------------------------------------------------------------------------

inline std::string trim(const std::string &text)
{
    constexpr const char *space = " \t\n\v\f\r";
    const auto first = text.find_first_not_of(space);
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

inline std::vector<std::string> split(const std::string &text, char separator, int maximum = -1,
                                      Parser::Helpers::SplitBehaviour behaviour = Parser::Helpers::DefaultSplit)
{
    std::istringstream in(text);
    std::vector<std::string> parts;
    std::string part;
    for (int count = 0; maximum < 0 || count < maximum; ++count) {
        if (!std::getline(in, part, separator)) {
            if (behaviour == Parser::Helpers::KeepEmptyParts && part.empty())
                parts.push_back("");
            return parts;
        }
        if (!part.empty() || behaviour != Parser::Helpers::SkipEmptyParts)
            parts.push_back(part);
    }
    if (in.eof())
        return parts;
    if (std::getline(in, part))
        parts.push_back(part);
    else if (behaviour == Parser::Helpers::KeepEmptyParts)
        parts.push_back("");
    return parts;
}

inline bool isOneOf(char c, const std::string &characters)
{
    return characters.find(c) != std::string::npos;
}

inline bool consistsOf(const std::string &text, const std::string &allowed)
{
    return text.find_first_not_of(allowed) == std::string::npos;
}

template <typename T> T number(const std::string &text, bool &ok)
{
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    if (text.rfind("0x", 0) == 0)
        in >> std::hex;
    T value{};
    in >> value;
    const bool failed = in.fail(); // before a peek at the end fails too
    ok = !failed && in.peek() == std::istringstream::traits_type::eof();
    if constexpr (std::is_floating_point_v<T>) { // a stream stops at the largest finite number
        if (failed && value != 0)
            value = std::copysign(std::numeric_limits<T>::infinity(), value);
    }
    return value;
}

// ---- Key files ------------------------------------------------------------------------------------------------------

struct Entry {
    std::string group;
    std::string key;
    std::string value;

    bool operator==(const Entry &) const = default;
};

inline std::string describe(const Entry &entry)
{
    return "[" + Fuzz::describe(Name(entry.group, entry.key)) + " = " + Fuzz::describe(entry.value) + "]";
}

// An iterator over a key file, by the book: an input stream in all its states.
class KeyFileIterator {
public:
    KeyFileIterator(const std::string &text, std::string path, Records &records)
        : in_(text), size_(static_cast<std::streamoff>(text.size())), path_(std::move(path)), records_(records)
    {
        seekNext();
    }

    const Entry &entry() const { return entry_; }
    bool error() const { return error_; }
    bool isAtEnd() const { return position_ == size_; }

    void seekNext()
    {
        while (in_.good()) {
            const int first = in_.peek();
            if (first == std::istringstream::traits_type::eof())
                return seekEnd();
            const char c = static_cast<char>(first);
            if (isOneOf(c, "\n#;")) {
                readNextLine();
            } else if (c == '[') {
                parseAndSetGroup(readNextLine());
            } else if (c != ' ' && isOneOf(c, NameCharacters)) {
                if (parseAndSetKeyAndValue(readNextLine()))
                    return;
            } else {
                reportBadLine("Unexpected line in ", readNextLine());
            }
        }
        error_ = error_ || !in_.eof();
    }

    void seekEnd()
    {
        in_.seekg(0, std::ios::end);
        position_ = in_.tellg();
    }

    std::string readNextLine()
    {
        position_ = in_.tellg();
        ++lineNumber_;
        std::string line;
        std::getline(in_, line);
        return line;
    }

    void parseAndSetGroup(const std::string &line)
    {
        if (line.size() < 2 || line[0] != '[' || line[line.size() - 1] != ']')
            return reportBadLine("Could not parse line as group in ", line);
        const std::string name = line.substr(1, line.size() - 2);
        if (!consistsOf(name, NameCharacters))
            return reportBadLine("Group name contains invalid characters in ", line);
        entry_.group = name;
    }

    bool parseAndSetKeyAndValue(const std::string &line)
    {
        const auto equals = line.find('=');
        if (equals == std::string::npos) {
            reportBadLine("Could not parse line as key in ", line);
            return false;
        }
        if (!consistsOf(line.substr(0, equals), NameCharacters)) {
            reportBadLine("Key contains invalid characters in ", line);
            return false;
        }
        entry_.key = line.substr(0, equals);
        entry_.value = line.substr(equals + 1);
        return true;
    }

private:
    void reportBadLine(const std::string &what, const std::string &line)
    {
        const std::string number(1, static_cast<char>(lineNumber_));
        report(records_, Error, what + path_ + " (" + number + "): '" + line + "'");
        error_ = true;
    }

    static inline const std::string NameCharacters =
        " -.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";

    std::istringstream in_;
    std::streamoff size_;
    std::string path_;
    Records &records_;
    std::streamoff position_ = 0;
    std::uint32_t lineNumber_ = 0;
    bool error_ = false;
    Entry entry_;
};

// ---- Environment files ----------------------------------------------------------------------------------------------

inline std::optional<std::string> envFileValue(const std::string &text, const std::string &variable)
{
    std::istringstream in(text);
    std::optional<std::string> found;
    for (std::string line; std::getline(in, line);) {
        const auto parts = Reference::split(line, '=', 1, Parser::Helpers::KeepEmptyParts);
        if (parts.size() != 2 || trim(parts[0]) != variable)
            continue;
        found = trim(parts[1]);
        if (found->size() > 1 && found->front() == '"' && found->back() == '"')
            found = found->substr(1, found->size() - 2);
    }
    return found;
}

// ---- Values and templates -------------------------------------------------------------------------------------------

// A value as a row of texts and references. No positions: those of the library have to come out the same.
struct Piece {
    std::string text;
    std::optional<Name> reference = std::nullopt;
};

using Pieces = std::vector<Piece>;

// White space at the ends goes, references in the midst of it stay.
inline Pieces trimmed(Pieces pieces)
{
    constexpr const char *space = " \t\n\v\f\r";
    for (auto piece = pieces.begin(); piece != pieces.end(); ++piece) {
        const auto first = piece->text.find_first_not_of(space);
        piece->text.erase(0, first);
        if (first != std::string::npos)
            break;
    }
    for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
        const auto last = piece->text.find_last_not_of(space);
        piece->text.erase(last + 1);
        if (last != std::string::npos)
            break;
    }
    return pieces;
}

inline std::vector<Name> referencesOf(const Pieces &pieces)
{
    std::vector<Name> references;
    for (const auto &piece : pieces) {
        if (piece.reference)
            references.push_back(*piece.reference);
    }
    return references;
}

// The text with the strings at the places of the references.
inline std::string filled(const Pieces &pieces, const std::vector<std::string> &resolved)
{
    std::string text;
    std::size_t next = 0;
    for (const auto &piece : pieces)
        text += piece.reference ? resolved.at(next++) : piece.text;
    return text;
}

inline std::string literalText(const Pieces &pieces)
{
    return filled(pieces, std::vector<std::string>(referencesOf(pieces).size()));
}

// The templates of a text, filled in on the host of the stand-ins.
class Substitution {
public:
    Substitution(const std::map<std::string, std::string> &templates, std::string envFile, Records &records)
        : templates_(templates), envFile_(std::move(envFile)), records_(records)
    {
    }

    // The pieces up to the first failure are stored in either case.
    bool substitute(const std::string &text, Pieces &pieces)
    {
        std::istringstream in(text);
        for (std::string chunk; std::getline(in, chunk, '$');) {
            pieces.push_back({chunk});
            if (in.eof())
                return true;
            const int next = in.get();
            if (next == '$') {
                pieces.push_back({"$"});
            } else if (next != '{') {
                report(records_, Error, "'$' must be followed by '{' or '$': " + text);
                return false;
            } else if (std::string contents; !std::getline(in, contents, '}') || in.eof()) {
                report(records_, Error, "Invalid template substitution, missing '}': " + text);
                return false;
            } else if (!fillIn(contents, pieces)) {
                return false;
            }
        }
        return true;
    }

    // What stands between "${" and "}".
    bool resolve(const std::string &name, Piece &piece)
    {
        const auto colon = name.find(':');
        if (colon == std::string::npos) {
            const auto found = templates_.find(name);
            if (found == templates_.end())
                return fail(Error, "No such template '" + name + "'");
            piece.text = found->second;
            return true;
        }
        const auto source = name.substr(0, colon);
        const auto argument = name.substr(colon + 1);
        const auto end = "' for template '" + name + "'";
        if (source == "config")
            return resolveConfig(name, argument, piece);
        if (source == "env") {
            const char *value = std::getenv(argument.c_str());
            piece.text = value ? value : "";
            return !piece.text.empty() || fail(Debug, "Failed to read '" + argument +
                                                          "' from environment variables for template '" + name + "'");
        }
        if (source == "envfile")
            return resolveEnvFile(name, argument, piece);
        if (source == "realpath") {
            std::error_code error;
            piece.text = std::filesystem::canonical(argument.c_str(), error).string();
            return !error || fail(Debug, "Failed to resolve '" + argument + "' path for template '" + name + "'");
        }
        if (source == "dconf")
            return fail(Debug, "Failed to read '" + argument + "' from dconf for template '" + name + "'");
        if (source == "prop")
            return fail(Debug, "Failed to read '" + argument + "' from properties for template '" + name + "'");
        if (source == "system")
            return resolveSystem(name, argument, piece);
        return fail(Error, "Invalid template '" + name + "'");
    }

private:
    bool fillIn(const std::string &name, Pieces &pieces)
    {
        Piece piece;
        if (!resolve(name, piece))
            return false;
        pieces.push_back(piece);
        return true;
    }

    bool resolveConfig(const std::string &name, const std::string &argument, Piece &piece)
    {
        const auto parts = split(argument, '/');
        if (parts.size() != 2 || parts[0].empty() || parts[1].empty())
            return fail(Error, "Invalid format '" + argument + "' for conf template '" + name + "'");
        piece.reference = Name(parts[0], parts[1]);
        return true;
    }

    bool resolveEnvFile(const std::string &name, const std::string &argument, Piece &piece)
    {
        const auto colon = argument.find(':');
        if (colon == std::string::npos)
            return fail(Error, "Invalid envfile definition '" + name + "'");
        const auto path = argument.substr(0, colon);
        const auto variable = argument.substr(colon + 1);
        std::error_code error; // a name may be too long to exist
        const bool exists = std::filesystem::exists(path.c_str(), error);
        const auto value = exists ? envFileValue(envFile_, variable) : std::nullopt;
        if (!value)
            return fail(Debug, "Failed to read '" + variable + "' from environment file '" + path + "' for template '" +
                                   name + "'");
        piece.text = *value;
        return true;
    }

    bool resolveSystem(const std::string &name, const std::string &command, Piece &piece)
    {
        const auto outcome = outcomeOf(command.c_str());
        if (!outcome.starts)
            report(records_, Error, "Failed to execute '" + command + "': " + std::strerror(EAGAIN));
        else if (outcome.status == -1)
            report(records_, Error, command + " pclose() exited with failure: " + std::strerror(ECHILD));
        else if (outcome.status > 255)
            report(records_, Warning,
                   command + " exited with non-zero status: " + static_cast<char>(outcome.status >> 8));
        piece.text = trim(outcome.output);
        return outcome.status == 0 ||
               fail(Debug, "Failed to resolve '" + command + "' from system for template '" + name + "'");
    }

    bool fail(int priority, const std::string &text)
    {
        report(records_, priority, text);
        return false;
    }

    const std::map<std::string, std::string> &templates_;
    std::string envFile_;
    Records &records_;
};

// True if the text may name a file that is not the harness's own as an environment file: reading one may never end.
inline bool namesForeignFile(const std::string &text, const std::string &own)
{
    namespace fs = std::filesystem;
    constexpr std::string_view source = "envfile:";
    for (auto at = text.find(source); at != std::string::npos; at = text.find(source, at + 1)) {
        const auto start = at + source.size();
        const std::string path = text.substr(start, text.find(':', start) - start);
        std::error_code error;
        if (fs::exists(path.c_str(), error) && !fs::equivalent(path.c_str(), own, error))
            return true;
    }
    return false;
}

} // namespace Tovrin::Fuzz::Reference
