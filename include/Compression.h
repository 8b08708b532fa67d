/*
 * Compression.h
 */
#ifndef ZOVCOMMON_COMPRESSION_H
#define ZOVCOMMON_COMPRESSION_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_COMPRESSION_H */
