// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include "helpers/get_line.h"
#include "text_scan.h"

#include <fstream>

namespace Tovrin::Parser::Helpers {

using Logging::lConfigParser;
using Logging::logError;

namespace {

std::string_view withoutDoubleQuotes(std::string_view value)
{
    const bool quoted = value.size() > 1 && value.front() == '"' && value.back() == '"';
    return quoted ? value.substr(1, value.size() - 2) : value;
}

// The value that the line gives to the variable, as a part of the line.
std::optional<std::string_view> valueFrom(std::string_view line, std::string_view variable)
{
    const auto equals = line.find('=');
    if (equals == std::string_view::npos || trimmed(line.substr(0, equals)) != variable)
        return std::nullopt;
    return withoutDoubleQuotes(trimmed(line.substr(equals + 1)));
}

// The last value that the file gives to the variable, up to where it cannot be read.
std::optional<std::string> lastValue(std::ifstream &file, const std::string &variable)
{
    std::optional<std::string> found;
    for (std::string line; getLine(file, line);) {
        if (const auto value = valueFrom(line, variable))
            found = *value;
    }
    return found;
}

} // namespace

std::optional<std::string> readEnvFile(const std::string &path, const std::string &variable, bool verbose)
{
    std::ifstream file(path);
    const bool opened = file.is_open();
    auto value = lastValue(file, variable);
    if (verbose && (!opened || file.bad()))
        logError(lConfigParser) << "Reading environment file '" << path << "' failed";
    else if (verbose && !value)
        logError(lConfigParser) << "No '" << variable << "' variable specified in environment file '" << path << "'";
    return value;
}

} // namespace Tovrin::Parser::Helpers
