// SPDX-License-Identifier: Apache-2.0

// The database of a user lies below the configuration folder of the user, which dconf asks GLib for. GLib answers with
// XDG_CONFIG_HOME as it was when the process first asked, and never looks again. So where the folder that is wanted is
// not the one that GLib remembers, dconf is given a profile of its own for one reading: the lines of the profile in
// force, but with the database of the wanted folder named by its path. What that cannot express yields no value; the
// value of another user must never come out.

#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include "helpers/get_line.h"
#include "text_scan.h"

#include <dconf.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace Tovrin::Parser::Helpers {

using Logging::lConfigParser;
using Logging::logWarning;

namespace {

constexpr const char *ConfigHome = "XDG_CONFIG_HOME";
constexpr const char *ProfileVariable = "DCONF_PROFILE";
constexpr std::string_view UserDatabase = "user-db:";
constexpr std::string_view ServiceDatabase = "service-db:";

// ---- Environment ----------------------------------------------------------------------------------------------------

// NOLINTBEGIN(concurrency-mt-unsafe): dconf takes its orders from the environment; the header says what that means

// Sets a variable for a scope. At its end the variable gets the former value, or is unset if that is nothing.
class ScopedVariable {
public:
    ScopedVariable(const char *name, const std::string &value, std::optional<std::string> former)
        : name_(name), former_(std::move(former))
    {
        setenv(name_, value.c_str(), 1);
    }
    ~ScopedVariable()
    {
        if (former_)
            setenv(name_, former_->c_str(), 1);
        else
            unsetenv(name_);
    }
    ScopedVariable(const ScopedVariable &) = delete;
    ScopedVariable &operator=(const ScopedVariable &) = delete;

private:
    const char *name_;
    std::optional<std::string> former_;
};

std::optional<std::string> variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

// NOLINTEND(concurrency-mt-unsafe)

std::string configHomeOf(std::uint32_t uid)
{
    std::string home;
    getUserInfo(uid, nullptr, &home, nullptr);
    return home + "/.config";
}

// The configuration folder as the environment has it now, which need not be the one that GLib remembers.
std::string configFolder()
{
    auto folder = getenv2(ConfigHome, "");
    if (folder.empty())
        folder = std::string(g_get_home_dir()) + "/.config";
    return folder;
}

// ---- Profiles -------------------------------------------------------------------------------------------------------

// The databases that dconf would consult, one line each.
struct Profile {
    std::vector<std::string> lines;
    bool mandatory = false; // not to be overridden with DCONF_PROFILE
};

bool has(const Profile &profile, std::string_view kind)
{
    return std::any_of(profile.lines.begin(), profile.lines.end(),
                       [kind](const std::string &line) { return line.starts_with(kind); });
}

// The lines without comments, white space at the ends, and nothing else. False if the file cannot be opened.
bool readProfile(const std::string &path, std::vector<std::string> &lines)
{
    std::ifstream file(path);
    for (std::string line; getLine(file, line);) {
        const auto description = trimmed(std::string_view(line).substr(0, line.find('#')));
        if (!description.empty())
            lines.emplace_back(description);
    }
    return file.is_open();
}

bool readNamedProfile(const std::string &name, std::vector<std::string> &lines)
{
    if (name.starts_with('/'))
        return readProfile(name, lines);
    if (readProfile("/etc/dconf/profile/" + name, lines))
        return true;
    for (const char *const *folder = g_get_system_data_dirs(); *folder; ++folder) {
        if (readProfile(std::string(*folder) + "/dconf/profile/" + name, lines))
            return true;
    }
    return false;
}

// In the order in which dconf looks. A named profile that is missing means no databases, not the default.
Profile profileInForce()
{
    const auto mandatory = "/run/dconf/user/" + std::to_string(getuid());
    const auto ofRuntime = std::string(g_get_user_runtime_dir()) + "/dconf/profile";
    Profile profile;
    if (readProfile(mandatory, profile.lines))
        profile.mandatory = true;
    else if (const auto name = variable(ProfileVariable))
        readNamedProfile(*name, profile.lines);
    else if (!readProfile(ofRuntime, profile.lines) && !readNamedProfile("user", profile.lines))
        profile.lines.emplace_back("user-db:user");
    return profile;
}

// The profile with the user databases below `folder` instead of the remembered one. Nothing if a profile cannot say
// that: it has no way to quote.
std::optional<std::string> redirected(const Profile &profile, const std::string &folder)
{
    if (folder.find_first_of("#\n") != std::string::npos)
        return std::nullopt;
    std::string text;
    for (const auto &line : profile.lines) {
        if (!line.starts_with(UserDatabase)) {
            text += line + '\n';
            continue;
        }
        const auto path = folder + "/dconf/" + line.substr(UserDatabase.size());
        std::error_code ignored;
        // Dconf complains about a missing file, and hangs on a pipe.
        if (std::filesystem::is_regular_file(path, ignored))
            text += "file-db:" + path + '\n';
    }
    return text;
}

// A text as a file without a name, for as long as the object lives.
class UnnamedFile {
public:
    explicit UnnamedFile(std::string_view text) : descriptor_(memfd_create("dconf-profile", MFD_CLOEXEC))
    {
        while (!text.empty()) {
            const auto written = write(descriptor_, text.data(), text.size());
            if (written <= 0)
                return;
            text.remove_prefix(static_cast<std::size_t>(written));
        }
        complete_ = descriptor_ >= 0;
    }
    ~UnnamedFile()
    {
        if (descriptor_ >= 0)
            close(descriptor_);
    }
    UnnamedFile(const UnnamedFile &) = delete;
    UnnamedFile &operator=(const UnnamedFile &) = delete;

