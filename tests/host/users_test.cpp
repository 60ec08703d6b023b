// SPDX-License-Identifier: Apache-2.0
#include "host/private_host.h"

#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>

#include <cerrno>

namespace {

using namespace Tovrin::Parser;
using Helpers::getUserId;
using Helpers::getUserInfo;
using Tovrin::Testing::AddedUsers;
using Tovrin::Testing::PrivateHost;

struct User {
    std::uint32_t uid;
    std::string name, home;
    std::uint32_t group;
};

// The user is found by id and by name, with all its fields.
void expectUser(const User &user)
{
    std::string name, home;
    std::uint32_t group = 42;
    EXPECT_TRUE(getUserInfo(user.uid, &name, &home, &group)) << user.name;
    EXPECT_EQ(name, user.name);
    EXPECT_EQ(home, user.home) << user.name;
    EXPECT_EQ(group, user.group) << user.name;
    EXPECT_EQ(getUserId(user.name), user.uid) << user.name;
}

// The entries that every Debian has; no namespace is needed to read them.
TEST(HostUsers, HaveTheEntriesOfTheSystem)
{
    expectUser({0, "root", "/root", 0});
    expectUser({65534, "nobody", "/nonexistent", 65534});
}

using PrivateHostUsers = PrivateHost;

TEST_F(PrivateHostUsers, AreFoundOnceTheyAreAdded)
{
    EXPECT_EQ(getUserId("tovrin-anna"), Constants::BadUid);
    EXPECT_FALSE(getUserInfo(61001, nullptr, nullptr, nullptr));
    {
        const AddedUsers users("tovrin-anna:x:61001:61011:Anna:/srv/anna:/bin/sh\n");
        expectUser({61001, "tovrin-anna", "/srv/anna", 61011});
    }
    EXPECT_EQ(getUserId("tovrin-anna"), Constants::BadUid);
    EXPECT_FALSE(getUserInfo(61001, nullptr, nullptr, nullptr));
}

TEST_F(PrivateHostUsers, MayHaveIdsThatNoSignedNumberHolds)
{
    const AddedUsers users("tovrin-berta:x:3000000001:4294967293::/srv/berta:/bin/sh\n");
    expectUser({3000000001u, "tovrin-berta", "/srv/berta", 4294967293u});
}

TEST_F(PrivateHostUsers, MayHaveNoHome)
{
    const AddedUsers users("tovrin-homeless:x:61003:61013:::/bin/false\n");
    expectUser({61003, "tovrin-homeless", "", 61013});
}

TEST_F(PrivateHostUsers, AreTheFirstOfTheirId)
{
    const AddedUsers users("tovrin-first:x:61004:61014::/srv/first:/bin/sh\n"
                           "tovrin-second:x:61004:61015::/srv/second:/bin/sh\n");
    expectUser({61004, "tovrin-first", "/srv/first", 61014});
    EXPECT_EQ(getUserId("tovrin-second"), 61004u);
}

} // namespace
