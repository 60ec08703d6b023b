// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/logging.h>

#include <memory>
#include <string>
#include <vector>

namespace Tovrin::Testing {

// Stands in for the journal while in scope: collects every record that the program sends to it. Lets the records of one
// configuration through down to `level`, and sets its former level again at the end. One at a time.
class CapturedRecords {
public:
    struct Record {
        int priority;
        std::string text;

        bool operator==(const Record &) const = default;
    };

    explicit CapturedRecords(Parser::Logging::LoggerConfig::Level level = Parser::Logging::LoggerConfig::LogDebug,
                             std::shared_ptr<Parser::Logging::LoggerConfig> config = Parser::Logging::lConfigParser);
    ~CapturedRecords();
    CapturedRecords(const CapturedRecords &) = delete;
    CapturedRecords &operator=(const CapturedRecords &) = delete;

    std::vector<Record> all() const;
    std::vector<std::string> criticals() const { return texts(2); }
    std::vector<std::string> errors() const { return texts(3); }
    std::vector<std::string> warnings() const { return texts(4); }
    std::vector<std::string> infos() const { return texts(6); }
    std::vector<std::string> debugs() const { return texts(7); }
    bool empty() const { return all().empty(); }

    // Forgets what was collected so far.
    void clear();

private:
    std::vector<std::string> texts(int priority) const;

    std::shared_ptr<Parser::Logging::LoggerConfig> config_;
    Parser::Logging::LoggerConfig::Level formerLevel_;
};

// For printing in failed expectations.
std::ostream &operator<<(std::ostream &stream, const CapturedRecords::Record &record);

} // namespace Tovrin::Testing
