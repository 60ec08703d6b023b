// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/logging.h>

#include "support/captured_records.h"
#include "support/captured_stream.h"
#include "support/closed_standard_input.h"
#include "support/env_guard.h"
#include "support/parsers.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <iostream>

#include <sys/stat.h>

namespace {

using Tovrin::Parser::ConfigParser;
using namespace Tovrin::Parser::Logging;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::CapturedStream;
using Tovrin::Testing::ClosedStandardInput;
using Tovrin::Testing::EnvGuard;
using Tovrin::Testing::parserOf;
using Tovrin::Testing::TempTree;
using Texts = std::vector<std::string>;

LoggerConfig::Level levelOf(const LoggerConfig &config)
{
    int level = LoggerConfig::LogDebug;
    while (level > LoggerConfig::LogCritical && !config.enabled(static_cast<LoggerConfig::Level>(level)))
        --level;
    return static_cast<LoggerConfig::Level>(level);
}

// Without the environment variables; and with all configurations of the process silent but those of the running test.
class LoggingSetup : public testing::Test {
protected:
    ~LoggingSetup() override
    {
        for (const auto &config : created_) {
            config->setTarget(LoggerConfig::Systemd);
            config->setLevel(LoggerConfig::LogCritical); // it stays registered, and would report what later tests set
        }
        lConfigParser->setTarget(LoggerConfig::Systemd);
    }

    std::shared_ptr<LoggerConfig> create(const char *ident, LoggerConfig::Level level = LoggerConfig::LogWarning)
    {
        created_.push_back(LoggerConfig::create(ident, level));
        created_.back()->setTarget(LoggerConfig::Systemd); // in case that the tests are repeated
        return created_.back();
    }

