// SPDX-License-Identifier: Apache-2.0
#include "tools/shell.h"

#include <gtest/gtest.h>

#include <vector>

#include <unistd.h>

namespace {

using namespace Tovrin::Testing;

// Each test has a folder of its own, in which the commands run and to which their paths are relative.
class Dump : public testing::Test {
protected:
    void write(const std::string &path, const std::string &text) { folder.write(path, text); }
    Outcome run(const std::string &line) { return runInShell(folder, line); }

    TempTree folder;
};

std::string exampleText(const std::string &machine, const std::string &system)
{
    return "[Audio]\n"
           "BufferSizeInDefault=1024\n"
           "BufferSizeOutDeepBuffer=4096\n"
           "BufferSizeOutDefault=1024\n"
           "BufferSizeOutFast=512\n"
           "BufferSizeOutVoip=512\n"
           "\n"
           "[Config]\n"
           "Arch=" +
           machine +
           "\n"
           "DataRoot=/var/lib/tovrin/lab\n"
           "Home=/home/somebody\n"
           "Hostname=" +
           system +
           "-lab\n"
           "Instance=lab\n"
           "WaylandSocketPath=/run/tovrin/wayland-0\n"
           "\n"
           "[Devices]\n"
           "BinderDev=binder\n"
           "DevNodes=/dev/binder;/dev/hwbinder;/dev/vndbinder;/dev/uinput;/dev/video0\n"
           "HwBinderDev=hwbinder\n"
           "Mounts=tmpfs tmp tmpfs mode=1777 0 0;/var/lib/tovrin/lab/data data none bind,rw 0 0\n"
           "VndBinderDev=vndbinder\n"
           "\n"
           "[Features]\n"
           "BatteryCapacity=0.75\n"
           "CameraEnabled=true\n"
           "CustomProperties=persist.tovrin.prompt=android$$;ro.tovrin.link=tovrin-lab\n"
           "FakeBattery=false\n"
           "MountHome=true\n"
           "OpenGLESVersion=3.2\n"
           "\n"
           "[Logging]\n"
           "LogTarget=systemd\n"
           "com.quenby.tovrin.lib.ConfigParser=warning\n"
           "\n"
           "[Network]\n"
           "IPV4Address=192.168.250.2/24\n"
           "IPV4Gateway=192.168.250.1\n"
           "LinkName=tovrin-lab\n"
           "NetConfig=bridge\n";
}

TEST_F(Dump, PrintsTheWholeExample)
{
    const auto machine = run("printf %s \"$(uname -m)\"").out;
    const auto system = run(". /etc/os-release && printf %s \"$ID\"").out;
    EXPECT_EQ(run("HOME=/home/somebody tovrin-config dump " TOVRIN_EXAMPLES "/tovrin.conf.d"),
              (Outcome{0, exampleText(machine, system), ""}));
}

TEST_F(Dump, ReadsBackWhatItPrinted)
{
    const auto first = run("tovrin-config dump " TOVRIN_EXAMPLES "/tovrin.conf.d");
    write("printed.conf", first.out);
    EXPECT_EQ(run("tovrin-config dump printed.conf"), first);
}

TEST_F(Dump, SortsGroupsAndKeysByByte)
{
    write("a.conf", "top=1\n[b]\nkey=1\n[B]\nz=1\nZ=1\nA b=1\n[b]\nKey=2\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"),
              (Outcome{0, "top=1\n\n[B]\nA b=1\nZ=1\nz=1\n\n[b]\nKey=2\nkey=1\n", ""}));
}

TEST_F(Dump, PrintsNothingForAnEmptyFile)
{
    write("a.conf", "");
    write("b.conf", "# nothing\n\n[Group]\n");
    EXPECT_EQ(run("tovrin-config dump a.conf b.conf"), (Outcome{0, "", ""}));
}

TEST_F(Dump, ReadsTheFilesOfADirectoryInByteOrder)
{
    write("d/9-last.conf", "[G]\nk=9\n");
    write("d/10-first.conf", "[G]\nk=10\n");
    write("d/A.conf", "[G]\nk=A\n");
    write("d/a.conf", "[G]\nk=a\n");
    write("d/not-read.txt", "[G]\nk=text\n");
    EXPECT_EQ(run("tovrin-config dump d"), (Outcome{0, "[G]\nk=10;9;A;a\n", ""}));
    EXPECT_EQ(run("tovrin-config dump d/"), (Outcome{0, "[G]\nk=10;9;A;a\n", ""}));
}

