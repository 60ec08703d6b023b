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

std::string replaced(std::string text, const std::string &what, const std::string &by)
{
    const auto found = text.find(what);
    return found == std::string::npos ? "'" + what + "' is not in:\n" + text : text.replace(found, what.size(), by);
}

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

const std::string OneNotRun = "tovrin-config: 1 command of ${system:...} was not run; --run-commands runs it\n";

TEST_F(Dump, PrintsTheWholeExample)
{
    const auto machine = run("printf %s \"$(uname -m)\"").out;
    const auto system = run(". /etc/os-release && printf %s \"$ID\"").out;
    EXPECT_EQ(run("HOME=/home/somebody tovrin-config dump --run-commands " TOVRIN_EXAMPLES "/tovrin.conf.d"),
              (Outcome{0, exampleText(machine, system), ""}));
    EXPECT_EQ(run("HOME=/home/somebody tovrin-config dump " TOVRIN_EXAMPLES "/tovrin.conf.d"),
              (Outcome{0,
                       replaced(exampleText(machine, system), "Arch=" + machine + "\n",
                                "# Not run: ${system:uname -m}\nArch=${system:uname -m}\n"),
                       OneNotRun}));
}

TEST_F(Dump, ReadsBackWhatItPrinted)
{
    for (const std::string options : {"", "--raw", "--origin", "--run-commands", "--offline"}) {
        const auto first = run("tovrin-config dump " + options + " " TOVRIN_EXAMPLES "/tovrin.conf.d");
        write("printed.conf", first.out);
        const auto withoutOrigins = options == "--origin" ? "" : options;
        EXPECT_EQ(run("tovrin-config dump " + withoutOrigins + " printed.conf"),
                  options == "--origin" ? run("tovrin-config dump " TOVRIN_EXAMPLES "/tovrin.conf.d") : first)
            << options;
    }
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
    EXPECT_EQ(run("tovrin-config dump --run-commands a.conf"),
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

TEST_F(Dump, SaysWhereTheReadingOfAFileStops)
{
    write("d/1.conf", "[G]\nk=1\n");
    write("d/2.conf", "[G]\nk=2\n bad=1\nk=not read\nbad again\n");
    write("d/3.conf", "[G]\nk=3\n");
    EXPECT_EQ(
        run("tovrin-config dump d"),
        (Outcome{1, "[G]\nk=1;2;3\n",
                 "d/2.conf:3: error: neither a group, a key, a comment nor an empty line, so nothing is read from "
                 "here on: ' bad=1'\n"}));
}

TEST_F(Dump, SaysWhatIsWrongWithALine)
{
    for (const auto &[line, reason] :
         std::vector<std::pair<std::string, std::string>>{{" ", "neither a group, a key, a comment nor an empty line"},
                                                          {"[G", "a group header must end with ']'"},
                                                          {"[G/H]", "a character that no group may hold"},
                                                          {"key", "a key without '='"},
                                                          {"ke/y=1", "a character that no key may hold"}}) {
        write("a.conf", line + "\n");
        EXPECT_EQ(
            run("tovrin-config dump a.conf"),
            (Outcome{1, "", "a.conf:1: error: " + reason + ", so nothing is read from here on: '" + line + "'\n"}));
    }
}

TEST_F(Dump, WritesControlBytesAsEscapes)
{
    write("a.conf", "[G]\r\n");
    write("b\033.conf", "k\033[31m\n");
    EXPECT_EQ(run("tovrin-config dump a.conf b*"),
              (Outcome{1, "",
                       "a.conf:1: error: a group header must end with ']', so nothing is read from here on: '[G]\\r'\n"
                       "b\\x1b.conf:1: error: a key without '=', so nothing is read from here on: 'k\\x1b[31m'\n"}));
}

TEST_F(Dump, RefusesAFileWithoutANewlineAtItsEnd)
{
    for (const std::string text : {"[G]\nk=v", "[G]", "# comment"}) {
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
                       "b.conf:4: error: [H] loop takes more than 33 visits to resolve, possibly because of a circular "
                       "reference\n"}));
}

