// SPDX-License-Identifier: Apache-2.0
#include "helpers/numbers.h"

#include <tovrin/parser/helpers.h>

#include "text_scan.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <locale>
#include <sstream>

// What is accepted is exactly what an input stream in the classic locale reads; std::from_chars alone accepts other
// texts ("inf", "+-1") and rejects some ("+1"). So each number is scanned here first, and only then converted.
namespace Tovrin::Parser {

namespace {

template <typename T> struct Reading {
    T value = 0;
    bool valid = false;         // the text begins with a number that is in range
    std::string_view rest = {}; // the text behind it
};

bool startsWithHexPrefix(std::string_view text)
{
    return text.starts_with("0x");
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::size_t digitsAt(std::string_view text, std::size_t position)
{
    std::size_t end = position;
    while (end < text.size() && isDigit(text[end]))
        ++end;
    return end - position;
}

bool isSign(std::string_view text, std::size_t position)
{
    return position < text.size() && (text[position] == '+' || text[position] == '-');
}

// A plus sign, which std::from_chars does not know, is skipped; a minus sign stays.
std::string_view withoutPlus(std::string_view text)
{
    return !text.empty() && text.front() == '+' ? text.substr(1) : text;
}

std::string_view behind(std::string_view text, const char *end)
{
    return text.substr(static_cast<std::size_t>(end - text.data()));
}

template <typename T> T clamped(bool negative)
{
    return negative ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
}

template <int Base, typename T> Reading<T> readDigits(std::string_view digits)
{
    Reading<T> reading;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), reading.value, Base);
    if (error == std::errc::result_out_of_range)
        reading.value = clamped<T>(digits.front() == '-');
    reading.valid = error == std::errc();
    reading.rest = behind(digits, end);
    return reading;
}

// A minus sign or none, and digits. As many digits as fit whatever they are, which is nearly all numbers, need no check
// for each of them.
template <typename T> Reading<T> readDecimal(std::string_view text)
{
    const bool negative = text.front() == '-';
    std::size_t end = negative ? 1 : 0;
    const std::size_t checked = std::min(text.size(), end + std::numeric_limits<T>::digits10);
    T value = 0;
    for (; end < checked && isDigit(text[end]); ++end)
        value = value * 10 + (text[end] - '0');
    if (end < text.size() && isDigit(text[end]))
        return readDigits<10, T>(text);
    return {negative ? -value : value, true, text.substr(end)};
}

template <typename T> Reading<T> readHexadecimal(std::string_view text)
{
    const auto digits = text.substr(2);
    if (isSign(digits, 0))
        return {};
    return readDigits<16, T>(digits);
}

template <typename T> Reading<T> readInteger(std::string_view text)
{
    if (startsWithHexPrefix(text))
        return readHexadecimal<T>(text);
    const auto number = withoutLeadingSpace(text);
    const std::size_t first = isSign(number, 0) ? 1 : 0;
    if (first == number.size() || !isDigit(number[first]))
        return {};
    return readDecimal<T>(withoutPlus(number));
}

// The characters that an input stream takes for a floating-point number, which need not make one.
struct DoubleToken {
    std::string_view text;
    bool wellFormed;
};

DoubleToken takeDoubleToken(std::string_view text)
{
    std::size_t end = isSign(text, 0) ? 1 : 0;
    std::size_t mantissaDigits = digitsAt(text, end);
    end += mantissaDigits;
    if (end < text.size() && text[end] == '.') {
        const auto decimals = digitsAt(text, end + 1);
        mantissaDigits += decimals;
        end += 1 + decimals;
    }
    if (mantissaDigits == 0 || end == text.size() || toLower(text[end]) != 'e')
        return {text.substr(0, end), mantissaDigits > 0};
    end += isSign(text, end + 1) ? 2 : 1;
    const auto exponentDigits = digitsAt(text, end);
    return {text.substr(0, end + exponentDigits), exponentDigits > 0};
}

// A number beyond the range of double, in either direction, which std::from_chars does not tell apart. Too small
// becomes the nearest there is; too large is infinity here, though a stream yields the largest finite value.
Reading<double> convertOutOfRange(std::string_view token)
{
    Reading<double> reading;
    std::istringstream stream{std::string(token)};
    stream.imbue(std::locale::classic());
    stream.exceptions(std::ios::badbit); // where memory runs out, the number is not too large
    stream >> reading.value;
    reading.valid = !stream.fail();
    if (!reading.valid)
        reading.value =
            reading.value < 0 ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
    return reading;
}

Reading<double> convertDouble(std::string_view token)
{
    Reading<double> reading;
    const auto number = withoutPlus(token);
    const auto error = std::from_chars(number.data(), number.data() + number.size(), reading.value).ec;
    if (error == std::errc::result_out_of_range)
        return convertOutOfRange(token);
    reading.valid = error == std::errc();
    return reading;
}

Reading<double> readDouble(std::string_view text)
{
    if (startsWithHexPrefix(text))
        return {};
    const auto number = withoutLeadingSpace(text);
    const auto token = takeDoubleToken(number);
    if (!token.wellFormed)
        return {};
    auto reading = convertDouble(token.text);
    reading.rest = number.substr(token.text.size());
    return reading;
}

template <typename T> Reading<T> read(std::string_view text)
{
    if constexpr (std::is_floating_point_v<T>)
        return readDouble(text);
    else
        return readInteger<T>(text);
}

} // namespace

template <typename T> T numberFromText(std::string_view text, bool *ok)
{
    const auto reading = read<T>(text);
    if (ok)
        *ok = reading.valid && reading.rest.empty();
    return reading.value;
}

template int numberFromText<int>(std::string_view text, bool *ok);
template long long numberFromText<long long>(std::string_view text, bool *ok);
template double numberFromText<double>(std::string_view text, bool *ok);

namespace Helpers {

template <typename T> T stringToNumber(const std::string &text, bool *ok)
{
    return numberFromText<T>(text, ok);
}

template TOVRIN_EXPORT int stringToNumber<int>(const std::string &text, bool *ok);
template TOVRIN_EXPORT long long stringToNumber<long long>(const std::string &text, bool *ok);
template TOVRIN_EXPORT double stringToNumber<double>(const std::string &text, bool *ok);

} // namespace Helpers

} // namespace Tovrin::Parser
