// SPDX-License-Identifier: Apache-2.0
//
// Everything that programs do with the library, once for each piece of memory that it asks for, with that piece not to
// be had. What is to show: std::bad_alloc comes out or the result is the usual one; nothing stays allocated or open;
// and what was in use goes on working.
#include <tovrin/parser/config_dir_parser.h>
#include <tovrin/parser/config_value.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/key_file_parser.h>
#include <tovrin/parser/logging.h>
#include <tovrin/parser/substitutor.h>

#include "support/allocations.h"
#include "support/captured_records.h"
#include "support/env_guard.h"
#include "support/limit_guard.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>
#include <new>
#include <utility>

#include <sys/wait.h>

namespace {

using namespace Tovrin::Parser;
using Logging::LoggerConfig;
using testing::AnyOf;
using Tovrin::Testing::Allocations;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::EnvGuard;
using Tovrin::Testing::openDescriptors;
using Tovrin::Testing::TempTree;
using Texts = std::vector<std::string>;

// Does the work with the allocation of this number failing. False if the work got by with fewer.
bool doWithFailure(std::size_t number, const std::function<void()> &work, bool &finished)
{
    const Allocations allocations(number);
    finished = false;
    try {
        work();
        finished = true;
    } catch (const std::bad_alloc &) {
    }
    return allocations.failed();
}

// Does the work with each of its allocations failing in turn, and checks it each time: check(whether it finished).
// Returns how many there were.
template <typename Check> std::size_t failEach(const std::function<void()> &work, Check check)
{
    work(); // what is made on first use is there now
    const auto descriptors = openDescriptors();
    for (std::size_t number = 1;; ++number) {
        const auto before = Allocations::inUse();
        bool finished = false;
        const bool failed = doWithFailure(number, work, finished);
        EXPECT_EQ(Allocations::inUse(), before) << "leaked at allocation " << number;
        EXPECT_EQ(openDescriptors(), descriptors) << "left open at allocation " << number;
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "left a process at allocation " << number;
        check(finished);
        if (!failed) {
            EXPECT_TRUE(finished);
            return number - 1;
        }
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "at allocation " << number;
            return number;
        }
    }
}

// Work with a result, which must be the usual one whenever there is one. Returns how many allocations there were.
template <typename Result> std::size_t expectSameResult(const std::function<Result()> &work)
{
    const Result usual = work();
    bool same = false;
    return failEach([&] { same = work() == usual; }, [&](bool finished) { EXPECT_TRUE(same || !finished); });
}

// ---- The store ------------------------------------------------------------------------------------------------------

const std::string longText(200, 'x'); // for which no string has room inside

using Values = std::map<std::pair<std::string, std::string>, Texts>;

Values valuesOf(const ConfigParser &parser)
{
    Values values;
    for (auto position = parser.begin(); position != parser.end(); ++position) {
        const auto entry = *position;
        values.emplace(std::pair(entry.group(), entry.key()), entry.value());
    }
    return values;
}

class StoreWithoutMemory : public testing::Test {
protected:
    StoreWithoutMemory()
    {
        std::string many = "[Many]\n";
        for (int i = 0; i < 40; ++i) // so many that the indexes grow
            many += "Key" + std::to_string(i) + "=" + longText + ";${config:Many/Key" + std::to_string(i + 40) + "}\n";
        tree_.write("env", "NAME=short\nLONG=\"" + longText + "\"\n");
        tree_.write("conf.d/10.conf",
                    "# " + longText + "\n[Config]\nInstance=lab\nList=\nList=a;b-${config:Config/Instance};" +
                        longText + "\nNumbers=\nNumbers=1;0x10;${config:Config/Number};x\nNumber=3\n" + many);
        tree_.write("conf.d/20.conf", "[Templates]\nEnv=${env:TOVRIN_TEST}\nFile=${envfile:" + tree_.path("env") +
                                          ":LONG}\nPath=${realpath:" + tree_.path("env") +
                                          "}\nRegistered=${registered}$$\nFlag=true\nReal=1e999\n" +
                                          "Missing=${env:TOVRIN_ABSENT}\nBad=${unknown:" + longText +
                                          "}\n[Config]\nList=last\n");
    }

    void registerAll(ConfigParser &parser) const
    {
        for (const char *key : {"Instance", "Number"})
            parser.addKey("Config", key, ConfigParser::Replace);
        for (const char *key : {"List", "Numbers"})
            parser.addKey("Config", key, ConfigParser::Amend);
        for (int i = 0; i < 80; ++i)
            parser.addKey("Many", "Key" + std::to_string(i), ConfigParser::Replace);
        for (const char *key : {"Env", "File", "Path", "Registered", "Flag", "Real", "Missing", "Bad"})
            parser.addKey("Templates", key, ConfigParser::Replace);
        parser.addTemplate("registered", longText);
    }

