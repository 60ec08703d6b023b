// SPDX-License-Identifier: Apache-2.0
#include "problems.h"

#include <tovrin/parser/logging.h>

#include <cstdint>
#include <fstream>
#include <iostream>
#include <optional>
#include <streambuf>
#include <string_view>

namespace Tovrin::Tool {

namespace {

using Parser::Logging::lConfigParser;
using Parser::Logging::LoggerConfig;

// Control bytes as escapes; a tab is harmless, and bytes above 127 may be UTF-8.
std::string printable(std::string_view text)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n')
            result += "\\n";
        else if (c == '\r')
            result += "\\r";
        else if ((byte < 0x20 && c != '\t') || byte == 0x7f)
            result.append("\\x").append(1, Digits[byte >> 4]).append(1, Digits[byte & 0xf]);
        else
            result += c;
    }
    return result;
}

// Finds bad lines again. They are reported in the order of the file, so one walk over it serves all of them.
class BadLines {
public:
    explicit BadLines(const std::string &path) : path_(path) {}

    const std::string &path() const { return path_; }

    // The number of the next line that holds this text and whose number ends in these eight bits.
    std::optional<std::uint64_t> find(unsigned char lowByte, std::string_view text)
    {
        if (!file_.is_open())
            file_.open(path_, std::ios::binary);
        for (std::string line; std::getline(file_, line);) {
            if (static_cast<unsigned char>(++number_) == lowByte && line == text)
                return number_;
        }
        return std::nullopt;
    }

private:
    std::string path_;
    std::ifstream file_;
    std::uint64_t number_ = 0;
};

// Writes digits where the record has "PATH (BYTE): 'LINE'".
void spellLineNumber(std::string &record, BadLines &lines)
{
    const std::string before = " in " + lines.path() + " (";
    constexpr std::string_view Behind = "): '";
    const auto found = record.find(before);
    if (found == std::string::npos)
        return;
    const auto byte = found + before.size();
    const auto line = byte + 1 + Behind.size();
    if (line >= record.size() || record.compare(byte + 1, Behind.size(), Behind) != 0)
        return;
    const auto text = std::string_view(record).substr(line, record.size() - 1 - line);
    if (const auto number = lines.find(static_cast<unsigned char>(record[byte]), text))
        record.replace(byte, 1, "line " + std::to_string(*number));
}

} // namespace

// Stands in for the buffer of std::cerr. The library flushes once behind each record, and not within one.
class Problems::RecordBuffer : public std::streambuf {
public:
    RecordBuffer() : lines_("")
    {
        std::cerr.unsetf(std::ios::unitbuf);
        terminal_ = std::cerr.rdbuf(this);
    }
    ~RecordBuffer() override
    {
        std::cerr.rdbuf(terminal_);
        std::cerr.setf(std::ios::unitbuf);
    }

    void startFile(const std::string &path) { lines_ = BadLines(path); }

    void write(const std::string &line)
    {
        const std::string text = printable(line) + '\n';
        terminal_->sputn(text.data(), static_cast<std::streamsize>(text.size()));
        terminal_->pubsync();
    }

    std::size_t problems = 0;

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
        if (record_.empty())
            return 0;
        if (record_.back() == '\n')
            record_.pop_back();
        if (record_.starts_with("ERROR: ") || record_.starts_with("CRITICAL: "))
            ++problems;
        spellLineNumber(record_, lines_);
        write(record_);
        record_.clear();
        return 0;
    }

private:
    std::streambuf *terminal_;
    std::string record_;
    BadLines lines_;
};

Problems::Problems(bool verbose) : records_(std::make_unique<RecordBuffer>())
{
    lConfigParser->setTarget(LoggerConfig::Stderr);
    lConfigParser->setLevel(verbose ? LoggerConfig::LogDebug : LoggerConfig::LogWarning);
}

Problems::~Problems() = default;

void Problems::report(const std::string &text)
{
    ++records_->problems;
    records_->write("tovrin-config: " + text);
}

void Problems::startFile(const std::string &path)
{
    records_->startFile(path);
}

std::size_t Problems::count() const
{
    return records_->problems;
}

} // namespace Tovrin::Tool
