// SPDX-License-Identifier: Apache-2.0
#include "nearest.h"

#include "text_scan.h"

#include <algorithm>
#include <vector>

namespace Tovrin::Tool {

namespace {

// Without what people overlook.
std::string essence(std::string_view name)
{
    std::string result;
    for (const char c : name) {
        if (!Parser::isSpace(c))
            result += Parser::toLower(c);
    }
    return result;
}

// How many characters have to be inserted, removed, changed or swapped with their neighbour to turn one text into the
// other; counted no further than the limit, beyond which the answer is limit + 1.
std::size_t distance(std::string_view from, std::string_view to, std::size_t limit)
{
    if (std::max(from.size(), to.size()) - std::min(from.size(), to.size()) > limit)
        return limit + 1;
    std::vector<std::size_t> last;
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        const auto beforeLast = std::move(last);
        last = row;
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (from[i - 1] == to[j - 1] ? 0u : 1u)});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        if (*std::min_element(row.begin(), row.end()) > limit)
            return limit + 1;
    }
    return std::min(row.back(), limit + 1);
}

} // namespace

std::optional<std::string_view> nearestName(std::string_view name, std::span<const std::string_view> candidates)
{
    constexpr std::size_t LongestName = 256; // the effort grows with the square
    const auto wanted = essence(name);
    std::optional<std::string_view> nearest;
    std::size_t fewest = LongestName;
    for (const auto candidate : candidates) {
        if (std::max(name.size(), candidate.size()) > LongestName)
            continue;
        const auto known = essence(candidate);
        const auto limit = std::min(fewest - 1, std::max(wanted.size(), known.size()) / 3);
        if (const auto mistakes = distance(wanted, known, limit); mistakes <= limit) {
            nearest = candidate;
            fewest = mistakes;
            if (mistakes == 0)
                break;
        }
    }
    return nearest;
}

} // namespace Tovrin::Tool