    TempTree tree_;
    CapturedRecords records_{LoggerConfig::LogCritical, lConfigParser};

private:
    EnvGuard levels_{"TOVRIN_LOGGING", std::nullopt};
    EnvGuard target_{"TOVRIN_LOGGING_TARGET", std::nullopt};
    std::vector<std::shared_ptr<LoggerConfig>> created_;
};

// ---- Levels from text -----------------------------------------------------------------------------------------------

const std::pair<const char *, LoggerConfig::Level> levelTexts[] = {
    {"critical", LoggerConfig::LogCritical}, {"error", LoggerConfig::LogError}, {"warning", LoggerConfig::LogWarning},
    {"info", LoggerConfig::LogInfo},         {"debug", LoggerConfig::LogDebug}, {"CRITICAL", LoggerConfig::LogCritical},
    {"eRRoR", LoggerConfig::LogError},       {"INFO", LoggerConfig::LogInfo},   {"0", LoggerConfig::LogCritical},
    {"1", LoggerConfig::LogError},           {"2", LoggerConfig::LogWarning},   {"3", LoggerConfig::LogInfo},
    {"4", LoggerConfig::LogDebug},           {" 2", LoggerConfig::LogWarning},  {"+3", LoggerConfig::LogInfo},
    {"0x4", LoggerConfig::LogDebug},         {"004", LoggerConfig::LogDebug},   {"-0", LoggerConfig::LogCritical},
};

const char *const badLevelTexts[] = {
    "",    " ",    "5",     "-1",    "4294967296", "4294967298",  "2 ",
    "1.0", "warn", "info ", " info", "notice",     "inf\xc3\xb6", "10000000000000000000000",
    "%s"};

TEST_F(LoggingSetup, TakesLevelNamesInAnyCaseAndNumbers)
{
    const auto config = create("setup.level-text");
    for (const auto &[text, level] : levelTexts) {
        config->setLevel(level == LoggerConfig::LogDebug ? LoggerConfig::LogCritical : LoggerConfig::LogDebug);
        EXPECT_TRUE(config->setLevel(text)) << text;
        EXPECT_EQ(levelOf(*config), level) << text;
    }
    EXPECT_TRUE(records_.empty());
}

TEST_F(LoggingSetup, RejectsOtherLevelTexts)
{
    const auto config = create("setup.bad-level-text");
    for (const char *text : badLevelTexts) {
        records_.clear();
        EXPECT_FALSE(config->setLevel(text)) << text;
        EXPECT_EQ(records_.errors(), Texts{std::string("Invalid logging level '") + text + "'"});
        EXPECT_EQ(levelOf(*config), LoggerConfig::LogWarning) << text;
    }
}

TEST_F(LoggingSetup, KnowsLevelNamesInEveryLocale)
{
    const std::string former = std::setlocale(LC_ALL, nullptr);
    const char *const turkish = std::setlocale(LC_ALL, "tr_TR.ISO-8859-9");
    const auto config = create("setup.turkish");
    EXPECT_TRUE(config->setLevel("INFO"));
    EXPECT_TRUE(config->setLevel("CRITICAL"));
    std::setlocale(LC_ALL, former.c_str());
    if (!turkish)
        GTEST_SKIP() << "checked in the classic locale only: no tr_TR.ISO-8859-9 on this machine";
}

// ---- Targets from values and text -----------------------------------------------------------------------------------

TEST_F(LoggingSetup, SetsEveryTargetButFileByValue)
{
    const auto config = create("setup.target-value");
    for (const auto target : {LoggerConfig::Stdout, LoggerConfig::Stderr, LoggerConfig::Systemd}) {
        EXPECT_TRUE(config->setTarget(target)) << target;
        EXPECT_EQ(config->target(), target);
    }
    EXPECT_TRUE(config->setTarget(static_cast<LoggerConfig::Target>(17))) << "not range-tested";
    EXPECT_EQ(config->target(), 17);
}

TEST_F(LoggingSetup, RefusesTheTargetFileByValue)
{
    const auto config = create("setup.file-value");
    const CapturedStream err(std::cerr);
    config->setTarget(LoggerConfig::Stderr);
    EXPECT_FALSE(config->setTarget(LoggerConfig::File));
    EXPECT_EQ(config->target(), LoggerConfig::Stderr);
    EXPECT_EQ(err.text(), "ERROR: Cannot set file logging target with LoggerConfig::setTarget(Target)\n");
}

TEST_F(LoggingSetup, TakesTargetNamesInAnyCase)
{
    const auto config = create("setup.target-text");
    for (const auto &[text, target] : {std::pair{"stdout", LoggerConfig::Stdout},
                                       {"stderr", LoggerConfig::Stderr},
                                       {"systemd", LoggerConfig::Systemd},
                                       {"StdOut", LoggerConfig::Stdout},
                                       {"STDERR", LoggerConfig::Stderr},
                                       {"SYSTEMD", LoggerConfig::Systemd}}) {
        EXPECT_TRUE(config->setTarget(text)) << text;
        EXPECT_EQ(config->target(), target) << text;
    }
    EXPECT_TRUE(records_.empty());
}

TEST_F(LoggingSetup, LowerCasesThePathOfAFile)
{
    const auto config = create("setup.lower-case");
    EXPECT_TRUE(config->setTarget(tree_.path("APP.Log")));
    logError(config) << "text";
    EXPECT_EQ(config->target(), LoggerConfig::File);
    EXPECT_EQ(tree_.read("app.log"), "ERROR: text\n");
    EXPECT_FALSE(std::filesystem::exists(tree_.path("APP.Log")));
}

TEST_F(LoggingSetup, OpensAndTruncatesTheFileEachTimeItIsSet)
{
    const auto config = create("setup.truncate");
    const std::string path = tree_.write("log", "left by another run\n");
    for (const char *text : {"first", "second"}) {
        EXPECT_TRUE(config->setTarget(path));
        EXPECT_EQ(tree_.read("log"), "") << text;
        logError(config) << text;
        EXPECT_EQ(tree_.read("log"), std::string("ERROR: ") + text + "\n");
    }
}

TEST_F(LoggingSetup, LeavesItToTheMaskOfTheProcessWhoMayReadTheFile)
{
    using std::filesystem::perms;
    const auto config = create("setup.mode");
    const auto former = umask(026);
    EXPECT_TRUE(config->setTarget(tree_.path("log")));
    umask(former);
    EXPECT_EQ(std::filesystem::status(tree_.path("log")).permissions(),
              perms::owner_read | perms::owner_write | perms::group_read);
}

TEST_F(LoggingSetup, ClosesTheFormerFile)
{
    const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto config = create("setup.close");
    const auto before = openFiles();
    for (int i = 0; i < 3; ++i)
        config->setTarget(tree_.path("log"));
    EXPECT_EQ(openFiles(), before + 1);
    config->setTarget(LoggerConfig::Stdout);
    EXPECT_EQ(openFiles(), before);
}

TEST_F(LoggingSetup, WritesToAFileInAProcessWithoutStandardInput)
{
    const auto config = create("setup.without-input");
    const ClosedStandardInput input;
    EXPECT_TRUE(config->setTarget(tree_.path("log")));
    EXPECT_TRUE(input.isTaken()) << "by the file, which this is about";
    logWarning(config) << "written";
    config->setTarget(LoggerConfig::Systemd);
    EXPECT_FALSE(input.isTaken());
    EXPECT_EQ(tree_.read("log"), "WARNING: written\n");
}

// Every text that cannot be a target, with files that cannot be opened among them.
Texts badTargets(const TempTree &tree)
{
    return {"",
            "log.txt",
            "./log",
            "../log",
            "stdout ",
            " stderr",
            "journal",
            "file",
            "~/log",
            "/",
            tree.root(),
            tree.path("no/such/folder/log"),
            tree.root() + "/",
            "/dev/full/log",
            "/" + std::string(10000, 'x'),
            std::string(10000, '/') + "x/",
            "%s%n"};
}

TEST_F(LoggingSetup, RejectsOtherTargetTextsAndLeavesTheTarget)
{
    const auto config = create("setup.bad-target-text");
    for (const std::string &text : badTargets(tree_)) {
        records_.clear();
        EXPECT_FALSE(config->setTarget(text)) << text;
        EXPECT_EQ(records_.errors(), Texts{"Invalid logging target '" + text + "'"});
        EXPECT_EQ(config->target(), LoggerConfig::Systemd) << text;
    }
}

TEST_F(LoggingSetup, ReportsARejectedPathAsItWasGiven)
{
    const auto config = create("setup.given-case");
    EXPECT_FALSE(config->setTarget("/No/Such/FOLDER/x.Log"));
    EXPECT_EQ(records_.errors(), Texts{"Invalid logging target '/No/Such/FOLDER/x.Log'"});
}

TEST_F(LoggingSetup, KeepsTheFileWhenAnotherIsRejected)
{
    const auto config = create("setup.keep-file");
    config->setTarget(tree_.path("log"));
    EXPECT_FALSE(config->setTarget(tree_.path("no/such/folder/log")));
    logError(config) << "still here";
    EXPECT_EQ(tree_.read("log"),
              "ERROR: Invalid logging target '" + tree_.path("no/such/folder/log") + "'\nERROR: still here\n");
}

TEST_F(LoggingSetup, AcceptsADiskThatIsFull)
{
    const auto config = create("setup.full");
    EXPECT_TRUE(config->setTarget("/dev/full"));
    EXPECT_EQ(config->target(), LoggerConfig::File);
    EXPECT_NO_THROW(logError(config) << "lost");
    EXPECT_FALSE(config->setLevel("5")) << "reported to the full disk";
    EXPECT_TRUE(records_.empty());
}

TEST_F(LoggingSetup, RejectsAStandardStreamInAnErrorState)
{
    const auto config = create("setup.broken-stream");
    for (const auto &[stream, name] : {std::pair{&std::cout, "stdout"}, {&std::cerr, "STDERR"}}) {
        records_.clear();
        const CapturedStream restored(*stream);
        stream->setstate(std::ios::eofbit);
        EXPECT_FALSE(config->setTarget(name));
        EXPECT_EQ(records_.errors(), Texts{std::string("Invalid logging target '") + name + "'"});
        EXPECT_EQ(config->target(), LoggerConfig::Systemd);
    }
    const CapturedStream restored(std::cout);
    std::cout.setstate(std::ios::badbit);
    EXPECT_TRUE(config->setTarget(LoggerConfig::Stdout)) << "by value it is not looked at";
}

TEST_F(LoggingSetup, SwallowsReportsOfACriticalConfiguration)
{
    const auto config = create("setup.critical", LoggerConfig::LogCritical);
    EXPECT_FALSE(config->setLevel("5"));
    EXPECT_FALSE(config->setTarget("log.txt"));
    EXPECT_FALSE(config->setTarget(LoggerConfig::File));
    EXPECT_TRUE(records_.empty());
}

// ---- From a configuration -------------------------------------------------------------------------------------------

TEST_F(LoggingSetup, TakesTheLevelFromTheKeyOfTheIdentity)
{
    const auto config = create("setup.config-level");
    for (const auto &[text, level] : levelTexts) {
        const auto parser = parserOf(std::string("[Logging]\nsetup.config-level=") + text + "\n");
        EXPECT_TRUE(config->setLevel(&parser)) << text;
        EXPECT_EQ(levelOf(*config), level) << text;
    }
    EXPECT_TRUE(records_.empty());
}

TEST_F(LoggingSetup, RejectsABadLevelOfTheConfiguration)
{
    const auto config = create("setup.config-bad-level");
    for (const char *text : {"5", "-1", "warn", "2x", "4294967296"}) {
        records_.clear();
        const auto parser = parserOf(std::string("[Logging]\nsetup.config-bad-level=") + text + "\n");
        EXPECT_FALSE(config->setLevel(&parser)) << text;
        EXPECT_EQ(records_.errors(), Texts{std::string("Invalid logging level '") + text + "' from config"});
        EXPECT_EQ(levelOf(*config), LoggerConfig::LogWarning) << text;
    }
}

TEST_F(LoggingSetup, RejectsALevelThatResolvesToNothing)
{
    const auto config = create("setup.config-empty-level");
    const auto parser = parserOf("[Logging]\nsetup.config-empty-level=${config:No/Such}\n");
    EXPECT_FALSE(config->setLevel(&parser));
    EXPECT_EQ(records_.errors(), Texts{"Invalid logging level '' from config"});
}

TEST_F(LoggingSetup, TakesTheTargetFromTheConfiguration)
{
    const auto config = create("setup.config-target");
    const auto named = parserOf("[Logging]\nLogTarget=StdErr\n");
    EXPECT_TRUE(config->setTarget(&named));
    EXPECT_EQ(config->target(), LoggerConfig::Stderr);
    const auto file = parserOf("[Logging]\nLogTarget=" + tree_.path("log") + "\n");
    EXPECT_TRUE(config->setTarget(&file));
    logError(config) << "text";
    EXPECT_EQ(tree_.read("log"), "ERROR: text\n");
}

TEST_F(LoggingSetup, RejectsABadTargetOfTheConfiguration)
{
    const auto config = create("setup.config-bad-target");
    for (const std::string &text : badTargets(tree_)) {
        if (text.empty() || text.front() == ' ' || text.back() == ' ')
            continue; // not what a key file can hold
        records_.clear();
        const auto parser = parserOf("[Logging]\nLogTarget=" + text + "\n");
        EXPECT_FALSE(config->setTarget(&parser)) << text;
        EXPECT_EQ(records_.errors(), Texts{"Invalid logging target '" + text + "' from config"});
        EXPECT_EQ(config->target(), LoggerConfig::Systemd) << text;
    }
}

TEST_F(LoggingSetup, ChangesNothingForAbsentKeys)
{
    const auto config = create("setup.config-absent");
    config->setTarget(LoggerConfig::Stdout);
    const auto parser = parserOf("[Logging]\nsetup.config-other=debug\n[Other]\nLogTarget=stderr\n");
    EXPECT_TRUE(config->setLevel(&parser));
    EXPECT_TRUE(config->setTarget(&parser));
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogWarning);
    EXPECT_EQ(config->target(), LoggerConfig::Stdout);
}

