// SPDX-License-Identifier: Apache-2.0
#include "support/captured_records.h"
#include "support/closed_standard_input.h"
#include "support/env_guard.h"
#include "support/temp_tree.h"

#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <glib.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <locale>
#include <map>
#include <sstream>

namespace {

using namespace std::string_literals;
using Tovrin::Parser::Constants::BadUid;
using Tovrin::Parser::Helpers::getDconfValue;
using Tovrin::Parser::Helpers::gVariantToString;
using Tovrin::Testing::CapturedRecords;
using Tovrin::Testing::ClosedStandardInput;
using Tovrin::Testing::EnvGuard;
using Tovrin::Testing::TempTree;

// The users of the test program and their homes, and the profile that stands for the mandatory one of the process.
std::map<uid_t, std::string> homes;
std::string mandatoryProfile;
std::string configHomeWhenReading; // XDG_CONFIG_HOME when a file was opened last

} // namespace

// Both are found before those of the system, because they belong to the program itself.
extern "C" __attribute__((visibility("default"))) passwd *getpwuid(uid_t uid)
{
    static passwd entry;
    static std::string home;
    const auto found = homes.find(uid);
    if (found == homes.end())
        return nullptr;
    home = found->second;
    entry.pw_dir = home.data();
    return &entry;
}

extern "C" __attribute__((visibility("default"))) FILE *fopen64(const char *path, const char *mode)
{
    using Function = FILE *(*)(const char *, const char *);
    static const auto original = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fopen64"));
    if (const char *configHome = std::getenv("XDG_CONFIG_HOME"))
        configHomeWhenReading = configHome;
    const bool mandatory = path == "/run/dconf/user/" + std::to_string(getuid());
    return original(mandatory ? mandatoryProfile.c_str() : path, mode);
}

namespace {

// ---- A host of its own ----------------------------------------------------------------------------------------------

constexpr std::uint32_t Anna = 4100000001u;
constexpr std::uint32_t Berta = 4100000002u;
constexpr std::uint32_t Stranger = 4100000003u; // has no entry in the user database

constexpr const char *Key = "/tovrin/key";

// GLib remembers folders for the life of the process, so they are the same ones for all tests of this program.
class Host : public testing::Environment {
public:
    void SetUp() override
    {
        setenv("HOME", tree.makeDirectory("process").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", tree.makeDirectory("run").c_str(), 1);
        setenv("XDG_DATA_DIRS", tree.makeDirectory("share").c_str(), 1);
        unsetenv("XDG_CONFIG_HOME");
        unsetenv("DCONF_PROFILE");
    }

    static const TempTree tree;
};

const TempTree Host::tree;

[[maybe_unused]] const auto *const host = testing::AddGlobalTestEnvironment(new Host);

class Dconf : public testing::Test {
protected:
    Dconf()
    {
        homes = {{Anna, tree_.path("anna")}, {Berta, tree_.path("berta")}};
        mandatoryProfile.clear();
    }

    // A database of these lines below the group "tovrin", at the absolute path.
    void makeDatabase(const std::string &path, const std::string &lines, const std::string &locks = "")
    {
        const TempTree source;
        source.write("keys", "[tovrin]\n" + lines + "\n");
        if (!locks.empty())
            source.write("locks/all", locks + "\n");
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        ASSERT_EQ(std::system(("dconf compile '" + path + "' '" + source.root() + "'").c_str()), 0);
    }

    void makeUserDatabase(const std::string &home, const std::string &lines, const std::string &name = "user")
    {
        makeDatabase(home + "/.config/dconf/" + name, lines);
    }

    std::string makeProfile(const std::string &text) { return tree_.write("profile", text); }

    // Anna and Berta with a value each.
    void makeBothUsers()
    {
        makeUserDatabase(homes[Anna], "key='of anna'");
        makeUserDatabase(homes[Berta], "key='of berta'");
    }

