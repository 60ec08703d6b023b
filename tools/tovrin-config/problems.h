// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace Tovrin::Tool {

// What goes wrong, on standard error: one line a problem, in a form that a terminal can show.
//
// While it exists the library's records come out here too. They hold raw bytes, for the numbers of bad lines among
// others; here control bytes are written as escapes, and the number of a bad line in digits. One at a time.
class Problems {
public:
    // `verbose` lets the library's debug records through.
    explicit Problems(bool verbose);
    ~Problems();
    Problems(const Problems &) = delete;
    Problems &operator=(const Problems &) = delete;

    // Says the text in the tool's own name.
    void report(const std::string &text);

    // Names the file that is read from now on, for the numbers of its bad lines.
    void startFile(const std::string &path);

    // How many were reported here, or logged by the library as errors.
    std::size_t count() const;

private:
    class RecordBuffer;

    std::unique_ptr<RecordBuffer> records_;
};

} // namespace Tovrin::Tool
