// SPDX-License-Identifier: Apache-2.0
#include "line_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace Tovrin::Parser {

LineReader::LineReader(const std::string &path)
    : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC)), failed_(descriptor_ < 0)
{
}

LineReader::~LineReader()
{
    if (descriptor_ >= 0)
        close(descriptor_);
}

bool LineReader::nextLineNeedsRead() const
{
    return buffered().find('\n') == std::string_view::npos;
}

std::string_view LineReader::readLine()
{
    std::size_t searched = 0;
    while (good()) {
        const auto newline = buffered().find('\n', searched);
        if (newline != std::string_view::npos)
            return take(newline, newline + 1);
        searched = end_ - begin_;
        fill();
    }
    failed_ = failed_ || searched == 0; // nothing but the end of the file
    return take(searched, searched);
}

void LineReader::skipLine()
{
    bool any = false;
    while (good()) {
        if (skipBufferedLine())
            return;
        any = any || begin_ != end_;
        begin_ = end_;
        fill();
    }
    failed_ = failed_ || !any;
}

void LineReader::seekEnd()
{
    metEnd_ = false;
    if (failed_)
        return;
    bufferOffset_ = lseek(descriptor_, 0, SEEK_END);
    failed_ = bufferOffset_ < 0;
    begin_ = end_ = 0;
}

// Reads more behind what is buffered; meets the end or fails if there is nothing to be had.
void LineReader::fill()
{
    makeRoom();
    ssize_t count;
    do
        count = read(descriptor_, buffer_.get() + end_, capacity_ - end_);
    while (count < 0 && errno == EINTR);
    if (count > 0)
        end_ += static_cast<std::size_t>(count);
    else if (count == 0)
        metEnd_ = true;
    else
        failed_ = true;
}

std::unique_ptr<char[]> LineReader::handOverBuffer()
{
    return exchangeBuffer(std::max(InitialCapacity, end_ - begin_));
}

// Moves what is left to the front. The buffer grows only when a single line fills it.
void LineReader::makeRoom()
{
    if (end_ - begin_ < capacity_) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
        movedToFront();
    } else {
        exchangeBuffer(capacity_ == 0 ? InitialCapacity : capacity_ * 2);
    }
}

// Goes on in a new buffer with what is left; returns the former one.
std::unique_ptr<char[]> LineReader::exchangeBuffer(std::size_t capacity)
{
    auto next = std::make_unique_for_overwrite<char[]>(capacity);
    std::copy(buffer_.get() + begin_, buffer_.get() + end_, next.get());
    movedToFront();
    capacity_ = capacity;
    return std::exchange(buffer_, std::move(next));
}

void LineReader::movedToFront()
{
    bufferOffset_ += static_cast<std::int64_t>(begin_);
    end_ -= begin_;
    begin_ = 0;
}

std::string_view LineReader::take(std::size_t length, std::size_t consumed)
{
    const std::string_view line(buffer_.get() + begin_, length);
    begin_ += consumed;
    return line;
}

} // namespace Tovrin::Parser