    const TempTree tree_;
};

// ---- Whose value ----------------------------------------------------------------------------------------------------

TEST_F(Dconf, ReadsTheSettingOfTheUser)
{
    makeBothUsers();
    EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
}

TEST_F(Dconf, ReadsSeveralUsersInAnyOrder)
{
    makeBothUsers();
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(getDconfValue(Key, Berta), "of berta");
        EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
        EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
    }
}

TEST_F(Dconf, ReadsAUserAfterGLibHasRememberedTheFolderOfTheProcess)
{
    makeBothUsers();
    const EnvGuard configHome("XDG_CONFIG_HOME", tree_.path("berta/.config"));
    g_get_user_config_dir();
    EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
}

TEST_F(Dconf, LetsGLibRememberTheFolderOfTheProcess)
{
    makeBothUsers();
    getDconfValue(Key, Anna);
    EXPECT_EQ(g_get_user_config_dir(), Host::tree.path("process/.config"));
}

TEST_F(Dconf, ReadsTheProcessForTheBadUserIdBetweenUsers)
{
    makeBothUsers();
    makeUserDatabase(Host::tree.path("process"), "key='of the process'");
    EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
    EXPECT_EQ(getDconfValue(Key, BadUid), "of the process");
    EXPECT_EQ(getDconfValue(Key, Berta), "of berta");
    EXPECT_EQ(getDconfValue(Key, BadUid), "of the process");
    std::filesystem::remove_all(Host::tree.path("process/.config"));
}

TEST_F(Dconf, ReadsTheProcessWhereItsEnvironmentSays)
{
    for (const std::string value : {"first", "second"}) {
        makeDatabase(tree_.path(value + "/dconf/user"), "key='" + value + "'");
        const EnvGuard configHome("XDG_CONFIG_HOME", tree_.path(value));
        EXPECT_EQ(getDconfValue(Key, BadUid), value);
    }
}

TEST_F(Dconf, HasNothingForAUserWithoutADatabase)
{
    makeUserDatabase(homes[Berta], "key='of berta'");
    EXPECT_EQ(getDconfValue(Key, Berta), "of berta");
    EXPECT_EQ(getDconfValue(Key, Anna), "");
}

TEST_F(Dconf, HasNothingForAnUnknownUser)
{
    makeBothUsers();
    EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
    EXPECT_EQ(getDconfValue(Key, Stranger), "");
    EXPECT_EQ(configHomeWhenReading, "/.config");
}

TEST_F(Dconf, HasNothingForAMissingOrMalformedKey)
{
    makeBothUsers();
    for (const std::string key : {"/tovrin/absent", "/tovrin", "/tovrin/", "/", "", "tovrin/key", "//tovrin/key"})
        EXPECT_EQ(getDconfValue(key, Anna), "") << key;
}

TEST_F(Dconf, FindsAHomeWithUnusualCharacters)
{
    for (const std::string name : {"a b ", "\xc3\xa4", "user-db:user", "[x]"}) {
        homes[Anna] = tree_.path(name);
        makeUserDatabase(homes[Anna], "key='found'");
        EXPECT_EQ(getDconfValue(Key, Anna), "found") << name;
    }
}

// A careless profile would name the database of another user instead.
TEST_F(Dconf, HasNothingFromAHomeThatAProfileCannotName)
{
    makeDatabase(tree_.path("comment"), "key='foreign'");
    makeUserDatabase(tree_.path("foreign"), "key='foreign'");
    for (const auto &home : {tree_.path("comment#"), tree_.path("line\nfile-db:" + tree_.path("foreign"))}) {
        homes[Anna] = home;
        makeUserDatabase(home, "key='own'");
        EXPECT_EQ(getDconfValue(Key, Anna), "") << home;
    }
}

TEST_F(Dconf, HasNothingFromWhatIsNoDatabase)
{
    homes[Anna] = tree_.path("text");
    tree_.write("text/.config/dconf/user", std::string(1000, 'x'));
    EXPECT_EQ(getDconfValue(Key, Anna), "");
    homes[Anna] = tree_.path("folder");
    tree_.makeDirectory("folder/.config/dconf/user");
    EXPECT_EQ(getDconfValue(Key, Anna), "");
}

TEST_F(Dconf, DoesNotWaitForAPipe)
{
    tree_.makeDirectory("anna/.config/dconf");
    ASSERT_EQ(mkfifo(tree_.path("anna/.config/dconf/user").c_str(), 0600), 0);
    EXPECT_EQ(getDconfValue(Key, Anna), "");
}

// ---- What it does to the environment --------------------------------------------------------------------------------

TEST_F(Dconf, SetsTheConfigurationFolderDuringTheCallOnly)
{
    makeBothUsers();
    const EnvGuard configHome("XDG_CONFIG_HOME", "/former");
    EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
    EXPECT_EQ(configHomeWhenReading, homes[Anna] + "/.config");
    EXPECT_STREQ(std::getenv("XDG_CONFIG_HOME"), "/former");
}

TEST_F(Dconf, LeavesAVariableThatWasUnsetSetToNothing)
{
    const EnvGuard configHome("XDG_CONFIG_HOME", std::nullopt);
    getDconfValue(Key, Anna);
    EXPECT_STREQ(std::getenv("XDG_CONFIG_HOME"), "");
}

TEST_F(Dconf, DoesNotTouchTheVariableForTheBadUserId)
{
    const EnvGuard configHome("XDG_CONFIG_HOME", std::nullopt);
    getDconfValue(Key, BadUid);
    EXPECT_EQ(std::getenv("XDG_CONFIG_HOME"), nullptr);
}

TEST_F(Dconf, LeavesTheProfileVariableAsItWas)
{
    makeBothUsers();
    getDconfValue(Key, Anna);
    EXPECT_EQ(std::getenv("DCONF_PROFILE"), nullptr);
    const auto profile = makeProfile("user-db:user\n");
    const EnvGuard variable("DCONF_PROFILE", profile);
    getDconfValue(Key, Anna);
    EXPECT_EQ(std::getenv("DCONF_PROFILE"), profile);
}

TEST_F(Dconf, LeavesNoFileOpen)
{
    makeBothUsers();
    getDconfValue(Key, Anna);
    const auto count = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const auto before = count();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(getDconfValue(Key, i % 2 ? Anna : Berta), i % 2 ? "of anna" : "of berta");
    EXPECT_EQ(count(), before);
}

// ---- Profiles -------------------------------------------------------------------------------------------------------

TEST_F(Dconf, LetsTheUserOverrideOtherDatabasesOfTheProfile)
{
    makeBothUsers();
    makeDatabase(tree_.path("site"), "key='of the site'\nother='default'");
    const EnvGuard variable("DCONF_PROFILE", makeProfile("user-db:user\nfile-db:" + tree_.path("site") + "\n"));
    EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
    EXPECT_EQ(getDconfValue("/tovrin/other", Anna), "default");
    homes[Anna] = tree_.path("without a database");
    EXPECT_EQ(getDconfValue(Key, Anna), "of the site");
}

TEST_F(Dconf, HonoursLocks)
{
    makeBothUsers();
    makeDatabase(tree_.path("site"), "key='locked'", Key);
    const EnvGuard variable("DCONF_PROFILE", makeProfile("user-db:user\nfile-db:" + tree_.path("site")));
    EXPECT_EQ(getDconfValue(Key, Anna), "locked");
}

TEST_F(Dconf, UsesTheNameOfTheUserDatabaseInTheProfile)
{
    makeBothUsers();
    makeUserDatabase(homes[Anna], "key='of the other'", "other");
    const EnvGuard variable("DCONF_PROFILE", makeProfile("# a comment\n\n  user-db:other\t# another\n"));
    EXPECT_EQ(getDconfValue(Key, Anna), "of the other");
    EXPECT_EQ(getDconfValue(Key, Berta), "");
}

TEST_F(Dconf, FindsAProfileByNameAmongTheData)
{
    makeBothUsers();
    makeUserDatabase(homes[Anna], "key='of the other'", "other");
    Host::tree.write("share/dconf/profile/tovrin_test", "user-db:other\n");
    const EnvGuard variable("DCONF_PROFILE", "tovrin_test");
    EXPECT_EQ(getDconfValue(Key, Anna), "of the other");
}

TEST_F(Dconf, UsesTheProfileOfTheDataThatReplacesTheDefault)
{
    makeUserDatabase(homes[Anna], "key='of the default'");
    makeUserDatabase(homes[Anna], "another='of the other'", "other");
    Host::tree.write("share/dconf/profile/user", "user-db:other\n");
    EXPECT_EQ(getDconfValue("/tovrin/another", Anna), "of the other");
    EXPECT_EQ(getDconfValue(Key, Anna), "");
    std::filesystem::remove(Host::tree.path("share/dconf/profile/user"));
}

TEST_F(Dconf, UsesTheProfileInTheRuntimeFolder)
{
    makeUserDatabase(homes[Anna], "key='of the other'", "other");
    Host::tree.write("run/dconf/profile", "user-db:other\n");
    EXPECT_EQ(getDconfValue(Key, Anna), "of the other");
    std::filesystem::remove(Host::tree.path("run/dconf/profile"));
}

TEST_F(Dconf, HasNothingUnderAProfileThatIsMissing)
{
    makeBothUsers();
    const EnvGuard variable("DCONF_PROFILE", "tovrin_absent");
    EXPECT_EQ(getDconfValue(Key, Anna), "");
}

TEST_F(Dconf, HasNothingForAUserUnderAMandatoryProfileWithUserDatabases)
{
    makeBothUsers();
    makeUserDatabase(Host::tree.path("process"), "key='of the process'");
    mandatoryProfile = makeProfile("user-db:user\n");
    EXPECT_EQ(getDconfValue(Key, Anna), "");
    EXPECT_EQ(getDconfValue(Key, BadUid), "of the process");
    std::filesystem::remove_all(Host::tree.path("process/.config"));
}

TEST_F(Dconf, PrefersAMandatoryProfileWithoutUserDatabases)
{
    makeBothUsers();
    makeDatabase(tree_.path("site"), "key='of the site'");
    mandatoryProfile = makeProfile("file-db:" + tree_.path("site") + "\n");
    const EnvGuard variable("DCONF_PROFILE", tree_.write("another", "user-db:user\n"));
    EXPECT_EQ(getDconfValue(Key, Anna), "of the site");
}

TEST_F(Dconf, GivesAServiceDatabaseToTheOwnerOfTheRuntimeFolderOnly)
{
    homes[getuid()] = tree_.path("owner");
    makeDatabase(Host::tree.path("run/dconf-service/keyfile/user"), "key='of the owner'");
    const EnvGuard variable("DCONF_PROFILE", makeProfile("service-db:keyfile/user\n"));
    EXPECT_EQ(getDconfValue(Key, Anna), "");
    EXPECT_EQ(getDconfValue(Key, getuid()), "of the owner");
    EXPECT_EQ(getDconfValue(Key, BadUid), "of the owner");
}

// ---- Values ---------------------------------------------------------------------------------------------------------

TEST_F(Dconf, WritesAValueOfEachTypeOfADatabase)
{
    makeUserDatabase(homes[Anna], "b=true\ny=byte 0x41\nn=int16 -7\nq=uint16 65535\ni=-42\nu=uint32 42\n"
                                  "x=int64 -5000000000\nt=uint64 5000000000\nd=2.5\ns='a text'");
    const std::map<std::string, std::string> table = {
        {"b", "true"}, {"y", "A"},           {"n", "-7"},         {"q", "65535"}, {"i", "-42"},
        {"u", "42"},   {"x", "-5000000000"}, {"t", "5000000000"}, {"d", "2.5"},   {"s", "a text"}};
    for (const auto &[type, text] : table)
        EXPECT_EQ(getDconfValue("/tovrin/" + type, Anna), text) << type;
}

TEST_F(Dconf, LeavesNoDescriptorOpenInAProcessWithoutStandardInput)
{
    makeBothUsers();
    makeUserDatabase(Host::tree.path("process"), "key='of the process'");
    EXPECT_EQ(getDconfValue(Key, Anna), "of anna"); // GLib starts a thread once, which keeps descriptors
    const ClosedStandardInput input;
    for (int i = 0; i < 2; ++i) { // descriptor 0 is taken by the user's profile, or else by what looks for free ones
        EXPECT_EQ(getDconfValue(Key, Anna), "of anna");
        EXPECT_FALSE(input.isTaken());
        EXPECT_EQ(getDconfValue(Key, BadUid), "of the process");
        EXPECT_FALSE(input.isTaken());
    }
    std::filesystem::remove_all(Host::tree.path("process/.config"));
}

TEST_F(Dconf, WarnsOfAValueOfAnotherType)
{
    makeUserDatabase(homes[Anna], "key=['a', 'b']");
    const CapturedRecords records;
    EXPECT_EQ(getDconfValue(Key, Anna), "");
    EXPECT_EQ(records.all(), (std::vector<CapturedRecords::Record>{{4, "Unsupported GVariant type 'as'"}}));
}

TEST(GVariantToString, IsEmptyForNoValue)
{
    const CapturedRecords records;
    EXPECT_EQ(gVariantToString(nullptr), "");
    EXPECT_TRUE(records.empty());
}

TEST(GVariantToString, WritesNumbersOfEveryWidth)
{
    const std::vector<std::pair<GVariant *, std::string>> table = {
        {g_variant_new_boolean(TRUE), "true"},
        {g_variant_new_boolean(FALSE), "false"},
        {g_variant_new_int16(INT16_MIN), "-32768"},
        {g_variant_new_uint16(UINT16_MAX), "65535"},
        {g_variant_new_int32(INT32_MIN), "-2147483648"},
        {g_variant_new_uint32(UINT32_MAX), "4294967295"},
        {g_variant_new_int64(INT64_MIN), "-9223372036854775808"},
        {g_variant_new_uint64(UINT64_MAX), "18446744073709551615"},
    };
    for (const auto &[value, text] : table)
        EXPECT_EQ(gVariantToString(value), text);
}

TEST(GVariantToString, WritesAByteAsOneCharacter)
{
    EXPECT_EQ(gVariantToString(g_variant_new_byte(65)), "A");
    EXPECT_EQ(gVariantToString(g_variant_new_byte(0)), "\0"s);
    EXPECT_EQ(gVariantToString(g_variant_new_byte(255)), "\xff");
}

TEST(GVariantToString, WritesAHandleAsGLibAnswersForAnInt32)
{
    g_test_expect_message("GLib", G_LOG_LEVEL_CRITICAL, "*G_VARIANT_TYPE_INT32*");
    EXPECT_EQ(gVariantToString(g_variant_new_handle(5)), "0");
    g_test_assert_expected_messages();
}

TEST(GVariantToString, WritesDoublesAsAClassicStream)
{
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const auto former = std::locale::global(std::locale(std::locale::classic(), new Comma));
    const auto infinity = std::numeric_limits<double>::infinity();
    for (const double value : {0.0, -0.0, 2.5, 0.1, 1.0 / 3, 123456.0, 1234567.0, 999999.5, 0.0001, 0.00001, 1e16,
                               -1e-7, 1e300, 5e-324, infinity, -infinity, std::nan("")}) {
        std::ostringstream stream;
        stream.imbue(std::locale::classic());
        stream << value;
        EXPECT_EQ(gVariantToString(g_variant_new_double(value)), stream.str());
    }
    std::locale::global(former);
}

TEST(GVariantToString, WritesAStringAsItStands)
{
    EXPECT_EQ(gVariantToString(g_variant_new_string(" a 'b'\n")), " a 'b'\n");
    EXPECT_EQ(gVariantToString(g_variant_new_string("")), "");
}

TEST(GVariantToString, WarnsOfEveryOtherType)
{
    const std::vector<std::pair<const char *, const char *>> table = {
        {"@o '/a'", "o"},   {"@g 'as'", "g"},      {"<1>", "v"}, {"['a']", "as"},       {"@ay []", "ay"},
        {"(1, 2)", "(ii)"}, {"{'a': 1}", "a{si}"}, {"()", "()"}, {"@ms nothing", "ms"},
    };
    for (const auto &[text, type] : table) {
        const CapturedRecords records;
        EXPECT_EQ(gVariantToString(g_variant_parse(nullptr, text, nullptr, nullptr, nullptr)), "") << text;
        EXPECT_EQ(records.all(),
                  (std::vector<CapturedRecords::Record>{{4, "Unsupported GVariant type '"s + type + "'"}}))
            << text;
    }
}

TEST(GVariantToString, ReleasesTheValue)
{
    for (const char *text : {"'a'", "['a']"}) {
        GVariant *value = g_variant_parse(nullptr, text, nullptr, nullptr, nullptr);
        bool released = false;
        GBytes *bytes = g_bytes_new_with_free_func(
            g_variant_get_data(value), g_variant_get_size(value), [](void *flag) { *static_cast<bool *>(flag) = true; },
            &released);
        gVariantToString(g_variant_ref_sink(g_variant_new_from_bytes(g_variant_get_type(value), bytes, TRUE)));
        g_bytes_unref(bytes);
        EXPECT_TRUE(released) << text;
        g_variant_unref(value);
    }
}

} // namespace
