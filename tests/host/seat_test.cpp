// SPDX-License-Identifier: Apache-2.0
#include "host/private_host.h"
#include "support/captured_records.h"
#include "support/stderr_records.h"

#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>

#include <cerrno>
#include <optional>

namespace {

using namespace std::string_literals;
using namespace Tovrin::Parser;
using Helpers::getSeat0ActiveUser;
using Helpers::getSeat0User;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::HostFile;
using Tovrin::Testing::PrivateHost;
using Tovrin::Testing::StderrRecords;

using Records = std::vector<CapturedRecords::Record>;

const Records nothing;
const Records noSessions = {{4, "Could not get sessions for seat0"}};

// What the login manager writes about seat0 while in scope.
struct SeatFile : HostFile {
    explicit SeatFile(std::string_view text) : HostFile("/run/systemd/seats/seat0", text) {}
};

using Seat0OfTheHost = PrivateHost;

TEST_F(Seat0OfTheHost, HasTheUserOfTheActiveSession)
{
    for (const auto uid : {100000u, 1000u, 0u, 4000000000u}) {
        const SeatFile seat("ACTIVE=c1\nACTIVE_UID=" + std::to_string(uid) + "\n");
        EXPECT_EQ(getSeat0ActiveUser(), uid);
        EXPECT_EQ(getSeat0User(), uid);
    }
}

TEST_F(Seat0OfTheHost, PrefersTheActiveSessionToTheOnlyOne)
{
    const SeatFile seat("IS_SEAT0=1\nCAN_MULTI_SESSION=1\nACTIVE=c1\nACTIVE_UID=1001\nSESSIONS=c2\nUIDS=1002\n");
    EXPECT_EQ(getSeat0User(), 1001u);
}

TEST_F(Seat0OfTheHost, HasTheUserOfTheOnlySession)
{
    const SeatFile seat("IS_SEAT0=1\nSESSIONS=c1\nUIDS=1000\n");
    const CapturedRecords records;
    EXPECT_EQ(getSeat0User(), 1000u);
    EXPECT_EQ(records.all(), (Records{{7, "There is only one session on seat0, selecting UID \xe8 as active user"}}));
}

// As the records leave the library, also where the byte is a zero, at which those of the journal end.
TEST_F(Seat0OfTheHost, NamesTheLowByteOfTheUser)
{
    for (const auto &[file, text] : std::vector<std::pair<std::string, std::string>>{
             {"ACTIVE=c1\nACTIVE_UID=100000\n", "Active session on seat0 found for UID \xa0"},
             {"ACTIVE=c1\nACTIVE_UID=65\n", "Active session on seat0 found for UID A"},
             {"ACTIVE=c1\nACTIVE_UID=0\n", "Active session on seat0 found for UID \0"s},
             {"SESSIONS=c1\nUIDS=4000000010\n",
              "There is only one session on seat0, selecting UID \n as active user"}}) {
        const SeatFile seat(file);
        const CapturedRecords lettingDebugThrough;
        const StderrRecords records;
        getSeat0User();
        EXPECT_EQ(records.text(), "DEBUG: " + text + "\n") << file;
    }
}

// Which error each of the two look-ups ends with; the second one finds the seat's sessions without fault for 0.
struct Failure {
    std::optional<std::string> file;
    int activeError;
    int sessionsError;
    Records records;
};

TEST_F(Seat0OfTheHost, TellsByErrnoWhyThereIsNoUser)
{
    for (const auto &[file, activeError, sessionsError, expected] :
         std::vector<Failure>{{std::nullopt, ENXIO, ENXIO, noSessions},
                              {"", ENODATA, 0, nothing},
                              {"ACTIVE=c1\n", ENODATA, 0, nothing},
                              {"ACTIVE=c1\nACTIVE_UID=anna\n", EINVAL, 0, nothing},
                              {"ACTIVE=c1\nACTIVE_UID=4294967295\n", ENXIO, 0, nothing},
                              {"SESSIONS=c1 c2\nUIDS=1000 1001\n", ENODATA, 0, nothing},
                              {"SESSIONS=c1\n", ENODATA, 0, nothing},
                              {"SESSIONS=c1\nUIDS=anna\n", ENODATA, EINVAL, noSessions},
                              {"SESSIONS=c1\nUIDS=4294967295\n", ENODATA, ENXIO, noSessions},
                              {"SESSIONS=c1 c2\nUIDS=1000\n", ENODATA, EUCLEAN, noSessions}}) {
        const auto what = file.value_or("no seat");
        std::optional<SeatFile> seat;
        if (file)
            seat.emplace(*file);
        const CapturedRecords records;
        errno = 0;
        EXPECT_EQ(getSeat0ActiveUser(), Constants::BadUid) << what;
        EXPECT_EQ(errno, activeError) << what;
        EXPECT_EQ(records.all(), nothing) << what;
        EXPECT_EQ(getSeat0User(), Constants::BadUid) << what;
        EXPECT_EQ(errno, sessionsError) << what;
        EXPECT_EQ(records.all(), expected) << what;
    }
}

} // namespace
