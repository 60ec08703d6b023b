// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

namespace Tovrin::Parser {

// Memory that is handed out piece by piece and given back all at once. Pieces never move.
//
// A piece is named by a 32-bit number instead of a pointer: where a program has many small records that refer to each
// other, that is a third of the memory, and memory that is touched for the first time is most of the time that storing
// takes. The number counts units of 4 bytes through blocks of 64 KiB; a larger piece has a block of its own size that
// takes the numbers of several. Number 0 is no piece.
class Arena {
public:
    using Number = std::uint32_t;

    static constexpr std::size_t Unit = 4;

    // What a piece of this size takes.
    static constexpr std::size_t roundedUp(std::size_t size) { return (size + Unit - 1) / Unit * Unit; }

    // A piece of memory, aligned to a unit, as it comes. Throws std::bad_alloc.
    Number allocate(std::size_t size)
    {
        size = roundedUp(size);
        if (size > end_ - next_)
            return allocateInNewBlock(size);
        used_ += size;
        const auto number = static_cast<Number>(next_ / Unit);
        next_ += size;
        return number;
    }

    std::byte *at(Number number) const { return blocks_[number / UnitsPerBlock] + number % UnitsPerBlock * Unit; }

    // Bytes handed out, rounding included.
    std::size_t used() const { return used_; }

private:
    static constexpr std::size_t BlockSize = 64 * 1024;
    static constexpr std::size_t UnitsPerBlock = BlockSize / Unit;
    static constexpr std::size_t MaximumBlocks = (std::uint64_t{1} << 32) / UnitsPerBlock;
    static constexpr std::size_t SmallestBlock = 4 * 1024; // most configurations are small
    static constexpr std::size_t WorthItsOwnBlock = BlockSize / 4;

    using Offset = std::uint64_t; // in bytes through all the numbers

    [[gnu::noinline]] Number allocateInNewBlock(std::size_t size) // rare, and kept out of the way of the rest
    {
        // So that the rest of the present block is not lost. The first block is none of these: it holds number 0.
        if (size > WorthItsOwnBlock && !blocks_.empty()) {
            const auto start = addBlock(size);
            used_ += size;
            return static_cast<Number>(start / Unit);
        }
        const auto blockSize = std::max(size + Unit, std::min(BlockSize, std::max(SmallestBlock, 2 * used_)));
        next_ = addBlock(blockSize);
        end_ = next_ + blockSize;
        if (next_ == 0)
            next_ = Unit; // number 0 is no piece
        return allocate(size);
    }

    // Returns where the block starts.
    Offset addBlock(std::size_t size)
    {
        const std::size_t first = blocks_.size();
        const std::size_t count = (size + BlockSize - 1) / BlockSize;
        if (first + count > MaximumBlocks)
            throw std::bad_alloc();
        blocks_.reserve(std::max(blocks_.capacity(), std::bit_ceil(first + count)));
        auto block = std::make_unique_for_overwrite<std::byte[]>(size);
        owned_.push_back(std::move(block));
        for (std::size_t i = 0; i < count; ++i)
            blocks_.push_back(owned_.back().get() + i * BlockSize);
        return Offset{first} * BlockSize;
    }

    std::vector<std::byte *> blocks_; // by number
    std::vector<std::unique_ptr<std::byte[]>> owned_;
    Offset next_ = 0; // free from here to the end of the present block
    Offset end_ = 0;
    std::size_t used_ = 0;
};

} // namespace Tovrin::Parser
