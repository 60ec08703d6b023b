// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a single line of a key file means, wherever it comes from: shared by the library's cursor and by the command,
// which must not take a line for anything else than a reading program does.

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace Tovrin::Parser {

inline constexpr std::string_view ValidNameCharacters =
    " -.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";

// A table, since the check is made for every character of every key.
inline constexpr auto NameCharacterTable = [] {
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
constexpr std::size_t validNameLength(std::string_view text)
{
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isNameCharacter) - text.begin());
}

enum class LineKind { End, Skipped, Group, Key, Other };

// The first character alone decides; -1 stands for none.
constexpr LineKind kindOfLine(int first)
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

enum class LineProblem { None, Unexpected, NoGroup, InvalidGroup, NoKey, InvalidKey };

struct GroupLine {
    LineProblem problem;
    std::string_view name; // only without a problem
};

constexpr GroupLine parseGroupLine(std::string_view line)
{
    if (line.size() < 2 || line.front() != '[' || line.back() != ']')
        return {LineProblem::NoGroup, {}};
    const auto name = line.substr(1, line.size() - 2);
    if (validNameLength(name) != name.size())
        return {LineProblem::InvalidGroup, {}};
    return {LineProblem::None, name};
}

struct KeyLine {
    LineProblem problem;
    std::string_view key; // key and value only without a problem
    std::string_view value;
};

constexpr KeyLine parseKeyLine(std::string_view line)
{
    const auto separator = validNameLength(line); // since "=" is in no name, the first one ends a valid key
    if (separator == line.size() || line[separator] != '=') {
        const bool isPair = line.find('=') != std::string_view::npos;
        return {isPair ? LineProblem::InvalidKey : LineProblem::NoKey, {}, {}};
    }
    return {LineProblem::None, line.substr(0, separator), line.substr(separator + 1)};
}

} // namespace Tovrin::Parser
