// SPDX-License-Identifier: Apache-2.0
#include "helpers/random_text.h"

#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

namespace {

using namespace std::string_literals;
using Tovrin::Parser::Helpers::stringToNumber;
using Tovrin::Testing::RandomRounds;
using Tovrin::Testing::RandomTexts;
using Tovrin::Testing::visible;

constexpr int IntMin = std::numeric_limits<int>::min();
constexpr int IntMax = std::numeric_limits<int>::max();
constexpr long long LongMin = std::numeric_limits<long long>::min();
constexpr long long LongMax = std::numeric_limits<long long>::max();
constexpr double Infinity = std::numeric_limits<double>::infinity();

template <typename T> struct Answer {
    T value;
    bool ok;
};

// The same number: bit for bit, but for what kind of NaN it is. Zero has a sign.
template <typename T> bool same(const Answer<T> &left, const Answer<T> &right)
{
    return left.ok == right.ok && left.value == right.value &&
           std::signbit(static_cast<double>(left.value)) == std::signbit(static_cast<double>(right.value));
}

template <typename T> std::ostream &operator<<(std::ostream &stream, const Answer<T> &answer)
{
    return stream << std::hexfloat << answer.value << (answer.ok ? " ok" : " not ok");
}

// What the function means, written down with a stream. It yields the largest finite double on overflow, we infinity.
template <typename T> Answer<T> byStream(const std::string &text)
{
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    if (text.rfind("0x", 0) == 0)
        stream >> std::hex;
    T value = 0;
    stream >> value;
    const bool ok = !stream.fail() && stream.eof();
    if constexpr (std::is_floating_point_v<T>) {
        if (stream.fail() && std::abs(value) == std::numeric_limits<T>::max())
            value = std::copysign(Infinity, value);
    }
    return {value, ok};
}

template <typename T> Answer<T> byFunction(const std::string &text)
{
    Answer<T> answer{};
    answer.value = stringToNumber<T>(text, &answer.ok);
    return answer;
}

template <typename T> void expectSame(const std::string &text)
{
    const auto seen = byFunction<T>(text);
    const auto expected = byStream<T>(text);
    EXPECT_TRUE(same(seen, expected)) << visible(text) << ": " << seen << " instead of " << expected;
}

void expectSameInAllForms(const std::string &text)
{
    expectSame<int>(text);
    expectSame<long long>(text);
    expectSame<double>(text);
}

template <typename T> struct Row {
    std::string text;
    T value;
    bool ok;
};

template <typename T> void expectRows(const std::vector<Row<T>> &rows)
{
    for (const auto &[text, value, ok] : rows) {
        const auto seen = byFunction<T>(text);
        EXPECT_TRUE(same(seen, {value, ok})) << visible(text) << ": " << seen;
        EXPECT_EQ(stringToNumber<T>(text), seen.value) << visible(text) << " without a flag";
        expectSame<T>(text);
    }
}

TEST(StringToInt, ReadsDecimalNumbers)
{
    expectRows<int>({{"42", 42, true},
                     {" 42", 42, true},
                     {"\t\n\v\f\r-42", -42, true},
                     {"+42", 42, true},
                     {"-0", 0, true},
                     {"010", 10, true},
                     {"0000000000000000000007", 7, true}});
}

TEST(StringToInt, ReadsHexadecimalNumbersBehindAPrefixAtTheStart)
{
    expectRows<int>({{"0x1F", 31, true},
                     {"0x1f", 31, true},
                     {"0x0", 0, true},
                     {"0x7fffffff", IntMax, true},
                     {"0x80000000", IntMax, false},
                     {"0x", 0, false},
                     {"0xg", 0, false},
                     {"0x-1", 0, false},
                     {"0x+1", 0, false},
                     {"0x 1", 0, false},
                     {"0x0x1F", 0, false},
                     {"0x1x", 1, false},
                     {"0X1F", 0, false},
                     {"-0x1F", 0, false},
                     {" 0x1F", 0, false}});
}

TEST(StringToInt, RejectsWhatIsNotWhollyANumber)
{
    expectRows<int>({{"", 0, false},
                     {" ", 0, false},
                     {"42 ", 42, false},
                     {"42abc", 42, false},
                     {"42\0"s, 42, false},
                     {"\0"
                      "42"s,
                      0, false},
                     {"4,2", 4, false},
                     {"4.2", 4, false},
                     {"1e3", 1, false},
                     {"+", 0, false},
                     {"-", 0, false},
                     {"+-1", 0, false},
                     {"--1", 0, false},
                     {"- 1", 0, false},
                     {"true", 0, false},
                     {"\xd9\xa1", 0, false}});
}

TEST(StringToInt, ClampsOnOverflow)
{
    expectRows<int>({{"2147483647", IntMax, true},
                     {"2147483648", IntMax, false},
                     {"-2147483648", IntMin, true},
                     {"-2147483649", IntMin, false},
                     {"9223372036854775808", IntMax, false},
                     {"-99999999999999999999x", IntMin, false},
                     {std::string(400, '9'), IntMax, false}});
}

TEST(StringToLongLong, ReadsDecimalAndHexadecimalNumbers)
{
    expectRows<long long>({{"2147483648", 2147483648LL, true},
                           {" -5000000000", -5000000000LL, true},
                           {"0x1F", 31, true},
                           {"0x7fffffffffffffff", LongMax, true},
                           {"010", 10, true},
                           {"42 ", 42, false},
                           {"", 0, false}});
}

TEST(StringToLongLong, ClampsOnOverflow)
{
    expectRows<long long>({{"9223372036854775807", LongMax, true},
                           {"9223372036854775808", LongMax, false},
                           {"-9223372036854775808", LongMin, true},
                           {"-9223372036854775809", LongMin, false},
                           {"0x8000000000000000", LongMax, false},
                           {"-" + std::string(400, '9'), LongMin, false}});
}

TEST(StringToDouble, ReadsFixedAndScientificNumbers)
{
    expectRows<double>({{"0", 0.0, true},
                        {"-0", -0.0, true},
                        {"1.5", 1.5, true},
                        {" +1.5", 1.5, true},
                        {"-1.5e3", -1500.0, true},
                        {"1E+2", 100.0, true},
                        {"1e-2", 0.01, true},
                        {".5", 0.5, true},
                        {"5.", 5.0, true},
                        {"-.5e1", -5.0, true},
                        {"5.e1", 50.0, true},
                        {"010", 10.0, true},
                        {"9007199254740993", 9007199254740992.0, true}});
}

TEST(StringToDouble, RejectsWhatIsNotWhollyANumber)
{
    expectRows<double>({{"", 0.0, false},
                        {" ", 0.0, false},
                        {".", 0.0, false},
                        {"+", 0.0, false},
                        {"-", 0.0, false},
                        {"-.", 0.0, false},
                        {".e1", 0.0, false},
                        {"e1", 0.0, false},
                        {"1e", 0.0, false},
                        {"1e+", 0.0, false},
                        {"1e-x", 0.0, false},
                        {"1.5 ", 1.5, false},
                        {"1.5\0"s, 1.5, false},
                        {"1.5.2", 1.5, false},
                        {"1e2.5", 100.0, false},
                        {"1e2e3", 100.0, false},
                        {"1,5", 1.0, false},
                        {"+-1", 0.0, false},
                        {"1e+-2", 0.0, false}});
}

TEST(StringToDouble, KnowsNoHexadecimalNumbersNoInfinityAndNoNan)
{
    expectRows<double>({{"0x10", 0.0, false},
                        {"0x", 0.0, false},
                        {"-0x10", -0.0, false},
                        {"0X1p3", 0.0, false},
                        {"inf", 0.0, false},
                        {"-infinity", 0.0, false},
                        {"nan", 0.0, false},
                        {"NAN(1)", 0.0, false}});
}

TEST(StringToDouble, BecomesInfiniteOnOverflow)
{
    expectRows<double>({{"1.7976931348623157e308", std::numeric_limits<double>::max(), true},
                        {"1.7976931348623159e308", Infinity, false},
                        {"1e309", Infinity, false},
                        {"-1e309", -Infinity, false},
                        {"+1e309", Infinity, false},
                        {"1e309x", Infinity, false},
                        {"1e99999999999999999999", Infinity, false},
                        {"-" + std::string(400, '9'), -Infinity, false}});
}

TEST(StringToDouble, TakesTheNearestNumberOnUnderflow)
{
    expectRows<double>({{"2.2250738585072014e-308", std::numeric_limits<double>::min(), true},
                        {"5e-324", std::numeric_limits<double>::denorm_min(), true},
                        {"2e-324", 0.0, true},
                        {"-1e-400", -0.0, true},
                        {"+1e-400", 0.0, true},
                        {"1e-400x", 0.0, false},
                        {"1e-99999999999999999999", 0.0, true},
                        {"0e99999999999999999999", 0.0, true},
                        {"0." + std::string(400, '0') + "1", 0.0, true},
                        {std::string(400, '9') + "e-400", 1.0, true}});
}

TEST(StringToNumber, DoesNotDependOnTheGlobalLocale)
{
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const auto former = std::locale::global(std::locale(std::locale::classic(), new Comma));
    EXPECT_TRUE(same(byFunction<double>("1.5"), {1.5, true}));
    EXPECT_TRUE(same(byFunction<double>("0.1e-400"), {0.0, true}));
    EXPECT_TRUE(same(byFunction<double>("1,5"), {1.0, false}));
    EXPECT_TRUE(same(byFunction<int>("1.000"), {1, false}));
    std::locale::global(former);
}

TEST(StringToNumber, ReadsIntegersAsAStreamWould)
{
    RandomTexts texts("0000111247899xXaAfFg+- \t.\0e"s, 12);
    for (int round = 0; round < RandomRounds && !HasFailure(); ++round) {
        const auto text = texts.next();
        expectSameInAllForms(text);
        expectSameInAllForms("0x" + text);
    }
}

TEST(StringToNumber, ReadsIntegersNearTheLimitsAsAStreamWould)
{
    RandomTexts tails("0123456789", 2);
    for (const std::string head : {"21474836", "92233720368547758", "-21474836", "-92233720368547758", "429496729"}) {
        for (int round = 0; round < RandomRounds / 5 && !HasFailure(); ++round)
            expectSameInAllForms(head + tails.next());
    }
}

TEST(StringToNumber, ReadsDoublesAsAStreamWould)
{
    RandomTexts texts("0012345678999..eE+- \n\0x,"s, 14);
    for (int round = 0; round < RandomRounds && !HasFailure(); ++round)
        expectSame<double>(texts.next());
}

TEST(StringToNumber, ReadsDoublesOfEveryMagnitudeAsAStreamWould)
{
    RandomTexts digits("0123456789", 22);
    for (int round = 0; round < RandomRounds && !HasFailure(); ++round) {
        const int exponent = static_cast<int>(digits.number(700)) - 350;
        expectSame<double>((round % 2 ? "-" : "") + digits.next() + "." + digits.next() + "e" +
                           std::to_string(exponent));
    }
}

} // namespace
