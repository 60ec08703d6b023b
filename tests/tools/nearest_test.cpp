// SPDX-License-Identifier: Apache-2.0
#include "nearest.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace {

using Tovrin::Tool::nearestName;

TEST(NearestName, FindsWhatWasMistyped)
{
    const std::vector<std::string_view> names{"dump", "get", "explain", "check", "graph"};
    for (const auto &[name, nearest] : std::vector<std::pair<std::string, std::string>>{{"dmp", "dump"},
                                                                                        {"dupm", "dump"},
                                                                                        {"dumpp", "dump"},
                                                                                        {"DUMP", "dump"},
                                                                                        {" d u m p ", "dump"},
                                                                                        {"geet", "get"},
                                                                                        {"expalin", "explain"},
                                                                                        {"chekc", "check"},
                                                                                        {"grpah", "graph"}})
        EXPECT_EQ(nearestName(name, names), nearest) << name;
}

TEST(NearestName, FindsNothingForWhatIsFar)
{
    const std::vector<std::string_view> names{"dump", "get", "explain"};
    for (const auto &name : std::vector<std::string>{"", "x", "bump it up", "exp", "pmud", std::string(1000, 'd')})
        EXPECT_EQ(nearestName(name, names), std::nullopt) << name;
    EXPECT_EQ(nearestName("dump", {}), std::nullopt);
}

TEST(NearestName, PrefersFewestMistakesAndThenTheFirst)
{
    const std::vector<std::string_view> names{"BufferSizeOut", "BufferSizeInn", "buffersizein"};
    EXPECT_EQ(nearestName("BufferSizeIn", names), "buffersizein");
    EXPECT_EQ(nearestName("BufferSizeI", names), "buffersizein");
    EXPECT_EQ(nearestName("ab", std::vector<std::string_view>{"ac.", "abc", "abd"}), "abc");
}

} // namespace
