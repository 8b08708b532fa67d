/*
 * EnumConversions.h - the seven device-configuration enumerations and their
 * wire words.
 *
 * Every enumeration is a 32-bit integer with fixed values. Where an
 * enumeration has no word for 0, the value 0 means "not set or not
 * recognised"; 0 is also what every word-to-value conversion gives for a word
 * it does not know.
 *
 * Value to word (the ...ToString functions): a pointer to the static text of
 * the value's word; the caller neither frees nor changes it. A value without a
 * word gives NULL and is reported.
 *
 * Word to value (the stringTo... / StringTo... functions, mind the exact first
 * letters): the text is compared whole, exactly and case-sensitively (no
 * trimming, no case folding) with the words of the enumeration's named values.
 * An unknown word, and a NULL text (reported as "(null)"), give 0 and are
 * reported. The word "unknown" of physicalConnectionType, speedType and
 * duplexType is never accepted: read back it takes that failure path, which
 * again gives 0, the value of "unknown".
 *
 * All reports are level 1 through zovLogger with the source file
 * "EnumConversions" and the function's own name, for example
 * "Unknown speedType '%d'" or "Unknown speedType '%s'". The functions keep no
 * state.
 */
#ifndef ZOVCOMMON_ENUMCONVERSIONS_H
#define ZOVCOMMON_ENUMCONVERSIONS_H

#include <stdint.h>

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* How a network adapter's IP address is assigned. */
typedef int32_t addressAssignmentType;
enum {
    ADDRESS_ASSIGNMENT_NOT_SET = 0, /* no word */
    ADDRESS_ASSIGNMENT_STATIC = 1,  /* "static" */
    ADDRESS_ASSIGNMENT_DHCP = 2,    /* "dhcp" */
    ADDRESS_ASSIGNMENT_BOOTP = 3    /* "bootp" */
};

/* How the device's host name is assigned. */
typedef int32_t hostNameAssignmentType;
enum {
    HOST_NAME_NOT_SET = 0,            /* no word */
    HOST_NAME_STATIC = 1,             /* "static" */
    HOST_NAME_MAC_DERIVED = 2,        /* "macDerived" */
    HOST_NAME_DHCP_ASSIGNED = 3,      /* "dhcpAssigned" */
    HOST_NAME_DNS_REVERSE_LOOKUP = 4  /* "dnsReverseLookup" */
};

/* The kind of link of a network adapter. */
typedef int32_t physicalConnectionType;
enum {
    PHYSICAL_CONNECTION_UNKNOWN = 0, /* "unknown" */
    PHYSICAL_CONNECTION_WIRED = 1,   /* "wired" */
    PHYSICAL_CONNECTION_WIRELESS = 2 /* "wireless" */
};

/* The link speed of a wired adapter; fixed speeds are megabits per second. */
typedef int32_t speedType;
enum {
    SPEED_UNKNOWN = 0, /* "unknown" */
    SPEED_AUTO = 1,    /* "auto" */
    SPEED_10 = 10,     /* "10" */
    SPEED_100 = 100,   /* "100" */
    SPEED_1000 = 1000  /* "1000" */
};

/* The duplex mode of a wired adapter. */
typedef int32_t duplexType;
enum {
    DUPLEX_UNKNOWN = 0, /* "unknown" */
    DUPLEX_HALF = 1,    /* "half" */
    DUPLEX_FULL = 2,    /* "full" */
    DUPLEX_AUTO = 3     /* "auto" */
};

/* The authentication of a wireless profile. */
typedef int32_t wirelessEnetAuthenticationType;
enum {
    WIRELESS_AUTHENTICATION_NOT_SET = 0, /* no word */
    WIRELESS_AUTHENTICATION_OPEN = 1,    /* "open" */
    WIRELESS_AUTHENTICATION_SHARED = 2,  /* "shared" */
    WIRELESS_AUTHENTICATION_WPA = 3,     /* "wpa" */
    WIRELESS_AUTHENTICATION_WPA_PSK = 4  /* "wpa-psk" */
};

