// SPDX-License-Identifier: Apache-2.0
#include "logging/registry.h"

#include <algorithm>
#include <mutex>

namespace Tovrin::Parser::Logging {

Registry &Registry::global()
{
    static Registry registry;
    return registry;
}

std::shared_ptr<LoggerConfig> Registry::find(const std::string &ident) const
{
    const std::shared_lock lock(lock_);
    const auto found = std::find_if(configs_.begin(), configs_.end(),
                                    [&ident](const auto &config) { return ident == config->ident(); });
    return found == configs_.end() ? nullptr : *found;
}

std::shared_ptr<LoggerConfig> Registry::add(LoggerConfig::Ident ident, LoggerConfig::Level level)
{
    const std::unique_lock lock(lock_);
    return configs_.emplace_back(std::make_shared<LoggerConfig>(ident, level));
}

} // namespace Tovrin::Parser::Logging
