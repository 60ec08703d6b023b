// SPDX-License-Identifier: Apache-2.0
#include "input_files.h"

#include "problems.h"

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/helpers.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace Tovrin::Tool {

namespace {

namespace fs = std::filesystem;

void reportUnreadable(const std::string &path, const std::string &reason, Problems &problems)
{
    problems.report("cannot read '" + path + "': " + reason);
}

// The files of a directory in reading order, found as ConfigDirParser finds them. It is not asked to read them itself,
// because it would not return from a file that has no newline at its end.
std::vector<std::string> filesOf(const std::string &directory, Problems &problems)
{
    std::error_code error;
    if (fs::directory_iterator(directory, error); error) {
        reportUnreadable(directory, error.message(), problems);
        return {};
    }
    auto files = Parser::Helpers::glob2(directory + (directory.ends_with('/') ? "" : "/") + "*.conf");
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> filesOfAll(const std::vector<std::string> &paths, Problems &problems)
{
    std::vector<std::string> files;
    for (const auto &path : paths) {
        std::error_code error;
        if (fs::is_directory(path, error)) {
            const auto found = filesOf(path, problems);
            files.insert(files.end(), found.begin(), found.end());
        } else {
            files.push_back(path);
        }
    }
    return files;
}

// True if the file is empty or ends with a newline. It is read to its end: only that tells for files of the kernel,
// whose size is not known before.
bool endsWithNewline(std::ifstream &file)
{
    std::array<char, 64 * 1024> buffer;
    char last = '\n';
    do {
        file.read(buffer.data(), buffer.size());
        if (file.gcount() > 0)
            last = buffer[static_cast<std::size_t>(file.gcount()) - 1];
    } while (file);
    return last == '\n';
}

// Looks before reading; reports why not to read.
bool safeToRead(const std::string &path, Problems &problems)
{
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        reportUnreadable(path, error ? error.message() : "not a regular file", problems);
        return false;
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        reportUnreadable(path, std::strerror(errno), problems);
        return false;
    }
    if (!endsWithNewline(file)) {
        reportUnreadable(path, "no newline at its end; a program that reads it would never return", problems);
        return false;
    }
    return true;
}

} // namespace

void readAll(const std::vector<std::string> &paths, Parser::ConfigParser &config, Problems &problems)
{
    const auto files = filesOfAll(paths, problems);
    if (files.empty() && problems.count() == 0)
        problems.report("no '*.conf' in " + Parser::Helpers::join(paths, ' '));
    for (const auto &file : files) {
        problems.startFile(file);
        if (safeToRead(file, problems))
            config.readConfig(file); // a failure shows as error records, which name the file
    }
}

} // namespace Tovrin::Tool