    void use(ConfigDirParser &parser) const
    {
        registerAll(parser);
        parser.readDirectory(tree_.path("conf.d"));
        std::string text;
        Texts texts;
        std::vector<int> numbers;
        double real = 0;
        bool flag = false;
        parser.getValue("Templates", "File", text);
        parser.getValue("Config", "List", texts);
        parser.getValue("Config", "Numbers", numbers, &flag);
        parser.getValue("Templates", "Real", real);
        parser.getValue("Templates", "Flag", flag);
        parser.contains("Config", longText);
        parser.checkKey(longText, "Key");
        const ConfigParser copy(parser);
        valuesOf(copy);
    }

    const TempTree tree_;
    const EnvGuard environment_{"TOVRIN_TEST", longText};
    const CapturedRecords records_{LoggerConfig::LogCritical};
};

// The values of a reading that was cut short: each list is as usual, or the beginning of it. What refers to later lines
// may lack them.
void expectBeginningOf(const Values &usual, const Values &values, std::size_t number)
{
    for (const auto &[name, texts] : values) {
        const auto found = usual.find(name);
        ASSERT_NE(found, usual.end()) << name.first << '/' << name.second << ' ' << number;
        const auto &all = found->second;
        ASSERT_LE(texts.size(), all.size()) << name.first << '/' << name.second << ' ' << number;
        if (name.first != "Many" && name.second != "Numbers") {
            ASSERT_TRUE(std::equal(texts.begin(), texts.end(), all.begin())) << name.second << ' ' << number;
        }
    }
}

TEST_F(StoreWithoutMemory, IsLeftWithoutATrace)
{
    const auto allocations = failEach(
        [this] {
            ConfigDirParser parser(ConfigDirParser::BadUid);
            use(parser);
        },
        [](bool) {});
    EXPECT_GT(allocations, 100U);
}

TEST_F(StoreWithoutMemory, StaysUsable)
{
    ConfigDirParser untouched(ConfigDirParser::BadUid);
    use(untouched);
    const auto usual = valuesOf(untouched);
    ASSERT_EQ(usual.at({"Config", "List"}), (Texts{"a", "b-lab", longText, "last"}));
    for (std::size_t number = 1, failed = 1; failed; ++number) {
        ConfigDirParser parser(ConfigDirParser::BadUid);
        bool finished = false;
        failed = doWithFailure(
            number, [&] { use(parser); }, finished);
        if (finished) {
            ASSERT_EQ(valuesOf(parser), usual) << number;
        }
        ASSERT_NO_FATAL_FAILURE(expectBeginningOf(usual, valuesOf(parser), number));
        use(parser);
        ASSERT_EQ(valuesOf(parser), usual) << number;
    }
}

// The records of what goes wrong need memory too.
TEST_F(StoreWithoutMemory, StaysUsableWhileItLogs)
{
    const TempTree logs;
    ASSERT_TRUE(Logging::lConfigParser->setTarget(logs.path("log")));
    Logging::lConfigParser->setLevel(LoggerConfig::LogDebug);
    const auto allocations = failEach(
        [this] {
            ConfigDirParser parser(ConfigDirParser::BadUid);
            registerAll(parser);
            parser.readConfig(tree_.path("conf.d/20.conf"));
            parser.readConfig(tree_.path("absent " + longText));
            parser.checkKey(longText, longText);
        },
        [](bool) {});
    EXPECT_GT(allocations, 20U);
    Logging::lConfigParser->setTarget(LoggerConfig::Systemd);
}

// Replaced values are given back by rebuilding the store; where that cannot be, the store stays as it is.
TEST_F(StoreWithoutMemory, DoesWithoutBeingRebuilt)
{
    std::string text = "[Group]\n";
    for (int i = 0; i < 2000; ++i)
        text += "Key=" + std::to_string(i) + longText + "\n";
    const auto path = tree_.write("over.conf", text);
    std::string last;
    std::size_t unnoticed = 0;
    failEach(
        [&] {
            ConfigParser parser(ConfigParser::BadUid);
            parser.addKey("Group", "Key", ConfigParser::Replace);
            parser.readConfig(path);
            last.clear();
            parser.getValue("Group", "Key", last);
        },
        [&](bool finished) {
            unnoticed += finished;
            EXPECT_TRUE(!finished || last == "1999" + longText) << last;
        });
    EXPECT_GT(unnoticed, 1U); // rebuilding failed, and nobody noticed
}

// ---- Values, key files, templates -----------------------------------------------------------------------------------

ConfigValue valueWithReferences()
{
    ConfigValue value("text " + longText);
    value.addReference("Group", longText, 2);
    value.addReference(longText, "Key", 3);
    return value;
}

