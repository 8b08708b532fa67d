/*
 * Base64.h
 */
#ifndef ZOVCOMMON_BASE64_H
#define ZOVCOMMON_BASE64_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_BASE64_H */
