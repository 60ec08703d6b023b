// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/resource.h>
#include <unistd.h>

namespace Tovrin::Testing {

// Lowers a limit of this process while in scope.
class LimitGuard {
public:
    LimitGuard(__rlimit_resource_t resource, rlim_t limit) : resource_(resource)
    {
        EXPECT_EQ(getrlimit(resource_, &former_), 0);
        const rlimit lowered{limit, former_.rlim_max};
        EXPECT_EQ(setrlimit(resource_, &lowered), 0);
    }
    ~LimitGuard() { setrlimit(resource_, &former_); }
    LimitGuard(const LimitGuard &) = delete;
    LimitGuard &operator=(const LimitGuard &) = delete;

private:
    __rlimit_resource_t resource_;
    rlimit former_{};
};

// Leaves the process so much memory more than it has now.
class MemoryGuard : LimitGuard {
public:
    explicit MemoryGuard(rlim_t more) : LimitGuard(RLIMIT_AS, present() + more) {}

private:
    static rlim_t present()
    {
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
    }
};

// What the process has open now.
inline auto openDescriptors()
{
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors)) - 1; // without that of the iterator
}

} // namespace Tovrin::Testing
