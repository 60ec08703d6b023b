// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pwd.h>

#include <cerrno>

namespace {

int errnoAtLookUp = -1; // as the last look-up of an id found it

} // namespace

// Found before the one of the C library, because it belongs to the program itself.
extern "C" __attribute__((visibility("default"))) passwd *getpwuid(uid_t uid)
{
    errnoAtLookUp = errno;
    static const auto original = reinterpret_cast<passwd *(*)(uid_t)>(dlsym(RTLD_NEXT, "getpwuid"));
    return original(uid);
}

namespace {

using namespace Tovrin::Parser;
using Helpers::getUserId;
using Helpers::getUserInfo;

// No system has this user.
constexpr std::uint32_t NobodyAtAll = 4123456789u;

TEST(UserInfo, FillsEveryOutput)
{
    std::string name, home;
    std::uint32_t group = 42;
    ASSERT_TRUE(getUserInfo(0, &name, &home, &group));
    EXPECT_EQ(name, "root");
    EXPECT_EQ(home, getpwuid(0)->pw_dir);
    EXPECT_EQ(group, 0u);
}

TEST(UserInfo, FillsOnlyTheOutputsThatAreWanted)
{
    std::string name, home;
    std::uint32_t group = 42;
    EXPECT_TRUE(getUserInfo(0, nullptr, nullptr, nullptr));
    EXPECT_TRUE(getUserInfo(0, &name, nullptr, nullptr));
    EXPECT_TRUE(getUserInfo(0, nullptr, &home, nullptr));
    EXPECT_TRUE(getUserInfo(0, nullptr, nullptr, &group));
    EXPECT_EQ(name, "root");
    EXPECT_EQ(home, getpwuid(0)->pw_dir);
    EXPECT_EQ(group, 0u);
}

TEST(UserInfo, LeavesTheOutputsOfAnUnknownUserAlone)
{
    std::string name = "name", home = "home";
    std::uint32_t group = 42;
    EXPECT_FALSE(getUserInfo(NobodyAtAll, &name, &home, &group));
    EXPECT_FALSE(getUserInfo(Constants::BadUid, nullptr, nullptr, nullptr));
    EXPECT_EQ(name, "name");
    EXPECT_EQ(home, "home");
    EXPECT_EQ(group, 42u);
}

TEST(UserInfo, ClearsErrnoBeforeTheLookUp)
{
    for (const auto uid : {0u, NobodyAtAll}) {
        errno = E2BIG;
        getUserInfo(uid, nullptr, nullptr, nullptr);
        EXPECT_EQ(errnoAtLookUp, 0) << uid;
    }
}

TEST(UserId, IsTheIdOfTheName)
{
    EXPECT_EQ(getUserId("root"), 0u);
    EXPECT_EQ(getUserId("nobody"), getpwnam("nobody")->pw_uid);
}

TEST(UserId, IsBadForAnUnknownName)
{
    EXPECT_EQ(getUserId("tovrin-no-such-user"), Constants::BadUid);
    EXPECT_EQ(getUserId(""), Constants::BadUid);
}

} // namespace
