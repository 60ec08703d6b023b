// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/export.h>

#include <cstdint>
#include <string>

// The names that the container's configuration uses, shared by all who read it. Which group a key belongs to is up to
// the programs that register it. The strings are made when the library is loaded.
namespace Tovrin::Parser::Constants {

// The user id that stands for no user; what look-ups of users return when they fail.
inline constexpr std::uint32_t BadUid = 4294967295u;

// Defaults.
TOVRIN_EXPORT extern const std::string DefaultConfigDirectory;
TOVRIN_EXPORT extern const std::string DefaultInstance;

// Groups.
TOVRIN_EXPORT extern const std::string AudioGroup;
TOVRIN_EXPORT extern const std::string ConfigGroup;
TOVRIN_EXPORT extern const std::string DevicesGroup;
TOVRIN_EXPORT extern const std::string FeaturesGroup;
TOVRIN_EXPORT extern const std::string GeneratedConfigGroup;
TOVRIN_EXPORT extern const std::string NetworkGroup;

// Keys. A comment gives the key as the files write it, where that is not the name without "Key".
TOVRIN_EXPORT extern const std::string AllowGrantingPrivilegesKey;
TOVRIN_EXPORT extern const std::string AppIdManglingTypeKey;
TOVRIN_EXPORT extern const std::string AppIdPrefixKey;
TOVRIN_EXPORT extern const std::string AppLaunchModeKey;
TOVRIN_EXPORT extern const std::string ApparmorProfileKey;
TOVRIN_EXPORT extern const std::string ArchKey;
TOVRIN_EXPORT extern const std::string BaseUidKey;
TOVRIN_EXPORT extern const std::string BatteryCapacityKey;
TOVRIN_EXPORT extern const std::string BinderDevKey;
TOVRIN_EXPORT extern const std::string BufferSizeInDefaultKey;
TOVRIN_EXPORT extern const std::string BufferSizeOutDeepBufferKey;
TOVRIN_EXPORT extern const std::string BufferSizeOutDefaultKey;
TOVRIN_EXPORT extern const std::string BufferSizeOutFastKey;
TOVRIN_EXPORT extern const std::string BufferSizeOutVoipKey;
TOVRIN_EXPORT extern const std::string CameraEnabledKey;
TOVRIN_EXPORT extern const std::string CodecXmlSuffixKey;
TOVRIN_EXPORT extern const std::string CrashLoggerEnabledKey;
TOVRIN_EXPORT extern const std::string CrashLoggerLogLevelKey;
TOVRIN_EXPORT extern const std::string CustomPropertiesKey;
TOVRIN_EXPORT extern const std::string DataRootKey;
TOVRIN_EXPORT extern const std::string DefaultLxcKey;
TOVRIN_EXPORT extern const std::string DefaultRoKey;
TOVRIN_EXPORT extern const std::string DevNodesKey;
TOVRIN_EXPORT extern const std::string DevSizeKey;
TOVRIN_EXPORT extern const std::string Dex2oatMaxHeapSize; // a key, though its name does not end in "Key"
TOVRIN_EXPORT extern const std::string DialogsAsOverlaysKey;
TOVRIN_EXPORT extern const std::string ExternalStorageEnabledKey;
TOVRIN_EXPORT extern const std::string FakeBatteryKey;
TOVRIN_EXPORT extern const std::string HomeKey;
TOVRIN_EXPORT extern const std::string HostStorageMappingKey;
TOVRIN_EXPORT extern const std::string HostnameKey;
TOVRIN_EXPORT extern const std::string HwBinderDevKey;
TOVRIN_EXPORT extern const std::string InstanceKey;
TOVRIN_EXPORT extern const std::string KeepNamespacesKey;
TOVRIN_EXPORT extern const std::string KeyboardEnabledKey; // "OnScreenKeyboardEnabled"
TOVRIN_EXPORT extern const std::string KeyboardInAppWindowKey;
TOVRIN_EXPORT extern const std::string LanguageFileKey; // "LanguageFilePath"
TOVRIN_EXPORT extern const std::string LanguageOverrideKey;
TOVRIN_EXPORT extern const std::string LogcatDumperKey; // "UseLogcatDumper"
TOVRIN_EXPORT extern const std::string MobileDataEnabledKey;
TOVRIN_EXPORT extern const std::string MountHomeKey;
TOVRIN_EXPORT extern const std::string MountsKey;
TOVRIN_EXPORT extern const std::string MultisimConfigKey;
TOVRIN_EXPORT extern const std::string MultisimKey;
TOVRIN_EXPORT extern const std::string MultisimRadioConfigKey;
TOVRIN_EXPORT extern const std::string OpenGLESVersionKey;
TOVRIN_EXPORT extern const std::string PackageReplacementAllowedKey;
TOVRIN_EXPORT extern const std::string PerAppStreamsKey;
TOVRIN_EXPORT extern const std::string PrivilegedHostUserKey;
TOVRIN_EXPORT extern const std::string PropertyFilePathKey;
TOVRIN_EXPORT extern const std::string PropertyPostKey;
TOVRIN_EXPORT extern const std::string PropertyPreKey;
TOVRIN_EXPORT extern const std::string RequiredDevNodesKey;
TOVRIN_EXPORT extern const std::string RunVendorC2ServiceKey;
TOVRIN_EXPORT extern const std::string SDCardFSForcedKey;
TOVRIN_EXPORT extern const std::string SoundtriggerEnabledKey;
TOVRIN_EXPORT extern const std::string StoragePathKey;
TOVRIN_EXPORT extern const std::string SysMountRwKey;
TOVRIN_EXPORT extern const std::string TextInputProtocolEnabledKey;
TOVRIN_EXPORT extern const std::string TovrinPathKey;
TOVRIN_EXPORT extern const std::string UsbHostProxyKey;
TOVRIN_EXPORT extern const std::string UseIdsKey;
TOVRIN_EXPORT extern const std::string UserIdKey;
TOVRIN_EXPORT extern const std::string UserKey;
TOVRIN_EXPORT extern const std::string VndBinderDevKey;
TOVRIN_EXPORT extern const std::string WaylandSocketPathKey;

// Keys of the network; the comments as above.
TOVRIN_EXPORT extern const std::string NetConfigKey;
TOVRIN_EXPORT extern const std::string LinkNameKey;
TOVRIN_EXPORT extern const std::string IPV4AddressConfigKey; // "IPV4Address"
TOVRIN_EXPORT extern const std::string IPV4GatewayConfigKey; // "IPV4Gateway"

// Values of NetConfigKey, in lower case.
TOVRIN_EXPORT extern const std::string BridgeNetConfig;
TOVRIN_EXPORT extern const std::string DisableNetConfig;
TOVRIN_EXPORT extern const std::string PelloraNetConfig;
TOVRIN_EXPORT extern const std::string SkipNetConfig;

// Other values.
TOVRIN_EXPORT extern const std::string NoDotsMangling;
TOVRIN_EXPORT extern const std::string NoneValue;

} // namespace Tovrin::Parser::Constants
