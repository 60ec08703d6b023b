// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a user of a library without templates writes to have them: texts are filled in once, after loading. That is less
// than the library does, whose references follow what later files set; what it costs is part of loading.

#include <cstdlib>
#include <string>
#include <string_view>

namespace Bench {

inline bool hasTemplates(std::string_view text)
{
    return text.find("${") != text.npos;
}

// find(group, key) returns the text of another entry.
template <typename Find> std::string filledIn(const std::string &text, Find find)
{
    std::string result;
    std::size_t done = 0;
    for (std::size_t begin; (begin = text.find("${", done)) != text.npos;) {
        result.append(text, done, begin - done);
        const std::size_t end = text.find('}', begin);
        const std::string contents = text.substr(begin + 2, end - begin - 2);
        const std::size_t colon = contents.find(':');
        const std::string argument = contents.substr(colon + 1);
        if (contents.compare(0, colon, "env") == 0) {
            const char *value = std::getenv(argument.c_str());
            result += value ? value : "";
        } else {
            const std::size_t slash = argument.find('/');
            result += find(argument.substr(0, slash), argument.substr(slash + 1));
        }
        done = end + 1;
    }
    return result.append(text, done);
}

} // namespace Bench
