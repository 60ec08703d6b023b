// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/logging.h>

#include "logging/journal.h"
#include "logging/logger_config_private.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <string_view>

#include <pthread.h>

namespace Tovrin::Parser::Logging {

namespace {

struct LevelNames {
    std::string_view word;
    int journalPriority;
};

// Priority 5 (notice) is left out on purpose. Levels are stored unchecked: those outside the table count as the
// nearest.
const LevelNames &namesOf(LoggerConfig::Level level)
{
    static constexpr LevelNames names[] = {
        {"CRITICAL: ", 2}, {"ERROR: ", 3}, {"WARNING: ", 4}, {"INFO: ", 6}, {"DEBUG: ", 7},
    };
    return names[std::clamp<int>(level, LoggerConfig::LogCritical, LoggerConfig::LogDebug)];
}

// What a record must not do to the code around it. A failed write may not change the errno that the caller is about to
// look at; and a thread that is cancelled inside a write would be unwound through the end of the record, which ends the
// process.
class CallerGuard {
public:
    CallerGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_); }
    ~CallerGuard()
    {
        pthread_setcancelstate(cancelState_, nullptr);
        errno = errno_;
    }
    CallerGuard(const CallerGuard &) = delete;
    CallerGuard &operator=(const CallerGuard &) = delete;

private:
    int errno_ = errno;
    int cancelState_ = PTHREAD_CANCEL_ENABLE;
};

} // namespace

// Writes a finished record to its target. Not a part of Logger, because all of that is exported.
class RecordWriter {
public:
    explicit RecordWriter(Logger &record) : record_(record) {}

    void write()
    {
        switch (record_.target_) {
        case LoggerConfig::Systemd:
            *record_.end_ = '\0';
            printToJournal(namesOf(record_.level_).journalPriority, record_.begin_);
            break;
        case LoggerConfig::Stdout:
            writeTo(std::cout);
            break;
        case LoggerConfig::Stderr:
            writeTo(std::cerr);
            break;
        case LoggerConfig::File:
            record_.file_->writeToFile(record_.fileGeneration_, line('\n'));
            break;
        }
    }

private:
    // One unformatted write and one flush, so that lines of several threads come out whole on the standard streams,
    // whose width and fill belong to the program. Straight to the buffer: each of the stream's own operations would
    // flush std::cerr once more.
    void writeTo(std::ostream &stream)
    {
        if (!stream.good())
            return;
        if (stream.tie())
            stream.tie()->flush();
        const std::string_view text = line(stream.widen('\n'));
        if (!putAndFlush(*stream.rdbuf(), text))
            stream.setstate(std::ios::badbit);
    }

    static bool putAndFlush(std::streambuf &buffer, std::string_view text)
    {
        try {
            const auto size = static_cast<std::streamsize>(text.size());
            return buffer.sputn(text.data(), size) == size && buffer.pubsync() == 0;
        } catch (...) {
            return false;
        }
    }

    // The text made "LEVEL: text" and a newline, in the room that was kept for that around it.
    std::string_view line(char newline)
    {
        const std::string_view word = namesOf(record_.level_).word;
        char *const start = record_.begin_ - word.size();
        std::memcpy(start, word.data(), word.size());
        *record_.end_ = newline;
        return {start, static_cast<std::size_t>(record_.end_ + 1 - start)};
    }

    Logger &record_;
};

Logger::Logger(LoggerConfig *config, LoggerConfig::Level level) : level_(level)
{
    if (!config || !config->d_->enabled(level))
        return;
    target_ = config->d_->target();
    if (target_ == LoggerConfig::File) {
        file_ = config->d_;
        fileGeneration_ = file_->generation();
    }
}

void Logger::write() noexcept
{
    const CallerGuard guard;
    try {
        RecordWriter(*this).write();
    } catch (...) { // a stream with exceptions() set, its buffer, or a lock: logging does not report on itself
    }
}

// Makes room for so many more bytes.
void Logger::grow(std::size_t size)
{
    const auto used = static_cast<std::size_t>(end_ - begin_);
    const std::size_t capacity = used + std::max(used, size);
    std::unique_ptr<char[]> larger(new char[HeadRoom + capacity + TailRoom]);
    std::memcpy(larger.get() + HeadRoom, begin_, used);
    heap_ = std::move(larger);
    begin_ = heap_.get() + HeadRoom;
    end_ = begin_ + used;
    limit_ = begin_ + capacity;
}

Logger logCritical(const std::shared_ptr<LoggerConfig> &config)
{
    return Logger(config.get(), LoggerConfig::LogCritical);
}

Logger logError(const std::shared_ptr<LoggerConfig> &config)
{
    return Logger(config.get(), LoggerConfig::LogError);
}

Logger logWarning(const std::shared_ptr<LoggerConfig> &config)
{
    return Logger(config.get(), LoggerConfig::LogWarning);
}

Logger logInfo(const std::shared_ptr<LoggerConfig> &config)
{
    return Logger(config.get(), LoggerConfig::LogInfo);
}

Logger logDebug(const std::shared_ptr<LoggerConfig> &config)
{
    return Logger(config.get(), LoggerConfig::LogDebug);
}

} // namespace Tovrin::Parser::Logging