    bool complete() const { return complete_; }
    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
    bool complete_ = false;
};

// ---- Reading --------------------------------------------------------------------------------------------------------

// GLib ends the process if it gets no descriptors for the thread that it starts.
bool descriptorsLeft()
{
    std::array<int, 4> descriptors{};
    std::generate(descriptors.begin(), descriptors.end(), [] { return eventfd(0, EFD_CLOEXEC); });
    for (const int descriptor : descriptors) {
        if (descriptor >= 0)
            close(descriptor);
    }
    return *std::min_element(descriptors.begin(), descriptors.end()) >= 0;
}

std::string readKey(const std::string &key)
{
    if (!descriptorsLeft())
        return {};
    const std::unique_ptr<DConfClient, decltype(&g_object_unref)> client(dconf_client_new(), &g_object_unref);
    return client ? gVariantToString(dconf_client_read(client.get(), key.c_str())) : "";
}

std::string readKeyWithProfile(const std::string &key, const std::string &text)
{
    const UnnamedFile file(text);
    if (!file.complete())
        return {};
    const ScopedVariable profile(ProfileVariable, file.path(), variable(ProfileVariable));
    return readKey(key);
}

// A service database lies in the runtime folder of the process, which is that of a user if the user owns it.
bool ownsRuntimeFolder(std::uint32_t uid)
{
    struct stat64 status;
    return stat64(g_get_user_runtime_dir(), &status) == 0 && status.st_uid == uid;
}

std::string readSetting(const std::string &key, std::uint32_t uid)
{
    const auto folder = configFolder();
    const auto profile = profileInForce();
    if (uid != Constants::BadUid && has(profile, ServiceDatabase) && !ownsRuntimeFolder(uid))
        return {};
    if (folder == g_get_user_config_dir() || !has(profile, UserDatabase))
        return readKey(key);
    if (profile.mandatory)
        return {};
    const auto text = redirected(profile, folder);
    return text ? readKeyWithProfile(key, *text) : "";
}

// ---- Values ---------------------------------------------------------------------------------------------------------

// Six significant digits, as a stream in the classic locale writes.
std::string textOf(double value)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6).ptr;
    return {digits, end};
}

std::string textOf(const char *text)
{
    return text ? text : "";
}

// The text of a value whose type begins so, and is nothing else then; nothing for the types that are not supported.
std::optional<std::string> basicText(GVariant *value, char type)
{
    switch (type) {
    case 'b':
        return g_variant_get_boolean(value) ? "true" : "false";
    case 'y':
        return std::string(1, static_cast<char>(g_variant_get_byte(value))); // the byte itself, on purpose
    case 'n':
        return std::to_string(g_variant_get_int16(value));
    case 'q':
        return std::to_string(g_variant_get_uint16(value));
    case 'i':
    case 'h': // GLib takes no handle for an int32: it complains and answers 0, and users know handles as "0"
        return std::to_string(g_variant_get_int32(value));
    case 'u':
        return std::to_string(g_variant_get_uint32(value));
    case 'x':
        return std::to_string(g_variant_get_int64(value));
    case 't':
        return std::to_string(g_variant_get_uint64(value));
    case 'd':
        return textOf(g_variant_get_double(value));
    case 's':
        return textOf(g_variant_get_string(value, nullptr));
    default:
        return std::nullopt;
    }
}

} // namespace

std::string gVariantToString(GVariant *value)
{
    if (!value)
        return {};
    const std::unique_ptr<GVariant, decltype(&g_variant_unref)> owned(value, &g_variant_unref);
    const char *type = g_variant_get_type_string(value);
    const auto text = basicText(value, type ? type[0] : '\0');
    if (!text)
        logWarning(lConfigParser) << "Unsupported GVariant type '" << type << "'"; // a null type reads "(null)"
    return text.value_or("");
}

std::string getDconfValue(const std::string &key, std::uint32_t uid)
{
    g_get_user_config_dir(); // GLib must remember the folder of the process, not that of the first user asked for
    if (uid == Constants::BadUid)
        return readSetting(key, uid);
    const auto former = getenv2(ConfigHome, ""); // left set to "" if it was not set: deliberate
    const ScopedVariable configHome(ConfigHome, configHomeOf(uid), former);
    return readSetting(key, uid);
}

} // namespace Tovrin::Parser::Helpers
