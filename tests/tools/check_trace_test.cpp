// SPDX-License-Identifier: Apache-2.0
// That check starts nothing, opens nothing but what was named, and writes nothing: told by the system calls that it
// makes.
#include "tools/check_run.h"

#include <regex>
#include <set>
#include <sstream>

using Tovrin::Testing::Outcome;

namespace {

class CheckTrace : public Tovrin::Testing::CheckRun {
protected:
    void SetUp() override
    {
        if (run("strace -o trace true").exitCode != 0)
            GTEST_SKIP() << "strace may not trace processes here, or is not installed";
    }

    // Calls of the process between the first look at a named path and its end, one a line: "NAME(ARGUMENTS) = RESULT".
    // Those before belong to the loader and the libraries.
    std::vector<std::string> trace(const std::string &arguments, const std::string &firstPath)
    {
        const auto outcome = run("strace -f -qq -s 4096 -o trace tovrin-config check " + arguments);
        answer = outcome.out;
        errors = outcome.err;
        std::vector<std::string> calls;
        std::istringstream lines(folder.read("trace"));
        for (std::string line; std::getline(lines, line);) {
            const auto call = line.substr(line.find_first_not_of("0123456789 "));
            const bool isStart = !call.starts_with("execve(") && call.find('"' + firstPath + '"') != std::string::npos;
            if (isStart || !calls.empty())
                calls.push_back(call);
        }
        return calls;
    }

    std::string answer; // on standard output
    std::string errors; // on standard error
};

std::string nameOf(const std::string &call)
{
    return call.substr(0, call.find('('));
}

// The paths that are named in the call.
std::vector<std::string> pathsIn(const std::string &call)
{
    static const std::regex quotedText("\"([^\"]*)\"");
    std::vector<std::string> paths;
    for (std::sregex_iterator match(call.begin(), call.end(), quotedText), end; match != end; ++match)
        paths.push_back((*match)[1]);
    return paths;
}

const std::string everySource = "[G]\n"
                                "a=${system:touch created}\n"
                                "b=${env:HOME}\n"
                                "c=${envfile:/etc/os-release:ID}\n"
                                "d=${realpath:/var/run}\n"
                                "e=${dconf:/org/example/key}\n"
                                "f=${prop:ro.product}\n"
                                "g=${config:G/a}\n"
                                "h=$(touch created);`touch created`\n";

TEST_F(CheckTrace, MakesOnlyHarmlessCalls)
{
    write("d/1.conf", everySource);
    write("d/2.conf", "[G]\na=1\n bad\n");
    write("keys", "[G]\na=replace;mount\n");
    write("one.conf", everySource);
    run("mkfifo d/3.conf");
    const auto calls = trace("--keys keys d one.conf missing", "keys");
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(errors, "tovrin-config: 2 commands of ${system:...} were not run\n");
    EXPECT_NE(answer.find("[runs-command]"), std::string::npos) << answer;

    // Nothing that starts a process, changes a file or reaches beyond this process, except for its memory.
    const std::set<std::string> harmless{
        "openat",       "open",           "read",      "pread64",     "close",  "stat",       "lstat",
        "fstat",        "newfstatat",     "statx",     "getdents64",  "lseek",  "brk",        "mmap",
        "munmap",       "mremap",         "madvise",   "mprotect",    "write",  "exit_group", "futex",
        "rt_sigaction", "rt_sigprocmask", "getrandom", "sigaltstack", "access", "ioctl",      "fcntl",
        "getpid",       "gettid",         "geteuid",   "sched_yield"};
    for (const auto &call : calls) {
        if (call.starts_with("+++ exited"))
            continue;
        EXPECT_TRUE(harmless.count(nameOf(call)) == 1) << call;
        if (nameOf(call) == "write") {
            EXPECT_TRUE(call.starts_with("write(1, ") || call.starts_with("write(2, ")) << call;
        }
    }
}

TEST_F(CheckTrace, OpensOnlyWhatWasNamed)
{
    write("d/1.conf", everySource);
    write("d/ignored", everySource);
    write("keys", "[G]\na=replace;mount\n");
    write("sub/one.conf", everySource);
    write("x1/other.conf", everySource);
    write("x[1]/pattern.conf", everySource);
    run("mkfifo d/3.conf");
    const std::set<std::string> named{"keys",         "d",    "d/",    "d/1.conf",
                                      "sub/one.conf", "x[1]", "x[1]/", "x[1]/pattern.conf"};
    const std::set<std::string> asked{"d/3.conf", "sub", "missing", "."}; // for their kind and permissions
    for (const auto &call : trace("--keys keys d sub/one.conf missing 'x[1]'", "keys")) {
        const auto name = nameOf(call);
        if (name == "write" || name == "read")
            continue;
        for (const auto &path : pathsIn(call)) {
            if (path.empty())
                continue;
            const bool opens = name == "openat" || name == "open";
            EXPECT_TRUE(named.count(path) == 1 || (!opens && asked.count(path) == 1)) << call;
        }
        for (const std::string flag : {"O_WRONLY", "O_RDWR", "O_CREAT", "O_TRUNC"})
            EXPECT_TRUE(name == "write" || call.find(flag) == std::string::npos) << call;
    }
}

TEST_F(CheckTrace, LeavesNothingBehind)
{
    write("d/1.conf", everySource);
    const auto before = run("find . | sort").out;
    run("tovrin-config check d");
    EXPECT_EQ(run("find . | sort").out, before);
}

TEST_F(CheckTrace, DoesNotWaitForWhatNeverEnds)
{
    EXPECT_EQ(run("mkfifo pipe.conf; timeout 10 tovrin-config check pipe.conf /dev/zero /dev/tty").exitCode, 1);
}

} // namespace
