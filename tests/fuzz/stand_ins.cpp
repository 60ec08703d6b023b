// SPDX-License-Identifier: Apache-2.0

// Functions of the system libraries, defined again: those that belong to the program are found first. Out of scope they
// do what they always do, because the fuzzer's runtime and the coverage counters call some of them too.

#undef _FORTIFY_SOURCE // whose inline variants cannot be defined again

#include "stand_ins.h"

#include "harness.h"

#include <tovrin/parser/logging.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tovrin::Fuzz {

namespace {

// Never destroyed, since programs log until the very end.
struct State {
    bool inScope = false;
    Records records;
    std::vector<std::string> opened;
    std::string pathForWriting;
    std::string output;
    FILE *pipe = nullptr;
    int pipeStatus = 0;
};

State &state()
{
    static State &state = *new State;
    return state;
}

int openFile(const char *path, int flags, mode_t mode)
{
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, mode));
}

int openInScope(const char *path, int flags, mode_t mode)
{
    if ((flags & O_ACCMODE) == O_RDONLY)
        return openFile(path, flags, mode);
    state().opened.emplace_back(path);
    if (!canBeMade(path)) {
        errno = ENOENT;
        return -1;
    }
    return openFile(state().pathForWriting.c_str(), flags, mode);
}

int openAnywhere(const char *path, int flags, va_list arguments)
{
    const auto mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
    return state().inScope ? openInScope(path, flags, mode) : openFile(path, flags, mode);
}

template <typename Function> Function systems(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

std::string describe(const Record &record)
{
    return "<" + std::to_string(record.priority) + ">" + describe(record.text);
}

CommandOutcome outcomeOf(std::string_view command)
{
    const char last = command.empty() ? '\0' : command.back();
    if (last == '!')
        return {false, "", -1};
    const int status = last == '?' ? -1 : last == '9' ? 9 : (last & 3) << 8; // killed by a signal, or an exit code
    return {true, " " + std::string(command) + "\n", status};
}

bool canBeMade(std::string_view path)
{
    return path.find("/no") == std::string_view::npos;
}

StandIns::StandIns(std::string pathForWriting)
{
    Parser::Logging::lConfigParser->setLevel(Parser::Logging::LoggerConfig::LogDebug);
    Parser::Logging::lConfigParser->setTarget(Parser::Logging::LoggerConfig::Systemd);
    state().records.clear();
    state().opened.clear();
    state().pathForWriting = std::move(pathForWriting);
    state().inScope = true;
    setenv("FUZZ_A", "a b", 1);
    setenv("FUZZ_EMPTY", "", 1);
}

StandIns::~StandIns()
{
    state().inScope = false;
}

Records StandIns::takeRecords()
{
    return std::exchange(state().records, {});
}

std::vector<std::string> StandIns::takeOpened()
{
    return std::exchange(state().opened, {});
}

} // namespace Tovrin::Fuzz

extern "C" {

int sd_journal_print(int priority, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Tovrin::Fuzz::expectEqual<std::string>("the text of a record is no format", format, "%s");
    Tovrin::Fuzz::state().records.push_back({priority, va_arg(arguments, const char *)});
    va_end(arguments);
    return 0;
}

void *dconf_client_new()
{
    return nullptr;
}

FILE *popen(const char *command, const char *type)
{
    auto &state = Tovrin::Fuzz::state();
    if (!state.inScope)
        return Tovrin::Fuzz::systems<FILE *(*)(const char *, const char *)>("popen")(command, type);
    const auto outcome = Tovrin::Fuzz::outcomeOf(command);
    if (!outcome.starts) {
        errno = EAGAIN;
        return nullptr;
    }
    state.output = outcome.output;
    state.pipe = fmemopen(state.output.data(), state.output.size(), "r");
    state.pipeStatus = outcome.status;
    return state.pipe;
}

int pclose(FILE *pipe)
{
    auto &state = Tovrin::Fuzz::state();
    if (!pipe || pipe != state.pipe)
        return Tovrin::Fuzz::systems<int (*)(FILE *)>("pclose")(pipe);
    state.pipe = nullptr;
    std::fclose(pipe);
    errno = ECHILD; // which counts for the status -1 alone
    return state.pipeStatus;
}

int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = Tovrin::Fuzz::openAnywhere(path, flags, arguments);
    va_end(arguments);
    return descriptor;
}

int open64(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = Tovrin::Fuzz::openAnywhere(path, flags, arguments);
    va_end(arguments);
    return descriptor;
}
}