// Does it to a value with each allocation failing: the value must be as before or as it should become.
void expectAllOrNothing(const std::function<void(ConfigValue &)> &change)
{
    const auto before = valueWithReferences();
    auto after = before;
    change(after);
    bool finished = false;
    for (std::size_t number = 1, failed = 1; failed; ++number) {
        auto value = before;
        failed = doWithFailure(
            number, [&] { change(value); }, finished);
        ASSERT_TRUE(value == (finished ? after : before))
            << number << ' ' << finished << ' ' << failed << value.data().size() << ' ' << value.references().size();
        ASSERT_EQ(value.type(), finished ? after.type() : before.type()) << number;
    }
}

TEST(ValueWithoutMemory, IsChangedAllOrNotAtAll)
{
    const auto other = valueWithReferences();
    const ConfigValue plain(longText);
    expectAllOrNothing([](ConfigValue &value) { value.addReference(longText, longText, 1); });
    expectAllOrNothing([&](ConfigValue &value) { value += other; });
    expectAllOrNothing([](ConfigValue &value) { value += value; });
    expectAllOrNothing([&](ConfigValue &value) { value += plain; });
    expectAllOrNothing([&](ConfigValue &value) { value = other + other; });
    expectAllOrNothing([](ConfigValue &value) { value.setString(longText + longText + longText); });
}

TEST(ValueWithoutMemory, LeaksNothing)
{
    const auto allocations = expectSameResult<std::string>([] {
        ConfigValue value;
        value = valueWithReferences() + valueWithReferences();
        return value.resolve({longText, "b", "c", longText}) + value.resolve({});
    });
    EXPECT_GT(allocations, 10U);
}

TEST(SubstitutorWithoutMemory, LeaksNothing)
{
    const TempTree tree;
    const EnvGuard environment("TOVRIN_TEST", longText);
    const CapturedRecords records(LoggerConfig::LogCritical);
    const Substitutor substitutor(ConfigParser::BadUid);
    const auto path = tree.write("env", "A=1\nNAME=" + longText + "\n" + longText + "=2\n");
    for (const auto &text : Texts{"${env:TOVRIN_TEST} ${config:Group/" + longText + "}", "${envfile:" + path + ":NAME}",
                                  "${envfile:" + path + ":" + longText + "}", "${realpath:" + path + "}",
                                  "$$${config:" + longText + "/Key}", "${system:echo " + longText + "}",
                                  "${prop:" + longText + "}x", "${unknown:" + longText + "}", "${" + longText}) {
        const auto allocations = expectSameResult<std::pair<bool, ConfigValue>>([&] {
            std::pair<bool, ConfigValue> result;
            result.first = substitutor.substituted(text, result.second);
            return result;
        });
        EXPECT_GT(allocations, 1U) << text;
    }
}

TEST(KeyFileWithoutMemory, IsReadRightOrNotAtAll)
{
    const TempTree tree;
    const CapturedRecords records(LoggerConfig::LogCritical);
    const auto path = tree.write("a.conf", "[" + longText + "]\nA=" + longText + "\n\n#" + std::string(200000, '-') +
                                               "\n" + longText + "=" + std::string(300000, 'v') + "\nbad\n[G]\nB=2\n");
    const auto allocations = expectSameResult<Texts>([&path] {
        Texts seen;
        KeyFileParser parser(path);
        for (auto entry = parser.begin(); entry != parser.end(); ++entry)
            seen.insert(seen.end(), {entry->group, entry->key, entry->value});
        return seen;
    });
    EXPECT_GT(allocations, 10U);
}

// ---- Logging --------------------------------------------------------------------------------------------------------

TEST(LoggingWithoutMemory, LosesRecordsButNotTheirForm)
{
    using namespace Logging::Types;
    const TempTree tree;
    const auto config = LoggerConfig::create("faults.memory", LoggerConfig::LogInfo);
    ASSERT_TRUE(config->setTarget(tree.path("log")));
    const std::string whole = "INFO: " + longText + "+" + longText + longText + "end\n";
    std::size_t size = whole.size(); // after the first time, when nothing fails
    failEach([&] { logInfo(config) << longText << "+" << longText << longText << "end"; },
             [&](bool finished) {
                 const auto added = tree.read("log").substr(size);
                 size += added.size();
                 if (finished) {
                     EXPECT_EQ(added, whole);
                 } else {
                     EXPECT_THAT(added, AnyOf("", "INFO: " + longText + "\n", "INFO: " + longText + "+\n",
                                              "INFO: " + longText + "+" + longText + "\n",
                                              "INFO: " + longText + "+" + longText + longText + "\n"));
                 }
             });
    failEach(
        [&] {
            logInfo(config) << std::vector{1, 2} << 1.5 << static_cast<const void *>(&tree) << longText;
        },
        [](bool) {});
}

