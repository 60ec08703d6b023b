// SPDX-License-Identifier: Apache-2.0
#include "support/captured_records.h"

#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

#include <systemd/sd-login.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace {

// What the login manager of a test answers. A negative result is an error number.
struct Seat {
    int activeResult = -ENODATA;
    uid_t active = 0;
    int sessionsResult = 0;
    std::vector<uid_t> users;
    bool usersMissing = false; // in spite of what is counted
    int errnoAtSessions = -1;  // as the look-up of the sessions found it
};

Seat seat;

} // namespace

// Found before the ones of libsystemd, because they belong to the program itself.
extern "C" __attribute__((visibility("default"))) int sd_seat_get_active(const char *name, char **session, uid_t *uid)
{
    EXPECT_STREQ(name, "seat0");
    EXPECT_EQ(session, nullptr);
    EXPECT_EQ(*uid, Tovrin::Parser::Constants::BadUid) << "the output is not preset";
    if (seat.activeResult >= 0)
        *uid = seat.active;
    return seat.activeResult;
}

extern "C" __attribute__((visibility("default"))) int sd_seat_get_sessions(const char *name, char ***sessions,
                                                                           uid_t **users, unsigned *count)
{
    EXPECT_STREQ(name, "seat0");
    EXPECT_EQ(sessions, nullptr);
    seat.errnoAtSessions = errno;
    if (seat.sessionsResult < 0)
        return seat.sessionsResult;
    if (!seat.usersMissing) {
        *users = static_cast<uid_t *>(std::malloc(sizeof(uid_t) * (seat.users.size() + 1)));
        std::copy(seat.users.begin(), seat.users.end(), *users);
    }
    *count = static_cast<unsigned>(seat.users.size());
    return seat.sessionsResult;
}

namespace {

using namespace Tovrin::Parser;
using Helpers::getSeat0ActiveUser;
using Helpers::getSeat0User;
using Tovrin::Testing::CapturedRecords;

using Record = CapturedRecords::Record;
using Records = std::vector<Record>;

class Seat0 : public testing::Test {
protected:
    Seat0() { seat = {}; }

    CapturedRecords records_;
};

using Seat0Active = Seat0;

TEST_F(Seat0Active, IsTheUserOfTheActiveSession)
{
    seat.activeResult = 0;
    seat.active = 1000;
    EXPECT_EQ(getSeat0ActiveUser(), 1000u);
    EXPECT_TRUE(records_.empty());
}

TEST_F(Seat0Active, SetsErrnoWithoutASession)
{
    seat.activeResult = -ENXIO;
    errno = 0;
    EXPECT_EQ(getSeat0ActiveUser(), Constants::BadUid);
    EXPECT_EQ(errno, ENXIO);
    EXPECT_TRUE(records_.empty());
}

TEST_F(Seat0, PrefersTheActiveUserAndNamesItsLowEightBits)
{
    seat.activeResult = 0;
    seat.active = 100000;
    EXPECT_EQ(getSeat0User(), 100000u);
    EXPECT_EQ(records_.all(), (Records{{7, "Active session on seat0 found for UID \xa0"}}));
    EXPECT_EQ(seat.errnoAtSessions, -1) << "the sessions were looked up";
}

TEST_F(Seat0, TakesTheUserOfTheOnlySession)
{
    seat.sessionsResult = 1;
    seat.users = {1089};
    EXPECT_EQ(getSeat0User(), 1089u);
    EXPECT_EQ(records_.all(), (Records{{7, "There is only one session on seat0, selecting UID A as active user"}}));
    EXPECT_EQ(seat.errnoAtSessions, 0) << "errno is not cleared";
}

TEST_F(Seat0, TakesRootForAUserToo)
{
    seat.sessionsResult = 1;
    seat.users = {0};
    EXPECT_EQ(getSeat0User(), 0u);
}

TEST_F(Seat0, CannotChooseFromNoSession)
{
    EXPECT_EQ(getSeat0User(), Constants::BadUid);
    EXPECT_TRUE(records_.empty());
}

TEST_F(Seat0, CannotChooseFromSeveralSessions)
{
    seat.sessionsResult = 2;
    seat.users = {1000, 1001};
    EXPECT_EQ(getSeat0User(), Constants::BadUid);
    EXPECT_TRUE(records_.empty());
}

TEST_F(Seat0, CannotChooseFromASessionWithoutAUser)
{
    seat.sessionsResult = 1;
    seat.users = {1000};
    seat.usersMissing = true;
    EXPECT_EQ(getSeat0User(), Constants::BadUid);
    EXPECT_TRUE(records_.empty());
}

TEST_F(Seat0, WarnsIfTheSessionsCannotBeListed)
{
    seat.sessionsResult = -ENOENT;
    EXPECT_EQ(getSeat0User(), Constants::BadUid);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(records_.all(), (Records{{4, "Could not get sessions for seat0"}}));
}

} // namespace
