// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/logging.h>

#include "support/captured_records.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <locale>
#include <random>
#include <sstream>

namespace {

using namespace Tovrin::Parser::Logging;
using namespace Tovrin::Parser::Logging::Types;
using Tovrin::Testing::CapturedRecords;

const std::shared_ptr<LoggerConfig> &config()
{
    static const auto config = std::make_shared<LoggerConfig>("test.values", LoggerConfig::LogDebug);
    return config;
}

// The text of one record that `write` fills; a note if there was none, or more than one.
template <typename Write> std::string written(Write write)
{
    const CapturedRecords records;
    write();
    const auto all = records.all();
    return all.size() == 1 ? all.front().text : "not one record but " + std::to_string(all.size());
}

template <typename T> std::string behindText(const T &value, LoggerConfig::Level level = LoggerConfig::LogInfo)
{
    return written([&] { Logger(config().get(), level) << "" << value; });
}

template <typename T> std::string first(const T &value)
{
    return written([&] { logInfo(config()) << value; });
}

template <typename T> std::string streamed(const T &value)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

// Pointers alone follow the global locale, which may group their digits.
std::string streamedGlobally(const void *value)
{
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

// The value reads so behind a text, and as the first of its record.
template <typename T> void expectText(const T &value, const std::string &text)
{
    EXPECT_EQ(behindText(value), text);
    EXPECT_EQ(first(value), text);
}

template <typename T> void expectAsStreamed(const std::vector<T> &values)
{
    for (const T value : values)
        expectText(value, streamed(value));
}

// ---- Scalars --------------------------------------------------------------------------------------------------------

TEST(Values, WritesBooleansAsWords)
{
    expectText(true, "true");
    expectText(false, "false");
}

TEST(Values, WritesSmallCharactersAsCharacters)
{
    expectText<signed char>(65, "A");
    expectText<unsigned char>(72, "H");
    expectText<signed char>(-1, "\xff");
    expectText<unsigned char>(200, "\xc8");
}

TEST(Values, WritesSmallCharactersAsOneByteEach)
{
    for (int value = 1; value <= UCHAR_MAX; ++value) {
        expectText(static_cast<unsigned char>(value), std::string(1, static_cast<char>(value)));
        expectText(static_cast<signed char>(value), std::string(1, static_cast<char>(value)));
    }
}

template <typename T> class IntegerValues : public testing::Test {
};
using Integers =
    testing::Types<short, unsigned short, int, unsigned int, long, unsigned long, long long, unsigned long long>;
TYPED_TEST_SUITE(IntegerValues, Integers);

TYPED_TEST(IntegerValues, AreDecimal)
{
    using Limits = std::numeric_limits<TypeParam>;
    expectText<TypeParam>(0, "0");
    expectText<TypeParam>(42, "42");
    expectText<TypeParam>(10000, "10000");
    expectAsStreamed<TypeParam>(
        {Limits::min(), Limits::max(), static_cast<TypeParam>(-1), TypeParam(8), TypeParam(10)});
}

TEST(Values, WritesDoublesWithSixSignificantDigits)
{
    expectText(0.1, "0.1");
    expectText(1234567.0, "1.23457e+06");
    expectText(100000.0, "100000");
    expectText(1e-5, "1e-05");
    expectText(-0.0, "-0");
}

TEST(Values, WidensFloatsToDouble)
{
    expectText(1.5f, "1.5");
    expectText(0.1f, "0.1");
    expectText(16777216.0f, "1.67772e+07");
}

TEST(Values, WritesDoublesAsAStreamDoes)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    expectAsStreamed<double>({infinity, -infinity, nan, std::copysign(nan, -1.0), DBL_MAX, -DBL_MAX, DBL_MIN,
                              DBL_TRUE_MIN, DBL_EPSILON, 999999.5, 999999.4, 0.0001, 0.00001, 1e100, 2.5, 123456.5});
}

TEST(Values, WritesFloatsAsAStreamDoes)
{
    using Limits = std::numeric_limits<float>;
    expectAsStreamed<float>({Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::max(), Limits::min(),
                             Limits::denorm_min(), 3.14159274f});
}

TEST(Values, WritesAnyDoubleAsAStreamDoes)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        ASSERT_EQ(behindText(value), streamed(value)) << "bits " << bits;
    }
}

