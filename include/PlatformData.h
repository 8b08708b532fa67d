/*
 * PlatformData.h - the device configuration record and its lists.
 *
 * parseConfigurationCommand (CommandParser.h) fills a PlatformData from the
 * server's configuration command: host name, locale, the network adapter and
 * the asset tags. The lists of applications, storages, ports, custom data and
 * writeable media are the agent's own; the library only adds and frees their
 * entries.
 *
 * Every record is allocated zeroed and has a fixed size. Every text is a
 * 1024-byte array (ZOV_PLATFORM_TEXT_SIZE) holding at most 1023 characters
 * and a terminating NUL. parseConfigurationCommand copies a longer text of
 * the command cut to its first 1023 characters, with a report (see
 * CommandParser.h); WEP keys, SSIDs, addresses, suffixes and asset tags
 * alike. The add operations leave the texts empty: whoever fills one keeps
 * to that size.
 * Every list is singly linked through `next`, ends in NULL and grows at its
 * tail. The fields named agentReserved... and agentContent are the agent's:
 * the library never reads or writes them (apart from zeroing them on
 * allocation and releasing agentOwnedBlock). Their sizes are fixed where the
 * agent's layout fixes them (2052 bytes after an adapter's gateway, the
 * agentContent arrays); every other agent slot is one pointer wide.
 *
 * Ownership: a PlatformData owns its seven lists, a list its entries, a
 * NetworkInterfaceStruct its four lists and its agentOwnedBlock, a
 * WirelessSettingsStruct its WEP keys. Release a PlatformData in two steps:
 * freePlatformData(record), then free(record).
 */
#ifndef ZOVCOMMON_PLATFORMDATA_H
#define ZOVCOMMON_PLATFORMDATA_H

#include <stdint.h>

#include "ZovApi.h"
#include "EnumConversions.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Size of every text field: at most 1023 characters and the terminator. */
#define ZOV_PLATFORM_TEXT_SIZE 1024

/* One address (a DNS or WINS server, or an entry of AddressAssignmentStatic). */
typedef struct IpValueStruct {
    char value[ZOV_PLATFORM_TEXT_SIZE];
    struct IpValueStruct *next;
} IpValueStruct;

/* One DNS search suffix. */
typedef struct DnsSuffixStruct {
    char suffix[ZOV_PLATFORM_TEXT_SIZE];
    struct DnsSuffixStruct *next;
} DnsSuffixStruct;

/* One WEP key; its position in the list is its order in the command. */
typedef struct WepKeyStruct {
    char key[ZOV_PLATFORM_TEXT_SIZE]; /* any text of at most 1023 characters; longer keys are cut */
    struct WepKeyStruct *next;
} WepKeyStruct;

/* One key/value pair: an asset tag or a custom data entry. */
typedef struct PairStruct {
    char key[ZOV_PLATFORM_TEXT_SIZE];
    char value[ZOV_PLATFORM_TEXT_SIZE];
    struct PairStruct *next;
} PairStruct;

/* One wireless profile. */
typedef struct WirelessSettingsStruct {
    char ssid[ZOV_PLATFORM_TEXT_SIZE];
    wirelessEnetAuthenticationType authentication;
    wirelessEnetEncryptionType encryption;
    WepKeyStruct *wepKeys; /* owned */
    struct WirelessSettingsStruct *next;
} WirelessSettingsStruct;

/* One network adapter. */
typedef struct NetworkInterfaceStruct {
    char macAddress[ZOV_PLATFORM_TEXT_SIZE];    /* as the server sends it */
    addressAssignmentType addressAssignment;
    char ipAddress[ZOV_PLATFORM_TEXT_SIZE];     /* static addressing only */
    char subnetMask[ZOV_PLATFORM_TEXT_SIZE];    /* static addressing only */
    char gateway[ZOV_PLATFORM_TEXT_SIZE];       /* static addressing only, may be empty */
    unsigned char agentReserved1[2052];         /* the agent's */
    int32_t dnsDynamic;                         /* 1 dynamic DNS, 0 static */
    int32_t winsDynamic;                        /* 1 dynamic WINS, 0 static */
    void *agentReserved2;                       /* the agent's */
    int32_t wolEnabled;                         /* 1 wake-on-LAN on, 0 off */
    speedType speed;                            /* wired adapters */
    void *agentReserved3;                       /* the agent's */
    duplexType duplex;                          /* wired adapters */
    void *agentReserved4;                       /* the agent's */
    IpValueStruct *dnsServers;                  /* owned, in the server's order */
    DnsSuffixStruct *dnsSuffixes;               /* owned, in the server's order */
    IpValueStruct *winsServers;                 /* owned, in the server's order */
    void *agentOwnedBlock;                      /* the agent's; released with free() */
    WirelessSettingsStruct *wirelessProfiles;   /* owned, in the server's order */
    struct NetworkInterfaceStruct *next;
} NetworkInterfaceStruct;

