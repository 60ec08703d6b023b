// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/logging.h>

#include <memory>
#include <shared_mutex>
#include <string>
#include <vector>

namespace Tovrin::Parser::Logging {

// All configurations of the process, in the order of their creation. None is ever removed. May be used from any thread;
// its lock is taken before that of a configuration, never after it.
class Registry {
public:
    // Made on first use, so that static initialisers anywhere in the program can create configurations.
    static Registry &global();

    // The first configuration of this identity, or an empty handle.
    std::shared_ptr<LoggerConfig> find(const std::string &ident) const;

    // Appends a new configuration, whether or not there is one of this identity.
    std::shared_ptr<LoggerConfig> add(LoggerConfig::Ident ident, LoggerConfig::Level level);

    // Calls visit(LoggerConfig &) for each configuration. The registry can be read, but not added to, meanwhile.
    template <typename Visit> void forEach(Visit visit) const
    {
        const std::shared_lock lock(lock_);
        for (const auto &config : configs_)
            visit(*config);
    }

private:
    mutable std::shared_mutex lock_;
    std::vector<std::shared_ptr<LoggerConfig>> configs_;
};

} // namespace Tovrin::Parser::Logging
