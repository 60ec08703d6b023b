// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace Tovrin::Tool {

Session::Session(const CommonOptions &common, const HostOptions &host)
    : problems_(common), templates_(common, host, problems_)
{
    if (!common.keysFile.empty()) {
        auto known = readKeysFile(common.keysFile, problems_);
        if (!known)
            return;
        knownKeys_ = std::move(*known);
    }
    sources_ = readSources(common.paths);
    evaluation_.emplace(sources_, knownKeys_, templates_, problems_);
}

ExitCode Session::finish(std::string_view answer)
{
    if (std::fwrite(answer.data(), 1, answer.size(), stdout) != answer.size() || std::fflush(stdout) != 0)
        problems_.report("cannot write to standard output: " + std::string(std::strerror(errno)));
    problems_.noteCommandsNotRun(templates_.notRun(), "--run-commands runs ");
    return problems_.count() > 0 ? Failure : Success;
}

} // namespace Tovrin::Tool
