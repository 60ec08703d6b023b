// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

#include <string>
#include <string_view>

namespace Tovrin::Tool {

// Control bytes as escapes, so that no file can play tricks on a terminal, or break a line in two. A tab is harmless,
// and bytes above 127 may be UTF-8.
std::string printable(std::string_view text);

// Texts in colour, if they are wanted where they go.
class Paint {
public:
    // For the standard stream with this descriptor. "auto" stands for a terminal that is not dumb, unless the
    // environment variable NO_COLOR says otherwise.
    Paint(Color wanted, int descriptor);

    std::string bold(std::string_view text) const { return painted("1", text); }
    std::string red(std::string_view text) const { return painted("1;31", text); }
    std::string green(std::string_view text) const { return painted("32", text); }
    std::string yellow(std::string_view text) const { return painted("1;33", text); }
    std::string cyan(std::string_view text) const { return painted("36", text); }

private:
    std::string painted(const char *code, std::string_view text) const;

    bool wanted_;
};

} // namespace Tovrin::Tool
