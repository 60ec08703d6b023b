// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/config_parser.h>
#include <tovrin/parser/constants.h>
#include <tovrin/parser/helpers.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <type_traits>

namespace {

using namespace Tovrin::Parser;

struct Row {
    const char *name;
    const std::string &constant;
    const char *value;
};

const std::vector<Row> &table()
{
    static const std::vector<Row> rows = {
        {"DefaultConfigDirectory", Constants::DefaultConfigDirectory, "/etc/tovrin.conf.d"},
        {"DefaultInstance", Constants::DefaultInstance, "default"},
        {"AudioGroup", Constants::AudioGroup, "Audio"},
        {"ConfigGroup", Constants::ConfigGroup, "Config"},
        {"DevicesGroup", Constants::DevicesGroup, "Devices"},
        {"FeaturesGroup", Constants::FeaturesGroup, "Features"},
        {"GeneratedConfigGroup", Constants::GeneratedConfigGroup, "GeneratedConfig"},
        {"NetworkGroup", Constants::NetworkGroup, "Network"},
        {"AllowGrantingPrivilegesKey", Constants::AllowGrantingPrivilegesKey, "AllowGrantingPrivileges"},
        {"AppIdManglingTypeKey", Constants::AppIdManglingTypeKey, "AppIdManglingType"},
        {"AppIdPrefixKey", Constants::AppIdPrefixKey, "AppIdPrefix"},
        {"AppLaunchModeKey", Constants::AppLaunchModeKey, "AppLaunchMode"},
        {"ApparmorProfileKey", Constants::ApparmorProfileKey, "ApparmorProfile"},
        {"ArchKey", Constants::ArchKey, "Arch"},
        {"BaseUidKey", Constants::BaseUidKey, "BaseUid"},
        {"BatteryCapacityKey", Constants::BatteryCapacityKey, "BatteryCapacity"},
        {"BinderDevKey", Constants::BinderDevKey, "BinderDev"},
        {"BufferSizeInDefaultKey", Constants::BufferSizeInDefaultKey, "BufferSizeInDefault"},
        {"BufferSizeOutDeepBufferKey", Constants::BufferSizeOutDeepBufferKey, "BufferSizeOutDeepBuffer"},
        {"BufferSizeOutDefaultKey", Constants::BufferSizeOutDefaultKey, "BufferSizeOutDefault"},
        {"BufferSizeOutFastKey", Constants::BufferSizeOutFastKey, "BufferSizeOutFast"},
        {"BufferSizeOutVoipKey", Constants::BufferSizeOutVoipKey, "BufferSizeOutVoip"},
        {"CameraEnabledKey", Constants::CameraEnabledKey, "CameraEnabled"},
        {"CodecXmlSuffixKey", Constants::CodecXmlSuffixKey, "CodecXmlSuffix"},
        {"CrashLoggerEnabledKey", Constants::CrashLoggerEnabledKey, "CrashLoggerEnabled"},
        {"CrashLoggerLogLevelKey", Constants::CrashLoggerLogLevelKey, "CrashLoggerLogLevel"},
        {"CustomPropertiesKey", Constants::CustomPropertiesKey, "CustomProperties"},
        {"DataRootKey", Constants::DataRootKey, "DataRoot"},
        {"DefaultLxcKey", Constants::DefaultLxcKey, "DefaultLxc"},
        {"DefaultRoKey", Constants::DefaultRoKey, "DefaultRo"},
        {"DevNodesKey", Constants::DevNodesKey, "DevNodes"},
        {"DevSizeKey", Constants::DevSizeKey, "DevSize"},
        {"Dex2oatMaxHeapSize", Constants::Dex2oatMaxHeapSize, "Dex2oatMaxHeapSize"},
        {"DialogsAsOverlaysKey", Constants::DialogsAsOverlaysKey, "DialogsAsOverlays"},
        {"ExternalStorageEnabledKey", Constants::ExternalStorageEnabledKey, "ExternalStorageEnabled"},
        {"FakeBatteryKey", Constants::FakeBatteryKey, "FakeBattery"},
        {"HomeKey", Constants::HomeKey, "Home"},
        {"HostStorageMappingKey", Constants::HostStorageMappingKey, "HostStorageMapping"},
        {"HostnameKey", Constants::HostnameKey, "Hostname"},
        {"HwBinderDevKey", Constants::HwBinderDevKey, "HwBinderDev"},
        {"InstanceKey", Constants::InstanceKey, "Instance"},
        {"KeepNamespacesKey", Constants::KeepNamespacesKey, "KeepNamespaces"},
        {"KeyboardEnabledKey", Constants::KeyboardEnabledKey, "OnScreenKeyboardEnabled"},
        {"KeyboardInAppWindowKey", Constants::KeyboardInAppWindowKey, "KeyboardInAppWindow"},
        {"LanguageFileKey", Constants::LanguageFileKey, "LanguageFilePath"},
        {"LanguageOverrideKey", Constants::LanguageOverrideKey, "LanguageOverride"},
        {"LogcatDumperKey", Constants::LogcatDumperKey, "UseLogcatDumper"},
        {"MobileDataEnabledKey", Constants::MobileDataEnabledKey, "MobileDataEnabled"},
        {"MountHomeKey", Constants::MountHomeKey, "MountHome"},
        {"MountsKey", Constants::MountsKey, "Mounts"},
        {"MultisimConfigKey", Constants::MultisimConfigKey, "MultisimConfig"},
        {"MultisimKey", Constants::MultisimKey, "Multisim"},
        {"MultisimRadioConfigKey", Constants::MultisimRadioConfigKey, "MultisimRadioConfig"},
        {"OpenGLESVersionKey", Constants::OpenGLESVersionKey, "OpenGLESVersion"},
        {"PackageReplacementAllowedKey", Constants::PackageReplacementAllowedKey, "PackageReplacementAllowed"},
        {"PerAppStreamsKey", Constants::PerAppStreamsKey, "PerAppStreams"},
        {"PrivilegedHostUserKey", Constants::PrivilegedHostUserKey, "PrivilegedHostUser"},
        {"PropertyFilePathKey", Constants::PropertyFilePathKey, "PropertyFilePath"},
        {"PropertyPostKey", Constants::PropertyPostKey, "PropertyPost"},
        {"PropertyPreKey", Constants::PropertyPreKey, "PropertyPre"},
        {"RequiredDevNodesKey", Constants::RequiredDevNodesKey, "RequiredDevNodes"},
        {"RunVendorC2ServiceKey", Constants::RunVendorC2ServiceKey, "RunVendorC2Service"},
        {"SDCardFSForcedKey", Constants::SDCardFSForcedKey, "SDCardFSForced"},
        {"SoundtriggerEnabledKey", Constants::SoundtriggerEnabledKey, "SoundtriggerEnabled"},
        {"StoragePathKey", Constants::StoragePathKey, "StoragePath"},
        {"SysMountRwKey", Constants::SysMountRwKey, "SysMountRw"},
        {"TextInputProtocolEnabledKey", Constants::TextInputProtocolEnabledKey, "TextInputProtocolEnabled"},
        {"TovrinPathKey", Constants::TovrinPathKey, "TovrinPath"},
        {"UsbHostProxyKey", Constants::UsbHostProxyKey, "UsbHostProxy"},
        {"UseIdsKey", Constants::UseIdsKey, "UseIds"},
        {"UserIdKey", Constants::UserIdKey, "UserId"},
        {"UserKey", Constants::UserKey, "User"},
        {"VndBinderDevKey", Constants::VndBinderDevKey, "VndBinderDev"},
        {"WaylandSocketPathKey", Constants::WaylandSocketPathKey, "WaylandSocketPath"},
        {"NetConfigKey", Constants::NetConfigKey, "NetConfig"},
        {"LinkNameKey", Constants::LinkNameKey, "LinkName"},
        {"IPV4AddressConfigKey", Constants::IPV4AddressConfigKey, "IPV4Address"},
        {"IPV4GatewayConfigKey", Constants::IPV4GatewayConfigKey, "IPV4Gateway"},
        {"BridgeNetConfig", Constants::BridgeNetConfig, "bridge"},
        {"DisableNetConfig", Constants::DisableNetConfig, "disable"},
        {"PelloraNetConfig", Constants::PelloraNetConfig, "pellora"},
        {"SkipNetConfig", Constants::SkipNetConfig, "skip"},
        {"NoDotsMangling", Constants::NoDotsMangling, "NoDots"},
        {"NoneValue", Constants::NoneValue, "None"},
    };
    return rows;
}

TEST(Constants, HaveTheirValues)
{
    for (const auto &row : table())
        EXPECT_EQ(row.constant, row.value) << row.name;
}

// All but BadUid, which is known at compile time.
std::set<std::string> exportedNames()
{
    const std::string scope = "Tovrin::Parser::Constants::";
    std::set<std::string> names;
    std::ifstream symbols(TOVRIN_EXPORTED_SYMBOLS);
    for (std::string symbol; std::getline(symbols, symbol);) {
        if (symbol.starts_with(scope))
            names.insert(symbol.substr(scope.size()));
    }
    return names;
}

TEST(Constants, AreAllInTheTable)
{
    std::set<std::string> names;
    for (const auto &row : table())
        names.insert(row.name);
    EXPECT_EQ(names.size(), table().size()) << "one stands there twice";
    EXPECT_EQ(names, exportedNames());
}

TEST(Constants, CannotBeChanged)
{
    static_assert(std::is_same_v<decltype(Constants::DefaultInstance), const std::string>);
    static_assert(std::is_same_v<decltype(Constants::BadUid), const std::uint32_t>);
    static_assert(Constants::BadUid == 4294967295u, "a constant of compile time");
}

TEST(Constants, DifferFromTheirNamesInSomePlaces)
{
    EXPECT_EQ(Constants::KeyboardEnabledKey, "OnScreenKeyboardEnabled");
    EXPECT_EQ(Constants::LogcatDumperKey, "UseLogcatDumper");
    EXPECT_EQ(Constants::LanguageFileKey, "LanguageFilePath");
}

TEST(Constants, ShareTheBadUserIdWithTheParserAndTheLookUps)
{
    EXPECT_EQ(Constants::BadUid, 4294967295u);
    EXPECT_EQ(ConfigParser::BadUid, 4294967295u);
    EXPECT_EQ(Helpers::getUserId("tovrin-no-such-user"), Constants::BadUid);
}

// Runs before main(), as the initialisers of a client's own globals do.
const std::string copiedDuringLoad = Constants::DefaultConfigDirectory;
const std::uint32_t badUidDuringLoad = ConfigParser::BadUid;

TEST(Constants, AreReadyWhenAProgramInitialisesItsGlobals)
{
    EXPECT_EQ(copiedDuringLoad, "/etc/tovrin.conf.d");
    EXPECT_EQ(badUidDuringLoad, 4294967295u);
}

} // namespace
