// SPDX-License-Identifier: Apache-2.0
#include "tools/shell.h"

#include <gtest/gtest.h>

namespace {

using namespace Tovrin::Testing;

class Explain : public testing::Test {
protected:
    void write(const std::string &path, const std::string &text) { folder.write(path, text); }
    Outcome run(const std::string &line) { return runInShell(folder, line); }

    TempTree folder;
};

TEST_F(Explain, TellsTheLifeOfAnEntry)
{
    write("d/1.conf", "[G]\nk=a;${env:TOVRIN_UNSET}-b\nother=1\nk=\nk=1;;$$${config:H/x}\n");
    write("d/2.conf", "[H]\nx=old\nx=<${config:H/y}>${config:No/Such}\ny=new\n[G]\nk=2\n");
    EXPECT_EQ(run("tovrin-config explain G k d"),
              (Outcome{0,
                       "[G] k\n"
                       "\n"
                       "Assignments, in reading order:\n"
                       "  d/1.conf:2: k=a;${env:TOVRIN_UNSET}-b\n"
                       "      a: appended\n"
                       "      ${env:TOVRIN_UNSET}-b: dropped, because ${env:TOVRIN_UNSET} failed\n"
                       "  d/1.conf:4: k=\n"
                       "      dropped the key\n"
                       "  d/1.conf:5: k=1;;$$${config:H/x}\n"
                       "      1: appended\n"
                       "      (empty): nothing to store\n"
                       "      $$${config:H/x}: appended\n"
                       "  d/2.conf:6: k=2\n"
                       "      appended\n"
                       "\n"
                       "References:\n"
                       "  ${config:H/x} is '<new>', from d/2.conf:3\n"
                       "    ${config:H/y} is 'new', from d/2.conf:4\n"
                       "    ${config:No/Such} is nothing: the key has no value\n"
                       "\n"
                       "Result:\n"
                       "  '1', from d/1.conf:5\n"
                       "  '$<new>', from d/1.conf:5\n"
                       "  '2', from d/2.conf:6\n",
                       ""}));
}

TEST_F(Explain, TellsWhatRegistrationMakesOfIt)
{
    write("keys", "[G]\nlast=replace\nall=amend\n");
    write("a.conf", "[G]\nlast=1;2\nlast= \nall=1\nother=1\n");
    EXPECT_EQ(run("tovrin-config explain G last --keys keys a.conf").out, "[G] last, registered to be replaced\n"
                                                                          "\n"
                                                                          "Assignments, in reading order:\n"
                                                                          "  a.conf:2: last=1;2\n"
                                                                          "      1: stored\n"
                                                                          "      2: replaced what was there\n"
                                                                          "  a.conf:3: last= \n"
                                                                          "      replaced what was there\n"
                                                                          "\n"
                                                                          "Result:\n"
                                                                          "  '', from a.conf:3\n");
    EXPECT_EQ(run("tovrin-config explain G all --keys keys a.conf").out, "[G] all, registered to be amended\n"
                                                                         "\n"
                                                                         "Assignments, in reading order:\n"
                                                                         "  a.conf:4: all=1\n"
                                                                         "      appended\n"
                                                                         "\n"
                                                                         "Result:\n"
                                                                         "  '1', from a.conf:4\n");
    EXPECT_EQ(run("tovrin-config explain G other --keys keys a.conf"),
              (Outcome{0,
                       "[G] other, not registered\n"
                       "\n"
                       "Assignments, in reading order:\n"
                       "  a.conf:5: other=1\n"
                       "      skipped, because the key is not registered\n"
                       "\n"
                       "Result:\n"
                       "  no value\n",
                       ""}));
}

TEST_F(Explain, NamesTheFilesThatStopAndWhatIsNotRead)
{
    write("d/1.conf", "[G]\nk=1\nbad \033line\nk=2\nother=1\n[G\n[G]\nk=3\n");
    write("d/2.conf", "[G]\nk=4");
    write("d/3.conf", "[H]\nbad\nk=1\n");
    EXPECT_EQ(run("tovrin-config explain G k d"),
              (Outcome{1,
                       "[G] k\n"
                       "\n"
                       "Assignments, in reading order:\n"
                       "  d/1.conf:2: k=1\n"
                       "      appended\n"
                       "\n"
                       "Not read:\n"
                       "  d/1.conf:3: a key without '=': 'bad \\x1bline'\n"
                       "      3 assignments not read, of this key:\n"
                       "      d/1.conf:4: k=2\n"
                       "      d/1.conf:8: k=3\n"
                       "  d/2.conf: no newline at its end; a program that reads it would never return\n"
                       "      1 assignment not read, of this key:\n"
                       "      d/2.conf:2: k=4\n"
                       "  d/3.conf:2: a key without '=': 'bad'\n"
                       "      1 assignment not read, none of this key\n"
                       "\n"
                       "Result:\n"
                       "  '1', from d/1.conf:2\n",
                       "d/1.conf:3: error: a key without '=', so nothing is read from here on: 'bad \\x1bline'\n"
                       "tovrin-config: cannot read 'd/2.conf': no newline at its end; a program that reads it would "
                       "never return\n"
                       "d/3.conf:2: error: a key without '=', so nothing is read from here on: 'bad'\n"}));
}

TEST_F(Explain, TellsOfCircles)
{
    write("a.conf", "[G]\na=<${config:G/b}>\nb=${config:G/a};last\nc=${config:G/c}\n");
    EXPECT_EQ(run("tovrin-config explain G b a.conf").out, "[G] b\n"
                                                           "\n"
                                                           "Assignments, in reading order:\n"
                                                           "  a.conf:3: b=${config:G/a};last\n"
                                                           "      ${config:G/a}: appended\n"
                                                           "      last: appended\n"
                                                           "\n"
                                                           "References:\n"
                                                           "  ${config:G/a} is '<last>', from a.conf:2\n"
                                                           "    ${config:G/b} is 'last', from a.conf:3\n"
                                                           "\n"
                                                           "Result:\n"
                                                           "  '<last>', from a.conf:3\n"
                                                           "  'last', from a.conf:3\n");
    EXPECT_EQ(run("tovrin-config explain G c a.conf"),
              (Outcome{1,
                       "[G] c\n"
                       "\n"
                       "Assignments, in reading order:\n"
                       "  a.conf:4: c=${config:G/c}\n"
                       "      appended\n"
                       "\n"
                       "References:\n"
                       "  ${config:G/c} is a circle: it is being resolved already, a.conf:4\n"
                       "\n"
                       "Result:\n"
                       "  more than 33 visits, from a.conf:4\n",
                       "a.conf:4: error: [G] c takes more than 33 visits to resolve, possibly because of a circular "
                       "reference\n"}));
}

TEST_F(Explain, MarksWhatWasNotRunOrLookedUp)
{
    write("a.conf", "[G]\nk=${system:date}${env:HOME}\nnothing=${config:No/Such}\n");
    EXPECT_EQ(run("tovrin-config explain G k --offline a.conf"),
              (Outcome{0,
                       "[G] k\n"
                       "\n"
                       "Assignments, in reading order:\n"
                       "  a.conf:2: k=${system:date}${env:HOME}\n"
                       "      appended, if ${system:date} succeeds (not run) and ${env:HOME} succeeds (not looked up)\n"
                       "\n"
                       "Result:\n"
                       "  '${system:date}${env:HOME}' (${system:date} not run) (${env:HOME} not looked up), from "
                       "a.conf:2\n",
                       "tovrin-config: 1 command of ${system:...} was not run; --run-commands runs it\n"}));
}

TEST_F(Explain, TellsWhatHangsOnACommand)
{
    write("keys", "[G]\nR=replace\n");
    write("a.conf", "[G]\nR=1;${system:false}\n");
    EXPECT_EQ(run("tovrin-config explain G R --keys keys a.conf"),
              (Outcome{0,
                       "[G] R, registered to be replaced\n"
                       "\n"
                       "Assignments, in reading order:\n"
                       "  a.conf:2: R=1;${system:false}\n"
                       "      1: stored\n"
                       "      ${system:false}: replaced what was there, if ${system:false} succeeds (not run)\n"
                       "\n"
                       "Result:\n"
                       "  '${system:false}' (${system:false} not run), from a.conf:2\n",
                       "tovrin-config: 1 command of ${system:...} was not run; --run-commands runs it\n"}));
    EXPECT_EQ(
        run("tovrin-config explain G R --keys keys --format json a.conf | sed -n /items/,/line/p | tr -d ' \\n'").out,
        R"("items":[{"text":"1","did":"stored"},{"text":"${system:false}","did":"replaced",)"
        R"("notRun":["${system:false}"]}]}],"notRead":[],"values":[{"text":"${system:false}",)"
        R"("notRun":["${system:false}"],"origin":{"path":"a.conf","line":2)");
}

TEST_F(Explain, TellsWhenThereWasNothingToChange)
{
    write("keys", "[G]\nR=replace\nA=amend\n");
    write("a.conf", "[G]\nR=\nR=1\nR=\nR=\nA=\nA=1\n");
    EXPECT_EQ(run("tovrin-config explain G R --keys keys a.conf | grep ^'      '").out,
              "      changed nothing: the key had no value\n"
              "      stored\n"
              "      dropped the key\n"
              "      changed nothing: the key had no value\n");
    EXPECT_EQ(run("tovrin-config explain G A --keys keys a.conf | grep ^'      '").out,
              "      changed nothing: the key had no value\n"
              "      appended\n");
    EXPECT_EQ(run("tovrin-config explain G R --keys keys --format json a.conf | grep did | tr -d ' \\n'").out,
              R"("did":"nothing""did":"stored""did":"dropped""did":"nothing")");
}

TEST_F(Explain, SaysWhenABadLineLosesNothing)
{
    write("a.conf", "[G]\nk=1\nbad\n");
    EXPECT_EQ(run("tovrin-config explain G k a.conf | grep -A2 ^Not").out, "Not read:\n"
                                                                           "  a.conf:3: a key without '=': 'bad'\n"
                                                                           "      no assignment is lost\n");
}

TEST_F(Explain, TellsOfAnEmptyResult)
{
    write("a.conf", "[G]\nk=${config:No/Such}\n");
    EXPECT_EQ(run("tovrin-config explain G k a.conf").out, "[G] k\n"
                                                           "\n"
                                                           "Assignments, in reading order:\n"
                                                           "  a.conf:2: k=${config:No/Such}\n"
                                                           "      appended\n"
                                                           "\n"
                                                           "References:\n"
                                                           "  ${config:No/Such} is nothing: the key has no value\n"
                                                           "\n"
                                                           "Result:\n"
                                                           "  nothing, which lists leave out, from a.conf:2\n");
}

TEST_F(Explain, SuggestsWhatMayHaveBeenMeant)
{
    write("a.conf", "[G]\nInstance=1\n");
    EXPECT_EQ(run("tovrin-config explain G instance a.conf"),
              (Outcome{1, "", "tovrin-config: [G] instance has no value; did you mean 'Instance'?\n"}));
}

TEST_F(Explain, PrintsJson)
{
    write("a.conf", "[G]\nk=<${config:G/r}${config:No/Such}>;$5\nr=1\nbad\nk=2\n");
    EXPECT_EQ(run("tovrin-config explain G k --format json a.conf"), (Outcome{1, R"({
  "group": "G",
  "key": "k",
  "assignments": [
    {
      "path": "a.conf",
      "line": 2,
      "value": "<${config:G/r}${config:No/Such}>;$5",
      "items": [
        {
          "text": "<${config:G/r}${config:No/Such}>",
          "did": "appended"
        },
        {
          "text": "$5",
          "did": "failed",
          "because": "$5"
        }
      ]
    }
  ],
  "notRead": [
    {
      "path": "a.conf",
      "line": 4,
      "reason": "a key without '=': 'bad'",
      "count": 1,
      "assignments": [
        {
          "line": 5,
          "value": "2"
        }
      ]
    }
  ],
  "values": [
    {
      "text": "<1>",
      "origin": {
        "path": "a.conf",
        "line": 2
      },
      "references": [
        {
          "group": "G",
          "key": "r",
          "text": "1",
          "origin": {
            "path": "a.conf",
            "line": 3
          },
          "references": []
        },
        {
          "group": "No",
          "key": "Such",
          "text": "",
          "missing": true,
          "references": []
        }
      ]
    }
  ]
}
)",
                                                                              "a.conf:4: error: a key without '=', so "
                                                                              "nothing is read from here on: 'bad'\n"
                                                                              "a.conf:2: error: '$' must be followed "
                                                                              "by '{' or '$': $5\n"}));
}

TEST_F(Explain, UsesColoursOnATerminal)
{
    write("a.conf", "[G]\nk=1\n");
    EXPECT_EQ(run("TERM=xterm script -qec 'tovrin-config explain G k a.conf' /dev/null").out,
              "\033[1m[G] k\033[0m\r\n"
              "\r\n"
              "Assignments, in reading order:\r\n"
              "  \033[36ma.conf:2\033[0m: k=1\r\n"
              "      \033[32mappended\033[0m\r\n"
              "\r\n"
              "Result:\r\n"
              "  '1', from \033[36ma.conf:2\033[0m\r\n");
}

} // namespace
