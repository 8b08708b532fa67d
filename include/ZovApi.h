/*
 * ZovApi.h - the export macro shared by every public header of libZovCommon.
 *
 * The library is built with hidden visibility; only declarations marked
 * ZOV_API are part of its ABI.
 */
#ifndef ZOVCOMMON_ZOVAPI_H
#define ZOVCOMMON_ZOVAPI_H

#if defined(ZOV_BUILDING_LIBRARY)
#define ZOV_API __attribute__((visibility("default")))
#else
#define ZOV_API
#endif

#ifdef __cplusplus
#define ZOV_EXTERN_C_BEGIN extern "C" {
#define ZOV_EXTERN_C_END }
#else
#define ZOV_EXTERN_C_BEGIN
#define ZOV_EXTERN_C_END
#endif

#endif /* ZOVCOMMON_ZOVAPI_H */
