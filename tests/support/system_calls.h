// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace Tovrin::Testing {

// Watches the calls of open(), read(), write() and memfd_create() that this thread makes while in scope, those of the
// library among them, and can let the next ones fail. One at a time. Needs system_calls.cpp in the program.
class SystemCalls {
public:
    enum Call { Open, Read, Write, MemfdCreate, CallCount };

    SystemCalls();
    ~SystemCalls();
    SystemCalls(const SystemCalls &) = delete;
    SystemCalls &operator=(const SystemCalls &) = delete;

    // The next `times` calls do nothing but return -1 with this errno; or 0, if it is 0.
    void fail(Call call, int error, int times = 1);

    // The same for one call, but so many are made before.
    void failAfter(Call call, int error, std::size_t before);

    // The next `times` calls of write() take no more than one byte.
    void shortenWrites(int times);

    std::size_t count(Call call) const;

    // What all calls read.
    std::size_t bytesRead() const;
};

} // namespace Tovrin::Testing
