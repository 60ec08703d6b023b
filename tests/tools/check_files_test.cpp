// SPDX-License-Identifier: Apache-2.0
#include "tools/check_run.h"

#include <unistd.h>

using Tovrin::Testing::Outcome;

namespace {

class CheckFiles : public Tovrin::Testing::CheckRun {
protected:
    // With another group than the owner's; only root can give files away.
    void setMode(const std::string &path, const std::string &mode, const std::string &group = "")
    {
        const auto give = group.empty() ? "" : "chgrp " + group + " " + path + " && ";
        ASSERT_EQ(run(give + "chmod " + mode + " " + path), (Outcome{0, "", ""}));
    }
};

TEST_F(CheckFiles, FindsWhatCannotBeRead)
{
    write("d/ok.conf", "");
    folder.makeDirectory("d/directory.conf");
    run("mkfifo d/pipe.conf && ln -s nowhere d/link.conf");
    expectFindings("d missing.conf",
                   {"d/directory.conf/:1:1: error: cannot be read: not a regular file [not-a-file]",
                    "d/link.conf:1:1: error: cannot be read: No such file or directory [unreadable]",
                    "d/pipe.conf:1:1: error: cannot be read: not a regular file [not-a-file]",
                    "missing.conf:1:1: error: cannot be read: No such file or directory [unreadable]"});
}

TEST_F(CheckFiles, FindsWhatMayNotBeRead)
{
    const std::string asNobody = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    write("a.conf", "k=v\n");
    write("d/b.conf", "k=v\n");
    EXPECT_EQ(run("chmod 755 .; chmod 0 a.conf d; " + asNobody +
                  "tovrin-config check a.conf d; code=$?; chmod 700 a.conf d; exit $code"),
              (Outcome{1,
                       "a.conf:1:1: error: cannot be read: Permission denied [unreadable]\n"
                       "d:1:1: error: cannot be read: Permission denied [unreadable]\n"
                       "2 errors, 0 warnings, 0 notes\n",
                       ""}));
}

TEST_F(CheckFiles, FindsNothingToRead)
{
    folder.makeDirectory("d");
    folder.makeDirectory("e");
    write("f/a.conf", "k=v\n");
    expectFindings("d e", {"d:1:1: error: there is nothing to read [nothing-to-read]",
                           "d:1:1: note: no \"*.conf\" in this directory [empty-directory]",
                           "e:1:1: note: no \"*.conf\" in this directory [empty-directory]"});
    expectFindings("f e", {"e:1:1: note: no \"*.conf\" in this directory [empty-directory]"});
}

TEST_F(CheckFiles, FindsDirectoriesThatProgramsTakeForPatterns)
{
    const std::string finding =
        ":1:1: error: a program takes this name for a pattern, and reads all that matches it instead "
        "[pattern-directory]";
    write("x1/b.conf", "bad\n");
    for (const std::string name : {"x[1]", "x*", "x?", "x\\1"}) {
        write(name + "/a.conf", "[G]\nk= v\n");
        const auto path = name + "/a.conf";
        expectFindings("'" + name + "'", {name + finding, path + ":2:3: note: white space behind \"=\" is cut off "
                                                                 "[space-after-equals]"});
    }
    write("x[1/a.conf", "k=v\n");
    expectFindings("'x[1'", {});
    expectFindings("'x[1]/a.conf'", {"x[1]/a.conf:2:3: note: white space behind \"=\" is cut off "
                                     "[space-after-equals]"});
}

TEST_F(CheckFiles, NotesFilesThatAreNotRead)
{
    for (const std::string name : {"d/a.conf", "d/b.conf~", "d/.c.conf", "d/README", "d/sub/x"})
        write(name, "");
    expectFindings("d", {"d/.c.conf:1:1: note: not read: its name begins with \".\" [ignored-file]",
                         "d/README:1:1: note: not read: its name does not end in \".conf\" [ignored-file]",
                         "d/b.conf~:1:1: note: not read: its name does not end in \".conf\" [ignored-file]"});
}

TEST_F(CheckFiles, NotesAFileThatADirectoryWouldPassOver)
{
    write("a.txt", "k=v\n");
    expectFindings("a.txt", {"a.txt:1:1: note: its name does not end in \".conf\", so that it would be passed over in "
                             "a directory [not-conf]"});
}

TEST_F(CheckFiles, FindsAnOrderThatNobodyExpects)
{
    for (const std::string name : {"1-a", "10-a", "9-a", "9-b", "Z", "a", "b2", "b10", "c", "C2"})
        write("d/" + name + ".conf", "");
    const std::string text = "names sort byte by byte, ";
    expectFindings(
        "d", {"d/9-a.conf:1:1: warning: read after \"10-a.conf\": " + text + "and \"10\" before \"9\" [file-order]",
              "d/a.conf:1:1: warning: read after \"Z.conf\": " + text + "capitals before small letters [file-order]",
              "d/b2.conf:1:1: warning: read after \"b10.conf\": " + text + "and \"10\" before \"9\" [file-order]"});
}

TEST_F(CheckFiles, FindsTheSameNameInTwoDirectories)
{
    write("vendor/10-a.conf", "k=v\n");
    write("local/10-a.conf", "k=w\n");
    expectFindings("vendor local", {"local/10-a.conf:1:1: warning: has the name of vendor/10-a.conf: both count, "
                                    "neither hides the other [same-name]"});
}

TEST_F(CheckFiles, FindsAFileThatIsReadTwice)
{
    write("d/a.conf", "[G]\nk=v\n");
    write("d/b.conf", "[G]\nk=v\n");
    run("ln -s a.conf d/c.conf");
    expectFindings("d ./d/b.conf", {"./d/b.conf:1:1: warning: the same file as d/b.conf: it is read twice [read-twice]",
                                    "d/c.conf:1:1: warning: the same file as d/a.conf: it is read twice [read-twice]"});
}

TEST_F(CheckFiles, FindsWhatOthersMayWrite)
{
    write("d/a.conf", "k=${system:true}\n");
    write("d/b.conf", "k=${system:true}\n");
    setMode("d/a.conf", "666");
    expectFindings("d", {"d/a.conf:1:1: warning: others may write this file [writable-file]",
                         "d/a.conf:1:3: warning: each program that reads this runs a command, which others may "
                         "change: \"${system:true}\" [unsafe-command]",
                         "d/b.conf:1:3: note: each program that reads this runs the command of \"${system:true}\" "
                         "[runs-command]"});
}

TEST_F(CheckFiles, FindsDirectoriesThatOthersMayWrite)
{
    write("d/a.conf", "k=${system:true}\n");
    setMode("d", "777");
    const std::string unsafe = "d/a.conf:1:3: warning: each program that reads this runs a command, which others may "
                               "change: \"${system:true}\" [unsafe-command]";
    expectFindings("d", {"d:1:1: warning: others may put files into this directory, and replace those that are there "
                         "[writable-directory]",
                         unsafe});
    expectFindings("d/a.conf", {"d:1:1: warning: others may put files into this directory, and replace those that are "
                                "there [writable-directory]",
                                unsafe});
}

TEST_F(CheckFiles, KnowsThatNobodyReplacesFilesInAStickyDirectory)
{
    write("d/a.conf", "k=${system:true}\n");
    setMode("d", "1777");
    expectFindings("d", {"d:1:1: warning: others may put files into this directory [writable-directory]",
                         "d/a.conf:1:3: note: each program that reads this runs the command of \"${system:true}\" "
                         "[runs-command]"});
}

TEST_F(CheckFiles, WarnsOfTheCommandsOfOtherUsers)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give files away";
    const std::string place = "d/a.conf:1:3: ";
    const std::string note = "note: each program that reads this runs the command of \"${system:true}\" [runs-command]";
    const std::string warning = "warning: each program that reads this runs a command, which others may change: "
                                "\"${system:true}\" [unsafe-command]";
    write("d/a.conf", "k=${system:true}\n");
    expectFindings("d", {place + note});
    run("chown 65534 d/a.conf");
    expectFindings("d", {place + warning});
    run("chown 0 d/a.conf; chown 65534 d");
    expectFindings("d", {place + warning});
    run("chown 65534 d/a.conf; chmod 755 . d");
    EXPECT_EQ(run("setpriv --reuid=65534 --clear-groups tovrin-config check d"),
              (Outcome{0, place + note + "\n0 errors, 0 warnings, 1 note\n",
                       "tovrin-config: 1 command of ${system:...} was not run\n"}));
}

TEST_F(CheckFiles, CountsAGroupAsOthersUnlessTheOwnerHasItAlone)
{
    write("a.conf", "");
    const auto group = getegid() == geteuid() ? "" : std::to_string(geteuid());
    if (geteuid() != 0 && !group.empty())
        GTEST_SKIP() << "this user has no group of its own number";
    setMode("a.conf", "664", group);
    expectFindings("a.conf", {});
    if (geteuid() != 0)
        return;
    setMode("a.conf", "664", "12345");
    expectFindings("a.conf", {"a.conf:1:1: warning: others may write this file [writable-file]"});
}

} // namespace
