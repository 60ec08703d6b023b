// SPDX-License-Identifier: Apache-2.0
#pragma once

// What stands between "${" and "}": shared by the look-ups and by the command, which has to know a template without
// looking it up.

#include "text_scan.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace Tovrin::Parser {

enum class TemplateSource : std::size_t { Config, Env, EnvFile, Realpath, Dconf, Prop, System, Unknown, Registered };

// By the numbers of the sources; case matters.
inline constexpr std::array<std::string_view, 7> TemplateSourceNames{"config", "env",  "envfile", "realpath",
                                                                     "dconf",  "prop", "system"};

struct TemplateContents {
    TemplateSource source;
    std::string_view argument; // what stands behind the source and its ":"; of a registered template, its name
};

constexpr TemplateContents parseTemplateContents(std::string_view contents)
{
    const auto separator = contents.find(':');
    if (separator == std::string_view::npos)
        return {TemplateSource::Registered, contents};
    const auto argument = contents.substr(separator + 1);
    for (std::size_t i = 0; i < TemplateSourceNames.size(); ++i) {
        if (contents.substr(0, separator) == TemplateSourceNames[i])
            return {static_cast<TemplateSource>(i), argument};
    }
    return {TemplateSource::Unknown, argument};
}

using TemplateNames = std::optional<std::pair<std::string_view, std::string_view>>;

// Group and key of "config": exactly two parts between slashes; one slash at the very end is let pass.
constexpr TemplateNames parseConfigArgument(std::string_view argument)
{
    const auto group = takeUntil(argument, '/');
    const auto key = takeUntil(argument, '/');
    if (group.empty() || key.empty() || !argument.empty())
        return std::nullopt;
    return std::pair{group, key};
}

// Path and variable of "envfile": the path ends at the first ":", the variable keeps any further one.
constexpr TemplateNames parseEnvFileArgument(std::string_view argument)
{
    const auto separator = argument.find(':');
    if (separator == std::string_view::npos)
        return std::nullopt;
    return std::pair{argument.substr(0, separator), argument.substr(separator + 1)};
}

} // namespace Tovrin::Parser