TEST_F(Dump, ReadsDirectoriesAndFilesInTheOrderGiven)
{
    write("vendor/90.conf", "[G]\nk=vendor\n");
    write("local/10.conf", "[G]\nk=local\n");
    write("one.txt", "[G]\nk=file\n");
    EXPECT_EQ(run("tovrin-config dump vendor one.txt local"), (Outcome{0, "[G]\nk=vendor;file;local\n", ""}));
    EXPECT_EQ(run("tovrin-config dump local vendor"), (Outcome{0, "[G]\nk=local;vendor\n", ""}));
}

TEST_F(Dump, TakesAnEmptyLayerAsNothingToAdd)
{
    write("vendor/90.conf", "[G]\nk=v\n");
    folder.makeDirectory("local");
    EXPECT_EQ(run("tovrin-config dump vendor local"), (Outcome{0, "[G]\nk=v\n", ""}));
    EXPECT_EQ(run("tovrin-config dump local"), (Outcome{1, "", "tovrin-config: no '*.conf' in local\n"}));
}

TEST_F(Dump, TakesAPathThatBeginsWithADash)
{
    write("-v", "[G]\nk=v\n");
    EXPECT_EQ(run("tovrin-config dump -- -v"), (Outcome{0, "[G]\nk=v\n", ""}));
}

TEST_F(Dump, ResolvesReferencesAcrossFilesInBothDirections)
{
    write("d/1.conf", "[A]\nforward=<${config:B/k}>\nk=one\n");
    write("d/2.conf", "[B]\nbackward=<${config:A/k}>\nk=two\n");
    EXPECT_EQ(run("tovrin-config dump d"),
              (Outcome{0, "[A]\nforward=<two>\nk=one\n\n[B]\nbackward=<one>\nk=two\n", ""}));
}

TEST_F(Dump, MarksWhatAKeyFileCannotHold)
{
    write("a.conf", "[G]\n"
                    "break=${system:printf 'a\\nb'}\n"
                    "list=one;${system:printf 'a\\073b'};${system:printf 'c\\073d'}\n"
                    "nothing=${config:No/Such}\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"),
              (Outcome{0,
                       "[G]\n"
                       "# Reads back differently: value 1 holds a line break, shown as \"\\n\".\n"
                       "break=a\\nb\n"
                       "# Reads back differently: value 2 holds \";\", value 3 holds \";\".\n"
                       "list=one;a;b;c;d\n"
                       "# Reads back differently: no value is left.\n"
                       "nothing=\n",
                       ""}));
}

TEST_F(Dump, SaysWhichLinesAreBad)
{
    write("d/1.conf", "[G]\nk=1\n");
    write("d/2.conf", "[G]\nk=2\n bad=1\nk=not read\n");
    write("d/3.conf", "[G]\nk=3\n");
    EXPECT_EQ(run("tovrin-config dump d"), (Outcome{1, "[G]\nk=1;2;3\n",
                                                    "ERROR: Unexpected line in d/2.conf (line 3): ' bad=1'\n"
                                                    "ERROR: Failed to load config from 'd/2.conf'\n"}));
}

TEST_F(Dump, NumbersBadLinesBeyondOneByte)
{
    write("a.conf", std::string(64, '\n') + "A\n" + std::string(255, '\n') + "A\nC\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"),
              (Outcome{1, "",
                       "ERROR: Could not parse line as key in a.conf (line 65): 'A'\n"
                       "ERROR: Could not parse line as key in a.conf (line 321): 'A'\n"
                       "ERROR: Could not parse line as key in a.conf (line 322): 'C'\n"
                       "ERROR: Failed to load config from 'a.conf'\n"}));
}

TEST_F(Dump, WritesControlBytesOfRecordsAsEscapes)
{
    write("a.conf", "[G]\r\nk\033[31m\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"),
              (Outcome{1, "",
                       "ERROR: Could not parse line as group in a.conf (line 1): '[G]\\r'\n"
                       "ERROR: Could not parse line as key in a.conf (line 2): 'k\\x1b[31m'\n"
                       "ERROR: Failed to load config from 'a.conf'\n"}));
}

TEST_F(Dump, RefusesAFileWithoutANewlineAtItsEnd)
{
    for (const std::string text : {"[G]\nk=v", "[G]", "# comment", "bad line"}) {
        write("d/1.conf", text);
        write("d/2.conf", "[G]\nk=2\n");
        EXPECT_EQ(
            run("tovrin-config dump d"),
            (Outcome{1, "[G]\nk=2\n",
                     "tovrin-config: cannot read 'd/1.conf': no newline at its end; a program that reads it would "
                     "never return\n"}))
            << text;
    }
}

