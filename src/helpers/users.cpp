// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>

#include <pwd.h>

#include <cerrno>

namespace Tovrin::Parser::Helpers {

bool getUserInfo(std::uint32_t uid, std::string *name, std::string *home, std::uint32_t *groupId)
{
    errno = 0;                           // so that a caller can tell an unknown user from a failed look-up
    const passwd *entry = getpwuid(uid); // NOLINT(concurrency-mt-unsafe): see the header
    if (!entry)
        return false;
    if (name)
        *name = entry->pw_name;
    if (home)
        *home = entry->pw_dir;
    if (groupId)
        *groupId = entry->pw_gid;
    return true;
}

std::uint32_t getUserId(const std::string &name)
{
    const passwd *entry = getpwnam(name.c_str()); // NOLINT(concurrency-mt-unsafe): see the header
    return entry ? entry->pw_uid : Constants::BadUid;
}

} // namespace Tovrin::Parser::Helpers
