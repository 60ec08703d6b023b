// SPDX-License-Identifier: Apache-2.0
#include "findings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

using namespace Tovrin::Tool;

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>; // id, severity

Rows rowsOfDocument()
{
    static const std::regex row("\\| `([a-z-]+)` \\| (error|warning|note) \\| .+ \\|");
    Rows rows;
    std::ifstream file(TOVRIN_DOCS "/check.md");
    for (std::string line; std::getline(file, line);) {
        if (std::smatch match; std::regex_match(line, match, row))
            rows.emplace_back(match[1], match[2]);
    }
    return rows;
}

TEST(FindingIds, AreThoseOfTheDocumentInItsOrder)
{
    Rows rows;
    for (const auto &kind : allFindingKinds())
        rows.emplace_back(kind.id, nameOf(kind.severity));
    EXPECT_EQ(rowsOfDocument(), rows);
}

TEST(FindingIds, AreAllInTheManual)
{
    std::set<std::string> known;
    for (const auto &kind : allFindingKinds())
        known.emplace(kind.id);
    std::set<std::string> told;
    std::ifstream file(TOVRIN_MANUALS "/tovrin.conf.5");
    for (std::string line; std::getline(file, line);) {
        const auto mark = line.find(" Bq ");
        if (!line.starts_with(".It ") || mark == std::string::npos)
            continue;
        std::istringstream ids(line.substr(mark + 4));
        for (std::string id; ids >> id;) {
            if (id != ",")
                told.insert(id);
        }
    }
    EXPECT_EQ(told, known);
}

} // namespace
