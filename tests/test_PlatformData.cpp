#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "CommandParser.h"
#include "ConfigTree.h"
#include "PlatformData.h"

namespace {

constexpr bool ascending(std::initializer_list<std::size_t> offsets) {
    std::size_t last = 0;
    for (std::size_t offset : offsets) {
        if (offset < last) return false;
        last = offset;
    }
    return true;
}

#define AT(Record, field) offsetof(Record, field)
// The fields in their order, and the space reserved for the agent.
static_assert(ascending({AT(PlatformData, agentReserved1), AT(PlatformData, hostNameType), AT(PlatformData, hostName),
                         AT(PlatformData, agentReserved2), AT(PlatformData, locale), AT(PlatformData, agentReserved3),
                         AT(PlatformData, networkInterfaces), AT(PlatformData, applications),
                         AT(PlatformData, storages), AT(PlatformData, ports), AT(PlatformData, customData),
                         AT(PlatformData, assetTags), AT(PlatformData, writeableMedia)}));
static_assert(AT(NetworkInterfaceStruct, addressAssignment) == 1024 &&
              AT(NetworkInterfaceStruct, dnsDynamic) == AT(NetworkInterfaceStruct, gateway) + 1024 + 2052);
static_assert(ascending({AT(NetworkInterfaceStruct, dnsDynamic), AT(NetworkInterfaceStruct, winsDynamic),
                         AT(NetworkInterfaceStruct, agentReserved2), AT(NetworkInterfaceStruct, wolEnabled),
                         AT(NetworkInterfaceStruct, speed), AT(NetworkInterfaceStruct, agentReserved3),
                         AT(NetworkInterfaceStruct, duplex), AT(NetworkInterfaceStruct, agentReserved4),
                         AT(NetworkInterfaceStruct, dnsServers), AT(NetworkInterfaceStruct, dnsSuffixes),
                         AT(NetworkInterfaceStruct, winsServers), AT(NetworkInterfaceStruct, agentOwnedBlock),
                         AT(NetworkInterfaceStruct, wirelessProfiles), AT(NetworkInterfaceStruct, next)}));
static_assert(AT(WirelessSettingsStruct, authentication) == 1024 && AT(PairStruct, value) == 1024 &&
              AT(PairStruct, next) == 2048);
static_assert(sizeof(ApplicationStruct) == 7168 + sizeof(void *) && sizeof(StorageStruct) == 3096 + sizeof(void *) &&
              sizeof(PortStruct) == 3080 + sizeof(void *) && sizeof(WriteableMediaStruct) == 1040 + sizeof(void *));
#undef AT

template <typename Entry>
Entry *zeroed() {
    return static_cast<Entry *>(std::calloc(1, sizeof(Entry)));
}

}  // namespace

// Each add operation appends a zeroed entry at the tail of its own list; the
// record owns everything it links and freePlatformData releases it (ASan
// checks), the adapters' further blocks and profiles included.
TEST(PlatformData, AddAndFree) {
    LogCapture log(1);
    Platform record(newPlatformData());
    static const PlatformData zero{};
    EXPECT_EQ(std::memcmp(record.get(), &zero, sizeof zero), 0);
    NetworkInterfaceStruct *first = addNetworkInterface(record.get());
    EXPECT_EQ(addNetworkInterface(record.get()), first->next);
    for (const char *server : {"a", "b", "c"}) std::strcpy(addDnsServer(first)->value, server);
    std::strcpy(addWinsServer(first)->value, "w");
    std::strcpy(addDnsSuffix(first)->suffix, "s");
    EXPECT_EQ(listTexts(first->dnsServers, &IpValueStruct::value), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(listTexts(first->winsServers, &IpValueStruct::value), std::vector<std::string>{"w"});
    EXPECT_EQ(addAssetTag(record.get()), record->assetTags);
    EXPECT_EQ(addCustomData(record.get()), record->customData);
    for (int i = 0; i < 2; ++i) {
        addApplication(record.get());
        addStorage(record.get());
        addPort(record.get());
        addWriteableMedia(record.get());
    }
    EXPECT_NE(record->writeableMedia->next, nullptr);
    first->agentOwnedBlock = std::malloc(32);
    first->wirelessProfiles = zeroed<WirelessSettingsStruct>();
    first->wirelessProfiles->wepKeys = zeroed<WepKeyStruct>();
    EXPECT_EQ(log.text(), "");

    EXPECT_EQ(freePlatformData(nullptr), -1);
    auto *assignment = zeroed<AddressAssignmentStatic>();
    assignment->gateways = zeroed<IpValueStruct>();
    assignment->gateways->next = zeroed<IpValueStruct>();
    freeAddressAssignmentStatic(assignment);
    auto *pairs = zeroed<PairStruct>();
    pairs->next = zeroed<PairStruct>();
    freePairStruct(pairs);
}