TEST_F(LoggingSetup, ChangesNothingForATargetThatResolvesToNothing)
{
    const auto config = create("setup.config-empty-target");
    config->setTarget(LoggerConfig::Stdout);
    const auto parser = parserOf("[Logging]\nLogTarget=${config:No/Such}\n");
    EXPECT_TRUE(config->setTarget(&parser));
    EXPECT_EQ(config->target(), LoggerConfig::Stdout);
}

TEST_F(LoggingSetup, WarnsOfUnregisteredKeysOnceForTheIdentityAndTwiceForTheTarget)
{
    const auto config = create("setup.unregistered");
    ConfigParser parser(ConfigParser::BadUid);
    parser.addKey("Other", "Key", ConfigParser::Replace);
    lConfigParser->setLevel(LoggerConfig::LogWarning);
    EXPECT_TRUE(config->setLevel(&parser));
    EXPECT_EQ(records_.warnings(), Texts{"Logging/setup.unregistered has not been added to the parser"});
    EXPECT_TRUE(config->setTarget(&parser));
    EXPECT_EQ(records_.warnings(), (Texts{"Logging/setup.unregistered has not been added to the parser",
                                          "Logging/LogTarget has not been added to the parser",
                                          "Logging/LogTarget has not been added to the parser"}));
}

