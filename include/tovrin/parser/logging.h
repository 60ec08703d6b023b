// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/export.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace Tovrin::Parser {

class ConfigParser;

// The logging that the library and its users share: named configurations, and records that are built by streaming.
//
//     auto lDaemon = LoggerConfig::create("org.example.daemon", LoggerConfig::LogInfo);
//     logWarning(lDaemon) << "Cannot open '" << path << "'";
//
// Everything here may be used from any thread.
namespace Logging {

class LoggerConfigPrivate;

// A named logging configuration: the most verbose level that it lets through, and the target of its records.
//
// Configurations come from create(), once per identity, and live until the process exits. Setters that reject a value
// leave the setting as it was, report the value at LogError through this very configuration, and return false.
class TOVRIN_EXPORT LoggerConfig {
public:
    // The name of a configuration; the text is copied.
    using Ident = const char *;

    // Lower is more severe. A configuration lets through the records of its own level and of lower ones.
    enum Level : std::int32_t {
        LogCritical,
        LogError,
        LogWarning,
        LogInfo,
        LogDebug,
    };

    // Where records go.
    enum Target : std::int32_t {
        Systemd, // the journal: the message alone, at syslog priority 2, 3, 4, 6 or 7
        Stdout,  // "LEVEL: message" and a newline on std::cout
        Stderr,  // the same on std::cerr
        File,    // the same at the end of a file, one write a record
    };

    // A configuration outside the registry, with the target Systemd. Programs call create().
    LoggerConfig(Ident ident, Level level);
    ~LoggerConfig();
    LoggerConfig(const LoggerConfig &) = delete;
    LoggerConfig &operator=(const LoggerConfig &) = delete;

    // The configuration of this identity, made and registered if there is none yet.
    //
    // An identity consists of letters, digits, "-", "_" and at least one "."; any other stops the process, a null
    // pointer throws std::logic_error. For an identity that exists, a warning is logged through it and its level is
    // set, so that the level of the latest call counts. Two threads that create the same new identity at the same
    // moment may get two configurations; instance() finds the first.
    static std::shared_ptr<LoggerConfig> create(Ident ident, Level level);

    // The registered configuration of this identity, or an empty handle. A null pointer throws std::logic_error.
    static std::shared_ptr<LoggerConfig> instance(Ident ident);

    // Valid as long as the configuration.
    Ident ident() const;

    // True if records of this level are let through.
    bool enabled(Level level) const;

    // Where records go now.
    Target target() const;

    // Stores the level, whatever it is, and returns true.
    bool setLevel(Level level);

    // "critical", "error", "warning", "info" or "debug" in any letter case, or a number from 0 to 4. Nothing is
    // trimmed.
    bool setLevel(const std::string &level);

    // The level of group "Logging", key = identity. An absent key changes nothing and returns true. `config` must not
    // be null: that stops the process.
    bool setLevel(const ConfigParser *config);

    // Any target but File, which needs a path.
    bool setTarget(Target target);

    // "systemd", "stdout" or "stderr" in any letter case, or an absolute path. The path is deliberately lower-cased
    // before the file is opened; the file is created or truncated each time, also when it is the target already. The
    // first record that cannot be written silences the file until the target is set again.
    //
    // The former file is closed at once, in all three forms: a record that was begun for it is dropped.
    bool setTarget(const std::string &target);

    // The target of group "Logging", key "LogTarget". An absent or empty key changes nothing and returns true. `config`
    // must not be null: that stops the process.
    bool setTarget(const ConfigParser *config);

    // Sets up all configurations that are registered now; see setupLogging().
    static void setupAll(const ConfigParser *config);

private:
    friend class Logger;

    std::shared_ptr<LoggerConfigPrivate> d_; // shared with records for a file, which may outlive the configuration
};

// The library's own configuration: "com.quenby.tovrin.lib.ConfigParser", at LogWarning to the journal until set up.
TOVRIN_EXPORT extern std::shared_ptr<LoggerConfig> lConfigParser;

// One record. It collects what is streamed into it and is written when it is destroyed, normally at the end of the
// statement that began it. A record without any part is not written, nor is one that its configuration does not let
// through, though it collects its parts all the same. Output failures are never reported.
//
// A record belongs to one thread.
class TOVRIN_EXPORT Logger {
public:
    // A record for nobody if `config` is null.
    Logger(LoggerConfig *config, LoggerConfig::Level level);
    ~Logger()
    {
        if (hasParts_ && (target_ != LoggerConfig::File || file_)) // a File without file_ stands for nobody
            write();
    }
    Logger(const Logger &) = delete;
    Logger &operator=(const Logger &) = delete;

    // The level of this record, whatever that of its configuration.
    LoggerConfig::Level level() const { return level_; }

