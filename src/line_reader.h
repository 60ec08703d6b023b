// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reads a file line by line through one buffer.
//
// The states are those of an input text stream, because the walk over a key file depends on them: a reader is good
// until a read meets the end of the file (also when that merely ended an unterminated line) or fails. Only plain reads
// are used: mapping a file that somebody truncates meanwhile would kill the process.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Tovrin::Parser {

class LineReader {
public:
    static constexpr std::size_t InitialCapacity = 64 * 1024; // of the buffer, which holds at least a line

    // Opens the file. A reader that could not open it has failed from the start.
    explicit LineReader(const std::string &path);
    ~LineReader();
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;

    bool good() const { return !metEnd_ && !failed_; }
    bool metEnd() const { return metEnd_; }

    // True if peek() has to read from the file, which invalidates the lines handed out before.
    bool nothingBuffered() const { return begin_ == end_; }

    // True if reading the next line has to read from the file.
    bool nextLineNeedsRead() const;

    // The next byte, or -1 at the end of the file and after a failure.
    int peek()
    {
        if (nothingBuffered() && good())
            fill();
        return nothingBuffered() ? -1 : static_cast<unsigned char>(buffer_[begin_]);
    }

    // The line up to the next newline, without it; at the end of the file or at a failure what there is. Valid until
    // the next read from the file.
    std::string_view readLine();

    // Takes a line off without handing it out, so that its length costs no memory.
    void skipLine();

    // The same, but only if it needs no read from the file; otherwise does nothing and returns false.
    bool skipBufferedLine()
    {
        const auto newline = buffered().find('\n');
        if (newline == std::string_view::npos)
            return false;
        begin_ += newline + 1;
        return true;
    }

    // The offset of the next byte, -1 after a failure. As with a stream, asking after the end was met is a failure.
    std::int64_t tell()
    {
        failed_ = failed_ || metEnd_;
        return failed_ ? -1 : bufferOffset_ + static_cast<std::int64_t>(begin_);
    }

    // Gives the buffer away, which keeps the lines in it valid. What was not taken off yet goes on in a new one.
    std::unique_ptr<char[]> handOverBuffer();

    // Goes to the present end of the file, whether or not it was met before; fails for what cannot seek.
    void seekEnd();

private:
    std::string_view buffered() const { return {buffer_.get() + begin_, end_ - begin_}; }
    void fill();
    void makeRoom();
    std::unique_ptr<char[]> exchangeBuffer(std::size_t capacity);
    void movedToFront();
    std::string_view take(std::size_t length, std::size_t consumed);

    int descriptor_;
    bool metEnd_ = false;
    bool failed_;
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;         // of what was read but not taken yet
    std::size_t end_ = 0;           // of what was read
    std::int64_t bufferOffset_ = 0; // of the buffer's first byte in the file
};

} // namespace Tovrin::Parser
