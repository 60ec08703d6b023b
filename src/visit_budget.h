// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Tovrin::Parser {

// Values visited while one value is resolved, itself included. It bounds the work, and so ends circles too.
inline constexpr std::uint32_t MaximumVisits = 33;

} // namespace Tovrin::Parser
