// SPDX-License-Identifier: Apache-2.0
#include "support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

struct Watch {
    bool on = false;
    std::size_t failing = 0;
    std::size_t count = 0;
    std::size_t bytes = 0;
};

thread_local Watch watch;
std::atomic<std::ptrdiff_t> piecesInUse = 0;

void *allocate(std::size_t size)
{
    if (watch.on) {
        watch.bytes += size;
        if (++watch.count == watch.failing)
            return nullptr;
    }
    void *const piece = std::malloc(size == 0 ? 1 : size);
    piecesInUse += piece != nullptr;
    return piece;
}

void *allocateOrThrow(std::size_t size)
{
    if (void *const piece = allocate(size))
        return piece;
    throw std::bad_alloc();
}

void release(void *piece)
{
    piecesInUse -= piece != nullptr;
    std::free(piece);
}

} // namespace

// All of them, because the runtime of a sanitizer has its own of each.
void *operator new(std::size_t size)
{
    return allocateOrThrow(size);
}

void *operator new[](std::size_t size)
{
    return allocateOrThrow(size);
}

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return allocate(size);
}

void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return allocate(size);
}

void operator delete(void *piece) noexcept
{
    release(piece);
}

void operator delete[](void *piece) noexcept
{
    release(piece);
}

void operator delete(void *piece, std::size_t) noexcept
{
    release(piece);
}

void operator delete[](void *piece, std::size_t) noexcept
{
    release(piece);
}

void operator delete(void *piece, const std::nothrow_t &) noexcept
{
    release(piece);
}

void operator delete[](void *piece, const std::nothrow_t &) noexcept
{
    release(piece);
}

namespace Tovrin::Testing {

Allocations::Allocations(std::size_t failing)
{
    watch = {true, failing, 0, 0};
}

Allocations::~Allocations()
{
    watch = {};
}

std::size_t Allocations::count() const
{
    return watch.count;
}

std::size_t Allocations::bytes() const
{
    return watch.bytes;
}

bool Allocations::failed() const
{
    return watch.failing != 0 && watch.count >= watch.failing;
}

std::ptrdiff_t Allocations::inUse()
{
    return piecesInUse;
}

} // namespace Tovrin::Testing
