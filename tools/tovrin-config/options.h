// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <variant>
#include <vector>

namespace Tovrin::Tool {

// The exit codes of every command; written in --help too.
enum ExitCode : int {
    Success = 0,
    NotRead = 1, // something could not be read; what could be was used
    Misuse = 2,
};

struct DumpOptions {
    std::vector<std::string> paths; // never empty
    bool verbose = false;
};

// What the command line asks for; or the code to exit with, when it was answered (--help) or rejected here.
std::variant<DumpOptions, ExitCode> parseCommandLine(int argc, const char *const *argv);

} // namespace Tovrin::Tool
