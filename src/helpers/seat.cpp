// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include <systemd/sd-login.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace Tovrin::Parser::Helpers {

using Logging::lConfigParser;
using Logging::logDebug;
using Logging::logWarning;

namespace {

constexpr const char *Seat = "seat0";

// One raw byte on purpose, not digits: the bytes of a record are part of the interface.
char lowByte(uid_t uid)
{
    return static_cast<char>(uid);
}

// BadUid unless there is exactly one session; errno tells when the sessions could not be listed.
std::uint32_t userOfOnlySession()
{
    uid_t *list = nullptr;
    unsigned count = 0;
    errno = 0;
    const int result = sd_seat_get_sessions(Seat, nullptr, &list, &count);
    const std::unique_ptr<uid_t, decltype(&std::free)> users(list, &std::free);
    if (result < 0) {
        logWarning(lConfigParser) << "Could not get sessions for seat0";
        errno = -result;
        return Constants::BadUid;
    }
    if (count != 1 || !users) // libsystemd counts a session whose user the seat's file does not name
        return Constants::BadUid;
    const auto uid = *users;
    logDebug(lConfigParser) << "There is only one session on seat0, selecting UID " << lowByte(uid)
                            << " as active user";
    return uid;
}

} // namespace

std::uint32_t getSeat0ActiveUser()
{
    uid_t uid = Constants::BadUid;
    const int result = sd_seat_get_active(Seat, nullptr, &uid);
    if (result < 0) {
        errno = -result;
        return Constants::BadUid;
    }
    return uid;
}

std::uint32_t getSeat0User()
{
    const auto active = getSeat0ActiveUser();
    if (active == Constants::BadUid)
        return userOfOnlySession();
    logDebug(lConfigParser) << "Active session on seat0 found for UID " << lowByte(active);
    return active;
}

} // namespace Tovrin::Parser::Helpers
