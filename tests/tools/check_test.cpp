// SPDX-License-Identifier: Apache-2.0
#include "tools/check_run.h"

using namespace std::string_literals;
using Tovrin::Testing::Outcome;

namespace {

class Check : public Tovrin::Testing::CheckRun {};

// Lines

TEST_F(Check, FindsNothingInACleanFile)
{
    expectFindingsIn("# comment\n\n[Group]\nKey=value\nList=a;b\nPrice=5$$\n", {});
}

TEST_F(Check, FindsEveryBadLineAndSaysWhatTheFirstCosts)
{
    expectFindingsIn("[G]\n"
                     "a=1\n"
                     " b=2\n"
                     "c=3\n"
                     "[H\n"
                     "[I] # comment\n"
                     "[J/K]\n"
                     "d\n"
                     "e/f=4\n"
                     "=5\n"
                     "\t\n"
                     "g=6\n",
                     {"a.conf:3:1: error: white space at the start of the line; reading stops here, and 2 entries are "
                      "lost, from line 4 on [unexpected-line]",
                      "a.conf:5:3: error: the group's header does not end with \"]\" [bad-header]",
                      "a.conf:6:4: error: text behind the \"]\" of a group's header [bad-header]",
                      "a.conf:7:3: error: \"/\" in the name of a group, which holds only letters, digits, \"-\", "
                      "\".\", \"_\" and spaces [bad-group-name]",
                      "a.conf:8:2: error: no \"=\" behind the key [no-equals]",
                      "a.conf:9:2: error: \"/\" in the name of a key, which holds only letters, digits, \"-\", "
                      "\".\", \"_\" and spaces [bad-key-name]",
                      "a.conf:10:1: error: a line cannot begin with \"=\" [unexpected-line]",
                      "a.conf:11:1: error: the line is not empty: it holds white space [unexpected-line]"});
}

TEST_F(Check, NamesTheOneEntryThatABadLineCosts)
{
    expectFindingsIn("[G] \na=1\n",
                     {"a.conf:1:4: error: white space behind the \"]\" of a group's header; reading stops here, and "
                      "the entry of line 2 is lost [bad-header]"});
    expectFindingsIn("bad\n", {"a.conf:1:4: error: no \"=\" behind the key [no-equals]"});
}

TEST_F(Check, SaysThatABadLineMayCostLaterFiles)
{
    write("d/1.conf", "bad\nk=1\n");
    write("d/2.conf", "bad\n");
    write("e/3.conf", "bad\n");
    write("f.conf", "bad\n");
    const std::string bad = ":1:4: error: no \"=\" behind the key";
    const std::string later = "; a program that calls readDirectories reads no later file either";
    expectFindings("d e f.conf",
                   {"d/1.conf" + bad + "; reading stops here, and the entry of line 2 is lost" + later + " [no-equals]",
                    "d/2.conf" + bad + later + " [no-equals]", "e/3.conf" + bad + " [no-equals]",
                    "f.conf" + bad + " [no-equals]"});
}

TEST_F(Check, FindsAMissingNewline)
{
    expectFindingsIn("[G]\nk=v", {"a.conf:2:4: error: no newline at the end of the file: a program that reads it "
                                  "never returns [no-newline]"});
    expectFindingsIn("# end", {"a.conf:1:6: error: no newline at the end of the file: a program that reads it never "
                               "returns [no-newline]"});
    expectFindingsIn("bad", {"a.conf:1:4: error: no \"=\" behind the key [no-equals]",
                             "a.conf:1:4: error: no newline at the end of the file [no-newline]"});
}

TEST_F(Check, FindsCarriageReturnsOnceForAFile)
{
    expectFindingsIn("k=v\r\nl=w\r\n# comment\r\n",
                     {"a.conf:1:4: warning: carriage returns in 3 lines: they are no line ends, but white space "
                      "[carriage-return]"});
    expectFindingsIn("[G]\r\n\r\n",
                     {"a.conf:1:4: error: a carriage return behind the \"]\" of a group's header [bad-header]",
                      "a.conf:1:4: warning: carriage returns in 2 lines: they are no line ends, but white space "
                      "[carriage-return]",
                      "a.conf:2:1: error: the line is not empty: it holds a carriage return [unexpected-line]"});
}

TEST_F(Check, FindsControlCharactersAndShowsThemAsEscapes)
{
    expectFindingsIn("a=tab\tis fine\nb=x\033[31m\nc=\0\n"s,
                     {"a.conf:2:4: warning: control character \"\\x1b\" in the value [control-character]",
                      "a.conf:3:3: warning: control character \"\\x00\" in the value [control-character]"});
}

TEST_F(Check, FindsWhiteSpaceThatBelongsToNames)
{
    expectFindingsIn("[ G]\n"
                     "Key  = v\n"
                     "[H ]\n"
                     "k e y=v\n",
                     {"a.conf:1:2: warning: white space at the end of a name belongs to the group, which is \" G\" "
                      "[space-around-group]",
                      "a.conf:2:4: warning: white space before \"=\" belongs to the key, which is \"Key  \" "
                      "[space-before-equals]",
                      "a.conf:3:3: warning: white space at the end of a name belongs to the group, which is \"H \" "
                      "[space-around-group]"});
}

TEST_F(Check, NotesWhiteSpaceBehindTheEqualsSign)
{
    expectFindingsIn("k= v\n", {"a.conf:1:3: note: white space behind \"=\" is cut off [space-after-equals]"});
}

TEST_F(Check, LooksAtLinesBehindABadOneToo)
{
    expectFindingsIn("bad\nKey =v\n",
                     {"a.conf:1:4: error: no \"=\" behind the key; reading stops here, and the entry of line 2 is lost "
                      "[no-equals]",
                      "a.conf:2:4: warning: white space before \"=\" belongs to the key, which is \"Key \" "
                      "[space-before-equals]"});
}

// Names

TEST_F(Check, FindsKeysThatLookLikeAnother)
{
    expectFindingsIn("[G]\nDevNodes=a\nDevNodes=b\ndevnodes=c\n[H]\nDevNodes=d\n",
                     {"a.conf:4:1: warning: key \"devnodes\" differs only in case from \"DevNodes\" at a.conf:2 "
                      "[near-name]"});
    expectFindingsIn("[G]\nDev Nodes=a\nDevNodes=b\nDevNodes=c\n",
                     {"a.conf:2:1: warning: key \"Dev Nodes\" differs only in white space from \"DevNodes\" at "
                      "a.conf:3 [near-name]"});
    expectFindingsIn("[G]\na b=1\nab =2\n",
                     {"a.conf:3:1: warning: key \"ab \" differs only in white space from \"a b\" at a.conf:2 "
                      "[near-name]",
                      "a.conf:3:3: warning: white space before \"=\" belongs to the key, which is \"ab \" "
                      "[space-before-equals]"});
    expectFindingsIn("[G]\nDevNodes=1\ndev nodes=2\n",
                     {"a.conf:3:1: warning: key \"dev nodes\" differs only in case and white space from "
                      "\"DevNodes\" at a.conf:2 [near-name]"});
}

TEST_F(Check, FindsGroupsThatLookLikeAnother)
{
    write("d/1.conf", "[Network]\na=1\nb=2\n");
    write("d/2.conf", "x=1\n[network]\nc=3\n");
    expectFindings("d", {"d/2.conf:2:1: warning: group \"network\" differs only in case from \"Network\" at "
                         "d/1.conf:1 [near-name]"});
}

TEST_F(Check, FindsUnregisteredKeysAndWhatTheyMayHaveMeant)
{
    write("keys", "[Network]\nLinkName=replace\nNetConfig=replace\n[Devices]\nDevNodes=amend\n");
    write("a.conf", "[Network]\nlinkname=a\nLinkNmae=b\nDevNodes=c\nColour=d\n[devices]\nDev Nodes=e\n");
    expectFindings("--keys keys a.conf",
                   {"a.conf:2:1: warning: \"Network/linkname\" is not registered, so the program passes it over; did "
                    "you mean \"Network/LinkName\"? [near-name]",
                    "a.conf:3:1: warning: \"Network/LinkNmae\" is not registered, so the program passes it over; did "
                    "you mean \"Network/LinkName\"? [unregistered]",
                    "a.conf:4:1: warning: \"Network/DevNodes\" is not registered, so the program passes it over; did "
                    "you mean \"Devices/DevNodes\"? [unregistered]",
                    "a.conf:5:1: warning: \"Network/Colour\" is not registered, so the program passes it over "
                    "[unregistered]",
                    "a.conf:7:1: warning: \"devices/Dev Nodes\" is not registered, so the program passes it over; did "
                    "you mean \"Devices/DevNodes\"? [near-name]"});
}

TEST_F(Check, PassesOverTheValuesOfUnregisteredKeys)
{
    write("keys", "[G]\nk=replace;int\n");
    write("a.conf", "[G]\nother=$5\nother=\n");
    expectFindings("--keys keys a.conf", {"a.conf:2:1: warning: \"G/other\" is not registered, so the program passes "
                                          "it over [unregistered]",
                                          "a.conf:3:1: warning: \"G/other\" is not registered, so the program passes "
                                          "it over [unregistered]"});
}

// Assignments

TEST_F(Check, NotesWhatALaterFileReplaces)
{
    write("keys", "[G]\nk=replace\nl=amend\n");
    write("d/1.conf", "[G]\nk=1\nl=1\n");
    write("d/2.conf", "[G]\nk=2\nl=2\n");
    expectFindings("--keys keys d", {"d/1.conf:2:3: note: replaced by d/2.conf:2 [overridden]"});
    expectFindings("d", {});
}

TEST_F(Check, WarnsOfWhatIsReplacedInItsOwnFile)
{
    write("keys", "[G]\nk=replace\n");
    write("a.conf", "[G]\nk=1\nk=2\n");
    expectFindings("--keys keys a.conf", {"a.conf:2:3: warning: replaced in line 3 [set-twice]"});
}

TEST_F(Check, NotesWhatIsTakenBack)
{
    write("d/1.conf", "[G]\nk=1;2\n");
    write("d/2.conf", "[G]\nk=3\nk=\nk=4\n");
    expectFindings("d", {"d/1.conf:2:3: note: taken back by d/2.conf:3 [dropped]",
                         "d/2.conf:2:3: note: taken back by d/2.conf:3 [dropped]"});
}

TEST_F(Check, FindsEmptyAssignmentsThatDropNothing)
{
    expectFindingsIn("[G]\nk=\nk=1\nk=\nk=\n",
                     {"a.conf:2:3: warning: an empty value takes back what was set before, but nothing was "
                      "[drops-nothing]",
                      "a.conf:3:3: note: taken back by a.conf:4 [dropped]",
                      "a.conf:5:3: warning: an empty value takes back what was set before, but nothing was "
                      "[drops-nothing]"});
}

TEST_F(Check, FindsAssignmentsThatOnlyLookEmpty)
{
    expectFindingsIn("a=;\nb= \nc=x; ;y\n",
                     {"a.conf:1:3: warning: \";\" alone changes nothing; only an empty value takes back what was set "
                      "before [no-items]",
                      "a.conf:2:3: warning: white space alone changes nothing; only an empty value takes back what was "
                      "set before [blank-item]",
                      "a.conf:3:5: warning: white space alone changes nothing; only an empty value takes back what was "
                      "set before [blank-item]"});
    write("keys", "[]\nb=replace\n");
    write("b.conf", "b= \n");
    expectFindings("--keys keys b.conf", {"b.conf:1:3: warning: white space alone sets an empty value [blank-item]"});
}

TEST_F(Check, FindsSeveralItemsOfWhichOneStays)
{
    write("keys", "[]\nk=replace\nl=amend\n");
    write("a.conf", "k=a;b;c\nl=a;b;c\n");
    expectFindings("--keys keys a.conf", {"a.conf:1:3: warning: only the last item stays: the key is registered as "
                                          "replaced [several-items]"});
}

TEST_F(Check, TakesAnItemBeforeALookUpForADefault)
{
    write("keys", "[]\nk=replace\n");
    write("d/1.conf", "k=default;${env:NAME}\n");
    write("d/2.conf", "k=${env:OTHER}\n");
    expectFindings("--keys keys d", {});
}

// Templates

TEST_F(Check, FindsBrokenTemplates)
{
    expectFindingsIn("a=5$\n"
                     "b=x;$5\n"
                     "c=x${env:HOME\n"
                     "d=${Env:HOME}\n"
                     "e=${sytem:true}\n"
                     "f=${nothing like it:x}\n"
                     "g=${HOME}\n"
                     "h=${config:a/b/c};${config:G}\n"
                     "i=${envfile:/etc/os-release}\n"
                     "j=${}\n",
                     {"a.conf:1:4: error: \"$\" alone: write \"$$\" for a dollar sign [lone-dollar]",
                      "a.conf:2:5: error: \"$\" alone: write \"$$\" for a dollar sign [lone-dollar]",
                      "a.conf:3:4: error: \"${\" without a \"}\" [unterminated-template]",
                      "a.conf:4:3: error: there is no template source \"Env\"; did you mean \"env\"? [unknown-source]",
                      "a.conf:5:3: error: there is no template source \"sytem\"; did you mean \"system\"? "
                      "[unknown-source]",
                      "a.conf:6:3: error: there is no template source \"nothing like it\" [unknown-source]",
                      "a.conf:7:3: error: no template \"HOME\" is registered; write \"${env:HOME}\" for the "
                      "environment, or register it with --template [unknown-template]",
                      "a.conf:8:3: error: \"${config:a/b/c}\" is not of the form \"${config:GROUP/KEY}\" "
                      "[config-form]",
                      "a.conf:8:19: error: \"${config:G}\" is not of the form \"${config:GROUP/KEY}\" [config-form]",
                      "a.conf:9:3: error: \"${envfile:/etc/os-release}\" is not of the form "
                      "\"${envfile:PATH:NAME}\" [envfile-form]",
                      "a.conf:10:3: error: \"${}\" names no template [unknown-template]"});
}

TEST_F(Check, KnowsTheTemplatesThatTheProgramRegisters)
{
    write("a.conf", "[G]\nk=${name}\n");
    expectFindings("--template name=value a.conf", {});
}

TEST_F(Check, FindsATemplateThatASemicolonCutsInTwo)
{
    expectFindingsIn("a=x;${system:cd /; ls};y\n",
                     {"a.conf:1:5: error: the \";\" inside this template cuts the value in two, and the template with "
                      "it [cut-template]"});
}

TEST_F(Check, FindsTemplatesInTemplates)
{
    expectFindingsIn("a=${env:${config:G/K}}\n",
                     {"a.conf:1:9: warning: templates do not nest: the outer one is \"${env:${config:G/K}\" "
                      "[nested-template]"});
}

TEST_F(Check, FindsPathsThatDependOnTheWorkingDirectory)
{
    expectFindingsIn("a=${realpath:var}\nb=${envfile:os-release:ID}\nc=${realpath:/var}${envfile:/etc/os-release:ID}\n",
                     {"a.conf:1:3: warning: the path depends on the directory in which the program runs "
                      "[relative-path]",
                      "a.conf:2:3: warning: the path depends on the directory in which the program runs "
                      "[relative-path]"});
}

TEST_F(Check, NotesCommands)
{
    expectFindingsIn("a=${system:uname -m}\n", {"a.conf:1:3: note: each program that reads this runs the command of "
                                                "\"${system:uname -m}\" [runs-command]"});
}

TEST_F(Check, FindsWhiteSpaceThatTrimmingTakes)
{
    const std::string end = " warning: the white space beside this reference is cut off before the reference is "
                            "filled in [trimmed-space]";
    expectFindingsIn("x=1\n"
                     "a=b ${config:/x}\n"
                     "[G]\n"
                     "x=1\n"
                     "a=b ${config:G/x}\n"
                     "b=${config:G/x} b\n"
                     "c=b ${config:G/x} b\n"
                     "d=${config:G/x} ${config:G/x}\n"
                     "e=a;b${config:G/x} ;c\n"
                     "f=a ${config:G/x}${env:NAME}\n",
                     {"a.conf:2:5: error: \"${config:/x}\" is not of the form \"${config:GROUP/KEY}\" [config-form]",
                      "a.conf:5:5:" + end, "a.conf:6:3:" + end, "a.conf:8:3:" + end});
}

// References

TEST_F(Check, FindsReferencesToMissingEntries)
{
    expectFindingsIn("[G]\nkey=1\ngone=1\ngone=\n"
                     "a=${config:G/kye}\nb=${config:H/key}\nc=x${config:No/Such}\nd=${config:G/gone}\n",
                     {"a.conf:3:6: note: taken back by a.conf:4 [dropped]",
                      "a.conf:5:3: warning: \"G/kye\" has no value: the reference inserts nothing; did you mean "
                      "\"G/key\"? [missing-entry]",
                      "a.conf:6:3: warning: \"H/key\" has no value: the reference inserts nothing; did you mean "
                      "\"G/key\"? [missing-entry]",
                      "a.conf:7:4: warning: \"No/Such\" has no value: the reference inserts nothing [missing-entry]",
                      "a.conf:8:3: warning: \"G/gone\" has no value: the reference inserts nothing [missing-entry]"});
}

TEST_F(Check, FindsReferencesToUnregisteredEntries)
{
    write("keys", "[G]\nk=replace\nl=replace\n");
    write("a.conf", "[G]\nk=${config:G/m}${config:G/l}\nm=1\n");
    expectFindings("--keys keys a.conf",
                   {"a.conf:2:3: warning: \"G/m\" is not registered: the reference inserts nothing [missing-entry]",
                    "a.conf:2:16: warning: \"G/l\" has no value: the reference inserts nothing [missing-entry]",
                    "a.conf:3:1: warning: \"G/m\" is not registered, so the program passes it over [unregistered]"});
}

TEST_F(Check, TakesAReferenceToALaterFileForGood)
{
    write("d/1.conf", "[A]\na=${config:B/b}\n");
    write("d/2.conf", "[B]\nb=1\n");
    expectFindings("d", {});
}

TEST_F(Check, FindsCyclesWithTheirWholePath)
{
    write("d/1.conf", "[A]\na=x${config:B/b}\n");
    write("d/2.conf", "[B]\nb=${config:C/c}\n");
    write("d/3.conf", "[C]\nc=y;${config:A/a}\n[D]\nd=${config:B/b}\nself=${config:D/self}\n");
    expectFindings("d", {"d/1.conf:2:4: error: references in a circle, which resolve to nothing: A/a -> B/b -> C/c -> "
                         "A/a [cycle]",
                         "d/3.conf:4:3: error: leads into references in a circle, and so resolves to nothing "
                         "[into-cycle]",
                         "d/3.conf:5:6: error: references in a circle, which resolve to nothing: D/self -> D/self "
                         "[cycle]"});
}

TEST_F(Check, FollowsTheLastValueOfAList)
{
    expectFindingsIn("[G]\nk=${config:G/k};2\n", {});
    expectFindingsIn("[G]\nk=${config:G/k};2${env:NAME}\n",
                     {"a.conf:2:3: error: references in a circle, which resolve to nothing: G/k -> G/k [cycle]"});
}

std::string chain(int length)
{
    std::string text = "[G]\nk1=end\n";
    for (int i = 2; i <= length; ++i)
        text += "k" + std::to_string(i) + "=${config:G/k" + std::to_string(i - 1) + "}\n";
    return text;
}

TEST_F(Check, FindsValuesOverTheBudgetWithTheirCount)
{
    expectFindingsIn(chain(33), {});
    expectFindingsIn(chain(35),
                     {"a.conf:35:5: error: resolves to nothing: 34 values would be visited for it, of which 33 are "
                      "allowed [over-budget]",
                      "a.conf:36:5: error: resolves to nothing: 35 values would be visited for it, of which 33 are "
                      "allowed [over-budget]"});
}

TEST_F(Check, CountsEachVisitOfAValue)
{
    std::string text = "[G]\nk1=1\n";
    for (int i = 2; i <= 5; ++i) {
        const auto reference = "${config:G/k" + std::to_string(i - 1) + "}";
        text += "k" + std::to_string(i) + "=" + reference + "," + reference + "," + reference + "\n";
    }
    expectFindingsIn(text, {"a.conf:5:4: error: resolves to nothing: 40 values would be visited for it, of which 33 "
                            "are allowed [over-budget]",
                            "a.conf:6:4: error: resolves to nothing: 121 values would be visited for it, of which 33 "
                            "are allowed [over-budget]"});
}

TEST_F(Check, CountsNoFurtherThanAnybodyWantsToKnow)
{
    std::string text = "[G]\nk1=1\n";
    for (int i = 2; i <= 100; ++i) {
        const auto reference = "${config:G/k" + std::to_string(i - 1) + "}";
        text += "k" + std::to_string(i) + "=" + reference + reference + "\n";
    }
    write("a.conf", text);
    const auto outcome = run("tovrin-config check a.conf");
    EXPECT_NE(outcome.out.find("a.conf:101:6: error: resolves to nothing: at least 1000000000000000000 values would be "
                               "visited for it, of which 33 are allowed [over-budget]\n95 errors, "),
              std::string::npos)
        << outcome;
}

// Types

TEST_F(Check, FindsValuesThatDoNotConvert)
{
    write("keys", "[T]\n"
                  "bool=amend;bool\n"
                  "int=amend;int\n"
                  "int64=replace;int64\n"
                  "double=replace;double\n"
                  "string=replace;string\n"
                  "any=replace\n"
                  "unset=replace;int\n");
    write("a.conf", "[T]\n"
                    "bool=true;false;True\n"
                    "int=1;0x1f; -7 ;2147483648;1 2\n"
                    "int64=2147483648\n"
                    "double=x${config:T/string}\n"
                    "string=1\n"
                    "any=anything\n");
    expectFindings("--keys keys a.conf",
                   {"a.conf:2:17: error: \"True\" is neither \"true\" nor \"false\", and so false [wrong-type]",
                    "a.conf:3:17: error: \"2147483648\" is not a number of 32 bits [wrong-type]",
                    "a.conf:3:28: error: \"1 2\" is not a number of 32 bits [wrong-type]",
                    "a.conf:5:8: error: \"x1\" is not a number [wrong-type]"});
}

TEST_F(Check, ConvertsOnlyWhatStays)
{
    write("keys", "[T]\nk=replace;int\nl=amend;int\n");
    write("d/1.conf", "[T]\nk=x\nl=x\n");
    write("d/2.conf", "[T]\nk=1\nl=\nl=1;${env:NUMBER}\n");
    expectFindings("--keys keys d", {"d/1.conf:2:3: note: replaced by d/2.conf:2 [overridden]",
                                     "d/1.conf:3:3: note: taken back by d/2.conf:3 [dropped]"});
}

TEST_F(Check, FindsMountEntriesThatAreRejectedAndWhy)
{
    write("keys", "[D]\nMounts=amend;mount\nRoot=replace\n");
    write("a.conf", "[D]\n"
                    "Root=/data\n"
                    "Mounts=${config:D/Root}/a /b none bind 0 0\n"
                    "Mounts=tmpfs tmp tmpfs mode=755 0 0;/a /b none bind 0\n"
                    "Mounts=/a  /b none bind 0 0\n"
                    "Mounts=proc /proc none bind 0 0\n"
                    "Mounts=/a /b ext4 ro 0 0\n"
                    "Mounts=/a /b none bind 1 0\n"
                    "Mounts=/a /b none bind 0 2\n");
    expectFindings("--keys keys a.conf",
                   {"a.conf:4:37: error: Not enough parts in mount entry, which has 5 fields instead of 6; one space "
                    "stands between two [mount-entry]",
                    "a.conf:5:8: error: Not enough parts in mount entry, which has 7 fields instead of 6; one space "
                    "stands between two [mount-entry]",
                    "a.conf:6:8: error: Mount entry must begin with '/' or be 'tmpfs' or 'none' [mount-entry]",
                    "a.conf:7:8: error: File system type must be 'none' or 'tmpfs' instead of 'ext4' in mount entry "
                    "[mount-entry]",
                    "a.conf:8:8: error: Dump value must be '0' instead of '1' in mount entry [mount-entry]",
                    "a.conf:9:8: error: Backup value must be '0' instead of '2' in mount entry [mount-entry]"});
}

// The answer

TEST_F(Check, FailsForWarningsOnlyIfStrict)
{
    write("a.conf", "Key =v\n");
    write("b.conf", "k= v\n");
    const Outcome warned{0,
                         "a.conf:1:4: warning: white space before \"=\" belongs to the key, which is \"Key \" "
                         "[space-before-equals]\n0 errors, 1 warning, 0 notes\n",
                         ""};
    EXPECT_EQ(run("tovrin-config check a.conf"), warned);
    EXPECT_EQ(run("tovrin-config check --strict a.conf"), (Outcome{1, warned.out, ""}));
    EXPECT_EQ(run("tovrin-config check --strict b.conf").exitCode, 0);
}

TEST_F(Check, SortsByPathLineAndColumn)
{
    write("b.conf", "c=$;$\nd=$\n");
    write("a.conf", "e=$\n");
    const std::string lone = ": error: \"$\" alone: write \"$$\" for a dollar sign [lone-dollar]";
    expectFindings("b.conf a.conf",
                   {"a.conf:1:3" + lone, "b.conf:1:3" + lone, "b.conf:1:5" + lone, "b.conf:2:3" + lone});
}

TEST_F(Check, PrintsJson)
{
    write("a.conf", "k\xff=\n[G]\r\n");
    EXPECT_EQ(run("tovrin-config check --format json a.conf"),
              (Outcome{1,
                       R"({
  "findings": [
    {
      "path": "a.conf",
      "line": 1,
      "column": 2,
      "severity": "error",
      "id": "bad-key-name",
      "text": "\")"
                       "\xef\xbf\xbd"
                       R"(\" in the name of a key, which holds only letters, digits, \"-\", \".\", \"_\" and spaces"
    },
    {
      "path": "a.conf",
      "line": 2,
      "column": 4,
      "severity": "error",
      "id": "bad-header",
      "text": "a carriage return behind the \"]\" of a group's header"
    },
    {
      "path": "a.conf",
      "line": 2,
      "column": 4,
      "severity": "warning",
      "id": "carriage-return",
      "text": "carriage returns in 1 line: they are no line ends, but white space"
    }
  ],
  "errors": 2,
  "warnings": 1,
  "notes": 0
}
)",
                       ""}));
}