TEST_F(Dump, TellsOfTemplatesThatFoundNothingOnlyWhenAsked)
{
    write("a.conf", "[G]\nk=${env:TOVRIN_NO_SUCH_VARIABLE};1\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"), (Outcome{0, "[G]\nk=1\n", ""}));
    for (const std::string option : {"-v", "--verbose"})
        EXPECT_EQ(
            run("tovrin-config dump " + option + " a.conf"),
            (Outcome{
                0, "[G]\nk=1\n",
                "a.conf:2: debug: Failed to read 'TOVRIN_NO_SUCH_VARIABLE' from environment variables for template "
                "'env:TOVRIN_NO_SUCH_VARIABLE'\n"}));
}

TEST_F(Dump, FailsForABrokenTemplate)
{
    write("a.conf", "[G]\nk=1;$5\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"),
              (Outcome{1, "[G]\nk=1\n", "a.conf:2: error: '$' must be followed by '{' or '$': $5\n"}));
}

TEST_F(Dump, ReportsAFullDisk)
{
    write("a.conf", "[G]\nk=1\n");
    EXPECT_EQ(run("tovrin-config dump a.conf >/dev/full"),
              (Outcome{1, "", "tovrin-config: cannot write to standard output: No space left on device\n"}));
}

TEST_F(Dump, LeavesReferencesAsTemplatesWhenAsked)
{
    write("a.conf",
          "[G]\nk=1;2\nref= a ${config:G/k} b$$ ${config:No/Such};${config:G/k}\nempty=${env:TOVRIN_NO_SUCH}\n");
    EXPECT_EQ(run("tovrin-config dump a.conf"), (Outcome{0, "[G]\nk=1;2\nref=a 2 b$$;2\n", ""}));
    EXPECT_EQ(run("tovrin-config dump --raw a.conf"),
              (Outcome{0, "[G]\nk=1;2\nref=a ${config:G/k} b$$${config:No/Such};${config:G/k}\n", ""}));
}

TEST_F(Dump, SaysWhereEachValueComesFrom)
{
    write("d/1.conf", "[G]\nk=1;2\nk=3\nr=${config:G/k}\n");
    write("d/2.conf", "[G]\nk=4\nnothing=${config:No/Such}\n");
    EXPECT_EQ(run("tovrin-config dump --origin d"), (Outcome{0,
                                                             "[G]\n"
                                                             "# d/1.conf:2\n"
                                                             "k=1;2\n"
                                                             "# d/1.conf:3\n"
                                                             "k=3\n"
                                                             "# d/2.conf:2\n"
                                                             "k=4\n"
                                                             "# Reads back differently: no value is left.\n"
                                                             "nothing=\n"
                                                             "# d/1.conf:4\n"
                                                             "r=4\n",
                                                             ""}));
}

TEST_F(Dump, PrintsJson)
{
    write("a.conf", "[G]\nk=1;$$\nraw=${config:G/k}${system:true}${env:HOME}\n");
    EXPECT_EQ(run("tovrin-config dump --format json --offline --raw --origin a.conf"), (Outcome{0, R"({
  "entries": [
    {
      "group": "G",
      "key": "k",
      "values": [
        {
          "text": "1",
          "origin": {
            "path": "a.conf",
            "line": 2
          }
        },
        {
          "text": "$$",
          "origin": {
            "path": "a.conf",
            "line": 2
          }
        }
      ]
    },
    {
      "group": "G",
      "key": "raw",
      "values": [
        {
          "text": "${config:G/k}${system:true}${env:HOME}",
          "origin": {
            "path": "a.conf",
            "line": 3
          },
          "notRun": [
            "${system:true}"
          ],
          "notLookedUp": [
            "${env:HOME}"
          ]
        }
      ]
    }
  ]
}
)",
                                                                                                OneNotRun}));
    EXPECT_EQ(
        run("HOME=/h tovrin-config dump --format json a.conf | tr -d ' \\n'"),
        (Outcome{0,
                 R"({"entries":[{"group":"G","key":"k","values":[{"text":"1"},{"text":"$"}]},)"
                 R"({"group":"G","key":"raw","values":[{"text":"$${system:true}/h","notRun":["${system:true}"]}]}]})",
                 OneNotRun}));
}

