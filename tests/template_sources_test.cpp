// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/substitutor.h>

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/config_value.h>

#include "support/captured_records.h"
#include "support/env_guard.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

using testing::ElementsAre;
using Tovrin::Parser::ConfigParser;
using Tovrin::Parser::ConfigValue;
using Tovrin::Parser::Substitutor;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::EnvGuard;
using Tovrin::Testing::TempTree;
using Record = CapturedRecords::Record;

namespace {

constexpr int Resolved = 0;
constexpr int Failed = 1;
constexpr int IsReference = 2;

constexpr int ErrorPriority = 3;
constexpr int WarningPriority = 4;
constexpr int DebugPriority = 7;

using Pair = std::pair<std::string, std::string>;

const Pair untouched{"former group", "former key"};

// Expects a text, no reference, and no record.
void expectText(const std::string &name, const std::string &text)
{
    const CapturedRecords records;
    std::string out;
    auto reference = untouched;
    EXPECT_EQ(Substitutor(ConfigParser::BadUid).resolve(name, out, reference), Resolved) << name;
    EXPECT_EQ(out, text) << name;
    EXPECT_EQ(reference, untouched) << name;
    EXPECT_TRUE(records.empty()) << name;
}

void expectFailure(const std::string &name, const std::vector<Record> &expected)
{
    const CapturedRecords records;
    std::string out;
    auto reference = untouched;
    EXPECT_EQ(Substitutor(ConfigParser::BadUid).resolve(name, out, reference), Failed) << name;
    EXPECT_EQ(records.all(), expected) << name;
    EXPECT_EQ(reference, untouched) << name;
}

void expectFailure(const std::string &name, int priority, const std::string &message)
{
    expectFailure(name, {Record{priority, message}});
}

void expectReference(const std::string &name, const Pair &expected)
{
    const CapturedRecords records;
    std::string out = "former";
    auto reference = untouched;
    EXPECT_EQ(Substitutor(ConfigParser::BadUid).resolve(name, out, reference), IsReference) << name;
    EXPECT_EQ(reference, expected) << name;
    EXPECT_EQ(out, "") << name;
    EXPECT_TRUE(records.empty()) << name;
}

} // namespace

// ---- Registered templates and unknown sources -----------------------------------------------------------------------

TEST(TemplateName, WithoutColonIsThatOfARegisteredTemplate)
{
    const EnvGuard home("HOME", "/home/u");
    for (const auto *name : {"HOME", "", "env", "config", "G/K", "$$", "a b", "No"})
        expectFailure(name, ErrorPriority, "No such template '" + std::string(name) + "'");
}

TEST(TemplateName, WithAnUnknownSourceIsInvalid)
{
    for (const auto *name : {"Config:G/K", "ENV:HOME", "Env:HOME", " env:HOME", "env :HOME", "confi:G/K", "configs:G/K",
                             ":", ":x", "::", "file:/etc/passwd", "environment:HOME", "realPath:/"})
        expectFailure(name, ErrorPriority, "Invalid template '" + std::string(name) + "'");
}

// ---- config ---------------------------------------------------------------------------------------------------------

TEST(TemplateSourceConfig, NamesAGroupAndAKey)
{
    expectReference("config:General/Path", {"General", "Path"});
    expectReference("config:a b/c d", {"a b", "c d"});
    expectReference("config: / ", {" ", " "});
    expectReference("config:a:b/c:d", {"a:b", "c:d"});
    expectReference("config:config:/x", {"config:", "x"});
}

TEST(TemplateSourceConfig, OverlooksOneSlashAtTheVeryEnd)
{
    expectReference("config:G/K/", {"G", "K"});
}

TEST(TemplateSourceConfig, RejectsAnythingButTwoNonEmptyParts)
{
    for (const std::string argument :
         {"G/K/X", "G", "/K", "G/", "a//b", "", "/", "//", "/G/K", "G//", "a/b/c", "G/K//"})
        expectFailure("config:" + argument, ErrorPriority,
                      "Invalid format '" + argument + "' for conf template 'config:" + argument + "'");
}

// ---- env ------------------------------------------------------------------------------------------------------------

TEST(TemplateSourceEnv, InsertsTheVariableVerbatim)
{
    const EnvGuard variable("TOVRIN_TEST_VALUE", "  ${x} a:b ");
    expectText("env:TOVRIN_TEST_VALUE", "  ${x} a:b ");
}

TEST(TemplateSourceEnv, TakesEverythingBehindTheFirstColonForTheName)
{
    const EnvGuard variable("TOVRIN:TEST VALUE", "v");
    expectText("env:TOVRIN:TEST VALUE", "v");
}