TEST_F(Check, PrintsAnEmptyListInJson)
{
    write("a.conf", "k=v\n");
    EXPECT_EQ(run("tovrin-config check --format json a.conf"),
              (Outcome{0, "{\n  \"findings\": [],\n  \"errors\": 0,\n  \"warnings\": 0,\n  \"notes\": 0\n}\n", ""}));
}

TEST_F(Check, ColoursTheSeverityWhenAsked)
{
    write("a.conf", "k= v\nl=$\nm =v\n");
    EXPECT_EQ(run("tovrin-config check --color always a.conf"),
              (Outcome{1,
                       "a.conf:1:3: \033[36mnote\033[0m: white space behind \"=\" is cut off [space-after-equals]\n"
                       "a.conf:2:3: \033[1;31merror\033[0m: \"$\" alone: write \"$$\" for a dollar sign "
                       "[lone-dollar]\n"
                       "a.conf:3:2: \033[1;33mwarning\033[0m: white space before \"=\" belongs to the key, which is "
                       "\"m \" [space-before-equals]\n"
                       "1 error, 1 warning, 1 note\n",
                       ""}));
}

TEST_F(Check, UsesColoursOnATerminal)
{
    write("a.conf", "k= v\n");
    const std::string plain = "a.conf:1:3: note: white space behind \"=\" is cut off [space-after-equals]";
    const std::string coloured = "a.conf:1:3: \033[36mnote\033[0m: white space behind \"=\" is cut off "
                                 "[space-after-equals]";
    const std::string end = "\r\n0 errors, 0 warnings, 1 note\r\n";
    EXPECT_EQ(run("TERM=xterm script -qec 'tovrin-config check a.conf' /dev/null").out, coloured + end);
    EXPECT_EQ(run("TERM=xterm script -qec 'tovrin-config check --color never a.conf' /dev/null").out, plain + end);
}

