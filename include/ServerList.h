/*
 * ServerList.h
 */
#ifndef ZOVCOMMON_SERVERLIST_H
#define ZOVCOMMON_SERVERLIST_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_SERVERLIST_H */