TEST(TemplateSourceEnv, FailsForAnUnsetOrEmptyVariable)
{
    const EnvGuard unset("TOVRIN_TEST_UNSET", std::nullopt);
    const EnvGuard empty("TOVRIN_TEST_EMPTY", "");
    for (const std::string name : {"TOVRIN_TEST_UNSET", "TOVRIN_TEST_EMPTY", "", ":", "A=B"})
        expectFailure("env:" + name, DebugPriority,
                      "Failed to read '" + name + "' from environment variables for template 'env:" + name + "'");
}

// ---- envfile --------------------------------------------------------------------------------------------------------

TEST(TemplateSourceEnvfile, InsertsTheVariableOfTheFile)
{
    const TempTree tree;
    const auto path = tree.write("x.env", "A=1\nB = \"x y\" \nA=2\nC=a=b:c\nD:E=colon\nEMPTY=\nQ='q'\n");
    for (const auto &[variable, text] :
         std::vector<Pair>{{"A", "2"}, {"B", "x y"}, {"C", "a=b:c"}, {"D:E", "colon"}, {"EMPTY", ""}, {"Q", "'q'"}})
        expectText("envfile:" + path + ":" + variable, text);
}

TEST(TemplateSourceEnvfile, FailsWithoutAVariable)
{
    const TempTree tree;
    const auto path = tree.write("x.env", "A=1\n");
    for (const auto &[file, variable] : std::vector<Pair>{
             {path, "B"}, {path, "a"}, {path, ""}, {tree.path("missing.env"), "A"}, {tree.root(), "A"}, {"", "A"}})
        expectFailure("envfile:" + file + ":" + variable, DebugPriority,
                      "Failed to read '" + variable + "' from environment file '" + file +
                          "' for template 'envfile:" + file + ":" + variable + "'");
}

TEST(TemplateSourceEnvfile, EndsThePathAtTheFirstColon)
{
    const TempTree tree;
    const auto path = tree.write("with:colon.env", "A=1\n");
    const auto start = path.substr(0, path.find(':'));
    const auto rest = path.substr(path.find(':') + 1);
    expectFailure("envfile:" + path + ":A", DebugPriority,
                  "Failed to read '" + rest + ":A' from environment file '" + start +
                      "' for template 'envfile:" + path + ":A'");
}

TEST(TemplateSourceEnvfile, RejectsAnArgumentWithoutColon)
{
    for (const std::string name : {"envfile:/etc/x.env", "envfile:", "envfile:A"})
        expectFailure(name, ErrorPriority, "Invalid envfile definition '" + name + "'");
}

// ---- realpath -------------------------------------------------------------------------------------------------------

TEST(TemplateSourceRealpath, InsertsTheCanonicalPath)
{
    const TempTree tree;
    tree.write("folder/a:b.txt", "");
    std::filesystem::create_symlink("folder", tree.path("link"));
    const auto root = std::filesystem::canonical(tree.root()).string();
    expectText("realpath:" + tree.root() + "/link/../link//a:b.txt", root + "/folder/a:b.txt");
    expectText("realpath:" + tree.root() + "/link/", root + "/folder");
    expectText("realpath:/", "/");
    expectText("realpath:.", std::filesystem::current_path().string());
}

TEST(TemplateSourceRealpath, FailsForAMissingFile)
{
    const TempTree tree;
    std::filesystem::create_symlink("nowhere", tree.path("dangling"));
    for (const auto &path : {tree.path("missing"), tree.path("dangling"), std::string()})
        expectFailure("realpath:" + path, DebugPriority,
                      "Failed to resolve '" + path + "' path for template 'realpath:" + path + "'");
}

// ---- dconf ----------------------------------------------------------------------------------------------------------

TEST(TemplateSourceDconf, InsertsTheSetting)
{
    const TempTree tree;
    tree.write("settings/all", "[org/tovrin/test]\ngreeting='good day'\nnumber=7\n");
    tree.makeDirectory("config/dconf");
    const auto command = "dconf compile " + tree.path("config/dconf/user") + " " + tree.path("settings");
    ASSERT_EQ(std::system(command.c_str()), 0) << "needs the command dconf";
    const EnvGuard config("XDG_CONFIG_HOME", tree.path("config"));
    const EnvGuard profile("DCONF_PROFILE", std::nullopt);
    expectText("dconf:/org/tovrin/test/greeting", "good day");
    expectText("dconf:/org/tovrin/test/number", "7");
}

TEST(TemplateSourceDconf, FailsForAMissingSetting)
{
    const TempTree tree;
    const EnvGuard config("XDG_CONFIG_HOME", tree.makeDirectory("config"));
    for (const std::string key : {"/org/tovrin/test/missing", "/x"})
        expectFailure("dconf:" + key, DebugPriority,
                      "Failed to read '" + key + "' from dconf for template 'dconf:" + key + "'");
}

