// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/temp_tree.h"

#include <cstdlib>
#include <ostream>
#include <string>
#include <sys/wait.h>

namespace Tovrin::Testing {

// What a command left behind.
struct Outcome {
    int exitCode; // -1 if a signal ended it
    std::string out;
    std::string err;

    bool operator==(const Outcome &) const = default;
};

// For printing in failed expectations.
inline std::ostream &operator<<(std::ostream &stream, const Outcome &outcome)
{
    return stream << "exit code " << outcome.exitCode << "\n--- standard output:\n"
                  << outcome.out << "--- standard error:\n"
                  << outcome.err;
}

// Runs a line of shell in the folder, where "tovrin-config" is the command under test. What has not ended after 30
// seconds is ended, which shows as exit code 124.
inline Outcome runInShell(const TempTree &folder, const std::string &line)
{
    const TempTree scratch;
    const auto script =
        scratch.write("script", "PATH='" TOVRIN_CONFIG_FOLDER "':$PATH\ncd '" + folder.root() + "'\n" + line + '\n');
    const auto command =
        "timeout 30 sh " + script + " </dev/null >" + scratch.path("out") + " 2>" + scratch.path("err");
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, scratch.read("out"), scratch.read("err")};
}

} // namespace Tovrin::Testing
