// SPDX-License-Identifier: Apache-2.0
#pragma once

// The "*.conf" files of a directory in byte-wise order: what a user of a library without directories writes first.

#include <dirent.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace Bench {

inline std::vector<std::string> configurationFiles(const std::string &directory)
{
    std::vector<std::string> files;
    DIR *const stream = ::opendir(directory.c_str());
    while (const dirent *entry = stream ? ::readdir(stream) : nullptr)
        if (std::string_view(entry->d_name).ends_with(".conf") && entry->d_name[0] != '.')
            files.push_back(directory + "/" + entry->d_name);
    if (stream)
        ::closedir(stream);
    std::sort(files.begin(), files.end());
    return files;
}

template <typename ReadFile> bool readEach(const std::string &directory, ReadFile readFile)
{
    const auto files = configurationFiles(directory);
    return !files.empty() && std::all_of(files.begin(), files.end(), readFile);
}

} // namespace Bench
