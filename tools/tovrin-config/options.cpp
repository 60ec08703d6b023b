// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <tovrin/parser/constants.h>

#include <CLI/CLI.hpp>

namespace Tovrin::Tool {

namespace {

const char *const ExitCodes = "Exit codes:\n"
                              "  0  fine\n"
                              "  1  something could not be read; the reasons are on standard error\n"
                              "  2  the command line is wrong\n";

CLI::App &addDump(CLI::App &app, DumpOptions &options)
{
    auto &command = *app.add_subcommand("dump", "Print every key with its resolved values, as a sorted key file");
    command.group("Commands");
    command
        .add_option("PATH", options.paths,
                    "Key files, and directories of *.conf files, each on top of those before it (default: " +
                        Parser::Constants::DefaultConfigDirectory + ")")
        ->type_name("");
    command.add_flag("-v,--verbose", options.verbose, "Say which templates found nothing");
    command.footer("Templates are filled in as a daemon would: the commands of ${system:...} are run.\n"
                   "Every key counts, and keeps all its values: which keys a daemon knows, and which\n"
                   "of them keep only the last value, is up to that daemon.\n\n" +
                   std::string(ExitCodes));
    return command;
}

std::string failureMessage(const CLI::App *, const CLI::Error &error)
{
    return "tovrin-config: " + std::string(error.what()) + "\nTry 'tovrin-config --help'.\n";
}

} // namespace

std::variant<DumpOptions, ExitCode> parseCommandLine(int argc, const char *const *argv)
{
    CLI::App app("Ask a configuration of key files what it says.", "tovrin-config");
    app.set_version_flag("--version", "tovrin-config " TOVRIN_VERSION, "Print the version and exit");
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.footer(ExitCodes);
    app.failure_message(failureMessage);

    DumpOptions dump;
    addDump(app, dump);
    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) // not require_subcommand(), which would hide what a mistyped one was
            throw CLI::RequiredError("A command");
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? Success : Misuse;
    }
    if (dump.paths.empty())
        dump.paths = {Parser::Constants::DefaultConfigDirectory};
    return dump;
}

} // namespace Tovrin::Tool
