// SPDX-License-Identifier: Apache-2.0
#include "line_reader.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

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

// Moves what is left to the front. The buffer grows only when a single line fills it.
void LineReader::makeRoom()
{
    const std::size_t left = end_ - begin_;
    if (left < capacity_) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, left);
    } else {
        const std::size_t capacity = capacity_ == 0 ? InitialCapacity : capacity_ * 2;
        auto larger = std::make_unique_for_overwrite<char[]>(capacity);
        if (left > 0)
            std::memcpy(larger.get(), buffer_.get() + begin_, left);
        buffer_ = std::move(larger);
        capacity_ = capacity;
    }
    bufferOffset_ += static_cast<std::int64_t>(begin_);
    begin_ = 0;
    end_ = left;
}

std::string_view LineReader::take(std::size_t length, std::size_t consumed)
{
    const std::string_view line(buffer_.get() + begin_, length);
    begin_ += consumed;
    return line;
}

} // namespace Tovrin::Parser
