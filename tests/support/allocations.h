// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace Tovrin::Testing {

// Watches what this thread gets from operator new while in scope, and can let one of the requests fail. One at a time.
// Needs allocations.cpp in the program.
class Allocations {
public:
    // The request of this number throws std::bad_alloc, counted from 1.
    explicit Allocations(std::size_t failing = 0);
    ~Allocations();
    Allocations(const Allocations &) = delete;
    Allocations &operator=(const Allocations &) = delete;

    std::size_t count() const;
    std::size_t bytes() const;
    bool failed() const; // whether the number was reached

    // Pieces that the program has in use, from whatever thread and scope.
    static std::ptrdiff_t inUse();
};

} // namespace Tovrin::Testing
