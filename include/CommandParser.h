/*
 * CommandParser.h
 */
#ifndef ZOVCOMMON_COMMANDPARSER_H
#define ZOVCOMMON_COMMANDPARSER_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_COMMANDPARSER_H */
