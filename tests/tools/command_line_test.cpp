// SPDX-License-Identifier: Apache-2.0
#include "tools/shell.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Tovrin::Testing;

class CommandLine : public testing::Test {
protected:
    Outcome run(const std::string &line) { return runInShell(folder, line); }

    TempTree folder;
};

TEST_F(CommandLine, NamesWhatItExpects)
{
    const std::string hint = "Try 'tovrin-config --help'.\n";
    for (const auto &[arguments, message] : std::vector<std::pair<std::string, std::string>>{
             {"", "a command is expected; there are dump, get, explain, check, graph"},
             {"dmp", "'dmp' is no command; did you mean 'dump'?"},
             {"Explain", "'Explain' is no command; did you mean 'explain'?"},
             {"explan", "'explan' is no command; did you mean 'explain'?"},
             {"frobnicate", "'frobnicate' is no command; there are dump, get, explain, check, graph"},
             {"--raw dump", "'--raw' has to stand behind the command"},
             {"--verbose dump", "'--verbose' has to stand behind the command"},
             {"-v dump", "'-v' has to stand behind the command"},
             {"-z get G k", "'-z' has to stand behind the command"},
             {"-x dump", "'-x' is no option of dump"},
             {"dump -z", "'-z' is no option of dump"},
             {"dump --orign", "'--orign' is no option of dump; did you mean '--origin'?"},
             {"dump --nope", "'--nope' is no option of dump"},
             {"dump --strict", "'--strict' is no option of dump"},
             {"check --strct", "'--strct' is no option of check; did you mean '--strict'?"},
             {"check --run-commands", "'--run-commands' is no option of check"},
             {"get", "GROUP is required"},
             {"get G", "KEY is required"},
             {"explain G", "KEY is required"},
             {"dump --format xml", "--format: 'xml' is not one of text, json"},
             {"dump --color red", "--color: 'red' is not one of auto, always, never"},
             {"get G k --type number", "--type: 'number' is not one of string, bool, int, int64, double, mount"},
             {"dump --template name", "--template: 'name' is not of the form NAME=VALUE"},
             {"dump --uid nobody", "--uid: 'nobody' is not a number from 0 to 4294967295"},
             {"dump --uid 4294967296", "--uid: '4294967296' is not a number from 0 to 4294967295"},
             {"dump --uid -1", "--uid: '-1' is not a number from 0 to 4294967295"},
             {"dump --run-commands --timeout 0", "--timeout: '0' is not a number of seconds from 0.001 to 86400"},
             {"dump --run-commands --timeout x", "--timeout: 'x' is not a number of seconds from 0.001 to 86400"},
             {"dump --timeout 5", "--timeout requires --run-commands"},
             {"dump --run-commands --offline", "--offline excludes --run-commands"},
             {"dump --root / a.conf", "PATH excludes --root"},
             {"get G k -z --format json", "-z excludes --format json"},
             {"dump --root", "--root: 1 required DIR missing"}})
        EXPECT_EQ(run("tovrin-config " + arguments), (Outcome{2, "", "tovrin-config: " + message + '\n' + hint}))
            << arguments;
}

TEST_F(CommandLine, TakesPathsWithTheNamesOfCommands)
{
    folder.write("dump", "[get]\nexplain=1\n");
    EXPECT_EQ(run("tovrin-config dump dump"), (Outcome{0, "[get]\nexplain=1\n", ""}));
    EXPECT_EQ(run("tovrin-config get get explain dump"), (Outcome{0, "1\n", ""}));
}

TEST_F(CommandLine, RejectsAFileOfKeysThatIsWrong)
{
    folder.write("keys", "[G]\nk=repalce\n");
    folder.write("a.conf", "[G]\nk=1\n");
    for (const std::string command : {"dump", "get G k", "explain G k", "graph", "check"}) {
        EXPECT_EQ(run("tovrin-config " + command + " --keys keys a.conf"),
                  (Outcome{2, "", "keys:2: error: 'repalce' is not replace or amend; did you mean 'replace'?\n"}))
            << command;
        EXPECT_EQ(run("tovrin-config " + command + " --keys missing a.conf"),
                  (Outcome{2, "", "tovrin-config: cannot read 'missing': No such file or directory\n"}))
            << command;
    }
}

