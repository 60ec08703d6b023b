// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/helpers.h>

#include "text_scan.h"

#include <algorithm>

namespace Tovrin::Parser::Helpers {

namespace {

constexpr std::string_view HexDigits = "0123456789abcdef";

// By byte value, whichever sign the machine's char has.
bool lessByte(char left, char right)
{
    return static_cast<unsigned char>(left) < static_cast<unsigned char>(right);
}

bool isInSorted(const std::string &set, char c)
{
    return std::binary_search(set.begin(), set.end(), c, lessByte);
}

void appendEscaped(std::string &out, char c, char escapeCharacter, char hexMarker)
{
    const auto byte = static_cast<unsigned char>(c);
    out += escapeCharacter;
    if (hexMarker == 'x')
        out += 'x';
    out += byte < 16 ? ' ' : HexDigits[byte >> 4]; // filled with a space, not with a zero: readers of it rely on that
    out += HexDigits[byte & 15];
}

// Takes one character that is no white space off the front of the text; false if there is none.
bool takeNonSpace(std::string_view &text, char &c)
{
    text = withoutLeadingSpace(text);
    if (text.empty())
        return false;
    c = text.front();
    text.remove_prefix(1);
    return true;
}

bool takeHexDigit(std::string_view &text, unsigned &value)
{
    char c = 0;
    if (!takeNonSpace(text, c))
        return false;
    const auto found = HexDigits.find(toLower(c));
    value = static_cast<unsigned>(found);
    return found != std::string_view::npos;
}

// What follows an escape character: an optional "x", which white space must not separate from it, and two digits.
bool takeEscaped(std::string_view &text, std::string &out)
{
    if (!text.empty() && text.front() == 'x')
        text.remove_prefix(1);
    unsigned high = 0;
    unsigned low = 0;
    if (!takeHexDigit(text, high) || !takeHexDigit(text, low))
        return false;
    out += static_cast<char>(high * 16 + low);
    return true;
}

} // namespace

std::string trim(const std::string &text)
{
    return std::string(trimmed(text));
}

std::string last(const std::string &text, char separator)
{
    return text.substr(text.rfind(separator) + 1); // npos + 1 is 0: the whole text
}

std::string join(const std::vector<std::string> &parts, char separator)
{
    std::string joined;
    for (const auto &part : parts) {
        if (&part != &parts.front())
            joined += separator;
        joined += part;
    }
    return joined;
}

std::vector<std::string> split(const std::string &text, char separator, int maximumSplits, SplitBehaviour behaviour)
{
    std::vector<std::string> parts;
    std::string_view rest = text;
    for (long long splits = 0; !rest.empty() && (maximumSplits < 0 || splits < maximumSplits); ++splits) {
        const auto end = rest.find(separator);
        const auto part = rest.substr(0, end);
        if (!part.empty() || behaviour != SkipEmptyParts)
            parts.emplace_back(part);
        if (end == std::string_view::npos)
            return parts;
        rest.remove_prefix(end + 1);
    }
    if (!rest.empty())
        parts.emplace_back(
            rest.substr(0, rest.find('\n'))); // the remainder is one line: what follows is lost on purpose
    else if (behaviour == KeepEmptyParts)
        parts.emplace_back();
    return parts;
}

bool validateString(const std::string &text, const std::string &allowed, const std::string &required)
{
    return std::all_of(text.begin(), text.end(), [&](char c) { return isInSorted(allowed, c); }) &&
           std::all_of(required.begin(), required.end(), [&](char c) { return text.find(c) != std::string::npos; });
}

std::string escape(const std::string &text, char escapeCharacter, const std::string &allowed, char hexMarker)
{
    std::string out;
    std::string_view rest = text;
    for (char c = 0; takeNonSpace(rest, c);) {
        if (isInSorted(allowed, c))
            out += c;
        else
            appendEscaped(out, c, escapeCharacter, hexMarker);
    }
    return out;
}

std::string unescape(const std::string &text, char escapeCharacter)
{
    std::string out;
    std::string_view rest = text;
    for (char c = 0; takeNonSpace(rest, c);) {
        if (c != escapeCharacter)
            out += c;
        else if (!takeEscaped(rest, out))
            return {};
    }
    return out;
}

} // namespace Tovrin::Parser::Helpers
