// SPDX-License-Identifier: Apache-2.0
#include "tools/shell.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <vector>

#include <unistd.h>

namespace {

using namespace Tovrin::Testing;

class RunCommands : public testing::Test {
protected:
    void write(const std::string &path, const std::string &text) { folder.write(path, text); }
    Outcome run(const std::string &line) { return runInShell(folder, line); }

    // True once no process has the text on its command line, soon. The search has it too, so it must not match itself.
    bool isGone(const std::string &text)
    {
        return run("for i in $(seq 100); do grep -qas '" + text +
                   "' /proc/[0-9]*/cmdline || exit 0; sleep 0.1; done; exit 1")
                   .exitCode == 0;
    }

    TempTree folder;
    const std::string ofThisProcess = std::to_string(getpid()); // others may run the same tests
};

TEST_F(RunCommands, RunsNothingUnasked)
{
    write("a.conf", "[G]\nk=${system:touch ran}\nk=\nk=${system:touch ran-too}\n");
    for (const std::string command :
         {"dump", "get G k", "explain G k", "graph", "dump --raw", "dump --offline", "dump --format json", "check"})
        run("tovrin-config " + command + " a.conf");
    EXPECT_EQ(run("ls"), (Outcome{0, "a.conf\n", ""}));
    run("tovrin-config dump --run-commands a.conf");
    EXPECT_EQ(run("ls"), (Outcome{0, "a.conf\nran\nran-too\n", ""})); // the replaced value too, as a program does
}

TEST_F(RunCommands, CountsAllThatWereNotRun)
{
    write("a.conf", "[G]\nk=${system:true}${system:true}\nk=\nl=${system:true}\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"),
              (Outcome{0, "[G]\n# Not run: ${system:true}\nl=${system:true}\n",
                       "tovrin-config: 3 commands of ${system:...} were not run; --run-commands runs them\n"}));
}

TEST_F(RunCommands, TakesTheTrimmedOutput)
{
    write("a.conf", "[G]\nk=<${system:printf ' a \\n'}>\nempty=<${system:true}>\ninput=<${system:cat}>\n"
                    "nul=${system:printf 'a\\000b\\nc'}\n");
    EXPECT_EQ(run("tovrin-config dump --run-commands a.conf"),
              (Outcome{0,
                       "[G]\nempty=<>\ninput=<>\nk=<a>\nnul=ac\n", // as the library reads it
                       ""}));
}

TEST_F(RunCommands, DropsWhatFails)
{
    write("a.conf", "[G]\nk=1;${system:exit 3};${system:kill -9 $$};${system:/no/such 2>&1}\n");
    EXPECT_EQ(run("tovrin-config dump --run-commands a.conf"),
              (Outcome{0, "[G]\nk=1\n",
                       "a.conf:2: warning: the command 'exit 3' ended with exit code 3\n"
                       "a.conf:2: warning: the command 'kill -9 $$' was ended by signal 9\n"
                       "a.conf:2: warning: the command '/no/such 2>&1' ended with exit code 127\n"}));
}

TEST_F(RunCommands, KillsWhatTakesTooLong)
{
    const auto both = "sleep 98.1" + ofThisProcess + " & sleep 98.2" + ofThisProcess;
    const auto silent = "exec >/dev/null && sleep 98.3" + ofThisProcess;
    write("a.conf", "[G]\nk=1;${system:" + both + "}\nl=${system:" + silent + "}\n");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run("tovrin-config dump --run-commands --timeout 0.25 a.conf"),
              (Outcome{1, "[G]\nk=1\n",
                       "a.conf:2: error: the command '" + both +
                           "' was killed after 0.25 seconds\n"
                           "a.conf:3: error: the command '" +
                           silent + "' was killed after 0.25 seconds\n"}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_TRUE(isGone("98\\.[123]" + ofThisProcess));
}

TEST_F(RunCommands, KillsWhatWritesTooMuch)
{
    write("a.conf", "[G]\nk=${system:yes}\n");
    EXPECT_EQ(run("tovrin-config dump --run-commands --timeout 20 a.conf"),
              (Outcome{1, "", "a.conf:2: error: the command 'yes' was killed, since it wrote more than 16 MiB\n"}));
}

TEST_F(RunCommands, LeavesNothingBehindWhenItIsInterrupted)
{
    write("a.conf", "[G]\nk=${system:touch started && sleep 97." + ofThisProcess + "}\n");
    // env resets what the shell lets a process in the background ignore.
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        EXPECT_EQ(run("rm -f started; ulimit -c 0; env --default-signal tovrin-config dump --run-commands --timeout 60 "
                      "a.conf & while ! [ -e started ]; do sleep 0.05; done; kill -" +
                      std::to_string(signal) + " $!; wait $!")
                      .exitCode,
                  128 + signal);
        EXPECT_TRUE(isGone("97\\." + ofThisProcess)) << signal;
    }
}

TEST_F(RunCommands, GoesOnIgnoringWhatIsIgnored)
{
    write("wait.sh", "touch started\nwhile ! [ -e go ]; do sleep 0.05; done\necho done\n");
    write("a.conf", "[G]\nk=${system:sh wait.sh}\n");
    EXPECT_EQ(run("trap '' HUP; tovrin-config dump --run-commands a.conf & "
                  "while ! [ -e started ]; do sleep 0.05; done; kill -HUP $!; touch go; wait $!"),
              (Outcome{0, "[G]\nk=done\n", ""}));
}

} // namespace
