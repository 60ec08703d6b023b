// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Tovrin::Tool {

// The candidate that is most likely meant by a name that is none of them: the first one that differs in case or white
// space alone, else the one with the fewest mistyped characters, at most a third of the longer name. Nothing if none is
// near.
std::optional<std::string_view> nearestName(std::string_view name, std::span<const std::string_view> candidates);

} // namespace Tovrin::Tool
