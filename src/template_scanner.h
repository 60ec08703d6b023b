// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace Tovrin::Parser {

// Takes a text with templates apart, front to back: the one place that knows their syntax. It looks nothing up.
class TemplateScanner {
public:
    enum class Piece {
        Text,         // to be copied; "$$" has become "$"
        Template,     // what stands between "${" and the first "}"
        LoneDollar,   // an error: a "$" with something else behind it, or nothing
        Unterminated, // an error: "${" without a "}"
        End,
    };

    explicit TemplateScanner(std::string_view text) : whole_(text), rest_(text) {}

    // The next piece. After an error or the end there is nothing more to ask for.
    Piece next();

    // The text of the last Text, or the contents of the last Template; part of the text that is scanned.
    std::string_view text() const { return text_; }

    // Where in the text the last piece begins.
    std::size_t offset() const { return offset_; }

private:
    Piece take(Piece piece, std::size_t length);

    std::string_view whole_;
    std::string_view rest_;
    std::string_view text_;
    std::size_t offset_ = 0;
};

} // namespace Tovrin::Parser
