// SPDX-License-Identifier: Apache-2.0

// Levels and targets from texts, from a configuration and from the environment, for a few configurations; each step
// beside the rules written out, and a record through each afterwards.
//
// Input: a level, FieldEnd, a target, FieldEnd, TOVRIN_LOGGING, FieldEnd, TOVRIN_LOGGING_TARGET, FieldEnd, and the
// lines of group "Logging" in a configuration.

#include "harness.h"
#include "reference_store.h"
#include "stand_ins.h"

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/logging.h>

#include <algorithm>
#include <iostream>
#include <memory>

namespace {

using namespace Tovrin::Fuzz;
using namespace Tovrin::Parser::Logging;
using Tovrin::Parser::ConfigParser;

using Level = LoggerConfig::Level;
using Target = LoggerConfig::Target;

struct Texts {
    std::string level;
    std::string target;
    std::string levels;        // TOVRIN_LOGGING
    std::string commonTarget;  // TOVRIN_LOGGING_TARGET
    std::string configuration; // lines of the group "Logging"
};

// Where records go, and the files that were opened for them.
struct Output {
    Records journal;
    std::string standardOutput;
    std::string standardError;
    std::string file;
    std::vector<std::string> opened;
};

// ---- The rules ------------------------------------------------------------------------------------------------------

std::string lowered(std::string text)
{
    for (char &c : text) {
        const auto at = std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZ").find(c);
        c = at == std::string::npos ? c : "abcdefghijklmnopqrstuvwxyz"[at];
    }
    return text;
}

const std::vector<std::string> LevelNames{"critical", "error", "warning", "info", "debug"};

bool isLevelName(const std::string &text)
{
    return std::count(LevelNames.begin(), LevelNames.end(), lowered(text)) != 0;
}

std::optional<int> levelIn(const std::string &text)
{
    if (isLevelName(text))
        return static_cast<int>(std::find(LevelNames.begin(), LevelNames.end(), lowered(text)) - LevelNames.begin());
    bool ok = false;
    const int number = Reference::number<int>(text, ok);
    return ok && number >= 0 && number <= 4 ? std::optional(number) : std::nullopt;
}

class Model {
public:
    Model(std::string ident, Output &output) : ident_(std::move(ident)), output_(output) {}

    const std::string &ident() const { return ident_; }
    int level() const { return level_; }
    int target() const { return target_; }

    bool setLevel(const std::string &text, const std::string &origin = "")
    {
        const auto level = levelIn(text);
        if (!level)
            return reject("level", text, origin);
        level_ = *level;
        return true;
    }

    bool setTarget(const std::string &text, const std::string &origin = "")
    {
        const auto name = lowered(text);
        const std::vector<std::string> names{"systemd", "stdout", "stderr"};
        const auto named = std::find(names.begin(), names.end(), name);
        if (named != names.end()) {
            target_ = static_cast<int>(named - names.begin());
            return true;
        }
        if (name.rfind('/', 0) != 0)
            return reject("target", text, origin);
        output_.opened.push_back(name.c_str());
        if (!canBeMade(name.c_str()))
            return reject("target", text, origin);
        output_.file.clear();
        target_ = LoggerConfig::File;
        return true;
    }

    void write(int level, const std::string &text)
    {
        static const int priorities[] = {2, 3, 4, 6, 7};
        static const char *const words[] = {"CRITICAL", "ERROR", "WARNING", "INFO", "DEBUG"};
        if (level > level_)
            return;
        if (target_ == LoggerConfig::Systemd)
            return Reference::report(output_.journal, priorities[level], text);
        auto &stream = target_ == LoggerConfig::Stdout   ? output_.standardOutput
                       : target_ == LoggerConfig::Stderr ? output_.standardError
                                                         : output_.file;
        stream += std::string(words[level]) + ": " + text + "\n";
    }

private:
    bool reject(const std::string &what, const std::string &text, const std::string &origin)
    {
        write(LoggerConfig::LogError, "Invalid logging " + what + " '" + text + "'" + origin);
        return false;
    }

    std::string ident_;
    Output &output_;
    int level_ = LoggerConfig::LogDebug;
    int target_ = LoggerConfig::Systemd;
};

// ---- The library beside them ----------------------------------------------------------------------------------------

const MemoryFile &logFile()
{
    static const MemoryFile file(FirstDescriptor);
    return file;
}

const std::vector<std::shared_ptr<LoggerConfig>> &configurations()
{
    static const std::vector<std::shared_ptr<LoggerConfig>> all{
        lConfigParser,
        LoggerConfig::create("a.b", LoggerConfig::LogDebug),
        LoggerConfig::create("a.bc", LoggerConfig::LogDebug),
        LoggerConfig::create("-.", LoggerConfig::LogDebug),
    };
    return all;
}

// Takes what is written to a standard stream while it is in scope.
class Captured {
public:
    explicit Captured(std::ostream &stream) : stream_(stream), former_(stream.rdbuf(buffer_.rdbuf())) {}
    ~Captured() { stream_.rdbuf(former_); }
    Captured(const Captured &) = delete;
    Captured &operator=(const Captured &) = delete;

