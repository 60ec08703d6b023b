// SPDX-License-Identifier: Apache-2.0
#include "support/env_guard.h"

#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <barrier>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <thread>

namespace {

std::atomic<int> timesOpened = 0;
std::atomic<int> flagsWhenOpened = 0;

} // namespace

// Found before the one of the system, because it belongs to the program itself.
extern "C" __attribute__((visibility("default"))) void *dlopen(const char *file, int flags)
{
    using Function = void *(*)(const char *, int);
    static const auto original = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "dlopen"));
    if (file && std::string_view(file) == "libandroid-properties.so.1") {
        ++timesOpened;
        flagsWhenOpened = flags;
    }
    return original(file, flags);
}

namespace {

using Tovrin::Parser::Helpers::getprop;
using Tovrin::Testing::EnvGuard;

// The library is opened once in a process and kept, so every test asks in a process of its own. That is started anew
// rather than forked: the loader looks at LD_LIBRARY_PATH only when a program starts.
class Properties : public testing::Test {
protected:
    Properties() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    static void expectAnswer(const std::string &folder, const std::string &name, const std::string &answer)
    {
        const EnvGuard libraries("LD_LIBRARY_PATH", folder);
        EXPECT_EXIT(ask(name), testing::ExitedWithCode(0), "^<" + answer + ">$") << name;
    }

    [[noreturn]] static void ask(const std::string &name)
    {
        const auto first = getprop(name);
        std::cerr << '<' << first << '>';
        std::exit(getprop(name) == first ? 0 : 1);
    }
};

constexpr const char *Library = TOVRIN_TEST_PROPERTIES "/present";
constexpr const char *LibraryWithoutFunction = TOVRIN_TEST_PROPERTIES "/without_function";
constexpr const char *NoLibrary = TOVRIN_TEST_PROPERTIES "/absent";

TEST_F(Properties, AreReadThroughTheLibrary)
{
    expectAnswer(Library, "test.value", "a value");
}

TEST_F(Properties, MayHaveTheFullLength)
{
    expectAnswer(Library, "test.longest", std::string(91, 'x'));
}

TEST_F(Properties, EndAtTheLimitWithoutANulByte)
{
    expectAnswer(Library, "test.unterminated", std::string(92, 'y'));
}

TEST_F(Properties, AreEmptyByDefault)
{
    expectAnswer(Library, "test.absent", "");
    expectAnswer(Library, "", "");
}

TEST_F(Properties, AreEmptyUnlessTheResultIsPositive)
{
    expectAnswer(Library, "test.negative", "");
    expectAnswer(Library, "test.zero", "");
}

TEST_F(Properties, AreEmptyWithoutTheLibrary)
{
    expectAnswer(NoLibrary, "test.value", "");
}

TEST_F(Properties, AreEmptyWithoutTheFunction)
{
    expectAnswer(LibraryWithoutFunction, "test.value", "");
}

[[noreturn]] void askFromEightThreads()
{
    constexpr int Count = 8;
    std::barrier start(Count);
    std::atomic<int> found = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < Count; ++i) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                found += getprop("test.value") == "a value";
            });
        }
    }
    std::cerr << found << " found, opened " << timesOpened << " time with flags " << flagsWhenOpened;
    std::exit(0);
}

TEST_F(Properties, OpenTheLibraryOnceWhicheverThreadComesFirst)
{
    const EnvGuard libraries("LD_LIBRARY_PATH", Library);
    EXPECT_EXIT(askFromEightThreads(), testing::ExitedWithCode(0), "^8 found, opened 1 time with flags 1$");
}

TEST_F(Properties, TryToOpenAMissingLibraryOnce)
{
    const EnvGuard libraries("LD_LIBRARY_PATH", NoLibrary);
    EXPECT_EXIT(askFromEightThreads(), testing::ExitedWithCode(0), "^0 found, opened 1 time with flags 1$");
}

} // namespace