    // Each appends one part. A null pointer is written as "(null)". A number without Logging::Types in sight converts
    // to a char, and is written as one raw byte.
    Logger &operator<<(const std::string &text) { return append(text.data(), text.size()); }
    Logger &operator<<(const std::string &&text) { return append(text.data(), text.size()); }
    Logger &operator<<(const char *text)
    {
        const char *const shown = text ? text : "(null)";
        return append(shown, std::char_traits<char>::length(shown));
    }
    Logger &operator<<(char c) { return append(&c, 1); }

private:
    friend class RecordWriter;

    // The text stands in a buffer with room around it for all that its emission adds, so that a finished record is
    // written as it lies there: the longest "CRITICAL: " before it, a newline or a terminating zero behind it.
    static constexpr std::size_t HeadRoom = 10;
    static constexpr std::size_t TailRoom = 1;
    static constexpr std::size_t InlineSize = 200; // most records fit, and then cost no allocation

    // Inline, as the end of a record is, because most records are below the level of their configuration: collecting a
    // text must cost next to nothing, and the compiler knows the length of a literal.
    Logger &append(const char *text, std::size_t size)
    {
        if (size > static_cast<std::size_t>(limit_ - end_))
            grow(size);
        std::memcpy(end_, text, size);
        end_ += size;
        hasParts_ = true;
        return *this;
    }
    void grow(std::size_t size);
    void write() noexcept;

    LoggerConfig::Level level_;
    LoggerConfig::Target target_ = LoggerConfig::File;
    bool hasParts_ = false;            // an empty part is one too
    std::uint32_t fileGeneration_ = 0; // of the file that the record was begun for
    std::shared_ptr<LoggerConfigPrivate> file_;
    char *begin_ = inline_ + HeadRoom;
    char *end_ = begin_;
    char *limit_ = inline_ + InlineSize - TailRoom;
    std::unique_ptr<char[]> heap_; // holds the text once it has outgrown inline_
    char inline_[InlineSize];
};

// Begins a record at this level; with an empty handle, one for nobody.
TOVRIN_EXPORT Logger logCritical(const std::shared_ptr<LoggerConfig> &config);
TOVRIN_EXPORT Logger logError(const std::shared_ptr<LoggerConfig> &config);
TOVRIN_EXPORT Logger logWarning(const std::shared_ptr<LoggerConfig> &config);
TOVRIN_EXPORT Logger logInfo(const std::shared_ptr<LoggerConfig> &config);
TOVRIN_EXPORT Logger logDebug(const std::shared_ptr<LoggerConfig> &config);

// Sets up every configuration that is registered now. For each of them the level comes from group "Logging", key =
// identity, and the target from key "LogTarget" of the parser, which may be null; then the level from the environment
// variable TOVRIN_LOGGING ("IDENTITY=LEVEL" entries separated by ";", the first that fits counts) and the target from
// TOVRIN_LOGGING_TARGET. A later source overrides an earlier one, and what it rejects leaves the earlier setting.
//
// The keys are not registered here: a program that registers keys with its parser registers these too, or is warned.
// Not safe beside code that changes the environment.
TOVRIN_EXPORT void setupLogging(const ConfigParser *config);

// Operators that write values into records: `using namespace Tovrin::Parser::Logging::Types;` where they are wanted. In
// a namespace or class with an operator<< of its own say `using Tovrin::Parser::Logging::Types::operator<<;` in the
// function instead: its own hides the others there, and numbers would be raw bytes again.
//
// Numbers are written as a stream in the classic locale would, whatever the global locale is: doubles with six
// significant digits. signed and unsigned char are characters. Lists are "[1, 2]", and in records at LogDebug
// "vector<int>{1, 2}".
namespace Types {

// Appends one value and returns the record: "true" or "false", a character, a number, or an address, "null" for a null
// pointer. An address is deliberately written as the global locale has it, unlike the numbers.
TOVRIN_EXPORT Logger &operator<<(Logger &record, bool value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, signed char value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, unsigned char value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, short value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, unsigned short value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, int value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, unsigned int value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, long value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, unsigned long value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, long long value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, unsigned long long value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, float value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, double value);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const void *value);
inline Logger &operator<<(Logger &record, std::nullptr_t)
{
    return record << static_cast<const void *>(nullptr);
}

// Appends a list and returns the record. Each value is written as it would be alone.
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<bool> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<char> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<signed char> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<unsigned char> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<short> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<unsigned short> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<int> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<unsigned int> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<long> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<unsigned long> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<long long> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<unsigned long long> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<float> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<double> &values);
TOVRIN_EXPORT Logger &operator<<(Logger &record, const std::vector<std::string> &values);

// Lets a value come first, as in `logInfo(config) << 42`: whatever it is, it is written as it would be behind a text.
template <typename T> Logger &operator<<(Logger &&record, const T &value)
{
    return record << value;
}

} // namespace Types

} // namespace Logging

} // namespace Tovrin::Parser
