// SPDX-License-Identifier: Apache-2.0
#include "tools/shell.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>

using Tovrin::Testing::Outcome;
using Tovrin::Testing::TempTree;

namespace {

std::string textOf(const std::string &page)
{
    std::ifstream file(TOVRIN_MANUALS "/" + page);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Manual, IsWellFormed)
{
    const TempTree folder;
    for (const std::string page : {"tovrin-config.1", "tovrin.conf.5"}) {
        // Which other pages this machine has is its own affair.
        const auto outcome =
            Tovrin::Testing::runInShell(folder, "mandoc -Tlint " TOVRIN_MANUALS "/" + page +
                                                    " 2>/dev/null | grep -v 'referenced manual not found'");
        EXPECT_EQ(outcome, (Outcome{1, "", ""})) << page;
    }
}

TEST(Manual, TellsOfEachOption)
{
    const TempTree folder;
    const auto manual = textOf("tovrin-config.1");
    static const std::regex option("(?:^|\n)  (?:-([a-z]),)?-(-?[a-z-]+)");
    for (const std::string command : {"dump", "get", "explain", "check", "graph"}) {
        const auto help = Tovrin::Testing::runInShell(folder, "tovrin-config " + command + " --help").out;
        std::size_t count = 0;
        for (std::sregex_iterator match(help.begin(), help.end(), option), end; match != end; ++match, ++count) {
            const bool isTold =
                std::regex_search(manual, std::regex(R"(\n\.It Fl ([a-z] , )?)" + (*match)[2].str() + "( |\n)"));
            EXPECT_TRUE(isTold) << command << " -" << (*match)[2];
        }
        EXPECT_GE(count, 8u) << command;
    }
}

} // namespace
