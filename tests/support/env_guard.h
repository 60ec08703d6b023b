// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace Tovrin::Testing {

// Sets or unsets an environment variable, and restores what it was at the end of the scope.
class EnvGuard {
public:
    EnvGuard(std::string name, const std::optional<std::string> &value) : name_(std::move(name))
    {
        if (const char *former = std::getenv(name_.c_str()))
            former_ = former;
        assign(value);
    }
    ~EnvGuard() { assign(former_); }
    EnvGuard(const EnvGuard &) = delete;
    EnvGuard &operator=(const EnvGuard &) = delete;

private:
    void assign(const std::optional<std::string> &value) const
    {
        if (value)
            setenv(name_.c_str(), value->c_str(), 1);
        else
            unsetenv(name_.c_str());
    }

    std::string name_;
    std::optional<std::string> former_;
};

} // namespace Tovrin::Testing
