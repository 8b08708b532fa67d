/*
 * HandlerTools.h
 */
#ifndef ZOVCOMMON_HANDLERTOOLS_H
#define ZOVCOMMON_HANDLERTOOLS_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_HANDLERTOOLS_H */
