// SPDX-License-Identifier: Apache-2.0
#include "host/journal.h"

#include "host/private_host.h"

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace Tovrin::Testing {

namespace {

constexpr const char *SocketPath = "/run/systemd/journal/socket";
constexpr const char *SocketAside = "/run/systemd/journal/socket.aside";

// ---- journalctl -o json ---------------------------------------------------------------------------------------------

// A text, or a list of byte values where it is not UTF-8 without control characters.
std::string fieldOf(const nlohmann::json &value)
{
    if (value.is_string())
        return value;
    const std::vector<std::uint8_t> bytes = value;
    return {bytes.begin(), bytes.end()};
}

// The fields of the program itself in an object that journalctl prints.
JournalEntry entryOf(const std::string &object)
{
    const auto fields = nlohmann::json::parse(object);
    JournalEntry entry;
    for (const auto &[name, value] : fields.items()) {
        if (!name.starts_with('_'))
            entry[name] = fieldOf(value);
    }
    return entry;
}

std::string outputOf(const std::string &command)
{
    const std::unique_ptr<FILE, decltype(&pclose)> pipe(popen(command.c_str(), "r"), &pclose);
    std::string output;
    char piece[4096];
    while (const auto size = std::fread(piece, 1, sizeof piece, pipe.get()))
        output.append(piece, size);
    return output;
}

// Of this process, oldest first.
std::vector<JournalEntry> storedEntries()
{
    std::istringstream output(
        outputOf("journalctl --sync && journalctl --directory=/run/log/journal --all --no-pager --quiet "
                 "--output=json _PID=" +
                 std::to_string(getpid())));
    std::vector<JournalEntry> entries;
    for (std::string object; std::getline(output, object);)
        entries.push_back(entryOf(object));
    return entries;
}

// ---- The socket in its place ----------------------------------------------------------------------------------------

int boundSocket()
{
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, SocketPath);
    std::filesystem::create_directories(std::filesystem::path(SocketPath).parent_path());
    std::filesystem::remove(SocketPath);
    if (bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        throw std::runtime_error("cannot make a socket in place of journald");
    return descriptor;
}

std::string_view takeFront(std::string_view &text, std::size_t size)
{
    const auto front = text.substr(0, size);
    text.remove_prefix(front.size());
    return front;
}

std::size_t littleEndian(std::string_view bytes)
{
    std::uint64_t number = 0;
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte)
        number = number << 8 | static_cast<unsigned char>(*byte);
    return static_cast<std::size_t>(number);
}

// A record holds "NAME=value" and a newline for each field; or, if the value has newlines, "NAME", a newline, the
// length in eight bytes, the value, and a newline.
JournalEntry parseFields(std::string_view rest)
{
    JournalEntry entry;
    while (!rest.empty()) {
        const auto name = std::string(takeFront(rest, rest.find_first_of("=\n")));
        if (takeFront(rest, 1) == "=")
            entry[name] = takeFront(rest, rest.find('\n'));
        else
            entry[name] = takeFront(rest, littleEndian(takeFront(rest, 8)));
        takeFront(rest, 1);
    }
    return entry;
}

constexpr std::size_t LongestRecord = 1 << 21;

std::string contentsOf(int file)
{
    std::string contents(LongestRecord, '\0');
    const auto size = pread(file, contents.data(), contents.size(), 0);
    close(file);
    contents.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return contents;
}

// The next datagram; or, what has no place in one, the contents of the file that it passes. Nothing if none waits.
std::optional<std::string> receive(int socket)
{
    std::string data(LongestRecord, '\0');
    iovec part{data.data(), data.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const auto size = recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (size < 0)
        return std::nullopt;
    if (const auto *passed = CMSG_FIRSTHDR(&message); passed && passed->cmsg_type == SCM_RIGHTS) {
        int file = -1;
        std::memcpy(&file, CMSG_DATA(passed), sizeof file);
        return contentsOf(file);
    }
    data.resize(static_cast<std::size_t>(size));
    return data;
}

std::vector<JournalEntry> receivedEntries(int socket)
{
    std::vector<JournalEntry> entries;
    while (const auto data = receive(socket))
        entries.push_back(parseFields(*data));
    return entries;
}

} // namespace

Journal::Journal()
{
    if (variable("TOVRIN_JOURNAL") == "journald") {
        seen_ = storedEntries().size();
        return;
    }
    socket_ = boundSocket();
    std::cout << "A socket stands in for journald: " << variable("TOVRIN_JOURNAL_LACKS") << std::endl;
}

Journal::~Journal()
{
    if (socket_ < 0)
        return;
    close(socket_);
    unlink(SocketPath);
}

std::vector<JournalEntry> Journal::newEntries()
{
    if (socket_ >= 0)
        return receivedEntries(socket_);
    auto entries = storedEntries();
    const auto former = std::exchange(seen_, entries.size());
    entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(former));
    return entries;
}

MissingJournal::MissingJournal()
{
    std::filesystem::rename(SocketPath, SocketAside);
}

MissingJournal::~MissingJournal()
{
    std::filesystem::rename(SocketAside, SocketPath);
}

} // namespace Tovrin::Testing