#if TOVRIN_MEMORY_CAN_BE_LIMITED

TEST_F(CommandLine, FailsWhenMemoryRunsOut)
{
    folder.write("a.conf", "[G]\nk=" + std::string(60 << 20, 'x') + "\n");
    for (const std::string command : {"dump", "get G k"})
        EXPECT_EQ(run("ulimit -v 80000; tovrin-config " + command + " a.conf"),
                  (Outcome{1, "", "tovrin-config: std::bad_alloc\n"}));
}

#endif

TEST_F(CommandLine, TellsItsVersion)
{
    EXPECT_EQ(run("tovrin-config --version"), (Outcome{0, "tovrin-config " TOVRIN_VERSION "\n", ""}));
}

TEST_F(CommandLine, TellsItsExitCodesInEveryHelp)
{
    const std::string codes = "Exit codes:\n"
                              "  0  fine\n"
                              "  1  something could not be read, found or resolved, or is an error in the\n"
                              "     configuration; the reasons are on standard error, those of check are its answer\n"
                              "  2  the command line, or the file of --keys, is wrong\n";
    for (const std::string command : {"", "dump ", "get ", "explain ", "graph ", "check "}) {
        const auto outcome = run("tovrin-config " + command + "--help");
        EXPECT_EQ(outcome.exitCode, 0) << command;
        EXPECT_EQ(outcome.err, "") << command;
        EXPECT_NE(outcome.out.find(codes), std::string::npos) << outcome;
    }
}

TEST_F(CommandLine, TellsHowItIsUsed)
{
    EXPECT_EQ(run("tovrin-config --help | grep ^Usage"),
              (Outcome{0, "Usage: tovrin-config COMMAND [OPTION...] [PATH...]\n", ""}));
    EXPECT_EQ(run("tovrin-config get --help | grep ^Usage"),
              (Outcome{0, "Usage: tovrin-config get [OPTION...] GROUP KEY [PATH...]\n", ""}));
}

TEST_F(CommandLine, TellsInHelpWhenCommandsRun)
{
    const std::string text = "Templates are looked up as a program that reads the files would do it, except that no\n"
                             "command of ${system:...} runs unless --run-commands is given: such a template stays as\n"
                             "its text.\n";
    for (const std::string command : {"dump", "get", "explain", "graph"}) {
        const auto outcome = run("tovrin-config " + command + " --help");
        EXPECT_NE(outcome.out.find(text), std::string::npos) << outcome;
    }
}

TEST_F(CommandLine, ListsAllCommandsInItsHelp)
{
    const auto help = run("tovrin-config -h").out;
    for (const std::string command : {"dump", "get", "explain", "graph", "check"})
        EXPECT_NE(help.find("\n  " + command + "  "), std::string::npos) << help;
}

// What the tests of the commands do in pipes.
TEST_F(CommandLine, UsesColoursOnATerminalOnly)
{
    folder.write("a.conf", "[G]\nk=$5\n");
    const std::string plain = "a.conf:2: error: '$' must be followed by '{' or '$': $5\r\n";
    const std::string coloured = "a.conf:2: \033[1;31merror: \033[0m'$' must be followed by '{' or '$': $5\r\n";
    for (const auto &[command, expected] : std::vector<std::pair<std::string, std::string>>{
             {"TERM=xterm tovrin-config dump a.conf", coloured},
             {"TERM=xterm tovrin-config dump --color never a.conf", plain},
             {"TERM=dumb tovrin-config dump a.conf", plain},
             {"TERM=xterm NO_COLOR=1 tovrin-config dump a.conf", plain},
             {"NO_COLOR=1 tovrin-config dump --color always a.conf", coloured}})
        EXPECT_EQ(run("script -qec '" + command + "' /dev/null"), (Outcome{1, expected, ""})) << command;
    EXPECT_EQ(run("TERM=xterm tovrin-config dump a.conf"),
              (Outcome{1, "", "a.conf:2: error: '$' must be followed by '{' or '$': $5\n"}));
}

} // namespace
