// SPDX-License-Identifier: Apache-2.0

// How a host daemon starts: it reads the vendor's and the administrator's configuration, sets up its logging, checks
// what it was given, and goes to work. Copy it, and change the identities, the settings and work().
//
//     ./daemon                                the directories of the system
//     ./daemon vendor.conf.d local.conf.d     the ones beside this file

#include <tovrin/parser/config_dir_parser.h>
#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>
#include <tovrin/parser/logging.h>

#include <algorithm>
#include <cstdlib>
#include <map>

namespace {

using namespace Tovrin::Parser;
using namespace Tovrin::Parser::Logging;
using namespace Tovrin::Parser::Logging::Types; // without it, a number in a record is one raw byte

// An identity for each part of the daemon whose level somebody may want to turn on its own.
const auto lDaemon = LoggerConfig::create("org.example.hostd", LoggerConfig::LogInfo);
const auto lMounts = LoggerConfig::create("org.example.hostd.mounts", LoggerConfig::LogInfo);

struct Settings {
    std::string instance = Constants::DefaultInstance;
    std::string dataRoot = "/var/lib/hostd";
    bool camera = false;
    int bufferSize = 1024;
    double batteryCapacity = 1.0;
    std::vector<std::string> mounts;
    std::vector<int> ids;
};

// Only registered keys are read, so that other programs can keep theirs in the same files.
void registerKeys(ConfigParser &config)
{
    using namespace Constants;
    config.addKey(ConfigGroup, InstanceKey, ConfigParser::Replace);
    config.addKey(ConfigGroup, DataRootKey, ConfigParser::Replace);
    config.addKey(FeaturesGroup, CameraEnabledKey, ConfigParser::Replace);
    config.addKey(FeaturesGroup, BatteryCapacityKey, ConfigParser::Replace);
    config.addKey(AudioGroup, BufferSizeOutDefaultKey, ConfigParser::Replace);
    config.addKey(DevicesGroup, MountsKey, ConfigParser::Amend); // a list: each file adds to it
    config.addKey(DevicesGroup, UseIdsKey, ConfigParser::Amend);

    // What setupLogging() asks for; it warns about each of these that is not registered.
    config.addKey("Logging", "LogTarget", ConfigParser::Replace);
    for (const auto &logger : {lConfigParser, lDaemon, lMounts})
        config.addKey("Logging", logger->ident(), ConfigParser::Replace);
}

// Keeps the default if the key is absent, or, with a warning, if its value is not of the type.
template <typename T>
void read(const ConfigParser &config, const std::string &group, const std::string &key, T &setting)
{
    if (!config.contains(group, key))
        return;
    bool ok = false;
    T value{};
    config.getValue(group, key, value, &ok);
    if (ok)
        setting = value;
    else
        logWarning(lDaemon) << "[" << group << "] " << key << " is not valid; it stays " << setting;
}

void read(const ConfigParser &config, const std::string &group, const std::string &key, std::string &setting)
{
    if (config.contains(group, key))
        config.getValue(group, key, setting);
}

Settings readSettings(const ConfigParser &config)
{
    using namespace Constants;
    Settings settings;
    read(config, ConfigGroup, InstanceKey, settings.instance);
    read(config, ConfigGroup, DataRootKey, settings.dataRoot);
    read(config, FeaturesGroup, CameraEnabledKey, settings.camera);
    read(config, FeaturesGroup, BatteryCapacityKey, settings.batteryCapacity);
    read(config, AudioGroup, BufferSizeOutDefaultKey, settings.bufferSize);
    read(config, DevicesGroup, UseIdsKey, settings.ids);

    config.getValue(DevicesGroup, MountsKey, settings.mounts);
    const auto bad = [](const std::string &entry) { return !Helpers::validMountEntry(entry); }; // logs the reason
    settings.mounts.erase(std::remove_if(settings.mounts.begin(), settings.mounts.end(), bad), settings.mounts.end());
    return settings;
}

// All that was read, for whoever turns on debug records. The order of a parser's entries means nothing: sort them.
void logEverything(const ConfigParser &config)
{
    std::map<std::string, std::vector<std::string>> sorted;
    for (const auto &entry : config)
        sorted.emplace("[" + entry.group() + "] " + entry.key(), entry.value());
    for (const auto &[name, values] : sorted)
        logDebug(lDaemon) << name << " = " << values;
}

int work(const Settings &settings)
{
    logInfo(lDaemon) << "Instance '" << settings.instance << "' keeps its data in " << settings.dataRoot;
    logInfo(lDaemon) << "Camera " << settings.camera << ", battery " << settings.batteryCapacity << ", audio buffer "
                     << settings.bufferSize << ", ids " << settings.ids;
    for (const auto &entry : settings.mounts)
        logInfo(lMounts) << "Mounting " << entry;
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<std::string> directories{"/usr/share/tovrin.conf.d", Constants::DefaultConfigDirectory};
    if (argc > 1)
        directories.assign(argv + 1, argv + argc);

    setupLogging(nullptr); // the environment alone, so that it counts while the files are read
    ConfigDirParser config(Constants::BadUid);
    config.addTemplate("state", "/var/lib"); // files write ${state}
    registerKeys(config);

    const int result = config.readDirectories(directories);
    setupLogging(&config); // levels and target from the files, then again from the environment
    if (result == 2) {
        logCritical(lDaemon) << "Not starting with a configuration that cannot be read";
        return EXIT_FAILURE;
    }
    if (result == 0)
        logWarning(lDaemon) << "No configuration in " << directories << ", using the defaults";

    logEverything(config);
    return work(readSettings(config));
}
