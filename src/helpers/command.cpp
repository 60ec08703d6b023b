// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace Tovrin::Parser::Helpers {

using Logging::lConfigParser;
using Logging::logError;
using Logging::logWarning;

namespace {

// Also for output that does not fit into memory: no process may be left behind.
struct PipeCloser {
    void operator()(FILE *pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<FILE, PipeCloser>;

std::string commandLine(const std::string &command, const std::vector<std::string> &arguments)
{
    std::string line = command;
    for (const auto &argument : arguments)
        line += " '" + argument + "'";
    return line;
}

std::string readAll(FILE *pipe)
{
    std::string output;
    char piece[1024];
    while (std::fgets(piece, sizeof piece, pipe))
        output += piece; // what stands between a NUL byte and the end of its piece is lost
    return output;
}

// NOLINTBEGIN(concurrency-mt-unsafe): glibc keeps the text of strerror() for each thread

void reportExit(const std::string &command, int status)
{
    if (status < 0)
        logError(lConfigParser) << command << " pclose() exited with failure: " << std::strerror(errno);
    else if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        // One raw byte on purpose, not digits: the bytes of a record are part of the interface.
        logWarning(lConfigParser) << command
                                  << " exited with non-zero status: " << static_cast<char>(WEXITSTATUS(status));
}

} // namespace

std::string capture(const std::string &command, const std::vector<std::string> &arguments, int *status)
{
    int waitStatus = -1;
    std::string output;
    if (Pipe pipe{popen(commandLine(command, arguments).c_str(), "r")}) { // NOLINT(cert-env33-c): a shell is wanted
        output = readAll(pipe.get());
        waitStatus = pclose(pipe.release());
        reportExit(command, waitStatus);
    } else {
        logError(lConfigParser) << "Failed to execute '" << command << "': " << std::strerror(errno);
    }
    if (status)
        *status = waitStatus;
    return output;
}

// NOLINTEND(concurrency-mt-unsafe)

} // namespace Tovrin::Parser::Helpers
