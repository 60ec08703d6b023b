// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/captured_stream.h"

#include <tovrin/parser/logging.h>

#include <iostream>

namespace Tovrin::Testing {

// Collects what the library logs to standard error while in scope, "LEVEL: text" and a newline a record. For texts that
// hold zero bytes, where those of the journal end.
class StderrRecords {
public:
    StderrRecords() { Parser::Logging::lConfigParser->setTarget(Parser::Logging::LoggerConfig::Stderr); }
    ~StderrRecords() { Parser::Logging::lConfigParser->setTarget(Parser::Logging::LoggerConfig::Systemd); }
    StderrRecords(const StderrRecords &) = delete;
    StderrRecords &operator=(const StderrRecords &) = delete;

    std::string text() const { return stream_.text(); }

private:
    CapturedStream stream_{std::cerr};
};

} // namespace Tovrin::Testing