TEST_F(LoggingSetup, WarnsOfUnregisteredKeysForEachConfigurationAndCall)
{
    create("setup.each.first");
    create("setup.each.second");
    ConfigParser parser(ConfigParser::BadUid);
    parser.addKey("Other", "Key", ConfigParser::Replace);
    for (long calls = 1; calls <= 2; ++calls) {
        lConfigParser->setLevel(LoggerConfig::LogWarning);
        setupLogging(&parser);
        const Texts warnings = records_.warnings();
        const auto count = [&warnings](const std::string &key) {
            const std::string text = "Logging/" + key + " has not been added to the parser";
            return std::count(warnings.begin(), warnings.end(), text);
        };
        EXPECT_EQ(count("setup.each.first"), calls);
        EXPECT_EQ(count("setup.each.second"), calls);
        EXPECT_EQ(count("com.quenby.tovrin.lib.ConfigParser"), calls);
        EXPECT_EQ(static_cast<std::size_t>(3 * count("LogTarget")), 2 * warnings.size());
    }
}

TEST_F(LoggingSetup, DoesNotWarnOfRegisteredKeysOrAParserThatTakesAll)
{
    const auto config = create("setup.registered");
    ConfigParser registered(ConfigParser::BadUid);
    registered.addKey("Logging", "setup.registered", ConfigParser::Replace);
    registered.addKey("Logging", "LogTarget", ConfigParser::Replace);
    ConfigParser open(ConfigParser::BadUid);
    lConfigParser->setLevel(LoggerConfig::LogWarning);
    for (const ConfigParser *parser : {&registered, &open}) {
        EXPECT_TRUE(config->setLevel(parser));
        EXPECT_TRUE(config->setTarget(parser));
    }
    EXPECT_TRUE(records_.empty());
}

