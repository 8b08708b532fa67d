/*
 * XmlParser.h
 */
#ifndef ZOVCOMMON_XMLPARSER_H
#define ZOVCOMMON_XMLPARSER_H

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_XMLPARSER_H */
