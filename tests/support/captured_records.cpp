// SPDX-License-Identifier: Apache-2.0
#include "support/captured_records.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <mutex>
#include <ostream>

namespace {

using Tovrin::Parser::Logging::LoggerConfig;
using Record = Tovrin::Testing::CapturedRecords::Record;

std::mutex recordsMutex;
std::vector<Record> records;
bool capturing = false;

LoggerConfig::Level levelOf(const LoggerConfig &config)
{
    int level = LoggerConfig::LogCritical;
    while (level < LoggerConfig::LogDebug && config.enabled(static_cast<LoggerConfig::Level>(level + 1)))
        ++level;
    return static_cast<LoggerConfig::Level>(level);
}

} // namespace

// Found before the one of libsystemd, because it belongs to the program itself.
extern "C" __attribute__((visibility("default"))) int sd_journal_print(int priority, const char *format, ...)
{
    EXPECT_STREQ(format, "%s") << "the text of a record must not be used as a format";
    va_list arguments;
    va_start(arguments, format);
    const char *text = va_arg(arguments, const char *);
    const std::lock_guard lock(recordsMutex);
    if (capturing)
        records.push_back({priority, text});
    va_end(arguments);
    return 0;
}

namespace Tovrin::Testing {

CapturedRecords::CapturedRecords(LoggerConfig::Level level, std::shared_ptr<LoggerConfig> config)
    : config_(std::move(config)), formerLevel_(levelOf(*config_))
{
    config_->setLevel(level);
    const std::lock_guard lock(recordsMutex);
    records.clear();
    capturing = true;
}

CapturedRecords::~CapturedRecords()
{
    config_->setLevel(formerLevel_);
    const std::lock_guard lock(recordsMutex);
    records.clear();
    capturing = false;
}

std::vector<Record> CapturedRecords::all() const
{
    const std::lock_guard lock(recordsMutex);
    return records;
}

void CapturedRecords::clear()
{
    const std::lock_guard lock(recordsMutex);
    records.clear();
}

std::vector<std::string> CapturedRecords::texts(int priority) const
{
    std::vector<std::string> found;
    for (const auto &record : all()) {
        if (record.priority == priority)
            found.push_back(record.text);
    }
    return found;
}

std::ostream &operator<<(std::ostream &stream, const Record &record)
{
    return stream << '<' << record.priority << '>' << record.text;
}

} // namespace Tovrin::Testing
