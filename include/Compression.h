/*
 * Compression.h - gzip disk images: writing them whole or in pieces,
 * estimating their size, compressing an upload on the fly and restoring an
 * image from a file or from a download.
 *
 * Every image is gzip: each compressing call writes exactly one complete gzip
 * member (a whole image, or one piece of a split image). The deflate stream is
 * method 8, window bits 31 (gzip header and trailer), memory level 8, default
 * strategy, with the level the caller gives (0 to 9, or -1 for zlib's
 * default); inflate accepts only the gzip wrapper (window bits 31), so a raw
 * deflate or a zlib-wrapped stream is refused as corrupt data. Both are
 * initialised with the version string "1.2.7" and the size of z_stream.
 * File-to-file paths read and write 32768-byte chunks from their own stack
 * frame and allocate nothing.
 *
 * Results are zlib-style: 0 for success, -1 (Z_ERRNO) for a read or write
 * error, -3 (Z_DATA_ERROR) for corrupt data, -4 (Z_MEM_ERROR) for exhausted
 * memory, or the status of a failed zlib init call (Z_STREAM_ERROR for a bad
 * level, Z_VERSION_ERROR, Z_MEM_ERROR).
 *
 * Streams are opened and closed by the caller, except where a function says it
 * opens a path itself. Nothing is guarded by locks; see CompressAndSplitWrite.
 *
 * Reports go through zovLogger with the source file "Compression".
 *
 * zlib.h is included here because TransferContext holds its z_stream inline:
 * the callbacks run the stream in place and the caller ends it with zlib's own
 * deflateEnd or inflateEnd.
 */
#ifndef ZOVCOMMON_COMPRESSION_H
#define ZOVCOMMON_COMPRESSION_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <zlib.h>

#include "ZovApi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A progress function with the shape of a transfer library's progress
 * callback: an opaque pointer, then download total, download done, upload
 * total, upload done. The library ignores the result. The opaque pointer
 * carries nothing: it points at a scratch int that holds 0. */
typedef int (*CompressionProgressCallBack)(void *clientp, double dltotal, double dlnow,
                                           double ultotal, double ulnow);

/* The caller's progress record, passed by pointer and kept alive by the caller
 * for the duration of a call. Compressors report as upload progress (the two
 * download numbers are 0), the decompressor as download progress (the two
 * upload numbers are 0). A NULL progressCallBack makes no calls. */
typedef struct CompressionProgress {
    void *userData;                               /* the caller's; never read or written */
    CompressionProgressCallBack progressCallBack; /* called after every output chunk */
    uint64_t totalSize;                           /* uncompressed source size ("Disk Size") */
    int64_t compressedSize;                       /* compressed bytes, stored by the compressors */
} CompressionProgress;

/* Compresses in, from where it stands to its end, into out as one gzip member
 * at the given level.
 * Progress: after every output chunk progressCallBack(opaque, 0, 0,
 * compressedSize as found in the record, compressed bytes written so far),
 * so a compressedSize estimated first (CalculateCompressedSize) serves as
 * the total. On success compressedSize receives the bytes written.
 * Returns 0; -1 for a read error on in, a short write or error on out, a NULL
 * stream, or a NULL progress (refused after the first output chunk has
 * been written); otherwise the failed init status (nothing read or written).
 * Output written before a failure stays in out. The caller opens and closes
 * both streams. */
ZOV_API int CompressAndWrite(FILE *in, FILE *out, int level, CompressionProgress *progress);

/* Compresses the next piece of a split image into out as one gzip member:
 * whole 32768-byte reads from in until at least pieceLimit bytes were read for
 * this piece, or in ends. Every piece but the last thus covers pieceLimit
 * rounded up to a multiple of 32768 input bytes, and in is left just after
 * them, ready for the next call (a pieceLimit of 1 or less gives 32768-byte
 * pieces). Call it once per piece, with a new out each time, until in is at
 * its end.
 * progress may be NULL. Otherwise each output chunk calls
 * progressCallBack(opaque, 0, 0, pieceLimit, input bytes read for this piece)
 * and on success compressedSize receives the bytes written for the piece.
 * Returns 0; -1 for a read or write error or a NULL stream; otherwise the
 * failed init status.
 * The count of input bytes read for the piece is process-wide (reset at each
 * call): do not run two calls at once. */
ZOV_API int CompressAndSplitWrite(FILE *in, FILE *out, int level, CompressionProgress *progress,
                                  int64_t pieceLimit);

