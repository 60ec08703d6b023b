// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace Tovrin::Tool {

struct CommandResult {
    enum class End {
        Success,
        Failure,   // an exit code other than 0, or a signal
        Prevented, // not started, or killed here
    };

    End end;
    std::string output; // of a success: standard output, as Helpers::capture() returns it
    std::string reason; // of anything else, as what follows "the command"
};

// Runs a command line with the shell, in a process group of its own, with nothing on its standard input. When the time
// is up, or the output beyond all bounds, the whole group is killed; what the command started in the background counts
// until it has let go of standard output, as it does for Helpers::capture(). A signal that ends this process meanwhile
// ends the group too.
CommandResult runCommand(const std::string &command, std::chrono::milliseconds timeout);

} // namespace Tovrin::Tool