    std::string text() const { return buffer_.str(); }

private:
    std::ostringstream buffer_;
    std::ostream &stream_;
    std::streambuf *former_;
};

class Setup {
public:
    Setup() : standIns_(logFile().path())
    {
        logFile().write("");
        for (const auto &config : configurations()) {
            config->setLevel(LoggerConfig::LogDebug);
            config->setTarget(LoggerConfig::Systemd);
            models_.emplace_back(config->ident(), expected_);
        }
        standIns_.takeRecords();
    }

    void setDirectly(const Texts &texts)
    {
        auto &config = *configurations()[1];
        expectEqual("setLevel", config.setLevel(texts.level), models_[1].setLevel(texts.level));
        expectEqual("setTarget", config.setTarget(texts.target), models_[1].setTarget(texts.target));
        expectEqual("a file without a path", config.setTarget(LoggerConfig::File), false);
        models_[1].write(LoggerConfig::LogError, "Cannot set file logging target with LoggerConfig::setTarget(Target)");
        writeRecords("between");
        compare();
    }

    void setAll(const Texts &texts)
    {
        ConfigParser parser(ConfigParser::BadUid);
        Reference::Store store("");
        readConfiguration(parser, store, texts.configuration);
        setenv("TOVRIN_LOGGING", texts.levels.c_str(), 1);
        setenv("TOVRIN_LOGGING_TARGET", texts.commonTarget.c_str(), 1);
        setupLogging(&parser);
        for (auto &model : models_) {
            setFromConfiguration(model, store);
            setFromEnvironment(model, texts);
        }
        createAgain();
        writeRecords("after");
        compare();
    }

private:
    void readConfiguration(ConfigParser &parser, Reference::Store &store, const std::string &lines)
    {
        static const MemoryFile file(FirstDescriptor + 1);
        const auto text = "[Logging]\n" + terminated(lines);
        file.write(text);
        expectEqual("loaded", parser.readConfig(file.path()), store.readConfig(text, file.path()));
        for (const auto &record : store.takeRecords()) // the library's configuration is as at first
            expected_.journal.push_back(record);
    }

    // A value of the configuration. Resolving it may have been too much.
    std::optional<std::string> read(Reference::Store &store, const std::string &key)
    {
        const auto text = store.single({"Logging", key});
        for (const auto &record : store.takeRecords())
            models_[0].write(record.priority == Reference::Error ? 1 : 2, record.text);
        return text;
    }

    void setFromConfiguration(Model &model, Reference::Store &store)
    {
        if (const auto level = read(store, model.ident())) {
            if (!isLevelName(*level))
                read(store, model.ident()); // once more, as a number
            model.setLevel(*level, " from config");
        }
        const auto target = read(store, "LogTarget");
        if (target && !target->empty())
            model.setTarget(*target, " from config");
    }

    static void setFromEnvironment(Model &model, const Texts &texts)
    {
        const std::string prefix = model.ident() + "=";
        for (const auto &entry : Reference::split(texts.levels.c_str(), ';')) {
            if (entry.rfind(prefix, 0) != 0)
                continue;
            if (entry != prefix)
                model.setLevel(entry.substr(prefix.size()));
            break;
        }
        const std::string target = texts.commonTarget.c_str();
        if (!target.empty())
            model.setTarget(target);
    }

    void writeRecords(const std::string &text)
    {
        for (std::size_t i = 0; i < models_.size(); ++i) {
            for (int level = 0; level <= 4; ++level) {
                Logger(configurations()[i].get(), static_cast<Level>(level)) << text;
                models_[i].write(level, text);
            }
        }
    }

    // The latest level counts, and the target stays. The record is lost if it is not for this level.
    void createAgain()
    {
        models_[2].write(LoggerConfig::LogWarning, "Reusing logger for identity: " + models_[2].ident());
        const auto again = LoggerConfig::create(models_[2].ident().c_str(), LoggerConfig::LogInfo);
        expect(again == configurations()[2], "an identity has one configuration");
        models_[2].setLevel("info");
    }

    void compare()
    {
        for (std::size_t i = 0; i < models_.size(); ++i) {
            const auto &config = *configurations()[i];
            expectEqual("target", static_cast<int>(config.target()), models_[i].target());
            for (int level = 0; level <= 4; ++level)
                expectEqual("enabled", config.enabled(static_cast<Level>(level)), level <= models_[i].level());
        }
        for (const auto &record : standIns_.takeRecords())
            journal_.push_back(record);
        for (const auto &path : standIns_.takeOpened())
            opened_.push_back(path);
        expectEqual("journal", journal_, expected_.journal);
        expectEqual("standard output", output_.text(), expected_.standardOutput);
        expectEqual("standard error", error_.text(), expected_.standardError);
        expectEqual("opened files", opened_, expected_.opened);
        expectEqual("log file", logFile().read(), expected_.file);
    }

    StandIns standIns_;
    Captured output_{std::cout};
    Captured error_{std::cerr};
    Output expected_;
    Records journal_;
    std::vector<std::string> opened_;
    std::vector<Model> models_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (Reference::namesForeignFile(std::string(data, data + size), "/nonexistent"))
        return 0;
    configurations();
    Input input(data, size);
    Texts texts;
    texts.level = input.field();
    texts.target = input.field();
    texts.levels = input.field();
    texts.commonTarget = input.field();
    texts.configuration = input.rest();
    Setup setup;
    setup.setDirectly(texts);
    setup.setAll(texts);
    return 0;
}
