// SPDX-License-Identifier: Apache-2.0
#include "problems.h"

#include "terminal.h"

#include <tovrin/parser/logging.h>

#include <array>
#include <iostream>
#include <streambuf>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace Tovrin::Tool {

namespace {

using Parser::Logging::lConfigParser;
using Parser::Logging::LoggerConfig;

struct Kind {
    std::string_view recordStart; // cppcheck-suppress unusedStructMember; of the library
    std::string_view name;
    bool isError;
    bool isWarning;
};

constexpr std::array Kinds{
    Kind{"CRITICAL: ", "error", true, false},  Kind{"ERROR: ", "error", true, false},
    Kind{"WARNING: ", "warning", false, true}, Kind{"INFO: ", "info", false, false},
    Kind{"DEBUG: ", "debug", false, false},
};
struct Place {
    const std::string *path = nullptr;
    std::uint32_t line = 0;
};

constexpr const Kind &Error = Kinds[1];
constexpr const Kind &Warning = Kinds[2];
constexpr Kind Note{"", "note", false, false}; // which the library does not log

} // namespace

// Stands in for the buffer of std::cerr. The library flushes once behind each record, and not within one.
class Problems::RecordBuffer : public std::streambuf {
public:
    explicit RecordBuffer(const Paint &paint) : paint_(paint)
    {
        std::cerr.unsetf(std::ios::unitbuf);
        terminal_ = std::cerr.rdbuf(this);
    }
    ~RecordBuffer() override
    {
        std::cerr.rdbuf(terminal_);
        std::cerr.setf(std::ios::unitbuf);
    }

    // The text is made printable here; the prefix has to be.
    void write(const std::string &prefix, std::string_view text)
    {
        const std::string line = prefix + printable(text) + '\n';
        terminal_->sputn(line.data(), static_cast<std::streamsize>(line.size()));
        terminal_->pubsync();
    }

    void write(const Kind &kind, const Place &place, std::string_view text)
    {
        const auto &[path, line] = place;
        const auto where = path ? printable(*path) + ':' + std::to_string(line) + ": " : "tovrin-config: ";
        const auto name = std::string(kind.name) + ": ";
        write(where + (kind.isError ? paint_.red(name) : kind.isWarning ? paint_.yellow(name) : name), text);
        problems += kind.isError;
    }

    std::size_t problems = 0;
    Place current;

protected:
    int_type overflow(int_type c) override
    {
        if (!traits_type::eq_int_type(c, traits_type::eof()))
            record_ += traits_type::to_char_type(c);
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(const char *text, std::streamsize size) override
    {
        record_.append(text, static_cast<std::size_t>(size));
        return size;
    }

    int sync() override
    {
        auto record = std::string_view(record_);
        if (record.ends_with('\n'))
            record.remove_suffix(1);
        for (const auto &kind : Kinds) {
            if (record.starts_with(kind.recordStart))
                write(kind, current, record.substr(kind.recordStart.size()));
        }
        record_.clear();
        return 0;
    }

private:
    Paint paint_;
    std::streambuf *terminal_;
    std::string record_;
};

Problems::Problems(const CommonOptions &options)
    : records_(std::make_unique<RecordBuffer>(Paint(options.color, STDERR_FILENO)))
{
    lConfigParser->setTarget(LoggerConfig::Stderr);
    lConfigParser->setLevel(options.verbose ? LoggerConfig::LogDebug : LoggerConfig::LogWarning);
}

Problems::~Problems() = default;

void Problems::report(const std::string &text)
{
    ++records_->problems;
    note(text);
}

void Problems::reportAt(const std::string &path, std::uint32_t line, const std::string &text)
{
    records_->write(Error, {&path, line}, text);
}

void Problems::note(const std::string &text)
{
    records_->write("tovrin-config: ", text);
}

void Problems::noteCommandsNotRun(std::size_t count, const std::string &whatRuns)
{
    if (count == 0)
        return;
    const std::string end = whatRuns.empty() ? "" : "; " + whatRuns + (count == 1 ? "it" : "them");
    if (count == 1)
        note("1 command of ${system:...} was not run" + end);
    else
        note(std::to_string(count) + " commands of ${system:...} were not run" + end);
}

void Problems::noteAt(const std::string &path, std::uint32_t line, const std::string &text)
{
    records_->write(Note, {&path, line}, text);
}

void Problems::setLine(const std::string &path, std::uint32_t line)
{
    records_->current = {&path, line};
}

void Problems::unsetLine()
{
    records_->current = {};
}

void Problems::errorHere(const std::string &text)
{
    records_->write(Error, records_->current, text);
}

void Problems::warnHere(const std::string &text)
{
    records_->write(Warning, records_->current, text);
}

std::size_t Problems::count() const
{
    return records_->problems;
}

} // namespace Tovrin::Tool