// Without the fixture: the process that dies would leave its folder behind.
TEST(LoggingSetupDeathTest, StopsTheProcessForANullParser)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto config = LoggerConfig::create("setup.null-parser", LoggerConfig::LogCritical);
    const char *const failure = ": src/logging/setup\\.cpp:[0-9]+: .*Assertion `config' failed";
    EXPECT_DEATH(config->setLevel(static_cast<const ConfigParser *>(nullptr)), failure);
    EXPECT_DEATH(config->setTarget(static_cast<const ConfigParser *>(nullptr)), failure);
}

// ---- From the environment -------------------------------------------------------------------------------------------

TEST_F(LoggingSetup, TakesTheFirstEntryForTheIdentity)
{
    const auto config = create("setup.a.b");
    const struct {
        const char *environment;
        LoggerConfig::Level level;
    } rows[] = {
        {"setup.a.b=debug", LoggerConfig::LogDebug},
        {"setup.a.b=DEBUG", LoggerConfig::LogDebug},
        {"setup.a.b=3", LoggerConfig::LogInfo},
        {"setup.a.b=debug;setup.a.b=error", LoggerConfig::LogDebug},
        {"x.y=info;;setup.a.b=error;", LoggerConfig::LogError},
        {"setup.a.bc=info", LoggerConfig::LogWarning},
        {"setup.a=info", LoggerConfig::LogWarning},
        {"a.b=info", LoggerConfig::LogWarning},
        {"SETUP.A.B=info", LoggerConfig::LogWarning},
        {" setup.a.b=info", LoggerConfig::LogWarning},
        {"setup.a.b =info", LoggerConfig::LogWarning},
        {"setup.a.b", LoggerConfig::LogWarning},
        {"setup.a.b=", LoggerConfig::LogWarning},
        {"setup.a.b=;setup.a.b=debug", LoggerConfig::LogWarning},
        {"=debug", LoggerConfig::LogWarning},
        {"debug", LoggerConfig::LogWarning},
        {"*=debug", LoggerConfig::LogWarning},
        {";;;", LoggerConfig::LogWarning},
        {"", LoggerConfig::LogWarning},
    };
    for (const auto &row : rows) {
        const EnvGuard environment("TOVRIN_LOGGING", row.environment);
        config->setLevel(LoggerConfig::LogWarning);
        setupLogging(nullptr);
        EXPECT_EQ(levelOf(*config), row.level) << row.environment;
    }
    EXPECT_TRUE(records_.empty());
}