TEST(LoggingWithoutMemory, LeavesTheSetUpAsItWasOrAsItShouldBe)
{
    const TempTree tree;
    const EnvGuard levels("TOVRIN_LOGGING", "other=info;faults.setup.memory=debug;" + longText);
    const EnvGuard target("TOVRIN_LOGGING_TARGET", tree.path("log"));
    const auto config = LoggerConfig::create("faults.setup.memory", LoggerConfig::LogError);
    ConfigParser parser(ConfigParser::BadUid);
    ASSERT_TRUE(parser.readConfig(
        tree.write("a.conf", "[Logging]\nLogTarget=" + tree.path("other") + "\nfaults.setup.memory=warning\n")));
    Logging::setupLogging(&parser);
    for (std::size_t number = 1, failed = 1; failed; ++number) {
        config->setTarget(LoggerConfig::Systemd);
        config->setLevel(LoggerConfig::LogError);
        bool finished = false;
        failed = doWithFailure(
            number, [&] { Logging::setupLogging(&parser); }, finished);
        ASSERT_TRUE(config->target() == LoggerConfig::File || !finished) << number;
        ASSERT_TRUE(config->enabled(LoggerConfig::LogDebug) || !finished) << number;
        ASSERT_FALSE(tree.read("log").find('\0') != std::string::npos);
    }
    for (const auto &each : {config, Logging::lConfigParser})
        each->setTarget(LoggerConfig::Systemd);
}

TEST(LoggingWithoutMemory, RegistersAConfigurationOnceOrNotAtAll)
{
    for (std::size_t number = 1, failed = 1; failed; ++number) {
        const auto ident = "faults.create." + longText + std::to_string(number);
        bool finished = false;
        failed = doWithFailure(
            number, [&] { LoggerConfig::create(ident.c_str(), LoggerConfig::LogInfo); }, finished);
        ASSERT_EQ(LoggerConfig::instance(ident.c_str()) != nullptr, finished) << number;
    }
}

// ---- Helpers --------------------------------------------------------------------------------------------------------

TEST(HelpersWithoutMemory, ReturnTheUsualOrNothing)
{
    using namespace Helpers;
    const TempTree tree;
    const CapturedRecords records(LoggerConfig::LogCritical);
    const std::string spaced = "  " + longText + " ; b;" + longText;
    const auto env = tree.write("env", "NAME=" + longText + "\n" + longText + "=2\n");
    expectSameResult<Texts>([&] { return split(spaced, ';'); });
    expectSameResult<std::string>([&] { return join(split(spaced, ';'), ','); });
    expectSameResult<std::string>([&] { return trim(spaced) + last(spaced, ';'); });
    expectSameResult<std::string>([&] { return unescape(escape(spaced, '%', "x", 'x'), '%'); });
    expectSameResult<std::string>([&] { return basename2(env) + dirpath(env) + realpath2(env); });
    expectSameResult<Texts>([&] { return glob2(tree.root() + "/*"); });
    expectSameResult<std::string>([&] { return capture("echo", {longText}); });
    expectSameResult<std::string>([&] { return capture("yes | head -c 100000"); });
    expectSameResult<bool>([&] { return validMountEntry("/" + longText + " /b none bind 0 1"); });
    expectSameResult<double>([] { return stringToNumber<double>("1" + std::string(400, '0')); });
    expectSameResult<double>([] { return stringToNumber<double>("1e-400"); });
    expectSameResult<std::optional<std::string>>([&] { return readEnvFile(env, longText, true); });
    expectSameResult<std::optional<std::string>>([&] { return readEnvFile(env, "NAME", false); });
    expectSameResult<std::string>([] {
        std::string name, home;
        getUserInfo(0, &name, &home, nullptr);
        return name + home + longText;
    });
}

TEST(DconfWithoutMemory, LeavesTheEnvironmentAsItWas)
{
    const TempTree tree;
    const auto profile = tree.write("profile", "# " + longText + "\nuser-db:" + longText + "\n");
    const EnvGuard config("XDG_CONFIG_HOME", tree.makeDirectory("config"));
    const EnvGuard chosen("DCONF_PROFILE", profile);
    const CapturedRecords records(LoggerConfig::LogCritical);
    const auto read = [] { return Helpers::getDconfValue("/org/tovrin/" + longText, 0); };
    read();
    for (std::size_t number = 1, failed = 1; failed; ++number) {
        bool finished = false;
        failed = doWithFailure(number, read, finished);
        ASSERT_EQ(Helpers::getenv2("XDG_CONFIG_HOME", ""), tree.path("config")) << number;
        ASSERT_EQ(Helpers::getenv2("DCONF_PROFILE", ""), profile) << number;
    }
}

} // namespace
