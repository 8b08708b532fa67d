/*
 * EnumConversions.h
 */
#ifndef ZOVCOMMON_ENUMCONVERSIONS_H
#define ZOVCOMMON_ENUMCONVERSIONS_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_ENUMCONVERSIONS_H */