TEST_F(LoggingSetup, ReportsARejectedLevelOfTheEnvironment)
{
    const auto config = create("setup.env-bad-level");
    for (const std::string text : {"5", "-1", " debug", "debug ", "a=b"}) {
        records_.clear();
        const EnvGuard environment("TOVRIN_LOGGING", "setup.env-bad-level=" + text + ";setup.env-bad-level=debug");
        setupLogging(nullptr);
        EXPECT_EQ(records_.errors(), Texts{"Invalid logging level '" + text + "'"});
        EXPECT_EQ(levelOf(*config), LoggerConfig::LogWarning) << text;
    }
}

TEST_F(LoggingSetup, SetsEachIdentityOfTheEnvironment)
{
    const auto one = create("setup.env.one"), two = create("setup.env.two"), three = create("setup.env.three");
    const EnvGuard environment("TOVRIN_LOGGING", "setup.env.two=0;no.such=debug;setup.env.one=info");
    setupLogging(nullptr);
    EXPECT_EQ(levelOf(*one), LoggerConfig::LogInfo);
    EXPECT_EQ(levelOf(*two), LoggerConfig::LogCritical);
    EXPECT_EQ(levelOf(*three), LoggerConfig::LogWarning);
}

TEST_F(LoggingSetup, SetsTheTargetOfTheEnvironmentForAll)
{
    const auto one = create("setup.env-target.one"), two = create("setup.env-target.two");
    const EnvGuard environment("TOVRIN_LOGGING_TARGET", "STDERR");
    setupLogging(nullptr);
    const CapturedStream err(std::cerr);
    logError(one) << "one";
    logError(two) << "two";
    logCritical(lConfigParser) << "library";
    EXPECT_EQ(err.text(), "ERROR: one\nERROR: two\nCRITICAL: library\n");
}

TEST_F(LoggingSetup, WritesAllConfigurationsToTheFileOfTheEnvironment)
{
    const auto one = create("setup.env-file.one"), two = create("setup.env-file.two");
    const EnvGuard environment("TOVRIN_LOGGING_TARGET", tree_.path("log"));
    setupLogging(nullptr);
    logError(one) << "one";
    logError(two) << "two";
    logError(one) << "three";
    EXPECT_EQ(tree_.read("log"), "ERROR: one\nERROR: two\nERROR: three\n");
    setupLogging(nullptr);
    EXPECT_EQ(tree_.read("log"), "") << "each call opens the file again";
}

TEST_F(LoggingSetup, ReportsARejectedTargetOfTheEnvironment)
{
    const auto config = create("setup.env-bad-target");
    config->setTarget(LoggerConfig::Stderr);
    for (const std::string text : {"log.txt", "/no/such/folder/log", "stdout;stderr"}) {
        const CapturedStream err(std::cerr);
        const EnvGuard environment("TOVRIN_LOGGING_TARGET", text);
        setupLogging(nullptr);
        EXPECT_EQ(err.text(), "ERROR: Invalid logging target '" + text + "'\n");
        EXPECT_EQ(config->target(), LoggerConfig::Stderr);
    }
}

