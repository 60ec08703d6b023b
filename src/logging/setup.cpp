// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include "logging/logger_config_private.h"
#include "logging/registry.h"
#include "text_scan.h"

#include <algorithm>
#include <cassert>
#include <iostream>
#include <iterator>
#include <optional>
#include <string_view>

namespace Tovrin::Parser::Logging {

namespace {

constexpr const char *LoggingGroup = "Logging";
constexpr const char *TargetKey = "LogTarget";
constexpr const char *FromConfig = " from config";

// ASCII letters alone: a daemon in a Turkish locale must still know "INFO".
std::string lowered(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), toLower);
    return text;
}

LoggerConfig::Level convertLevelFromInt(int level)
{
    assert(level >= LoggerConfig::LogCritical && level <= LoggerConfig::LogDebug);
    return static_cast<LoggerConfig::Level>(level);
}

std::optional<LoggerConfig::Level> levelFromName(const std::string &text)
{
    static constexpr std::string_view names[] = {"critical", "error", "warning", "info", "debug"};
    const auto found = std::find(std::begin(names), std::end(names), lowered(text));
    if (found == std::end(names))
        return std::nullopt;
    return convertLevelFromInt(static_cast<int>(found - std::begin(names)));
}

std::optional<LoggerConfig::Level> levelFromNumber(int number, bool ok)
{
    if (!ok || number < LoggerConfig::LogCritical || number > LoggerConfig::LogDebug)
        return std::nullopt;
    return convertLevelFromInt(number);
}

// A target as text names it. File without an open file is one that cannot be used.
struct NamedTarget {
    LoggerConfig::Target target = LoggerConfig::File;
    FileDescriptor file = {};

    bool isUsable() const
    {
        switch (target) {
        case LoggerConfig::Systemd:
            return true;
        case LoggerConfig::Stdout:
            return std::cout.good();
        case LoggerConfig::Stderr:
            return std::cerr.good();
        case LoggerConfig::File:
            break;
        }
        return file.isOpen();
    }
};

NamedTarget targetFromName(const std::string &text)
{
    const std::string name = lowered(text);
    if (name == "systemd")
        return {LoggerConfig::Systemd};
    if (name == "stdout")
        return {LoggerConfig::Stdout};
    if (name == "stderr")
        return {LoggerConfig::Stderr};
    // The path too is lower-cased, deliberately: /var/log/App.log is /var/log/app.log.
    if (name.starts_with('/'))
        return {LoggerConfig::File, FileDescriptor::open(name)};
    return {};
}

// Reports a text that is no level or no target, through the configuration that it was meant for.
bool rejected(LoggerConfig &config, const char *what, const std::string &text, const char *origin)
{
    Logger(&config, LoggerConfig::LogError) << "Invalid logging " << what << " '" << text << "'" << origin;
    return false;
}

bool setNamedTarget(LoggerConfig &config, LoggerConfigPrivate &d, const std::string &text, const char *origin)
{
    NamedTarget named = targetFromName(text);
    if (!named.isUsable())
        return rejected(config, "target", text, origin);
    d.setTarget(named.target, std::move(named.file));
    return true;
}

// True if there is a value for the key. For a key that is not registered the parser warns twice, once for each
// question: users see those warnings, so their number stays as it is.
bool present(const ConfigParser &config, const std::string &key)
{
    config.checkKey(LoggingGroup, key);
    return config.contains(LoggingGroup, key);
}

std::string storedText(const ConfigParser &config, const std::string &key)
{
    std::string text;
    if (present(config, key))
        config.getValue(LoggingGroup, key, text);
    return text;
}

std::optional<LoggerConfig::Level> storedLevelNumber(const ConfigParser &config, const std::string &key)
{
    int number = 0;
    bool ok = false;
    if (present(config, key))
        config.getValue(LoggingGroup, key, number, &ok);
    return levelFromNumber(number, ok);
}

// The level text of the first entry for the identity, "" if there is none.
std::string levelFor(const std::string &ident, const std::vector<std::string> &entries)
{
    const std::string prefix = ident + '=';
    for (const std::string &entry : entries) {
        if (entry.starts_with(prefix))
            return entry.substr(prefix.size());
    }
    return {};
}

} // namespace

bool LoggerConfig::setLevel(const std::string &level)
{
    if (const auto named = levelFromName(level))
        return setLevel(*named);
    bool ok = false;
    const int number = Helpers::stringToNumber<int>(level, &ok);
    if (const auto numbered = levelFromNumber(number, ok))
        return setLevel(*numbered);
    return rejected(*this, "level", level, "");
}

bool LoggerConfig::setLevel(const ConfigParser *config)
{
    assert(config);
    if (!config->contains(LoggingGroup, d_->ident()))
        return true;
    const std::string text = storedText(*config, d_->ident());
    if (const auto named = levelFromName(text))
        return setLevel(*named);
    if (const auto numbered = storedLevelNumber(*config, d_->ident()))
        return setLevel(*numbered);
    return rejected(*this, "level", text, FromConfig);
}

bool LoggerConfig::setTarget(Target target)
{
    if (target == File) {
        Logger(this, LogError) << "Cannot set file logging target with LoggerConfig::setTarget(Target)";
        return false;
    }
    d_->setTarget(target, {});
    return true;
}

bool LoggerConfig::setTarget(const std::string &target)
{
    return setNamedTarget(*this, *d_, target, "");
}

bool LoggerConfig::setTarget(const ConfigParser *config)
{
    assert(config);
    const std::string text = storedText(*config, TargetKey);
    return text.empty() || setNamedTarget(*this, *d_, text, FromConfig);
}

void LoggerConfig::setupAll(const ConfigParser *config)
{
    const std::string levels = Helpers::getenv2("TOVRIN_LOGGING", "");
    const std::string target = Helpers::getenv2("TOVRIN_LOGGING_TARGET", "");
    const auto entries = Helpers::split(levels, ';', -1, Helpers::DefaultSplit);
    Registry::global().forEach([&](LoggerConfig &logger) {
        if (config) {
            logger.setLevel(config);
            logger.setTarget(config);
        }
        if (const std::string level = levelFor(logger.ident(), entries); !level.empty())
            logger.setLevel(level);
        if (!target.empty())
            logger.setTarget(target);
    });
}

void setupLogging(const ConfigParser *config)
{
    LoggerConfig::setupAll(config);
}

} // namespace Tovrin::Parser::Logging
