// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cctype>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>

// What some text helpers of the library mean, written down with streams.
namespace Tovrin::Testing {

inline std::istringstream classicStream(const std::string &text)
{
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    return stream;
}

inline std::string escapeByStream(const std::string &text, char escapeCharacter, const std::string &allowed,
                                  char hexMarker)
{
    auto in = classicStream(text);
    std::ostringstream out;
    out.imbue(std::locale::classic());
    for (char c = 0; in >> c;) {
        if (allowed.find(c) != std::string::npos)
            out << c;
        else
            out << escapeCharacter << (hexMarker == 'x' ? "x" : "") << std::hex << std::setw(2)
                << static_cast<unsigned>(static_cast<unsigned char>(c));
    }
    return out.str();
}

inline int hexValue(char c)
{
    return std::isxdigit(static_cast<unsigned char>(c)) ? std::stoi(std::string(1, c), nullptr, 16) : -1;
}

inline std::string unescapeByStream(const std::string &text, char escapeCharacter)
{
    auto in = classicStream(text);
    std::string out;
    for (char c = 0; in >> c;) {
        if (c != escapeCharacter) {
            out += c;
            continue;
        }
        if (in.peek() == 'x')
            in.get();
        char high = 0;
        char low = 0;
        if (!(in >> high >> low) || hexValue(high) < 0 || hexValue(low) < 0)
            return {};
        out += static_cast<char>(16 * hexValue(high) + hexValue(low));
    }
    return out;
}

} // namespace Tovrin::Testing