TEST_F(Dump, ReportsWhatIsNoFileAndReadsTheRest)
{
    folder.makeDirectory("d/1.conf");
    write("d/2.conf", "[G]\nk=2\n");
    EXPECT_EQ(run("mkfifo d/3.conf && ln -s nowhere d/4.conf && tovrin-config dump d missing"),
              (Outcome{1, "[G]\nk=2\n",
                       "tovrin-config: cannot read 'd/1.conf/': not a regular file\n"
                       "tovrin-config: cannot read 'd/3.conf': not a regular file\n"
                       "tovrin-config: cannot read 'd/4.conf': No such file or directory\n"
                       "tovrin-config: cannot read 'missing': No such file or directory\n"}));
}

TEST_F(Dump, ReportsUnreadableFilesAndDirectories)
{
    const std::string asNobody = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    write("a.conf", "[G]\nk=1\n");
    write("d/b.conf", "[G]\nk=2\n");
    EXPECT_EQ(run("chmod 755 .; chmod 0 a.conf d; " + asNobody +
                  "tovrin-config dump a.conf d; code=$?; chmod 700 a.conf d; exit $code"),
              (Outcome{1, "",
                       "tovrin-config: cannot read 'd': Permission denied\n"
                       "tovrin-config: cannot read 'a.conf': Permission denied\n"}));
}

TEST_F(Dump, NamesTheKeyOfACircle)
{
    write("a.conf", "[G]\nk=1\nloop=${config:G/loop};2\n");
    write("b.conf", "[G]\nk=1\n[H]\nloop=${config:H/loop}\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"), (Outcome{0, "[G]\nk=1\nloop=2;2\n", ""}));
    EXPECT_EQ(run("tovrin-config dump b.conf"),
              (Outcome{1, "[G]\nk=1\n\n[H]\n# Reads back differently: no value is left.\nloop=\n",
                       "ERROR: Max depth reached, possibly circular reference.\n"
                       "tovrin-config: not all values of [H] loop could be resolved\n"}));
}

TEST_F(Dump, TellsOfTemplatesThatFoundNothingOnlyWhenAsked)
{
    write("a.conf", "[G]\nk=${env:TOVRIN_NO_SUCH_VARIABLE};1\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"), (Outcome{0, "[G]\nk=1\n", ""}));
    for (const std::string option : {"-v", "--verbose"})
        EXPECT_EQ(run("tovrin-config dump " + option + " a.conf"),
                  (Outcome{0, "[G]\nk=1\n",
                           "DEBUG: Failed to read 'TOVRIN_NO_SUCH_VARIABLE' from environment variables for template "
                           "'env:TOVRIN_NO_SUCH_VARIABLE'\n"}));
}

TEST_F(Dump, FailsForABrokenTemplate)
{
    write("a.conf", "[G]\nk=1;$5\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"),
              (Outcome{1, "[G]\nk=1\n", "ERROR: '$' must be followed by '{' or '$': $5\n"}));
}

TEST_F(Dump, ReportsAFullDisk)
{
    write("a.conf", "[G]\nk=1\n");
    EXPECT_EQ(run("tovrin-config dump a.conf >/dev/full"),
              (Outcome{1, "", "tovrin-config: cannot write to standard output: No space left on device\n"}));
}

TEST_F(Dump, ReadsTheDefaultDirectoryWithoutAPath)
{
    if (access("/etc/tovrin.conf.d", F_OK) == 0)
        GTEST_SKIP() << "this machine has a configuration of its own";
    EXPECT_EQ(run("tovrin-config dump"),
              (Outcome{1, "", "tovrin-config: cannot read '/etc/tovrin.conf.d': No such file or directory\n"}));
}

TEST_F(Dump, RejectsMisuse)
{
    const std::string hint = "Try 'tovrin-config --help'.\n";
    for (const auto &[line, message] : std::vector<std::pair<std::string, std::string>>{
             {"tovrin-config", "tovrin-config: A command is required\n"},
             {"tovrin-config dmp", "tovrin-config: The following argument was not expected: dmp\n"},
             {"tovrin-config dump --nope", "tovrin-config: The following argument was not expected: --nope\n"}})
        EXPECT_EQ(run(line), (Outcome{2, "", message + hint})) << line;
}

TEST_F(Dump, TellsItsVersion)
{
    EXPECT_EQ(run("tovrin-config --version"), (Outcome{0, "tovrin-config " TOVRIN_VERSION "\n", ""}));
}

TEST_F(Dump, TellsItsExitCodesInEveryHelp)
{
    const std::string codes = "Exit codes:\n"
                              "  0  fine\n"
                              "  1  something could not be read; the reasons are on standard error\n"
                              "  2  the command line is wrong\n";
    for (const std::string line : {"tovrin-config --help", "tovrin-config dump --help", "tovrin-config -h"}) {
        const auto outcome = run(line);
        EXPECT_EQ(outcome.exitCode, 0) << line;
        EXPECT_EQ(outcome.err, "") << line;
        EXPECT_NE(outcome.out.find(codes), std::string::npos) << outcome;
    }
}

} // namespace
