// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_dir_parser.h>

#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include <algorithm>

namespace Tovrin::Parser {

using Logging::lConfigParser;
using Logging::logError;

namespace {

const std::string ConfigFilePattern = "*.conf";

enum ReadDirectoriesResult : int {
    NoConfiguration = 0,
    Success = 1,
    InvalidConfiguration = 2,
};

// Only the slash that the pattern needs: nothing else is normalised, and no directory at all means the root.
std::string withTrailingSlash(const std::string &directory)
{
    return !directory.empty() && directory.back() == '/' ? directory : directory + '/';
}

// In the order in which they are to be read.
std::vector<std::string> configFilesIn(const std::string &directory)
{
    auto files = Helpers::glob2(withTrailingSlash(directory) + ConfigFilePattern);
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

ConfigDirParser::ConfigDirParser(std::uint32_t uid) : ConfigParser(uid)
{
}

bool ConfigDirParser::readDirectory(const std::string &directory)
{
    const auto files = configFilesIn(directory);
    if (files.empty()) {
        logError(lConfigParser) << "No configuration to read in " << withTrailingSlash(directory);
        return false;
    }
    bool allLoaded = true;
    for (const auto &file : files)
        allLoaded = readConfig(file) && allLoaded;
    return allLoaded;
}

int ConfigDirParser::readDirectories(const std::vector<std::string> &directories)
{
    if (directories.empty())
        return Success;
    int result = NoConfiguration;
    for (const auto &directory : directories) {
        for (const auto &file : configFilesIn(directory)) {
            if (!readConfig(file)) {
                logError(lConfigParser) << "Invalid configuration in " << file;
                return InvalidConfiguration;
            }
            result = Success;
        }
    }
    return result;
}

} // namespace Tovrin::Parser