TEST(Values, WritesPointersInHexadecimal)
{
    const int object = 0;
    expectText(static_cast<const void *>(&object), streamedGlobally(&object));
    expectText(reinterpret_cast<const void *>(0x1f), "0x1f");
}

TEST(Values, WritesNullPointersAsNull)
{
    expectText(static_cast<const void *>(nullptr), "null");
    expectText(static_cast<void *>(nullptr), "null");
    expectText(static_cast<int *>(nullptr), "null");
    expectText(nullptr, "null");
}

// ---- Lists ----------------------------------------------------------------------------------------------------------

template <typename T> struct ListRow {
    std::vector<T> values;
    const char *type;
    const char *items;
};

template <typename T> void expectList(const ListRow<T> &row)
{
    const std::string debugText = std::string("vector<") + row.type + ">{" + row.items + "}";
    EXPECT_EQ(behindText(row.values, LoggerConfig::LogDebug), debugText);
    EXPECT_EQ(written([&] { logDebug(config()) << row.values; }), debugText);
    expectText(row.values, std::string("[") + row.items + "]");
    EXPECT_EQ(behindText(std::vector<T>(), LoggerConfig::LogDebug), std::string("vector<") + row.type + ">{}");
    expectText(std::vector<T>(), "[]");
}

TEST(ValueLists, NameTheirElementTypeInDebugRecords)
{
    expectList<bool>({{true, false}, "bool", "true, false"});
    expectList<signed char>({{65, 66}, "signed char", "A, B"});
    expectList<unsigned char>({{72, 105}, "unsigned char", "H, i"});
    expectList<short>({{-1, 2}, "short int", "-1, 2"});
    expectList<unsigned short>({{1, 65535}, "unsigned short int", "1, 65535"});
    expectList<int>({{1, 2, 3}, "int", "1, 2, 3"});
    expectList<unsigned int>({{1, UINT_MAX}, "unsigned int", "1, 4294967295"});
    const bool longIsWide = sizeof(long) == 8; // 4 bytes on 32-bit machines
    expectList<long>({{LONG_MIN, 2}, "long int", longIsWide ? "-9223372036854775808, 2" : "-2147483648, 2"});
    expectList<unsigned long>(
        {{ULONG_MAX, 2}, "unsigned long int", longIsWide ? "18446744073709551615, 2" : "4294967295, 2"});
    expectList<long long>({{LLONG_MIN, 2}, "long long int", "-9223372036854775808, 2"});
    expectList<unsigned long long>({{ULLONG_MAX, 2}, "unsigned long long int", "18446744073709551615, 2"});
    expectList<float>({{1.5f, 2}, "float", "1.5, 2"});
    expectList<double>({{0.1, 1234567}, "double", "0.1, 1.23457e+06"});
    expectList<std::string>({{"a", "b"}, "string", "a, b"});
    expectList<char>({{'a', 'b'}, "char", "a, b"});
}

TEST(ValueLists, HaveNoSeparatorAroundASingleElement)
{
    expectText(std::vector<int>{7}, "[7]");
    expectText(std::vector<std::string>{""}, "[]");
}

TEST(ValueLists, DoNotQuoteOrEscapeStrings)
{
    expectText(std::vector<std::string>{"a, b", "", "\"c\""}, "[a, b, , \"c\"]");
}

TEST(ValueLists, GoByTheLevelOfTheRecordAlone)
{
    const std::vector<int> values = {1, 2, 3};
    for (const auto level : {LoggerConfig::LogCritical, LoggerConfig::LogError, LoggerConfig::LogWarning,
                             LoggerConfig::LogInfo}) // of a configuration at LogDebug
        EXPECT_EQ(behindText(values, level), "[1, 2, 3]") << level;
    EXPECT_EQ(behindText(values, LoggerConfig::LogDebug), "vector<int>{1, 2, 3}");
}

// ---- Records --------------------------------------------------------------------------------------------------------

TEST(Values, CanBeChained)
{
    EXPECT_EQ(written([] { logWarning(config()) << 42 << " of " << 3.5 << ' ' << std::vector<bool>{true} << true; }),
              "42 of 3.5 [true]true");
}

