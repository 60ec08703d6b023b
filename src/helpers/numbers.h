// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace Tovrin::Parser {

// Helpers::stringToNumber() for a text that need not be a std::string of its own: for int, long long and double.
template <typename T> T numberFromText(std::string_view text, bool *ok);

} // namespace Tovrin::Parser
