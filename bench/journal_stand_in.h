// SPDX-License-Identifier: Apache-2.0
#pragma once

// A journal that only receives. The real one would be flooded with millions of records, would limit their rate, and is
// not there at all where benchmarks often run. In a mount and network namespace of its own, this program sees a socket
// at the journal's path, behind which a child drops what arrives; the host is not touched.

#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace Bench {

inline constexpr const char *JournalSocket = "/run/systemd/journal/socket";

inline sockaddr_un journalAddress()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, JournalSocket, sizeof address.sun_path - 1);
    return address;
}

class JournalStandIn {
public:
    // Before any thread is started. Later programs of this process see an empty /run.
    JournalStandIn()
    {
        if (!enterNamespaces())
            return;
        const sockaddr_un address = journalAddress();
        const int receiver = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        running_ = ::bind(receiver, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
        if (running_ && (child_ = ::fork()) == 0)
            drain(receiver);
        ::close(receiver);
    }
    ~JournalStandIn()
    {
        if (child_ > 0) {
            ::kill(child_, SIGKILL);
            ::waitpid(child_, nullptr, 0);
        }
    }
    JournalStandIn(const JournalStandIn &) = delete;
    JournalStandIn &operator=(const JournalStandIn &) = delete;

    // False where namespaces are not allowed.
    bool running() const { return running_; }

private:
    static bool enterNamespaces()
    {
        constexpr int own = CLONE_NEWNS | CLONE_NEWNET;
        if (::unshare(own) != 0 && ::unshare(own | CLONE_NEWUSER) != 0)
            return false;
        if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tmpfs", "/run", "tmpfs", 0, nullptr) != 0)
            return false;
        ::mkdir("/run/systemd", 0755);
        ::mkdir("/run/systemd/journal", 0755);
        if (std::FILE *limit = std::fopen("/proc/sys/net/unix/max_dgram_qlen", "w")) {
            std::fputs("512", limit); // as hosts with a journal have it
            std::fclose(limit);
        }
        return true;
    }

    [[noreturn]] static void drain(int receiver)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        std::array<char, 4096> buffer;
        for (;;)
            if (::recv(receiver, buffer.data(), buffer.size(), 0) < 0)
                ::_exit(1);
    }

    bool running_ = false;
    pid_t child_ = -1;
};

} // namespace Bench
