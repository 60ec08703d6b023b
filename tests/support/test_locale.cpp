// SPDX-License-Identifier: Apache-2.0

// Runs the tests of the program in the locale that TOVRIN_TEST_LOCALE names, C++ and C, as a program that calls
// std::locale::global() would use the library.

#include <gtest/gtest.h>

#include <cstdlib>
#include <locale>

namespace {

class TestLocale : public testing::Environment {
    void SetUp() override
    {
        if (const char *name = std::getenv("TOVRIN_TEST_LOCALE"))
            std::locale::global(std::locale(name)); // throws for a locale that does not exist
    }
};

[[maybe_unused]] const auto *const testLocale = testing::AddGlobalTestEnvironment(new TestLocale);

} // namespace
