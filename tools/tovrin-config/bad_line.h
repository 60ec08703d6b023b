// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "key_file_line.h"

#include <string_view>

namespace Tovrin::Tool {

// What is wrong with a line that a reading program rejects.
constexpr std::string_view describe(Parser::LineProblem problem)
{
    switch (problem) {
    case Parser::LineProblem::Unexpected:
        return "neither a group, a key, a comment nor an empty line";
    case Parser::LineProblem::NoGroup:
        return "a group header must end with ']'";
    case Parser::LineProblem::InvalidGroup:
        return "a character that no group may hold";
    case Parser::LineProblem::NoKey:
        return "a key without '='";
    case Parser::LineProblem::InvalidKey:
        return "a character that no key may hold";
    case Parser::LineProblem::None:
        break;
    }
    return "nothing is wrong";
}

} // namespace Tovrin::Tool
