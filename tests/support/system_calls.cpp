// SPDX-License-Identifier: Apache-2.0
// The checked variants of read() and others are inline functions, which could not be replaced.
#undef _FORTIFY_SOURCE

#include "support/system_calls.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using Tovrin::Testing::SystemCalls;

struct Watch {
    bool on = false;
    struct Counts {
        std::size_t count = 0;
        int error = 0;
        std::size_t before = 0; // calls to make before the failures
        int failures = 0;
    };
    std::array<Counts, SystemCalls::CallCount> calls{};
    std::size_t bytesRead = 0;
    int shortWrites = 0;
};

thread_local Watch watch;

// Makes the call, unless it is to fail.
template <typename... Arguments> long make(SystemCalls::Call call, long number, Arguments... arguments)
{
    auto &counts = watch.calls[call];
    if (watch.on)
        ++counts.count;
    if (counts.failures == 0 || counts.before > 0) {
        counts.before -= counts.before > 0;
        return syscall(number, arguments...);
    }
    --counts.failures;
    errno = counts.error;
    return counts.error == 0 ? 0 : -1;
}

int openFile(const char *path, int flags, mode_t mode)
{
    return static_cast<int>(make(SystemCalls::Open, SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, mode));
}

} // namespace

// Found before those of the C library, because they belong to the program itself.
extern "C" {

#define VISIBLE __attribute__((visibility("default")))

// Under names of their own, because the C library may declare the one as the other. The mode is passed on also where
// none was given: it is of no interest then.
VISIBLE int openSmall(const char *path, int flags, mode_t mode) __asm__("open");
VISIBLE int openLarge(const char *path, int flags, mode_t mode) __asm__("open64");

int openSmall(const char *path, int flags, mode_t mode)
{
    return openFile(path, flags, mode);
}

int openLarge(const char *path, int flags, mode_t mode)
{
    return openFile(path, flags, mode);
}

VISIBLE ssize_t read(int descriptor, void *buffer, size_t size)
{
    const auto count = make(SystemCalls::Read, SYS_read, descriptor, buffer, size);
    if (watch.on && count > 0)
        watch.bytesRead += static_cast<std::size_t>(count);
    return count;
}

VISIBLE ssize_t write(int descriptor, const void *buffer, size_t size)
{
    if (watch.shortWrites > 0) {
        --watch.shortWrites;
        size = std::min(size, std::size_t{1});
    }
    return make(SystemCalls::Write, SYS_write, descriptor, buffer, size);
}

VISIBLE int memfd_create(const char *name, unsigned int flags) noexcept
{
    return static_cast<int>(make(SystemCalls::MemfdCreate, SYS_memfd_create, name, flags));
}

} // extern "C"

namespace Tovrin::Testing {

SystemCalls::SystemCalls()
{
    watch = {};
    watch.on = true;
}

SystemCalls::~SystemCalls()
{
    watch = {};
}

void SystemCalls::fail(Call call, int error, int times)
{
    auto &counts = watch.calls[call];
    counts.error = error;
    counts.before = 0;
    counts.failures = times;
}

void SystemCalls::failAfter(Call call, int error, std::size_t before)
{
    fail(call, error);
    watch.calls[call].before = before;
}

void SystemCalls::shortenWrites(int times)
{
    watch.shortWrites = times;
}

std::size_t SystemCalls::count(Call call) const
{
    return watch.calls[call].count;
}

std::size_t SystemCalls::bytesRead() const
{
    return watch.bytesRead;
}

} // namespace Tovrin::Testing
