// SPDX-License-Identifier: Apache-2.0
#include "check.h"
#include "dump.h"
#include "explain.h"
#include "get.h"
#include "graph.h"
#include "options.h"

#include <cstdio>
#include <exception>

namespace {

using namespace Tovrin::Tool;

struct Run {
    ExitCode operator()(const DumpOptions &options) const { return dump(options); }
    ExitCode operator()(const GetOptions &options) const { return get(options); }
    ExitCode operator()(const ExplainOptions &options) const { return explain(options); }
    ExitCode operator()(const GraphOptions &options) const { return graph(options); }
    ExitCode operator()(const CheckOptions &options) const { return check(options); }
};

ExitCode run(int argc, char **argv)
{
    const auto request = parseCommandLine(argc, argv);
    if (const auto *exitCode = std::get_if<ExitCode>(&request))
        return *exitCode;
    return std::visit(Run(), std::get<Request>(request));
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &error) { // in the end only a lack of memory
        static_cast<void>(std::fprintf(stderr, "tovrin-config: %s\n", error.what()));
        return Failure;
    }
}