TEST_F(Check, CutsLongTextsShort)
{
    expectFindingsIn("[G]\nk=${config:" + std::string(500, 'x') + "}\n",
                     {"a.conf:2:3: error: \"${config:" + std::string(111, 'x') +
                      "...\" is not of the form \"${config:GROUP/KEY}\" [config-form]"});
}

// Each of these took minutes, or would, if anything were done for each pair of things.
TEST_F(Check, TakesNoLongerForHostileFiles)
{
    std::string chain = "[G]\n";
    std::string candidates = "[G]\n";
    std::string misses = "[G]\n";
    for (int i = 0; i < 20'000; ++i) {
        const auto number = std::to_string(i);
        chain += "k" + number + "=${config:G/k" + std::to_string(i + 1) + "}${config:G/k0}\n";
        candidates += "k=${env:X}${config:G/m" + number + "}\nm" + number + "=${config:G/k}\n";
        misses += "key" + number + "=${config:G/kye" + number + "}\n";
    }
    std::string cuts = "k=";
    for (int i = 0; i < 300'000; ++i)
        cuts += "${x;";
    const auto expectExitCode = [&](int code, const std::string &text) {
        write("a.conf", text);
        EXPECT_EQ(run("timeout 20 tovrin-config check a.conf >out"), (Outcome{code, "", ""})) << text.substr(0, 100);
    };
    expectExitCode(1, chain);
    expectExitCode(1, candidates);
    expectExitCode(0, misses); // which are warnings
    expectExitCode(1, cuts + '\n');
}

TEST_F(Check, RejectsAWrongFileOfKeys)
{
    write("a.conf", "k=v\n");
    write("keys", "[G]\nk=sometimes\n");
    const auto outcome = run("tovrin-config check --keys keys a.conf");
    EXPECT_EQ(outcome.exitCode, 2) << outcome;
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err, "");
}

TEST_F(Check, ReportsAFullDisk)
{
    write("a.conf", "k=v\n");
    EXPECT_EQ(run("tovrin-config check a.conf >/dev/full"),
              (Outcome{1, "", "tovrin-config: cannot write to standard output: No space left on device\n"}));
}

TEST_F(Check, AcceptsTheExamples)
{
    const std::string examples = TOVRIN_EXAMPLES;
    const auto daemon = examples + "/daemon/";
    const auto outcome = run("tovrin-config check --strict " + examples + "/tovrin.conf.d && tovrin-config check " +
                             "--strict --template state=/var " + daemon + "vendor.conf.d " + daemon + "local.conf.d");
    EXPECT_EQ(outcome.exitCode, 0) << outcome;

    const auto withKeys =
        run("cd " + examples + " && tovrin-config check --strict --keys tovrin.keys tovrin.conf.d | tail -n 1");
    EXPECT_TRUE(withKeys.out.starts_with("0 errors, 0 warnings, ")) << withKeys;
}

} // namespace
