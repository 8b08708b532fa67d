// The device configuration record: constructor, add and free operations.
#include "PlatformData.h"

#include <cstdlib>

#include "internal/PlatformLists.h"
#include "internal/Report.h"

namespace {

constexpr char kSourceFile[] = "PlatformData";

// One new zeroed entry at the tail of one of owner's lists; NULL for a NULL
// owner, or when memory is exhausted, reported as functionName with the
// message exhausted when there is one.
template <typename Owner, typename Entry>
Entry *addEntry(Owner *owner, Entry *Owner::*list, const char *functionName = nullptr,
                const char *exhausted = nullptr) noexcept {
    if (owner == nullptr) return nullptr;
    Entry *entry = zov::appendZeroedEntry(&(owner->*list));
    if (entry == nullptr && exhausted != nullptr) ZOV_REPORT_AS(functionName, 1, "%s", exhausted);
    return entry;
}

// addDnsServer and addWinsServer: one new address at the tail of a list.
IpValueStruct *appendIpValue(NetworkInterfaceStruct *owner,
                             IpValueStruct *NetworkInterfaceStruct::*list) noexcept {
    return addEntry(owner, list);
}

void freeDnsSuffixList(DnsSuffixStruct *head) noexcept { zov::releaseList(head); }

}  // namespace

extern "C" {

ZOV_API PlatformData *newPlatformData(void) { return zov::newZeroedEntry<PlatformData>(); }

ZOV_API NetworkInterfaceStruct *addNetworkInterface(PlatformData *platformData) {
    return addEntry(platformData, &PlatformData::networkInterfaces, __func__,
                    "Error while memory allocation");
}

ZOV_API ApplicationStruct *addApplication(PlatformData *platformData) {
    return addEntry(platformData, &PlatformData::applications, __func__,
                    "Failed to allocate memory for new application structure");
}

ZOV_API StorageStruct *addStorage(PlatformData *platformData) {
    return addEntry(platformData, &PlatformData::storages);
}

ZOV_API PortStruct *addPort(PlatformData *platformData) {
    return addEntry(platformData, &PlatformData::ports, __func__, "Error while memoy allocation");
}

ZOV_API PairStruct *addCustomData(PlatformData *platformData) {
    return addEntry(platformData, &PlatformData::customData);
}

ZOV_API WriteableMediaStruct *addWriteableMedia(PlatformData *platformData) {
    return addEntry(platformData, &PlatformData::writeableMedia);
}

ZOV_API PairStruct *addAssetTag(PlatformData *platformData) {
    return addEntry(platformData, &PlatformData::assetTags);
}

ZOV_API IpValueStruct *addDnsServer(NetworkInterfaceStruct *networkInterface) {
    return appendIpValue(networkInterface, &NetworkInterfaceStruct::dnsServers);
}

ZOV_API IpValueStruct *addWinsServer(NetworkInterfaceStruct *networkInterface) {
    return appendIpValue(networkInterface, &NetworkInterfaceStruct::winsServers);
}

ZOV_API DnsSuffixStruct *addDnsSuffix(NetworkInterfaceStruct *networkInterface) {
    return addEntry(networkInterface, &NetworkInterfaceStruct::dnsSuffixes);
}

ZOV_API int freePlatformData(PlatformData *platformData) {
    if (platformData == nullptr) return -1;
    zov::releaseList(platformData->networkInterfaces, freeNetworkInterfaceStruct);
    zov::releaseList(platformData->applications);
    zov::releaseList(platformData->storages);
    zov::releaseList(platformData->ports);
    zov::releaseList(platformData->customData);
    zov::releaseList(platformData->writeableMedia);
    zov::releaseList(platformData->assetTags);
    return 0;
}

ZOV_API void freeNetworkInterfaceStruct(NetworkInterfaceStruct *networkInterface) {
    if (networkInterface == nullptr) return;
    std::free(networkInterface->agentOwnedBlock);
    zov::releaseList(networkInterface->wirelessProfiles, freeWirelessSettingsStruct);
    freeIpValueStruct(networkInterface->dnsServers);
    freeIpValueStruct(networkInterface->winsServers);
    freeDnsSuffixList(networkInterface->dnsSuffixes);
    std::free(networkInterface);
}

ZOV_API void freeWirelessSettingsStruct(WirelessSettingsStruct *profile) {
    if (profile == nullptr) return;
    zov::releaseList(profile->wepKeys);
    std::free(profile);
}

ZOV_API void freeIpValueStruct(IpValueStruct *list) { zov::releaseList(list); }

}  // extern "C"
