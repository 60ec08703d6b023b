// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

namespace Tovrin::Testing {

// Collects what is written to a standard stream while in scope, and gives the stream back without any error state.
class CapturedStream {
public:
    explicit CapturedStream(std::ostream &stream) : stream_(stream), former_(stream.rdbuf(buffer_.rdbuf())) {}
    ~CapturedStream()
    {
        stream_.rdbuf(former_);
        stream_.clear();
    }
    CapturedStream(const CapturedStream &) = delete;
    CapturedStream &operator=(const CapturedStream &) = delete;

    std::string text() const { return buffer_.str(); }

private:
    std::ostream &stream_;
    std::ostringstream buffer_;
    std::streambuf *former_;
};

} // namespace Tovrin::Testing
