// SPDX-License-Identifier: Apache-2.0
#include "terminal.h"

#include <tovrin/parser/helpers.h>

#include <unistd.h>

namespace Tovrin::Tool {

using Parser::Helpers::getenv2;

std::string printable(std::string_view text)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n')
            result += "\\n";
        else if (c == '\r')
            result += "\\r";
        else if ((byte < 0x20 && c != '\t') || byte == 0x7f)
            result.append("\\x").append(1, Digits[byte >> 4]).append(1, Digits[byte & 0xf]);
        else
            result += c;
    }
    return result;
}

Paint::Paint(Color wanted, int descriptor)
    : wanted_(wanted == Color::Always || (wanted == Color::Auto && isatty(descriptor) != 0 &&
                                          getenv2("TERM", "dumb") != "dumb" && getenv2("NO_COLOR", "").empty()))
{
}

std::string Paint::painted(const char *code, std::string_view text) const
{
    if (!wanted_ || text.empty())
        return std::string(text);
    return std::string("\033[").append(code).append("m").append(text).append("\033[0m");
}

} // namespace Tovrin::Tool
