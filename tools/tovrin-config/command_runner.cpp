// SPDX-License-Identifier: Apache-2.0
#include "command_runner.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" { // which glibc 2.36 forgot
#include <sys/pidfd.h>
}

extern char **environ;

namespace Tovrin::Tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t MaximumOutput = 16 * 1024 * 1024;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int number() const { return number_; }
    void close()
    {
        if (number_ >= 0)
            ::close(std::exchange(number_, -1));
    }

private:
    int number_;
};

// The group of the command that is running, 0 if none is.
volatile std::sig_atomic_t runningGroup = 0;

extern "C" void endGroupToo(int signal)
{
    if (runningGroup != 0)
        kill(-static_cast<pid_t>(runningGroup), SIGKILL);
    static_cast<void>(std::signal(signal, SIG_DFL));
    static_cast<void>(raise(signal));
}

// While in scope, signals that end this process end the group of the command first: being in a group of its own, it
// does not get those of the terminal. Signals that are ignored, as nohup(1) has it, stay so.
class EndsGroupToo {
public:
    EndsGroupToo()
    {
        struct sigaction action = {};
        action.sa_handler = endGroupToo;
        sigemptyset(&action.sa_mask);
        for (std::size_t i = 0; i < Signals.size(); ++i) {
            sigaction(Signals[i], nullptr, &former_[i]);
            if (former_[i].sa_handler != SIG_IGN)
                sigaction(Signals[i], &action, nullptr);
        }
    }
    ~EndsGroupToo()
    {
        runningGroup = 0;
        for (std::size_t i = 0; i < Signals.size(); ++i)
            sigaction(Signals[i], &former_[i], nullptr);
    }
    EndsGroupToo(const EndsGroupToo &) = delete;
    EndsGroupToo &operator=(const EndsGroupToo &) = delete;

private:
    static constexpr std::array Signals{SIGHUP, SIGINT, SIGQUIT, SIGTERM};
    struct sigaction former_[Signals.size()];
};

// The process, or nothing with errno set.
std::optional<pid_t> start(const std::string &command, int standardOutput)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, standardOutput, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    std::string shell = "sh", option = "-c", line = command;
    char *arguments[] = {shell.data(), option.data(), line.data(), nullptr};
    pid_t process = 0;
    errno = posix_spawn(&process, "/bin/sh", &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return errno == 0 ? std::optional(process) : std::nullopt;
}

// True if there is something to read, or an end to see, before the deadline.
bool waitFor(int descriptor, Clock::time_point deadline)
{
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waiting{descriptor, POLLIN, 0};
        const int ready = poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

enum class ReadResult { End, TimeIsUp, TooMuch };

ReadResult readAll(int descriptor, Clock::time_point deadline, std::string &output)
{
    std::array<char, 4096> piece;
    while (waitFor(descriptor, deadline)) {
        const auto size = read(descriptor, piece.data(), piece.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return ReadResult::End;
        output.append(piece.data(), static_cast<std::size_t>(size));
        if (output.size() > MaximumOutput)
            return ReadResult::TooMuch;
    }
    return ReadResult::TimeIsUp;
}

// The library reads pieces of a line, and loses what stands between a NUL byte and the end of its piece.
std::string asCaptured(std::string_view output)
{
    constexpr std::size_t PieceSize = 1023;
    std::string kept;
    while (!output.empty()) {
        const auto line = output.find('\n');
        const auto piece = output.substr(0, std::min(line == std::string_view::npos ? PieceSize : line + 1, PieceSize));
        kept += piece.substr(0, piece.find('\0'));
        output.remove_prefix(piece.size());
    }
    return kept;
}

std::string seconds(std::chrono::milliseconds time)
{
    auto text = std::to_string(time.count() / 1000);
    if (time.count() % 1000 != 0) {
        text += '.' + std::to_string(1000 + time.count() % 1000).substr(1);
        text.erase(text.find_last_not_of('0') + 1);
    }
    return text + (time.count() == 1000 ? " second" : " seconds");
}

CommandResult prevented(const std::string &reason)
{
    return {CommandResult::End::Prevented, "", reason};
}

// What a command that ended by itself comes to.
CommandResult judged(int waitStatus, std::string_view output)
{
    if (WIFSIGNALED(waitStatus))
        return {CommandResult::End::Failure, "", "was ended by signal " + std::to_string(WTERMSIG(waitStatus))};
    if (waitStatus != 0)
        return {CommandResult::End::Failure, "", "ended with exit code " + std::to_string(WEXITSTATUS(waitStatus))};
    return {CommandResult::End::Success, asCaptured(output), ""};
}

} // namespace

CommandResult runCommand(const std::string &command, std::chrono::milliseconds timeout)
{
    const auto deadline = Clock::now() + timeout;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return prevented(std::string("could not be started: ") + std::strerror(errno));
    const Descriptor output(ends[0]);
    Descriptor commandsEnd(ends[1]);
    const EndsGroupToo endsGroupToo;
    const auto process = start(command, commandsEnd.number());
    if (!process)
        return prevented(std::string("could not be started: ") + std::strerror(errno));
    runningGroup = *process;
    commandsEnd.close();

    std::string text;
    const auto read = readAll(output.number(), deadline, text);
    const Descriptor ended(pidfd_open(*process, 0));
    const bool inTime = read == ReadResult::End && waitFor(ended.number(), deadline);
    if (!inTime)
        kill(-*process, SIGKILL); // before it is waited for: until then nobody else can have this number
    int status = 0;
    while (waitpid(*process, &status, 0) < 0 && errno == EINTR) {
    }
    if (read == ReadResult::TooMuch)
        return prevented("was killed, since it wrote more than 16 MiB");
    if (!inTime)
        return prevented("was killed after " + seconds(timeout));
    return judged(status, text);
}

} // namespace Tovrin::Tool
