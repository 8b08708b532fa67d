/*
 * ZovCommon.h - every public header of libZovCommon.
 */
#ifndef ZOVCOMMON_ZOVCOMMON_H
#define ZOVCOMMON_ZOVCOMMON_H

#include "ZovApi.h"
#include "ZovLogger.h"
#include "CharBuffer.h"
#include "Utils.h"
#include "ZovNode.h"
#include "HttpHeader.h"
#include "Base64.h"
#include "MimeTools.h"
#include "ServerList.h"
#include "XmlParser.h"
#include "XmlFunctions.h"
#include "HandlerTools.h"
#include "EnumConversions.h"
#include "PlatformData.h"
#include "CommandParser.h"
#include "Compression.h"

#endif /* ZOVCOMMON_ZOVCOMMON_H */
