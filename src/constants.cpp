// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/constants.h>

namespace Tovrin::Parser::Constants {

const std::string DefaultConfigDirectory = "/etc/tovrin.conf.d";
const std::string DefaultInstance = "default";

const std::string AudioGroup = "Audio";
const std::string ConfigGroup = "Config";
const std::string DevicesGroup = "Devices";
const std::string FeaturesGroup = "Features";
const std::string GeneratedConfigGroup = "GeneratedConfig";
const std::string NetworkGroup = "Network";

const std::string AllowGrantingPrivilegesKey = "AllowGrantingPrivileges";
const std::string AppIdManglingTypeKey = "AppIdManglingType";
const std::string AppIdPrefixKey = "AppIdPrefix";
const std::string AppLaunchModeKey = "AppLaunchMode";
const std::string ApparmorProfileKey = "ApparmorProfile";
const std::string ArchKey = "Arch";
const std::string BaseUidKey = "BaseUid";
const std::string BatteryCapacityKey = "BatteryCapacity";
const std::string BinderDevKey = "BinderDev";
const std::string BufferSizeInDefaultKey = "BufferSizeInDefault";
const std::string BufferSizeOutDeepBufferKey = "BufferSizeOutDeepBuffer";
const std::string BufferSizeOutDefaultKey = "BufferSizeOutDefault";
const std::string BufferSizeOutFastKey = "BufferSizeOutFast";
const std::string BufferSizeOutVoipKey = "BufferSizeOutVoip";
const std::string CameraEnabledKey = "CameraEnabled";
const std::string CodecXmlSuffixKey = "CodecXmlSuffix";
const std::string CrashLoggerEnabledKey = "CrashLoggerEnabled";
const std::string CrashLoggerLogLevelKey = "CrashLoggerLogLevel";
const std::string CustomPropertiesKey = "CustomProperties";
const std::string DataRootKey = "DataRoot";
const std::string DefaultLxcKey = "DefaultLxc";
const std::string DefaultRoKey = "DefaultRo";
const std::string DevNodesKey = "DevNodes";
const std::string DevSizeKey = "DevSize";
const std::string Dex2oatMaxHeapSize = "Dex2oatMaxHeapSize";
const std::string DialogsAsOverlaysKey = "DialogsAsOverlays";
const std::string ExternalStorageEnabledKey = "ExternalStorageEnabled";
const std::string FakeBatteryKey = "FakeBattery";
const std::string HomeKey = "Home";
const std::string HostStorageMappingKey = "HostStorageMapping";
const std::string HostnameKey = "Hostname";
const std::string HwBinderDevKey = "HwBinderDev";
const std::string InstanceKey = "Instance";
const std::string KeepNamespacesKey = "KeepNamespaces";
const std::string KeyboardEnabledKey = "OnScreenKeyboardEnabled";
const std::string KeyboardInAppWindowKey = "KeyboardInAppWindow";
const std::string LanguageFileKey = "LanguageFilePath";
const std::string LanguageOverrideKey = "LanguageOverride";
const std::string LogcatDumperKey = "UseLogcatDumper";
const std::string MobileDataEnabledKey = "MobileDataEnabled";
const std::string MountHomeKey = "MountHome";
const std::string MountsKey = "Mounts";
const std::string MultisimConfigKey = "MultisimConfig";
const std::string MultisimKey = "Multisim";
const std::string MultisimRadioConfigKey = "MultisimRadioConfig";
const std::string OpenGLESVersionKey = "OpenGLESVersion";
const std::string PackageReplacementAllowedKey = "PackageReplacementAllowed";
const std::string PerAppStreamsKey = "PerAppStreams";
const std::string PrivilegedHostUserKey = "PrivilegedHostUser";
const std::string PropertyFilePathKey = "PropertyFilePath";
const std::string PropertyPostKey = "PropertyPost";
const std::string PropertyPreKey = "PropertyPre";
const std::string RequiredDevNodesKey = "RequiredDevNodes";
const std::string RunVendorC2ServiceKey = "RunVendorC2Service";
const std::string SDCardFSForcedKey = "SDCardFSForced";
const std::string SoundtriggerEnabledKey = "SoundtriggerEnabled";
const std::string StoragePathKey = "StoragePath";
const std::string SysMountRwKey = "SysMountRw";
const std::string TextInputProtocolEnabledKey = "TextInputProtocolEnabled";
const std::string TovrinPathKey = "TovrinPath";
const std::string UsbHostProxyKey = "UsbHostProxy";
const std::string UseIdsKey = "UseIds";
const std::string UserIdKey = "UserId";
const std::string UserKey = "User";
const std::string VndBinderDevKey = "VndBinderDev";
const std::string WaylandSocketPathKey = "WaylandSocketPath";

const std::string NetConfigKey = "NetConfig";
const std::string LinkNameKey = "LinkName";
const std::string IPV4AddressConfigKey = "IPV4Address";
const std::string IPV4GatewayConfigKey = "IPV4Gateway";
const std::string BridgeNetConfig = "bridge";
const std::string DisableNetConfig = "disable";
const std::string PelloraNetConfig = "pellora";
const std::string SkipNetConfig = "skip";

const std::string NoDotsMangling = "NoDots";
const std::string NoneValue = "None";

} // namespace Tovrin::Parser::Constants