// ---- Precedence -----------------------------------------------------------------------------------------------------

TEST_F(LoggingSetup, LetsLaterSourcesOverrideEarlierOnes)
{
    const auto config = create("setup.precedence", LoggerConfig::LogError);
    const auto parser = parserOf("[Logging]\nsetup.precedence=info\nLogTarget=stdout\n");
    setupLogging(&parser);
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogInfo);
    EXPECT_EQ(config->target(), LoggerConfig::Stdout);
    const EnvGuard levels("TOVRIN_LOGGING", "setup.precedence=debug");
    const EnvGuard target("TOVRIN_LOGGING_TARGET", "systemd");
    setupLogging(&parser);
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogDebug);
    EXPECT_EQ(config->target(), LoggerConfig::Systemd);
}

TEST_F(LoggingSetup, KeepsWhatAnEarlierSourceSetWhenALaterOneIsRejected)
{
    const CapturedStream err(std::cerr);
    const auto config = create("setup.later-rejected");
    const auto parser = parserOf("[Logging]\nsetup.later-rejected=info\nLogTarget=stderr\n");
    const EnvGuard levels("TOVRIN_LOGGING", "setup.later-rejected=loud");
    const EnvGuard target("TOVRIN_LOGGING_TARGET", "nowhere");
    setupLogging(&parser);
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogInfo);
    EXPECT_EQ(config->target(), LoggerConfig::Stderr);
    EXPECT_EQ(err.text(), "ERROR: Invalid logging level 'loud'\nERROR: Invalid logging target 'nowhere'\n");
}

TEST_F(LoggingSetup, GoesOnAfterARejectedConfiguration)
{
    const auto config = create("setup.earlier-rejected");
    const auto parser = parserOf("[Logging]\nsetup.earlier-rejected=loud\nLogTarget=nowhere\n");
    const EnvGuard levels("TOVRIN_LOGGING", "setup.earlier-rejected=debug");
    const EnvGuard target("TOVRIN_LOGGING_TARGET", "stdout");
    setupLogging(&parser);
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogDebug);
    EXPECT_EQ(config->target(), LoggerConfig::Stdout);
    EXPECT_EQ(records_.errors(),
              (Texts{"Invalid logging level 'loud' from config", "Invalid logging target 'nowhere' from config"}));
}

TEST_F(LoggingSetup, AppliesTheEnvironmentAloneWithoutAParser)
{
    const auto config = create("setup.no-parser", LoggerConfig::LogError);
    config->setTarget(LoggerConfig::Stdout);
    setupLogging(nullptr);
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogError);
    EXPECT_EQ(config->target(), LoggerConfig::Stdout);
    const EnvGuard levels("TOVRIN_LOGGING", "setup.no-parser=info");
    LoggerConfig::setupAll(nullptr);
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogInfo);
    EXPECT_EQ(config->target(), LoggerConfig::Stdout);
}

TEST_F(LoggingSetup, LeavesLaterConfigurationsToTheNextCall)
{
    const EnvGuard levels("TOVRIN_LOGGING", "setup.later=debug");
    setupLogging(nullptr);
    const auto config = create("setup.later", LoggerConfig::LogError);
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogError);
    setupLogging(nullptr);
    EXPECT_EQ(levelOf(*config), LoggerConfig::LogDebug);
}

TEST_F(LoggingSetup, GoesThroughConfigurationsInTheOrderOfTheirCreation)
{
    for (const char *ident : {"setup.order.z", "setup.order.a", "setup.order.m"})
        create(ident);
    const auto parser = parserOf("[Logging]\nsetup.order.a=second\nsetup.order.m=third\nsetup.order.z=first\n");
    setupLogging(&parser);
    EXPECT_EQ(records_.errors(),
              (Texts{"Invalid logging level 'first' from config", "Invalid logging level 'second' from config",
                     "Invalid logging level 'third' from config"}));
}

} // namespace
