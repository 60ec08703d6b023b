// SPDX-License-Identifier: Apache-2.0
#pragma once

// The file of --keys: the keys that a program registers, written as a key file.
//
//     [Group]
//     Key=replace
//     Other key=amend;mount

#include "options.h"

#include <tovrin/parser/config_parser.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tovrin::Tool {

class Problems;

struct KnownKey {
    std::string group;
    std::string key;
    Parser::ConfigParser::ReplacementBehaviour behaviour;
    std::optional<ValueType> type;
    std::uint32_t line; // of the file that registers it

    bool operator==(const KnownKey &) const = default;
};

// In the order of the file; no pair twice. Nothing, with the reasons reported, if anything in the file is wrong: a
// registration that is left out would change what the configuration means.
std::optional<std::vector<KnownKey>> readKeysFile(const std::string &path, Problems &problems);

inline constexpr std::array AllValueTypes{ValueType::String, ValueType::Bool,   ValueType::Int,
                                          ValueType::Int64,  ValueType::Double, ValueType::Mount};

// "string", "bool", "int", "int64", "double", "mount".
std::optional<ValueType> valueTypeFromName(std::string_view name);
std::string_view nameOf(ValueType type);

} // namespace Tovrin::Tool
