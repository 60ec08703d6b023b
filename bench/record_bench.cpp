// SPDX-License-Identifier: Apache-2.0
// What does a log record of three texts cost, written and not written?
//
// record_bench DIRECTORY [options of Google Benchmark]: results are named TARGET/SUBJECT, times are per record. The
// directory holds the files that are written; its path must not have capitals, since the library lower-cases paths.
//
// Each record reaches its target before the next begins, as the library does it and as a daemon that may crash wants
// it: spdlog is told to flush each record, the limit writes each by itself.
// - spdlog formats its own texts ("{}"); it adds nothing else with the pattern set here.
// - GLib formats by printf and makes fields of the texts; for files and streams it adds program, process, time and
//   domain to the line.
// - The limit collects the three texts in a buffer whatever the level, as the library must, and hands the system a
// line.

#include "journal_stand_in.h"

#include <tovrin/parser/logging.h>

#define G_LOG_USE_STRUCTURED
#define G_LOG_DOMAIN "bench"
#include <glib.h>

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/systemd_sink.h>
#include <spdlog/spdlog.h>

#include <fcntl.h>
#include <systemd/sd-journal.h> // without the location variant, which the sink's header has switched off
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace {

using namespace Tovrin::Parser::Logging;

const std::string Path = "/var/lib/tovrin/containers/default/config.conf";

// Sends what is written to standard error into a file, truncated first, for as long as it lives.
class StderrFile {
public:
    explicit StderrFile(const std::string &path) : saved_(::dup(STDERR_FILENO))
    {
        std::fflush(stderr);
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
        ::dup2(file, STDERR_FILENO);
        ::close(file);
    }
    ~StderrFile()
    {
        ::dup2(saved_, STDERR_FILENO);
        ::close(saved_);
    }
    StderrFile(const StderrFile &) = delete;
    StderrFile &operator=(const StderrFile &) = delete;

private:
    int saved_;
};

// --- the library

std::shared_ptr<LoggerConfig> projectConfig()
{
    static const auto config = LoggerConfig::create("bench.record", LoggerConfig::LogWarning);
    return config;
}

void projectBelowLevel(benchmark::State &state)
{
    const auto config = projectConfig();
    for (auto _ : state)
        logDebug(config) << "Cannot open '" << Path << "'";
}

void projectWritten(benchmark::State &state, const std::string &target)
{
    const auto config = projectConfig();
    if (!config->setTarget(target))
        state.SkipWithError("no such target");
    for (auto _ : state)
        logWarning(config) << "Cannot open '" << Path << "'";
    config->setTarget(LoggerConfig::Systemd);
}

// --- spdlog

template <typename MakeSink> std::shared_ptr<spdlog::logger> spdlogTo(MakeSink makeSink)
{
    auto logger = std::make_shared<spdlog::logger>("bench", makeSink());
    logger->set_level(spdlog::level::warn);
    logger->set_pattern("%l: %v");
    logger->flush_on(spdlog::level::trace);
    return logger;
}

void spdlogBelowLevel(benchmark::State &state)
{
    const auto logger = spdlogTo(std::make_shared<spdlog::sinks::null_sink_mt>);
    for (auto _ : state) {
        logger->debug("Cannot open '{}'", Path);
        benchmark::ClobberMemory();
    }
}

void spdlogWritten(benchmark::State &state, const std::shared_ptr<spdlog::logger> &logger)
{
    for (auto _ : state)
        logger->warn("Cannot open '{}'", Path);
}

// --- GLib, whose writer can be set once in a process

GLogWriterFunc currentWriter = g_log_writer_default;
std::FILE *glibFile = nullptr;

GLogWriterOutput dispatch(GLogLevelFlags level, const GLogField *fields, gsize count, void *data)
{
    return currentWriter(level, fields, count, data);
}

GLogWriterOutput writeToGlibFile(GLogLevelFlags level, const GLogField *fields, gsize count, void *)
{
    char *line = g_log_writer_format_fields(level, fields, count, FALSE);
    std::fprintf(glibFile, "%s\n", line);
    std::fflush(glibFile);
    g_free(line);
    return G_LOG_WRITER_HANDLED;
}

void glibBelowLevel(benchmark::State &state)
{
    currentWriter = g_log_writer_default; // drops debug records unless G_MESSAGES_DEBUG asks for them
    for (auto _ : state)
        g_log_structured(G_LOG_DOMAIN, G_LOG_LEVEL_DEBUG, "MESSAGE", "Cannot open '%s'", Path.c_str());
}

void glibWritten(benchmark::State &state, GLogWriterFunc writer)
{
    currentWriter = writer;
    for (auto _ : state)
        g_log_structured(G_LOG_DOMAIN, G_LOG_LEVEL_WARNING, "MESSAGE", "Cannot open '%s'", Path.c_str());
    currentWriter = g_log_writer_default;
}

// --- the limit

class LineBuffer {
public:
    LineBuffer &operator<<(std::string_view text)
    {
        if (size_ + text.size() > sizeof text_)
            std::abort(); // the records of this program fit
        std::memcpy(text_ + size_, text.data(), text.size());
        size_ += text.size();
        return *this;
    }
    void writeTo(int file) const { benchmark::DoNotOptimize(::write(file, text_, size_)); }
    std::size_t size() const { return size_; }
    const char *data() const { return text_; }

private:
    std::size_t size_ = 0;
    char text_[256];
};

void limitBelowLevel(benchmark::State &state)
{
    static std::atomic<int> level = LoggerConfig::LogWarning;
    for (auto _ : state) {
        LineBuffer line;
        const bool enabled = level.load(std::memory_order_relaxed) >= LoggerConfig::LogDebug;
        std::string_view parts[] = {"Cannot open '", Path, "'"};
        for (std::string_view &part : parts) {
            benchmark::DoNotOptimize(part);
            line << part;
        }
        benchmark::DoNotOptimize(line);
        if (enabled)
            line.writeTo(STDERR_FILENO);
    }
}

void limitWritten(benchmark::State &state, int file)
{
    for (auto _ : state) {
        LineBuffer line;
        line << "WARNING: "
             << "Cannot open '" << Path << "'"
             << "\n";
        line.writeTo(file);
    }
}

void limitToJournal(benchmark::State &state)
{
    for (auto _ : state) {
        LineBuffer line;
        line << "Cannot open '" << Path << "'" << std::string_view("", 1);
        sd_journal_print(4, "%s", line.data());
    }
}

// The fields that sd_journal_print sends.
void datagramToJournal(benchmark::State &state)
{
    const sockaddr_un address = Bench::journalAddress();
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        state.SkipWithError("no journal");
    for (auto _ : state) {
        LineBuffer line;
        line << "PRIORITY=4\nMESSAGE="
             << "Cannot open '" << Path << "'"
             << "\nSYSLOG_IDENTIFIER=record_bench\n";
        benchmark::DoNotOptimize(::send(socket, line.data(), line.size(), MSG_NOSIGNAL));
    }
    ::close(socket);
}

void addBelowLevel()
{
    benchmark::RegisterBenchmark("below_level/project", projectBelowLevel);
    benchmark::RegisterBenchmark("below_level/limit", limitBelowLevel);
    benchmark::RegisterBenchmark("below_level/spdlog", spdlogBelowLevel);
    benchmark::RegisterBenchmark("below_level/g_log_structured", glibBelowLevel);
}

void addFile(const std::string &directory)
{
    benchmark::RegisterBenchmark("file/project",
                                 [=](benchmark::State &state) { projectWritten(state, directory + "/project.log"); });
    benchmark::RegisterBenchmark("file/limit", [=](benchmark::State &state) {
        const std::string path = directory + "/limit.log";
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
        limitWritten(state, file);
        ::close(file);
    });
    benchmark::RegisterBenchmark("file/spdlog", [=](benchmark::State &state) {
        const std::string path = directory + "/spdlog.log";
        spdlogWritten(state, spdlogTo([&] { return std::make_shared<spdlog::sinks::basic_file_sink_mt>(path, true); }));
    });
    benchmark::RegisterBenchmark("file/g_log_structured", [=](benchmark::State &state) {
        glibFile = std::fopen((directory + "/glib.log").c_str(), "w");
        glibWritten(state, writeToGlibFile);
        std::fclose(glibFile);
    });
}

void addStderr(const std::string &directory)
{
    const std::string path = directory + "/stderr.log";
    benchmark::RegisterBenchmark("stderr/project", [=](benchmark::State &state) {
        const StderrFile redirected(path);
        projectWritten(state, "stderr");
    });
    benchmark::RegisterBenchmark("stderr/limit", [=](benchmark::State &state) {
        const StderrFile redirected(path);
        limitWritten(state, STDERR_FILENO);
    });
    benchmark::RegisterBenchmark("stderr/spdlog", [=](benchmark::State &state) {
        const StderrFile redirected(path);
        spdlogWritten(state, spdlogTo(std::make_shared<spdlog::sinks::stderr_sink_mt>));
    });
    benchmark::RegisterBenchmark("stderr/g_log_structured", [=](benchmark::State &state) {
        const StderrFile redirected(path);
        glibWritten(state, g_log_writer_standard_streams);
    });
}

void addJournal()
{
    benchmark::RegisterBenchmark("journal/project", [](benchmark::State &state) { projectWritten(state, "systemd"); });
    benchmark::RegisterBenchmark("journal/limit", limitToJournal);
    benchmark::RegisterBenchmark("journal/datagram", datagramToJournal);
    benchmark::RegisterBenchmark("journal/spdlog", [](benchmark::State &state) {
        spdlogWritten(state, spdlogTo([] { return std::make_shared<spdlog::sinks::systemd_sink_mt>("bench"); }));
    });
    benchmark::RegisterBenchmark("journal/g_log_structured",
                                 [](benchmark::State &state) { glibWritten(state, g_log_writer_journald); });
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const std::string directory = argv[1];
    const Bench::JournalStandIn journal;
    g_log_set_writer_func(dispatch, nullptr, nullptr);
    addBelowLevel();
    addFile(directory);
    addStderr(directory);
    if (journal.running())
        addJournal();
    argv[1] = argv[0];
    benchmark::Initialize(&(--argc), ++argv);
    benchmark::RunSpecifiedBenchmarks();
}