TEST(TemplateSourceDconf, FailsForWhatIsNoKey)
{
    const TempTree tree;
    const EnvGuard config("XDG_CONFIG_HOME", tree.makeDirectory("config"));
    for (const std::string key : {"", "relative/key", "/a//b", "/folder/", "/"})
        expectFailure("dconf:" + key, DebugPriority,
                      "Failed to read '" + key + "' from dconf for template 'dconf:" + key + "'");
}

// ---- prop -----------------------------------------------------------------------------------------------------------

namespace {

[[noreturn]] void askForAProperty()
{
    expectText("prop:test.value", "a value");
    expectFailure("prop:test.absent", DebugPriority,
                  "Failed to read 'test.absent' from properties for template 'prop:test.absent'");
    std::exit(testing::Test::HasFailure() ? 1 : 0);
}

} // namespace

TEST(TemplateSourceProp, InsertsTheProperty)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // the loader reads LD_LIBRARY_PATH when a program starts
    const EnvGuard libraries("LD_LIBRARY_PATH", TOVRIN_TEST_PROPERTIES "/present");
    EXPECT_EXIT(askForAProperty(), testing::ExitedWithCode(0), "");
}

TEST(TemplateSourceProp, FailsForAnUnsetProperty)
{
    for (const std::string name : {"ro.tovrin.test.unset", "", "a:b"})
        expectFailure("prop:" + name, DebugPriority,
                      "Failed to read '" + name + "' from properties for template 'prop:" + name + "'");
}

// ---- system ---------------------------------------------------------------------------------------------------------

TEST(TemplateSourceSystem, InsertsTheTrimmedOutput)
{
    expectText("system:echo ' a '", "a");
    expectText("system:printf '\\n\\t a \\n b \\r\\n\\n'", "a \n b");
    expectText("system:echo a:b | tr a c", "c:b");
    expectText("system:echo '${HOME}$$'", "${HOME}$$");
    expectText("system:printf '%05000d' 0", std::string(5000, '0'));
}

TEST(TemplateSourceSystem, AcceptsAnEmptyOutput)
{
    expectText("system:true", "");
    expectText("system:", "");
    expectText("system:printf ' \\n'", "");
}

TEST(TemplateSourceSystem, FailsForAStatusOtherThanZero)
{
    expectFailure("system:false",
                  {Record{WarningPriority, "false exited with non-zero status: \x01"},
                   Record{DebugPriority, "Failed to resolve 'false' from system for template 'system:false'"}});
    expectFailure("system:echo a; exit 65",
                  {Record{WarningPriority, "echo a; exit 65 exited with non-zero status: A"},
                   Record{DebugPriority,
                          "Failed to resolve 'echo a; exit 65' from system for template 'system:echo a; exit 65'"}});
}

TEST(TemplateSourceSystem, FailsForACommandThatASignalEnds)
{
    expectFailure("system:kill -9 $$", DebugPriority,
                  "Failed to resolve 'kill -9 $$' from system for template 'system:kill -9 $$'");
}

TEST(TemplateSourceSystem, ClearsTheOutputOfAFailedCommand)
{
    const CapturedRecords records;
    std::string out = "former";
    Pair reference;
    EXPECT_EQ(Substitutor(ConfigParser::BadUid).resolve("system:echo a; exit 3", out, reference), Failed);
    EXPECT_EQ(out, "");
}

// ---- All of them in a text ------------------------------------------------------------------------------------------

TEST(TemplateSources, MayStandSideBySide)
{
    const TempTree tree;
    const auto path = tree.write("x.env", "A=file\n");
    const EnvGuard variable("TOVRIN_TEST_VALUE", "env");
    ConfigValue value;
    EXPECT_TRUE(Substitutor(ConfigParser::BadUid)
                    .substituted("${env:TOVRIN_TEST_VALUE},${envfile:" + path +
                                     ":A},${realpath:/},${system:echo command},${config:G/K}.",
                                 value));
    EXPECT_EQ(value.resolve({"config"}), "env,file,/,command,config.");
}

TEST(TemplateSources, SayNothingOfFailedLookupsUnlessDebugRecordsAreLetThrough)
{
    const TempTree tree;
    const CapturedRecords records(Tovrin::Parser::Logging::LoggerConfig::LogInfo);
    ConfigValue value;
    EXPECT_FALSE(Substitutor(ConfigParser::BadUid).substituted("${realpath:" + tree.path("missing") + "}", value));
    EXPECT_TRUE(records.empty());
}
