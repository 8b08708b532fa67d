/*
 * CommandParser.h - the server's device configuration command as a
 * PlatformData record.
 *
 * The command's tree (ZovCommandStruct.rootNode) holds a "deviceConfiguration"
 * element with up to three sections, each optional:
 *
 *   deviceConfiguration
 *     deviceSettings                 locale (text), hostName: one of
 *                                    static/name, macDerived, dhcpAssigned,
 *                                    dnsReverseLookup (tried in that order)
 *     networkAdapterConfigurationSet only its first networkAdapterConfiguration:
 *       networkAdapterConfiguration  macAddress (required), networkAdapterSettings:
 *         wolEnabled                 "true"/"false"; a bad or missing flag is
 *                                    reported and leaves 0
 *         addressAssignment          its first sub-node: static (ipAddress,
 *                                    subnetMask, optional gateway), dhcp, bootp
 *         dnsSettings                dynamic, or static with dnsSuffixSet
 *                                    (required) and dnsServerSet (optional)
 *         winsSettings               dynamic, or static with winsServerSet
 *                                    (optional)
 *         physicalConnection         wired (speed "auto"/"10"/"100"/"1000",
 *                                    duplex "auto"/"half"/"full"), or wireless/
 *                                    wirelessProfileSet/wirelessProfile...:
 *                                    ssid, encryption (wep with keys, or none),
 *                                    authentication "open"/"shared"/"wpa"/
 *                                    "wpa-psk" (from the profile's
 *                                    "authentication" sub-element when there
 *                                    is one, else the profile's own text)
 *     assetTagSet                    assetTag elements only, each key + value
 *
 * The kind of link is not stored as a value: a wired adapter has speed and
 * duplex set and no wireless profiles, a wireless one the reverse.
 *
 * Words are compared exactly and case-sensitively. Every text (locale, host
 * name, MAC address, addresses, DNS suffixes, server addresses, SSIDs, WEP
 * keys, asset tag keys and values) is copied into a 1024-byte field of the
 * record: a text of up to 1023 characters whole and silently, a longer one
 * cut to its first 1023 characters with the report
 * "truncating charArray = '%s'" (the whole text), and the command goes on.
 * The "true"/"false" flags are read into 10 bytes: a flag of 10 characters or
 * more is reported as cut and then as an unexpected value.
 *
 * Reports go through zovLogger with the source file "CommandParser": every
 * fault where it is found, then once more per enclosing section that has a
 * message for it, ending with "bad deviceSettings",
 * "bad networkAdapterConfigurationSet" or "bad assetTagSet".
 */
#ifndef ZOVCOMMON_COMMANDPARSER_H
#define ZOVCOMMON_COMMANDPARSER_H

#include "ZovApi.h"
#include "PlatformData.h"
#include "ZovNode.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A new PlatformData with the command's configuration, or NULL.
 *
 * All or nothing: when the command has no deviceConfiguration among the
 * direct sub-nodes of its rootNode ("unable to find deviceConfiguration in
 * command->rootNode"; also for a NULL command), when any section is bad, or
 * when memory runs out ("Error while memory allocation"), nothing is returned
 * and nothing is left allocated. The command is only read. The caller owns
 * the result: freePlatformData(result), then free(result).
 *
 * Faults that are reported but fail nothing: a missing or bad wolEnabled, a
 * missing or bad dnsServerSet or winsServerSet (the servers read before the
 * fault stay, a server without text as an empty entry), an assetTag whose key
 * is empty or for which memory ran out (dropped).
 */
ZOV_API PlatformData *parseConfigurationCommand(ZovCommandStruct *command);

/* The value text of the first pair in list whose key equals key (compared
 * over at most 1024 characters, case-sensitive); it belongs to the pair.
 * NULL when no pair matches, the list is empty or key is NULL. */
ZOV_API char *findPairKeyValue(PairStruct *list, const char *key);

/* Releases the pair and every pair after it; NULL is a no-op. */
ZOV_API void freePairStruct(PairStruct *list);

/* Releases the three address lists (ipAddresses, subnetMasks, gateways) and
 * then the record; NULL is a no-op. */
ZOV_API void freeAddressAssignmentStatic(AddressAssignmentStatic *assignment);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_COMMANDPARSER_H */