/* The encryption of a wireless profile. */
typedef int32_t wirelessEnetEncryptionType;
enum {
    WIRELESS_ENCRYPTION_NOT_SET = 0, /* no word */
    WIRELESS_ENCRYPTION_NONE = 1,    /* "none" */
    WIRELESS_ENCRYPTION_WEP = 2      /* "wep" */
};

/* "static", "dhcp", "bootp"; NULL and "Unknown addressAssignmentType '%d'"
 * for any other value (0 included). */
ZOV_API const char *addressAssignmentTypeToString(addressAssignmentType value);
/* The value of "static", "dhcp" or "bootp"; otherwise 0 and
 * "Unknown addressAssignmentType '%s'". */
ZOV_API addressAssignmentType stringToAddressAssignmentType(const char *text);

/* "static", "macDerived", "dhcpAssigned", "dnsReverseLookup"; NULL and
 * "Unknown hostNameAssignmentType '%d'" for any other value. */
ZOV_API const char *hostNameAssignmentTypeToString(hostNameAssignmentType value);
/* The value of one of those four words; otherwise 0 and
 * "Unknown hostNameAssignmentType '%s'". */
ZOV_API hostNameAssignmentType stringToHostNameAssignmentType(const char *text);

/* "unknown", "wired", "wireless"; NULL and "Unknown physicalConnectionType '%d'"
 * for any other value. */
ZOV_API const char *physicalConnectionTypeToString(physicalConnectionType value);
/* 1 for "wired", 2 for "wireless"; otherwise ("unknown" included) 0 and
 * "Unknown physicalConnectionType '%s'". */
ZOV_API physicalConnectionType StringToPhysicalConnectionType(const char *text);

/* "unknown", "auto", "10", "100", "1000"; NULL and "Unknown speedType '%d'" for
 * any other value. */
ZOV_API const char *speedTypeToString(speedType value);
/* 10, 100, 1000 for "10", "100", "1000" and 1 for "auto"; otherwise
 * ("unknown" included) 0 and "Unknown speedType '%s'". */
ZOV_API speedType StringToSpeedType(const char *text);
/* Megabits per second: 10, 100 or 1000 for those values; -1 and
 * "Bad speedType '%d' for int conversion" for every other value ("unknown" and
 * "auto" included). */
ZOV_API int32_t speedTypeToInt(speedType value);

/* "unknown", "half", "full", "auto"; NULL and "Unknown duplexType '%d'" for
 * any other value. */
ZOV_API const char *duplexTypeToString(duplexType value);
/* 1 for "half", 2 for "full", 3 for "auto"; otherwise ("unknown" included) 0
 * and "Unknown duplexType '%s'". */
ZOV_API duplexType StringToDuplexType(const char *text);

/* "open", "shared", "wpa", "wpa-psk"; NULL and
 * "Unknown wirelessEnetAuthenticationType '%d'" for any other value. */
ZOV_API const char *wirelessEnetAuthenticationTypeToString(wirelessEnetAuthenticationType value);
/* 1 to 4 for those four words; otherwise 0 and
 * "Unknown wirelessEnetAuthenticationType '%s'". */
ZOV_API wirelessEnetAuthenticationType StringToWirelessEnetAuthenticationType(const char *text);

/* "none", "wep"; NULL and "Unknown wirelessEnetEncryptionType '%d'" for any
 * other value (0 included). */
ZOV_API const char *wirelessEnetEncryptionTypeToString(wirelessEnetEncryptionType value);
/* 1 for "none", 2 for "wep"; otherwise 0 and
 * "Unknown wirelessEnetEncryptionType '%s'". */
ZOV_API wirelessEnetEncryptionType StringToWirelessEnetEncryptionType(const char *text);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_ENUMCONVERSIONS_H */
