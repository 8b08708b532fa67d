#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "CommandParser.h"
#include "ConfigTree.h"
#include "LogCapture.h"
#include "PlatformData.h"

TEST(PlatformData, NewRecordIsZeroed) {
    Platform record(newPlatformData());
    ASSERT_NE(record, nullptr);
    static const PlatformData zero{};
    EXPECT_EQ(std::memcmp(record.get(), &zero, sizeof zero), 0);
    // The agent's reserved space keeps the records at their agreed sizes.
    EXPECT_EQ(sizeof(ApplicationStruct::agentContent), 7168u);
    EXPECT_EQ(sizeof(StorageStruct::agentContent), 3096u);
    EXPECT_EQ(sizeof(PortStruct::agentContent), 3080u);
    EXPECT_EQ(sizeof(WriteableMediaStruct::agentContent), 1040u);
    EXPECT_EQ(sizeof(NetworkInterfaceStruct::agentReserved1), 2052u);
}

// Each add operation appends a zeroed entry at the tail of its own list; the
// record owns everything and freePlatformData releases it (ASan checks).
TEST(PlatformData, AddsAppendToTheirOwnListsInCallOrder) {
    LogCapture log(1);
    Platform record(newPlatformData());
    NetworkInterfaceStruct *first = addNetworkInterface(record.get());
    NetworkInterfaceStruct *second = addNetworkInterface(record.get());
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(record->networkInterfaces, first);
    EXPECT_EQ(first->next, second);

    for (const char *server : {"a", "b", "c"}) std::strcpy(addDnsServer(first)->value, server);
    std::strcpy(addWinsServer(first)->value, "w");
    std::strcpy(addDnsSuffix(first)->suffix, "s");
    EXPECT_EQ(listTexts(first->dnsServers, &IpValueStruct::value),
              (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(listTexts(first->winsServers, &IpValueStruct::value), std::vector<std::string>{"w"});
    EXPECT_EQ(listTexts(first->dnsSuffixes, &DnsSuffixStruct::suffix), std::vector<std::string>{"s"});

    PairStruct *tag = addAssetTag(record.get());
    PairStruct *custom = addCustomData(record.get());
    ASSERT_NE(tag, custom);
    EXPECT_EQ(record->assetTags, tag);
    EXPECT_EQ(record->customData, custom);
    EXPECT_EQ(tag->next, nullptr);

    EXPECT_NE(addApplication(record.get()), nullptr);
    EXPECT_NE(addStorage(record.get()), nullptr);
    EXPECT_NE(addPort(record.get()), nullptr);
    EXPECT_NE(addWriteableMedia(record.get()), nullptr);
    ApplicationStruct *application = addApplication(record.get());
    EXPECT_EQ(record->applications->next, application);

    // The adapter's further block and wireless profiles go with it.
    first->agentOwnedBlock = std::malloc(32);
    auto *profile = static_cast<WirelessSettingsStruct *>(std::calloc(1, sizeof(WirelessSettingsStruct)));
    profile->wepKeys = static_cast<WepKeyStruct *>(std::calloc(1, sizeof(WepKeyStruct)));
    first->wirelessProfiles = profile;
    EXPECT_EQ(log.text(), "");
}

TEST(PlatformData, FreeFunctionsAcceptWhatTheyPromise) {
    EXPECT_EQ(freePlatformData(nullptr), -1);
    PlatformData *empty = newPlatformData();
    EXPECT_EQ(freePlatformData(empty), 0);
    std::free(empty);
    freeIpValueStruct(nullptr);
    freePairStruct(nullptr);
    freeAddressAssignmentStatic(nullptr);
    freeNetworkInterfaceStruct(nullptr);
    freeWirelessSettingsStruct(nullptr);
    EXPECT_EQ(addNetworkInterface(nullptr), nullptr);
    EXPECT_EQ(addDnsServer(nullptr), nullptr);

    auto *assignment =
        static_cast<AddressAssignmentStatic *>(std::calloc(1, sizeof(AddressAssignmentStatic)));
    for (IpValueStruct **list : {&assignment->ipAddresses, &assignment->gateways}) {
        *list = static_cast<IpValueStruct *>(std::calloc(1, sizeof(IpValueStruct)));
        (*list)->next = static_cast<IpValueStruct *>(std::calloc(1, sizeof(IpValueStruct)));
    }
    freeAddressAssignmentStatic(assignment);

    PairStruct *pairs = nullptr;
    for (int i = 0; i < 3; ++i) {
        auto *pair = static_cast<PairStruct *>(std::calloc(1, sizeof(PairStruct)));
        pair->next = pairs;
        pairs = pair;
    }
    freePairStruct(pairs);
}
