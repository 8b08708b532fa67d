/*
 * PlatformData.h
 */
#ifndef ZOVCOMMON_PLATFORMDATA_H
#define ZOVCOMMON_PLATFORMDATA_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_PLATFORMDATA_H */