/* Estimates the compressed size of a device or file at level 6, writing
 * nothing. Logs "Device Location <path> " (level 2), opens path for reading,
 * compresses all of it into a scratch chunk while calling
 * progressCallBack(opaque, 0, 0, totalSize, compressed count so far) per
 * chunk, stores the full count (gzip header and trailer included) in
 * compressedSize, closes the file, and logs "Disk Size is <totalSize>" and
 * "Compressed Size is <compressedSize>" (level 3). A read error midway is
 * not reported: the call still returns 0, with compressedSize left as it
 * was.
 * Returns 0; -1 when path is NULL or cannot be opened ("Error in Opening
 * Device File <path>", level 1; the record is left alone) or progress is
 * NULL ("Progress record cannot be NULL", level 1; nothing is opened). */
ZOV_API int CalculateCompressedSize(const char *path, CompressionProgress *progress);

/* Estimates one piece of a split image: reads in by whole 32768-byte reads
 * until at least readLimit bytes were read or in ends, and counts the
 * compressed bytes deflate gives out, writing nothing. Logs "Read File Size
 * <readLimit>" (level 1). When the limit stops the count, the output still
 * held inside deflate and the gzip trailer are not counted; when in ends
 * first, the stream is finished, counted whole and "Total Byte Written
 * <count>" is logged (level 1).
 * progress may be NULL; otherwise each output chunk calls
 * progressCallBack(opaque, 0, 0, readLimit, count so far) and compressedSize
 * receives the count. in is advanced by the bytes read.
 * Returns the count; -1 on a read error on in or a NULL in; otherwise the
 * failed init status. */
ZOV_API int64_t CalculateCompressedSplitiSize(FILE *in, int64_t readLimit, int level,
                                              CompressionProgress *progress);

/* Decompresses the gzip member at the start of in into out.
 * progress may be NULL; otherwise each output chunk calls
 * progressCallBack(opaque, totalSize, bytes written so far, 0, 0).
 * Returns 0 when the member ended, and also when in ended in the middle of it
 * (what could be inflated has been written); data after the end of the member
 * is not read. -3 for corrupt data, an empty input or a stream that demands a
 * preset dictionary; -4 when memory runs out; -1 for a read or write error or
 * a NULL stream; otherwise the failed init status. Output written before a
 * failure stays in out. Logs nothing. */
ZOV_API int UnCompressAndWrite(FILE *in, FILE *out, CompressionProgress *progress);

/*
 * Transfer callbacks.
 *
 * The callbacks have the exact shape of a transfer library's read and write
 * callbacks: (buffer, item size, item count, user pointer), where the user
 * pointer is a TransferContext and size times count is the block's length.
 * A block whose length overflows size_t is refused (0).
 *
 * Whole upload: zero the context, set filePath and level, register
 * CrulReadCallBack_CompressData as the read callback. The first call opens
 * filePath, allocates buffer (the first request's length) and sets up the
 * deflate stream; every call fills the destination with the next compressed
 * bytes; a call after the end of the gzip member returns 0, which ends the
 * body.
 *
 * Split upload: zero the context, open the source and set file, set
 * splitMode non-zero, level and pieceLimit. For each piece, set bytesRead to
 * 0 and run one transfer: its first call allocates buffer and sets up a new
 * stream, the piece reads exactly pieceLimit input bytes (fewer when the
 * source ends) and ends with a complete gzip member, and any further call
 * returns 0. The next piece starts where the source stands. A piece whose
 * first read finds the source already at its end (or a pieceLimit of 0) sends
 * an empty body: nothing is allocated or set up for it, so upload pieces
 * until a transfer sends nothing or feof(file) is set.
 *
 * Whole download: zero the context, set filePath, register
 * download_file_and_Uncompress as the write callback. The first block with
 * data creates filePath ("wb"), sets up the inflate stream and allocates
 * buffer (that block's length); every block is inflated and written. Blocks
 * after the end of the gzip member are accepted and produce nothing.
 *
 * Split download: zero the context, open the target and set file, register
 * download_Split_file_and_Uncompress. Before each piece's transfer set
 * splitMode (the started flag) to 0: its first block sets up a new stream and
 * buffer; output continues where the target stands.
 *
 * Release: on success the library leaves the stream, the buffer and the file
 * to the caller. After each transfer (whole) or each piece (split), success
 * or failure, the caller releases them:
 *
 *     deflateEnd(&ctx.stream);           (uploads; inflateEnd for downloads)
 *     free(ctx.buffer); ctx.buffer = NULL;
 *     and, when the transfer is whole or the last piece is done:
 *     if (ctx.file != NULL) fclose(ctx.file); ctx.file = NULL;
 *
 * These calls are safe whatever happened: whenever the library releases
 * something itself it leaves NULL behind (the zlib end calls do the same for
 * the stream's state), and an end call on a zeroed or ended stream does
 * nothing. The library releases things itself only here:
 * - a download's stream error (corrupt data, preset dictionary, memory, a
 *   stream that is not set up) or write error ends the stream, frees
 *   buffer and closes file, the caller's target in split mode included;
 * - a failed buffer allocation at the start of a whole download, and at the
 *   start of any upload or piece, closes file (the caller's source in split
 *   upload mode).
 * A failed open or init at the first call leaves the context as far as it got.
 */