TEST(Values, CanComeFirst)
{
    EXPECT_EQ(written([] { logInfo(config()) << 42; }), "42");
    EXPECT_EQ(written([] { logInfo(config()) << 0; }), "0");
    EXPECT_EQ(written([] { logInfo(config()) << true; }), "true");
    EXPECT_EQ(written([] { logWarning(config()) << std::vector<int>{1, 2, 3}; }), "[1, 2, 3]");
}

TEST(Values, LeaveTextsToTheRecord)
{
    char array[] = "array";
    std::string text = "string";
    expectText("literal", "literal");
    expectText(static_cast<char *>(array), "array");
    expectText(text, "string");
    expectText('c', "c");
    expectText(static_cast<const char *>(nullptr), "(null)");
    EXPECT_EQ(written([&] { logInfo(config()) << array; }), "array");
    EXPECT_EQ(written([&] { logInfo(config()) << text; }), "string");
    EXPECT_EQ(written([&] { logInfo(config()) << std::string("temporary"); }), "temporary");
    EXPECT_EQ(written([&] { logInfo(config()) << std::filesystem::path("/a/b"); }), "/a/b");
}

TEST(Values, WritesWhatConvertsAsBehindAText)
{
    enum Unscoped { Seven = 7 };
    struct {
        unsigned bits : 3;
    } field = {5};
    int array[2] = {};
    std::vector<bool> flags = {true};
    expectText(Seven, "7");
    expectText(flags[0], "true");
    expectText(static_cast<int *>(array), streamedGlobally(array));
    EXPECT_EQ(written([&] { logInfo(config()) << array; }), streamedGlobally(array));
    EXPECT_EQ(written([&] { logInfo(config()) << field.bits; }), "5");
}

namespace Geometry {

struct Point {
    int x, y;
};

Logger &operator<<(Logger &record, const Point &point)
{
    using Tovrin::Parser::Logging::Types::operator<<; // this very operator hides what a using directive brings
    return record << '(' << point.x << ", " << point.y << ')';
}

} // namespace Geometry

TEST(Values, CanBeOfTypesOfTheProgram)
{
    expectText(Geometry::Point{1, 2}, "(1, 2)");
}

TEST(Values, AreWrittenForNobodyWithoutHarm)
{
    const CapturedRecords records;
    logInfo(nullptr) << 42 << std::vector<double>{1, 2};
    EXPECT_TRUE(records.empty());
}

// ---- Locale ---------------------------------------------------------------------------------------------------------

class GroupedDigits : public std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\2"; }
    std::string do_truename() const override { return "ja"; }
};

class BrokenNumbers : public std::num_put<char> {
    iter_type do_put(iter_type, std::ios_base &, char, const void *) const override { throw std::bad_cast(); }
};

class GlobalLocale {
public:
    template <typename Facet>
    explicit GlobalLocale(Facet *facet) : former_(std::locale::global(std::locale(std::locale::classic(), facet)))
    {
    }
    ~GlobalLocale() { std::locale::global(former_); }

private:
    std::locale former_;
};

TEST(Values, DoNotFollowTheGlobalLocale)
{
    const GlobalLocale locale(new GroupedDigits);
    std::ostringstream control;
    control << 1234567;
    ASSERT_EQ(control.str(), "1.23.45.67");
    expectText(1234567, "1234567");
    expectText(1234567ull, "1234567");
    expectText(1.5, "1.5");
    expectText(123456.0, "123456");
    expectText(true, "true");
    expectText(std::vector<long>{1000, 2000}, "[1000, 2000]");
}

TEST(Values, WritesPointersByTheGlobalLocale)
{
    const GlobalLocale locale(new GroupedDigits);
    const void *const pointer = reinterpret_cast<const void *>(0x12345678);
    std::ostringstream expected;
    expected << pointer;
    ASSERT_NE(expected.str(), "0x12345678");
    expectText(pointer, expected.str());
}

TEST(Values, WritesAnEmptyPartForWhatAStreamCannotFormat)
{
    const GlobalLocale locale(new BrokenNumbers);
    EXPECT_EQ(first(reinterpret_cast<const void *>(0x1f)), "");
    EXPECT_EQ(written([] { logInfo(config()) << '<' << reinterpret_cast<const void *>(0x1f) << '>'; }), "<>");
}

} // namespace
