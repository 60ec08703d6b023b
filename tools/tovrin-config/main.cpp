// SPDX-License-Identifier: Apache-2.0
#include "dump.h"
#include "options.h"

int main(int argc, char **argv)
{
    using namespace Tovrin::Tool;

    const auto request = parseCommandLine(argc, argv);
    if (const auto *exitCode = std::get_if<ExitCode>(&request))
        return *exitCode;
    return dump(std::get<DumpOptions>(request));
}
