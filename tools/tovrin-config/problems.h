// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Tovrin::Tool {

// What goes wrong, on standard error: one line a problem, in a form that a terminal can show.
//
//     tovrin-config: TEXT              about no line of a file
//     PATH:LINE: error: TEXT           likewise "warning", "note" and, with -v, "info" and "debug"
//
// While it exists the library's records come out here too, with the line that they are about. One at a time.
class Problems {
public:
    explicit Problems(const CommonOptions &options);
    ~Problems();
    Problems(const Problems &) = delete;
    Problems &operator=(const Problems &) = delete;

    // Errors.
    void report(const std::string &text);
    void reportAt(const std::string &path, std::uint32_t line, const std::string &text);

    // No error, but worth knowing.
    void note(const std::string &text);
    // Of so many commands of ${system:...}, that they were not run; nothing if there were none. What runs them ends the
    // line, if anything does.
    void noteCommandsNotRun(std::size_t count, const std::string &whatRuns = "");
    void noteAt(const std::string &path, std::uint32_t line, const std::string &text);

    // Names the line that the library's records are about from now on, and those below. The path must outlive that.
    void setLine(const std::string &path, std::uint32_t line);
    void unsetLine();
    void errorHere(const std::string &text);
    void warnHere(const std::string &text);

    // How many errors were reported here, or logged by the library.
    std::size_t count() const;

private:
    class RecordBuffer;

    std::unique_ptr<RecordBuffer> records_;
};

} // namespace Tovrin::Tool