/* The user-pointer record of the transfer callbacks, owned by the caller. */
typedef struct TransferContext {
    char *filePath;      /* whole mode: the file to read (upload) or create (download) */
    z_stream stream;     /* deflate (upload) or inflate (download) stream */
    int32_t level;       /* deflate level for uploads */
    unsigned char *buffer; /* working buffer, malloc'ed by the library, freed by the caller */
    uint64_t bufferSize; /* length of buffer: the length of the call that allocated it */
    uint8_t repeat;      /* uploads: see UpgradedCompression; only read by the library */
    void *userData;      /* the caller's; never read or written */
    FILE *file;          /* the source or target stream */
    int32_t splitMode;   /* uploads: non-zero for split mode; split downloads: started flag */
    uint64_t bytesRead;  /* split uploads: input bytes read for this piece (0 to start one) */
    uint64_t pieceLimit; /* split uploads: input bytes per piece */
} TransferContext;

/* The read callback of an upload: sets the stream up on the first call of a
 * transfer or piece (see above), then returns UpgradedCompression's result.
 * A split piece whose bytesRead already exceeds pieceLimit returns 0.
 * Returns the bytes placed in buffer; 0 ends the body, also on every failure
 * (NULL context or buffer, a failed open, allocation, read or init). */
ZOV_API size_t CrulReadCallBack_CompressData(char *buffer, size_t size, size_t nitems,
                                             void *userPointer);

/* Fills buffer with compressed bytes from the already set-up stream, reading
 * input into the context's buffer as the stream needs it: as many bytes as
 * the destination holds, never more than bufferSize, and in split mode never
 * past pieceLimit. Reaching the end of the source, or pieceLimit in split
 * mode ("Calling zfinish", level 1; "Nothing to be done right now", level 3,
 * when the limit was already reached), finishes the gzip member.
 * With repeat clear a call fills the destination at most once; with repeat
 * set it keeps deflating into the start of the destination until the member
 * is finished and returns the bytes of the last round only.
 * Returns the bytes placed in buffer: 0 once the member is finished, on a
 * read error, and when the context has no file, no buffer or no stream set
 * up. */
ZOV_API size_t UpgradedCompression(char *buffer, size_t size, size_t nitems, void *userPointer);

/* The write callback of a whole download (see above).
 * Returns size times nitems when the block was taken; 0 for a NULL context,
 * a NULL or uncreatable filePath, a failed init or allocation at the first
 * block, or a stream error; (size_t)-1 for a write error. A block of length 0
 * is accepted as it is (0) and sets nothing up. */
ZOV_API size_t download_file_and_Uncompress(char *data, size_t size, size_t nitems,
                                            void *userPointer);

/* The write callback of a split download (see above). The first block of a
 * piece logs "Return value is 0" (level 1) and sets splitMode to 1.
 * Returns as download_file_and_Uncompress; file must be the caller's open
 * target. */
ZOV_API size_t download_Split_file_and_Uncompress(char *data, size_t size, size_t nitems,
                                                  void *userPointer);

/* Inflates one block through the already set-up stream and buffer and writes
 * the output to file: the common worker of the two download callbacks.
 * Returns size times nitems; 0 for a stream error (the stream, buffer and
 * file are released) or when the context has no file or buffer; (size_t)-1
 * for a write error (released the same way). */
ZOV_API size_t UnCompressDataAndWrite(char *data, size_t size, size_t nitems, void *userPointer);

#ifdef __cplusplus
}
#endif

#endif /* ZOVCOMMON_COMPRESSION_H */
