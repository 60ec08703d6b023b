// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/logging.h>

#include <charconv>
#include <sstream>

namespace Tovrin::Parser::Logging::Types {

namespace {

// As a stream in the classic locale writes it, but without one: to_chars knows no locale. Every number fits.
template <typename T, typename... Format> Logger &writeNumber(Logger &record, T value, Format... format)
{
    char text[32];
    *std::to_chars(text, text + sizeof text - 1, value, format...).ptr = '\0';
    return record << text;
}

// Debug records are for developers: only there a list names the type of its elements.
template <typename Values> Logger &writeList(Logger &record, const char *typedOpening, const Values &values)
{
    const bool typed = record.level() == LoggerConfig::LogDebug;
    record << (typed ? typedOpening : "[");
    const char *separator = "";
    for (const auto &value : values) {
        record << separator << value;
        separator = ", ";
    }
    return record << (typed ? '}' : ']');
}

} // namespace

Logger &operator<<(Logger &record, bool value)
{
    return record << (value ? "true" : "false");
}

Logger &operator<<(Logger &record, signed char value)
{
    return record << static_cast<char>(value);
}

Logger &operator<<(Logger &record, unsigned char value)
{
    return record << static_cast<char>(value);
}

Logger &operator<<(Logger &record, short value)
{
    return writeNumber(record, value);
}

Logger &operator<<(Logger &record, unsigned short value)
{
    return writeNumber(record, value);
}

Logger &operator<<(Logger &record, int value)
{
    return writeNumber(record, value);
}

Logger &operator<<(Logger &record, unsigned int value)
{
    return writeNumber(record, value);
}

Logger &operator<<(Logger &record, long value)
{
    return writeNumber(record, value);
}

Logger &operator<<(Logger &record, unsigned long value)
{
    return writeNumber(record, value);
}

Logger &operator<<(Logger &record, long long value)
{
    return writeNumber(record, value);
}

Logger &operator<<(Logger &record, unsigned long long value)
{
    return writeNumber(record, value);
}

Logger &operator<<(Logger &record, float value)
{
    return record << static_cast<double>(value);
}

Logger &operator<<(Logger &record, double value)
{
    return writeNumber(record, value, std::chars_format::general, 6);
}

Logger &operator<<(Logger &record, const void *value)
{
    if (!value)
        return record << "null";
    // Deliberately in the global locale, unlike the numbers: one that groups digits groups these too.
    std::ostringstream stream;
    stream << value;
    return record << (stream ? stream.str() : std::string());
}

Logger &operator<<(Logger &record, const std::vector<bool> &values)
{
    return writeList(record, "vector<bool>{", values);
}

Logger &operator<<(Logger &record, const std::vector<char> &values)
{
    return writeList(record, "vector<char>{", values);
}

Logger &operator<<(Logger &record, const std::vector<signed char> &values)
{
    return writeList(record, "vector<signed char>{", values);
}

Logger &operator<<(Logger &record, const std::vector<unsigned char> &values)
{
    return writeList(record, "vector<unsigned char>{", values);
}

Logger &operator<<(Logger &record, const std::vector<short> &values)
{
    return writeList(record, "vector<short int>{", values);
}

Logger &operator<<(Logger &record, const std::vector<unsigned short> &values)
{
    return writeList(record, "vector<unsigned short int>{", values);
}

Logger &operator<<(Logger &record, const std::vector<int> &values)
{
    return writeList(record, "vector<int>{", values);
}

Logger &operator<<(Logger &record, const std::vector<unsigned int> &values)
{
    return writeList(record, "vector<unsigned int>{", values);
}

Logger &operator<<(Logger &record, const std::vector<long> &values)
{
    return writeList(record, "vector<long int>{", values);
}

Logger &operator<<(Logger &record, const std::vector<unsigned long> &values)
{
    return writeList(record, "vector<unsigned long int>{", values);
}

Logger &operator<<(Logger &record, const std::vector<long long> &values)
{
    return writeList(record, "vector<long long int>{", values);
}

Logger &operator<<(Logger &record, const std::vector<unsigned long long> &values)
{
    return writeList(record, "vector<unsigned long long int>{", values);
}

Logger &operator<<(Logger &record, const std::vector<float> &values)
{
    return writeList(record, "vector<float>{", values);
}

Logger &operator<<(Logger &record, const std::vector<double> &values)
{
    return writeList(record, "vector<double>{", values);
}

Logger &operator<<(Logger &record, const std::vector<std::string> &values)
{
    return writeList(record, "vector<string>{", values);
}

} // namespace Tovrin::Parser::Logging::Types
