// SPDX-License-Identifier: Apache-2.0
#include "support/env_guard.h"

#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

namespace {

using Tovrin::Parser::Helpers::getenv2;
using Tovrin::Testing::EnvGuard;

constexpr const char *Variable = "TOVRIN_TEST_VARIABLE";

TEST(Getenv2, IsTheValueOfAVariable)
{
    const EnvGuard guard(Variable, " a value ");
    EXPECT_EQ(getenv2(Variable, "fallback"), " a value ");
}

TEST(Getenv2, TakesAnEmptyVariableForSet)
{
    const EnvGuard guard(Variable, "");
    EXPECT_EQ(getenv2(Variable, "fallback"), "");
}

TEST(Getenv2, FallsBackWithoutTheVariable)
{
    const EnvGuard guard(Variable, std::nullopt);
    EXPECT_EQ(getenv2(Variable, "fallback"), "fallback");
    EXPECT_EQ(getenv2("", "fallback"), "fallback");
}

} // namespace