/* Static addressing as three lists; the library only frees this record. */
typedef struct AddressAssignmentStatic {
    IpValueStruct *ipAddresses;
    IpValueStruct *subnetMasks;
    IpValueStruct *gateways;
} AddressAssignmentStatic;

/* The agent's records: the library allocates them zeroed, links and frees
 * them, and never looks at their content. */
typedef struct ApplicationStruct {
    unsigned char agentContent[7168];
    struct ApplicationStruct *next;
} ApplicationStruct;

typedef struct StorageStruct {
    unsigned char agentContent[3096];
    struct StorageStruct *next;
} StorageStruct;

typedef struct PortStruct {
    unsigned char agentContent[3080];
    struct PortStruct *next;
} PortStruct;

typedef struct WriteableMediaStruct {
    unsigned char agentContent[1040];
    struct WriteableMediaStruct *next;
} WriteableMediaStruct;

/* The device configuration. */
typedef struct PlatformData {
    void *agentReserved1;                     /* the agent's */
    hostNameAssignmentType hostNameType;      /* 0 when no host name was configured */
    char hostName[ZOV_PLATFORM_TEXT_SIZE];    /* set with hostNameType "static" */
    void *agentReserved2;                     /* the agent's */
    char locale[ZOV_PLATFORM_TEXT_SIZE];
    void *agentReserved3;                     /* the agent's */
    NetworkInterfaceStruct *networkInterfaces;
    ApplicationStruct *applications;          /* the agent's */
    StorageStruct *storages;                  /* the agent's */
    PortStruct *ports;                        /* the agent's */
    PairStruct *customData;                   /* the agent's */
    PairStruct *assetTags;                    /* from the configuration command */
    WriteableMediaStruct *writeableMedia;     /* the agent's */
} PlatformData;

/* A new, entirely zeroed record; NULL when memory is exhausted (no report).
 * Release it with freePlatformData and then free. */
ZOV_API PlatformData *newPlatformData(void);

/*
 * The add operations append one new, zeroed entry at the tail of one list
 * (walking the list from its head) and return it; the list owns it. A NULL
 * argument gives NULL. When memory is exhausted they return NULL
 * and leave the list unchanged; addNetworkInterface then reports "Error while
 * memory allocation", addApplication "Failed to allocate memory for new
 * application structure" and addPort "Error while memoy allocation" (level 1,
 * source file "PlatformData"); the others are silent.
 */
ZOV_API NetworkInterfaceStruct *addNetworkInterface(PlatformData *platformData);
ZOV_API ApplicationStruct *addApplication(PlatformData *platformData);
ZOV_API StorageStruct *addStorage(PlatformData *platformData);
ZOV_API PortStruct *addPort(PlatformData *platformData);
ZOV_API PairStruct *addCustomData(PlatformData *platformData);
ZOV_API WriteableMediaStruct *addWriteableMedia(PlatformData *platformData);
ZOV_API PairStruct *addAssetTag(PlatformData *platformData);
ZOV_API IpValueStruct *addDnsServer(NetworkInterfaceStruct *networkInterface);
ZOV_API IpValueStruct *addWinsServer(NetworkInterfaceStruct *networkInterface);
ZOV_API DnsSuffixStruct *addDnsSuffix(NetworkInterfaceStruct *networkInterface);

/* Releases the seven lists (network interfaces, applications, storages,
 * ports, custom data, writeable media, asset tags) and returns 0; -1 for NULL.
 * The record itself stays, with its old list heads: free() it next, never
 * pass it here a second time. */
ZOV_API int freePlatformData(PlatformData *platformData);

/* Releases one adapter: its agentOwnedBlock, wireless profiles, DNS servers,
 * WINS servers and DNS suffixes, then the record. The adapters after it stay.
 * NULL is a no-op. */
ZOV_API void freeNetworkInterfaceStruct(NetworkInterfaceStruct *networkInterface);

/* Releases one profile: its WEP keys, then the profile. The profiles after it
 * stay. NULL is a no-op. */
ZOV_API void freeWirelessSettingsStruct(WirelessSettingsStruct *profile);

/* Releases the entry and every entry after it; NULL is a no-op. */
ZOV_API void freeIpValueStruct(IpValueStruct *list);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_PLATFORMDATA_H */
