// SPDX-License-Identifier: Apache-2.0
#include "host/private_host.h"
#include "support/captured_records.h"
#include "support/env_guard.h"
#include "support/temp_tree.h"

#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/config_value.h>
#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/substitutor.h>

#include <glib.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace {

using namespace Tovrin::Parser;
using Helpers::getDconfValue;
using Tovrin::Testing::AddedUsers;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::EnvGuard;
using Tovrin::Testing::HostFile;
using Tovrin::Testing::PrivateHost;
using Tovrin::Testing::TempTree;

using Records = std::vector<CapturedRecords::Record>;

struct User {
    std::uint32_t uid;
    std::string home;
};

const User anna{61001, "/run/tovrin-host/anna"};
const User berta{3000000001u, "/run/tovrin-host/berta"};

constexpr const char *Key = "/tovrin/key";

// Two users with entries in the user database, and homes.
class HostDconf : public PrivateHost {
protected:
    void SetUp() override
    {
        PrivateHost::SetUp();
        if (IsSkipped())
            return;
        users_.emplace("tovrin-anna:x:61001:61001::" + anna.home + ":/bin/sh\n" +
                       "tovrin-berta:x:3000000001:61002::" + berta.home + ":/bin/sh\n");
        for (const auto &user : {anna, berta})
            std::filesystem::remove_all(user.home);
    }

    // A database of these lines below the group "tovrin".
    static void compile(const std::string &path, const std::string &lines, const std::string &locks = "")
    {
        const TempTree source;
        source.write("keys", "[tovrin]\n" + lines + "\n");
        if (!locks.empty())
            source.write("locks/all", locks + "\n");
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        ASSERT_EQ(std::system(("dconf compile '" + path + "' '" + source.root() + "'").c_str()), 0);
    }

    // For the eyes of the user alone, as dconf makes it; of another owner where the host lets us make that.
    static void makeDatabase(const User &user, const std::string &lines)
    {
        compile(user.home + "/.config/dconf/user", lines);
        const auto command = "chmod -R go= " + user.home + " && chown -R " + std::to_string(user.uid) + ' ' + user.home;
        filesHaveOwners_ = std::system((command + " 2>/dev/null").c_str()) == 0;
    }

    static void makeBothDatabases()
    {
        makeDatabase(anna, "key='of anna'");
        makeDatabase(berta, "key='of berta'");
    }

    static inline bool filesHaveOwners_ = false;

    std::optional<AddedUsers> users_;
};

// ---- Whose value ----------------------------------------------------------------------------------------------------

TEST_F(HostDconf, GivesEachUserTheirOwnValueInAnyOrder)
{
    makeBothDatabases();
    EXPECT_EQ(getDconfValue(Key, anna.uid), "of anna");
    EXPECT_EQ(getDconfValue(Key, berta.uid), "of berta");
    EXPECT_EQ(getDconfValue(Key, berta.uid), "of berta");
    EXPECT_EQ(getDconfValue(Key, anna.uid), "of anna");
}

TEST_F(HostDconf, GivesEachUserTheirOwnValueAfterGLibWasAskedForItsFolder)
{
    makeBothDatabases();
    const EnvGuard configHome("XDG_CONFIG_HOME", berta.home + "/.config");
    g_get_user_config_dir();
    EXPECT_EQ(getDconfValue(Key, anna.uid), "of anna");
    EXPECT_EQ(getDconfValue(Key, berta.uid), "of berta");
}

// What a parser finds for the key in a file that it reads.
std::string readBy(ConfigParser &parser)
{
    const TempTree tree;
    std::string text;
    EXPECT_TRUE(parser.readConfig(tree.write("user.conf", "[g]\nk=<${dconf:/tovrin/key}>\n")));
    parser.getValue("g", "k", text);
    return text;
}

TEST_F(HostDconf, GivesTheParserOfEachUserTheirOwnValue)
{
    makeBothDatabases();
    ConfigParser ofAnna(anna.uid), ofBerta(berta.uid);
    EXPECT_EQ(readBy(ofAnna), "<of anna>");
    EXPECT_EQ(readBy(ofBerta), "<of berta>");
}

TEST_F(HostDconf, GivesACopiedParserTheValueOfTheSameUser)
{
    makeBothDatabases();
    const ConfigParser ofAnna(anna.uid), ofBerta(berta.uid);
    ConfigParser copyOfAnna(ofAnna), copyOfBerta(ofBerta);
    EXPECT_EQ(readBy(copyOfAnna), "<of anna>");
    EXPECT_EQ(readBy(copyOfBerta), "<of berta>");
}

