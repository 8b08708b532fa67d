#include <gtest/gtest.h>

#include "ConfigCommands.h"

namespace {

constexpr bool ascending(std::initializer_list<std::size_t> offsets) {
    for (const std::size_t *at = offsets.begin(); at + 1 < offsets.end(); ++at)
        if (at[0] >= at[1]) return false;
    return true;
}

// The fields in their order, and the space reserved for the agent.
#define P(field) offsetof(PlatformData, field)
#define N(field) offsetof(NetworkInterfaceStruct, field)
static_assert(ascending({P(agentReserved1), P(hostNameType), P(hostName), P(agentReserved2), P(locale),
                         P(agentReserved3), P(networkInterfaces), P(applications), P(storages), P(ports),
                         P(customData), P(assetTags), P(writeableMedia)}));
static_assert(N(addressAssignment) == 1024 && N(dnsDynamic) == N(gateway) + 1024 + 2052);
static_assert(ascending({N(dnsDynamic), N(winsDynamic), N(agentReserved2), N(wolEnabled), N(speed),
                         N(agentReserved3), N(duplex), N(agentReserved4), N(dnsServers), N(dnsSuffixes),
                         N(winsServers), N(agentOwnedBlock), N(wirelessProfiles), N(next)}));
static_assert(offsetof(WirelessSettingsStruct, authentication) == 1024 && offsetof(PairStruct, value) == 1024 &&
              offsetof(PairStruct, next) == 2048);
static_assert(sizeof(ApplicationStruct) == 7168 + sizeof(void *) && sizeof(StorageStruct) == 3096 + sizeof(void *) &&
              sizeof(PortStruct) == 3080 + sizeof(void *) && sizeof(WriteableMediaStruct) == 1040 + sizeof(void *));
#undef P
#undef N

}  // namespace

// Each add appends a zeroed entry to its own list; freePlatformData releases all the record links.
TEST(PlatformData, AddAndFree) {
    LogCapture log(1);
    Platform record(newPlatformData());
    NetworkInterfaceStruct *first = addNetworkInterface(record.get());
    EXPECT_EQ(addNetworkInterface(record.get()), first->next);
    for (const char *server : {"a", "b", "c"}) std::strcpy(addDnsServer(first)->value, server);
    std::strcpy(addWinsServer(first)->value, "w");
    std::strcpy(addDnsSuffix(first)->suffix, "s");
    std::strcpy(addAssetTag(record.get())->key, "t");
    first->agentOwnedBlock = std::malloc(32);
    EXPECT_EQ(describe(record.get()), "host 0 '' locale '' tags 't' values ''\n"
                                      "adapter '' wol 0 address 0 '' '' '' link 0 0\n dns 0 's' servers 'a' 'b' 'c' "
                                      "wins 0 'w'\n"
                                      "adapter '' wol 0 address 0 '' '' '' link 0 0\n dns 0 servers wins 0\n");
    EXPECT_EQ(addCustomData(record.get()), record->customData);
    EXPECT_EQ(addCustomData(record.get()), record->customData->next);
    for (int i = 0; i < 2; ++i) addApplication(record.get()), addStorage(record.get()), addPort(record.get());
    EXPECT_NE(addWriteableMedia(record.get()), addWriteableMedia(record.get()));
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(freePlatformData(nullptr), -1);
}