TEST_F(Dump, PrintsJsonForBytesThatAreNoUtf8)
{
    write("a.conf", "[G]\nk=a\xff\n");
    EXPECT_EQ(run("tovrin-config dump --format json a.conf | tr -d ' \\n'"),
              (Outcome{0,
                       R"({"entries":[{"group":"G","key":"k","values":[{"text":"a)"
                       "\ufffd"
                       R"("}]}]})",
                       ""}));
}

TEST_F(Dump, KeepsWhatTheKeysFileRegisters)
{
    write("keys", "[G]\nlast=replace;int\nall=amend\nempty=replace\n");
    write("a.conf", "[G]\nlast=1;2\nlast=3\nall=1;2\nall=3\nempty=1\nempty= \nunknown=1\n[H]\nlast=1\n");
    const Outcome expected{0,
                           "[G]\n"
                           "all=1;2;3\n"
                           "# Reads back differently: value 1 is empty, which only a key that is replaced keeps.\n"
                           "empty= \n"
                           "last=3\n",
                           ""};
    EXPECT_EQ(run("tovrin-config dump --keys keys a.conf"), expected);
    write("printed.conf", expected.out);
    EXPECT_EQ(run("tovrin-config dump --keys keys printed.conf"), expected);
}

TEST_F(Dump, WarnsOfReferencesToKeysThatAreNotRegistered)
{
    write("keys", "[G]\nk=amend\n");
    write("a.conf", "[G]\nk=<${config:G/other}>\nother=1\n");
    EXPECT_EQ(run("tovrin-config dump --keys keys a.conf"),
              (Outcome{0, "[G]\nk=<>\n", "a.conf:2: warning: refers to [G] other, which is not registered\n"}));
}

TEST_F(Dump, InsertsTheTemplatesOfTheCommandLine)
{
    write("a.conf", "[G]\nk=${name}-${other}\n");
    EXPECT_EQ(run("tovrin-config dump --template name='$x;y' --template other=a=b --template other=c a.conf"),
              (Outcome{0, "[G]\n# Reads back differently: value 1 holds \";\".\nk=$$x;y-a=b\n", ""}));
    EXPECT_EQ(run("tovrin-config dump --template other=1 a.conf"),
              (Outcome{1, "", "a.conf:2: error: No such template 'name'\n"}));
}

TEST_F(Dump, LooksNothingUpOffline)
{
    write("e.env", "A=1\n");
    write("a.conf", "[G]\n"
                    "k=${env:HOME};${envfile:e.env:A};${realpath:.};${dconf:/a};${prop:b};${config:G/r};${name}\n"
                    "r=1\n"
                    "wrong=${envfile:e.env};${enf:HOME}\n");
    EXPECT_EQ(run("tovrin-config dump --offline --template name=n a.conf"),
              (Outcome{1,
                       "[G]\n"
                       "# Not looked up: ${env:HOME}\n"
                       "# Not looked up: ${envfile:e.env:A}\n"
                       "# Not looked up: ${realpath:.}\n"
                       "# Not looked up: ${dconf:/a}\n"
                       "# Not looked up: ${prop:b}\n"
                       "k=${env:HOME};${envfile:e.env:A};${realpath:.};${dconf:/a};${prop:b};1;n\n"
                       "r=1\n",
                       "a.conf:4: error: Invalid envfile definition 'envfile:e.env'\n"
                       "a.conf:4: error: Invalid template 'enf:HOME'\n"}));
}

TEST_F(Dump, ReadsTheDefaultDirectoryBelowARoot)
{
    write("host/etc/tovrin.conf.d/1.conf", "[G]\nk=1\n");
    for (const std::string root : {"host", "host/", "./host"})
        EXPECT_EQ(run("tovrin-config dump --root " + root), (Outcome{0, "[G]\nk=1\n", ""})) << root;
    EXPECT_EQ(run("tovrin-config dump --root nowhere"),
              (Outcome{1, "", "tovrin-config: cannot read 'nowhere/etc/tovrin.conf.d': No such file or directory\n"}));
}

TEST_F(Dump, ReadsTheDefaultDirectoryWithoutAPath)
{
    if (access("/etc/tovrin.conf.d", F_OK) == 0)
        GTEST_SKIP() << "this machine has a configuration of its own";
    EXPECT_EQ(run("tovrin-config dump"),
              (Outcome{1, "", "tovrin-config: cannot read '/etc/tovrin.conf.d': No such file or directory\n"}));
}

} // namespace
