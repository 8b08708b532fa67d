#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "CommandParser.h"
#include "ConfigTree.h"
#include "PlatformData.h"

template <typename Entry>
Entry *zeroed() {
    return static_cast<Entry *>(std::calloc(1, sizeof(Entry)));
}

// Each add operation appends a zeroed entry at the tail of its own list; the
// record owns everything it links and freePlatformData releases it (ASan
// checks), the adapters' further blocks and profiles included.
TEST(PlatformData, AddAndFree) {
    LogCapture log(1);
    Platform record(newPlatformData());
    static const PlatformData zero{};
    EXPECT_EQ(std::memcmp(record.get(), &zero, sizeof zero), 0);
    NetworkInterfaceStruct *first = addNetworkInterface(record.get());
    NetworkInterfaceStruct *second = addNetworkInterface(record.get());
    EXPECT_EQ(record->networkInterfaces, first);
    EXPECT_EQ(first->next, second);
    for (const char *server : {"a", "b", "c"}) std::strcpy(addDnsServer(first)->value, server);
    std::strcpy(addWinsServer(first)->value, "w");
    std::strcpy(addDnsSuffix(first)->suffix, "s");
    EXPECT_EQ(listTexts(first->dnsServers, &IpValueStruct::value), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(listTexts(first->winsServers, &IpValueStruct::value), std::vector<std::string>{"w"});
    EXPECT_EQ(listTexts(first->dnsSuffixes, &DnsSuffixStruct::suffix), std::vector<std::string>{"s"});
    EXPECT_EQ(addAssetTag(record.get()), record->assetTags);
    EXPECT_EQ(addCustomData(record.get()), record->customData);
    EXPECT_EQ(record->assetTags->next, nullptr);
    for (int i = 0; i < 2; ++i) {
        addApplication(record.get());
        addStorage(record.get());
        addPort(record.get());
        addWriteableMedia(record.get());
    }
    EXPECT_NE(record->applications->next, nullptr);
    EXPECT_NE(record->writeableMedia->next, nullptr);
    first->agentOwnedBlock = std::malloc(32);
    first->wirelessProfiles = zeroed<WirelessSettingsStruct>();
    first->wirelessProfiles->wepKeys = zeroed<WepKeyStruct>();
    EXPECT_EQ(log.text(), "");

    EXPECT_EQ(freePlatformData(nullptr), -1);
    EXPECT_EQ(addNetworkInterface(nullptr), nullptr);
    EXPECT_EQ(addDnsServer(nullptr), nullptr);
    auto *assignment = zeroed<AddressAssignmentStatic>();
    assignment->gateways = zeroed<IpValueStruct>();
    assignment->gateways->next = zeroed<IpValueStruct>();
    freeAddressAssignmentStatic(assignment);
    freeAddressAssignmentStatic(nullptr);
    auto *pairs = zeroed<PairStruct>();
    pairs->next = zeroed<PairStruct>();
    freePairStruct(pairs);
}