TEST_F(HostDconf, GivesACopiedSubstitutorTheValueOfTheSameUser)
{
    makeBothDatabases();
    for (const auto &[uid, expected] : {std::pair{anna.uid, "of anna"}, std::pair{berta.uid, "of berta"}}) {
        const Substitutor original(uid);
        const Substitutor copy(original);
        ConfigValue value;
        EXPECT_TRUE(copy.substituted("${dconf:/tovrin/key}", value));
        EXPECT_EQ(value.data(), expected);
    }
}

TEST_F(HostDconf, GivesNothingToAUserWithoutADatabase)
{
    makeDatabase(berta, "key='of berta'");
    EXPECT_EQ(getDconfValue(Key, berta.uid), "of berta");
    EXPECT_EQ(getDconfValue(Key, anna.uid), "");
    EXPECT_EQ(getDconfValue(Key, 61009), "") << "without an entry in the user database";
}

// What a process of this user reads.
std::string readAs(const User &user, std::uint32_t wanted)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const auto child = fork();
    if (child == 0) {
        const bool changed = setgroups(0, nullptr) == 0 && setgid(61001) == 0 && setuid(user.uid) == 0;
        const auto text = changed ? '<' + getDconfValue(Key, wanted) + '>' : "cannot become the user";
        _exit(write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    close(ends[1]);
    char text[80];
    const auto size = read(ends[0], text, sizeof text);
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return {text, size > 0 ? static_cast<std::size_t>(size) : 0};
}

TEST_F(HostDconf, KeepsUsersApartInAProcessThatGaveUpRoot)
{
    makeBothDatabases();
    if (!filesHaveOwners_)
        GTEST_SKIP() << "needs root: only root can make files of other users, and become one";
    EXPECT_EQ(readAs(anna, anna.uid), "<of anna>");
    EXPECT_EQ(readAs(berta, berta.uid), "<of berta>");
    EXPECT_EQ(readAs(anna, berta.uid), "<>") << "there is no right to read that, and no other value instead";
}

// ---- Around it ------------------------------------------------------------------------------------------------------

TEST_F(HostDconf, LeavesTheConfigurationFolderAsItWas)
{
    makeBothDatabases();
    {
        const EnvGuard configHome("XDG_CONFIG_HOME", "/former");
        EXPECT_EQ(getDconfValue(Key, anna.uid), "of anna");
        EXPECT_STREQ(std::getenv("XDG_CONFIG_HOME"), "/former");
    }
    const EnvGuard configHome("XDG_CONFIG_HOME", std::nullopt);
    getDconfValue(Key, Constants::BadUid);
    EXPECT_EQ(std::getenv("XDG_CONFIG_HOME"), nullptr);
    getDconfValue(Key, anna.uid);
    EXPECT_STREQ(std::getenv("XDG_CONFIG_HOME"), "") << "set to nothing, though it was not set";
}

TEST_F(HostDconf, KeepsTheDatabasesAndLocksOfTheSystem)
{
    if (!std::filesystem::is_directory("/etc/dconf"))
        GTEST_SKIP() << "this machine has no folder /etc/dconf to put a private one over";
    makeBothDatabases();
    const HostFile site("/etc/dconf/db/site", "");
    compile("/etc/dconf/db/site", "key='of the site'\nother='default'\nfixed='locked'", "/tovrin/fixed");
    const HostFile profile("/etc/dconf/profile/user", "user-db:user\nsystem-db:site\n");
    makeDatabase(anna, "key='of anna'\nfixed='of anna'");
    EXPECT_EQ(getDconfValue(Key, anna.uid), "of anna");
    EXPECT_EQ(getDconfValue("/tovrin/other", anna.uid), "default");
    EXPECT_EQ(getDconfValue("/tovrin/fixed", anna.uid), "locked");
    EXPECT_EQ(getDconfValue(Key, 61009), "of the site");
}

TEST_F(HostDconf, AddsNoDatabaseToTheProfileOfTheSystem)
{
    if (!std::filesystem::is_directory("/etc/dconf"))
        GTEST_SKIP() << "this machine has no folder /etc/dconf to put a private one over";
    makeBothDatabases();
    {
        const HostFile profile("/etc/dconf/profile/user", "user-db:user\n");
        EXPECT_EQ(getDconfValue(Key, anna.uid), "of anna");
    }
    const HostFile profile("/etc/dconf/profile/user", "user-db:other\n");
    EXPECT_EQ(getDconfValue(Key, anna.uid), "");
}

// Such a profile cannot be redirected to a user, so that there is no telling whose value it would give.
TEST_F(HostDconf, GivesNothingUnderAMandatoryProfileWithUserDatabases)
{
    makeBothDatabases();
    const HostFile profile("/run/dconf/user/" + std::to_string(getuid()), "user-db:user\n");
    EXPECT_EQ(getDconfValue(Key, anna.uid), "");
    EXPECT_EQ(getDconfValue(Key, berta.uid), "");
}

// ---- Values ---------------------------------------------------------------------------------------------------------

TEST_F(HostDconf, GivesAValueOfEachSupportedType)
{
    makeDatabase(anna, "b=true\ny=byte 0x41\nn=int16 -7\nq=uint16 65535\ni=-42\nu=uint32 4000000000\n"
                       "x=int64 -5000000000\nt=uint64 18446744073709551615\nd=1234567.5\ns='a text'");
    const std::vector<std::pair<std::string, std::string>> table = {
        {"b", "true"},   {"y", "A"},          {"n", "-7"},          {"q", "65535"},
        {"i", "-42"},    {"u", "4000000000"}, {"x", "-5000000000"}, {"t", "18446744073709551615"},
        {"s", "a text"}, {"d", "1.23457e+06"}};
    const CapturedRecords records;
    for (const auto &[type, text] : table) {
        ConfigValue value;
        EXPECT_EQ(getDconfValue("/tovrin/" + type, anna.uid), text) << type;
        EXPECT_TRUE(Substitutor(anna.uid).substituted("${dconf:/tovrin/" + type + "}", value)) << type;
        EXPECT_EQ(value.data(), text) << type;
    }
    EXPECT_EQ(records.all(), Records());
}

// GLib complains each time: it takes no handle for a number.
TEST_F(HostDconf, GivesZeroForAHandle)
{
    makeDatabase(anna, "h=handle 5");
    g_test_expect_message("GLib", G_LOG_LEVEL_CRITICAL, "*G_VARIANT_TYPE_INT32*");
    EXPECT_EQ(getDconfValue("/tovrin/h", anna.uid), "0");
    g_test_assert_expected_messages();
    g_test_expect_message("GLib", G_LOG_LEVEL_CRITICAL, "*G_VARIANT_TYPE_INT32*");
    ConfigValue value;
    EXPECT_TRUE(Substitutor(anna.uid).substituted("${dconf:/tovrin/h}", value));
    EXPECT_EQ(value.data(), "0");
    g_test_assert_expected_messages();
}

// The records of a failed look-up, by the function and by the template.
void expectNothing(const std::string &key, const Records &ofTheLookUp)
{
    {
        const CapturedRecords records;
        EXPECT_EQ(getDconfValue(key, anna.uid), "") << key;
        EXPECT_EQ(records.all(), ofTheLookUp) << key;
    }
    auto expected = ofTheLookUp;
    expected.push_back({7, "Failed to read '" + key + "' from dconf for template 'dconf:" + key + "'"});
    const CapturedRecords records;
    ConfigValue value;
    EXPECT_FALSE(Substitutor(anna.uid).substituted("${dconf:" + key + "}", value)) << key;
    EXPECT_EQ(records.all(), expected) << key;
}

TEST_F(HostDconf, WarnsOfAValueOfAnotherType)
{
    makeDatabase(anna, "as=['a', 'b']\no=objectpath '/a'\ng=signature 'as'\nv=<1>\ntuple=(1, 'a')\nay=b'bytes'");
    for (const auto &[name, type] : std::vector<std::pair<std::string, std::string>>{
             {"as", "as"}, {"o", "o"}, {"g", "g"}, {"v", "v"}, {"tuple", "(is)"}, {"ay", "ay"}})
        expectNothing("/tovrin/" + name, {{4, "Unsupported GVariant type '" + type + "'"}});
}

TEST_F(HostDconf, HasNoRecordForAMissingKey)
{
    makeBothDatabases();
    for (const std::string key : {"/tovrin/absent", "/absent/key"})
        expectNothing(key, {});
}

} // namespace
