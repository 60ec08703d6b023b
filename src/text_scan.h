// SPDX-License-Identifier: Apache-2.0
#pragma once

// Small scanning verbs over byte texts, none of which copies. The classic locale is meant throughout: a daemon that
// calls setlocale() must not change what its configuration says.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Tovrin::Parser {

constexpr bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char toLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr std::string_view withoutLeadingSpace(std::string_view text)
{
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    return text;
}

constexpr std::string_view trimmed(std::string_view text)
{
    text = withoutLeadingSpace(text);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

// Takes the characters up to the next separator off the front of the text, and the separator too.
constexpr std::string_view takeUntil(std::string_view &text, char separator)
{
    const auto end = text.find(separator);
    const auto taken = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return taken;
}

// Whether texts of one size begin and end with the same Word; the two may overlap.
template <typename Word> bool sameEnds(std::string_view a, std::string_view b)
{
    Word words[4];
    const std::size_t last = a.size() - sizeof(Word);
    std::memcpy(&words[0], a.data(), sizeof(Word));
    std::memcpy(&words[1], b.data(), sizeof(Word));
    std::memcpy(&words[2], a.data() + last, sizeof(Word));
    std::memcpy(&words[3], b.data() + last, sizeof(Word));
    return words[0] == words[1] && words[2] == words[3];
}

// a == b, without a call for texts of 4 to 16 bytes, as names mostly are.
inline bool sameText(std::string_view a, std::string_view b)
{
    if (a.size() != b.size() || a.size() < 4 || a.size() > 16)
        return a == b;
    return a.size() < 8 ? sameEnds<std::uint32_t>(a, b) : sameEnds<std::uint64_t>(a, b);
}

// Where an offset in a text comes to lie when `text` was trimmed to `kept`, which is a part of it: never outside.
constexpr std::size_t offsetAfterTrim(std::size_t offset, std::string_view text, std::string_view kept)
{
    const auto removed = static_cast<std::size_t>(kept.data() - text.data());
    return std::min(offset - std::min(offset, removed), kept.size());
}

} // namespace Tovrin::Parser
