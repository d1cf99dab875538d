/**
 * ztlib - image and codec functions of the video-surveillance client.
 *
 * The whole interface is C. Handles are opaque pointers. The library opens no file, socket or
 * window and starts no thread: a call works on the caller's thread and is done when it returns.
 *
 * Order of a client's life
 *   1. ztlib_registerAVFrameMgr: all picture memory comes from the client, so this comes before
 *      the first image.
 *   2. ztlib_context_create, ztlib_registerLogger, ztlib_registerExceptionHandler.
 *   3. Work on handles.
 *   4. ztlib_context_destroy, last.
 *
 * Failures
 *   There are no error codes. A guarded call that fails writes one line of level 1 to the logger,
 *   then calls the exception handler with the text, then returns its default value (null, false or
 *   0; nothing for void) and leaves output arguments as they were. All calls are guarded unless
 *   their comment says "not guarded"; those can fail for want of memory at most. A null handle,
 *   image, block or callback, and null data with a size, is such a failure ("Using null-pointer")
 *   unless a comment allows it.
 *
 * Want of memory
 *   A guarded call fails with "std::bad_alloc"; if there is no memory for the logger either, the
 *   line is lost, and the handler is called all the same. Whatever failed can be tried again. Of
 *   the calls that are not guarded
 *   - ztlib_context_create and ztlib_registerLogger let the C++ exception std::bad_alloc out, which
 *     ends a process that does not catch it, so every one in C; nothing has been created or
 *     registered then,
 *   - ztlib_triangulation_create returns null,
 *   - ztlib_context_destroy, ztlib_registerExceptionHandler, ztlib_registerAVFrameMgr,
 *     ztlib_ztimage_destroy, ztlib_decoder_destroy, ztlib_encoder_destroy,
 *     ztlib_simplemotion_destroy, ztlib_triangulation_destroy, ztlib_getPixelXByVirtualX,
 *     ztlib_getPixelYByVirtualY, ztlib_getVirtualXByPixelX, ztlib_getVirtualYByPixelY,
 *     ztlib_getScaleDownByPixel1, ztlib_getVideoFormat, ztlib_getLayerCount, ztlib_getLayerSizes
 *     and idct8x8_mmx take none.
 *
 * What ends the process on purpose
 *   - ztlib_decoder_process with a null handle and a frame of an unknown video format. The client
 *     creates a decoder first.
 *   - ztlib_encoder_process of differential video with a picture of another size than configured,
 *     and with any picture if the configured size is no multiple of 8, such as 1366 by 768. The
 *     client compares the sizes before the call.
 *   - A frame of another format inside a decoder of differential video. ztlib_decoder_process
 *     chooses the decoder by the frame, so this takes a client that changes the frame meanwhile.
 *
 * Callbacks
 *   All run on the thread of the call, and none is called after the call. A callback may call the
 *   library, but not ztlib_context_destroy, and it must not destroy, configure or use a handle that
 *   a call around it works with. One such use does no harm: an image that is only read may get
 *   another picture, and the call goes on with the one that it began with.
 *   A callback must return: except as told under "Threads" for Linux, it must not end its thread, by
 *   ExitThread or otherwise, nor leave by longjmp. After ExitThread in a logger the library still
 *   logs on other threads; what the ended call held is lost.
 *   A C++ exception that leaves a callback is a failure of the guarded call. It is dropped if it
 *   leaves `release`, the exception handler, or a logger that is being told of a failure.
 *
 * Threads
 *   Different handles may be used on different threads at once. One encoder serialises its own
 *   calls. A decoder, a motion context and an image belong to one thread at a time. The logger, the
 *   exception handler and the frame manager may be called on every thread that calls the library.
 *   On Linux a thread may be cancelled (deferred, as it is by default) or may end itself in every
 *   callback but `release`: its stack unwinds through the call, no lock stays behind, and handles
 *   are as after a failure. During `release` a cancellation waits, and pthread_exit must not be
 *   called. Such a thread must not call the library from within a C++ `catch` block.
 *   After fork, locks that other threads held in the library stay taken in the child: it may call
 *   the library only if no other thread was in a call at that moment.
 *
 * Floating point
 *   Nearly all calls mask the floating-point exceptions while they run and put the caller's mask
 *   back before they return, whatever a callback has made of it. A failure is reported under the
 *   caller's mask.
 *
 * Standard streams
 *   ztlib_context_destroy, and a decoder of differential video whose picture changes its size,
 *   write to standard output. The first damage that a JPEG stream can be decoded with is one line
 *   on standard error, and the picture counts as one. Where these streams are pipes that nobody
 *   reads any more, the system ends the process by SIGPIPE unless the client ignores that.
 */
#ifndef ZTLIB_H
#define ZTLIB_H

#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

/** The version of this header. Within a major version newer libraries serve older clients. */
#define ZTLIB_VERSION_MAJOR 0
#define ZTLIB_VERSION_MINOR 2
#define ZTLIB_VERSION_PATCH 0

#if defined(ZTLIB_STATIC)
#define ZTLIB_API
#elif defined(_WIN32)
#if defined(ZTLIB_BUILD)
#define ZTLIB_API __declspec(dllexport)
#else
#define ZTLIB_API __declspec(dllimport)
#endif
#else
#define ZTLIB_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------
 * Shared shapes
 * --------------------------------------------------------------------------------------------- */

/** A block of client memory. The library reads it during the call and keeps no pointer to it. */
typedef struct {
  const void* data;
  uint64_t size; /**< in bytes */
} ztlib_blob;

/**
 * Receives a result. Called on the calling thread before the export returns, never after a failure.
 * `data` belongs to the library and is valid during the call only.
 */
typedef void (*ztlib_output)(void* user, const void* data, uint32_t size);

/**
 * Receives log lines, levels 0 to 4, without a newline. Runs under the logger's lock, so log lines
 * of other threads wait for it, and it must not wait for a thread that may log. It may call what
 * every callback may. A call of its own that fails or logs calls it again before it returns, so it
 * must not make such a call for every line. It may register loggers, which get the lines after the
 * present one.
 */
typedef void (*ztlib_logger)(int level, const char* text);

/** Receives the text of an exception that a guarded call has caught. */
typedef void (*ztlib_exception_handler)(const char* text);

/**
 * Pixel formats. An image is measured in samples: a sample is one pixel, a pair of pixels
 * (YUYV, UYVY), a 2 by 2 group (YUVBAYERBLOCK) or a 16 by 16 tile (YUV420BLOCK). Rows follow each
 * other without padding; ztlib_ztimage_create_avframe tells the one exception.
 */
enum ztlib_pixel_format {
  ZTLIB_BOOL8 = 0,         /**< 1 byte, 0 or 1 */
  ZTLIB_GRAY = 1,          /**< 1 byte */
  ZTLIB_RGB = 2,           /**< 4 bytes: blue, green, red, unused */
  ZTLIB_YUV = 3,           /**< 4 bytes: Y, U, V, unused */
  ZTLIB_YUYV = 4,          /**< 4 bytes for 2 pixels: Y0, U, Y1, V */
  ZTLIB_UYVY = 5,          /**< 4 bytes for 2 pixels: U, Y0, V, Y1 */
  ZTLIB_RGBBAYER = 6,      /**< 1 byte per sensor site */
  ZTLIB_YUVBAYERBLOCK = 7, /**< 4 bytes for 2 by 2 pixels: Y top left, Y bottom right, U, V */
  ZTLIB_YUV420BLOCK = 8    /**< 384 bytes for 16 by 16 pixels: four 8 by 8 Y tiles, U, V */
};

/** Video formats, as found at offset 24 of a coded frame. */
enum ztlib_video_format {
  ZTLIB_VIDEO_LAYERED = 0,     /**< older cameras: layers that refine each other; decoded only */
  ZTLIB_VIDEO_MJPEG = 3,       /**< every frame is one JPEG stream behind the 112-byte header */
  ZTLIB_VIDEO_LAYEREDDIFF = 4, /**< layered key frames and changed blocks; decoded only */
  ZTLIB_VIDEO_MJPEGDIFF = 7    /**< key frames, and between them only the blocks that changed */
};

/* ------------------------------------------------------------------------------------------------
 * Context and registration
 * --------------------------------------------------------------------------------------------- */

/**
 * Marks the start of the client's use of the library. Returns a token. Not guarded: see "Want of
 * memory".
 */
ZTLIB_API void* ztlib_context_create(void);

/**
 * Deletes the library's services in reverse order of their creation, the logger with its
 * callbacks among them, and reports that on standard output. Does nothing without a create.
 * Call it last and once, with no other thread in the library. A call that comes later works: it
 * makes the services that it needs anew, a logger without callbacks for one, while frame manager
 * and exception handler stay. Only another destroy deletes those, and it reports the deleted ones
 * once more. A library that is unloaded gives back what is left. Not guarded.
 */
ZTLIB_API void ztlib_context_destroy(void);

/**
 * Adds a log callback. It cannot be removed; registered twice it is called twice. Not guarded: see
 * "Want of memory".
 */
ZTLIB_API void ztlib_registerLogger(ztlib_logger callback);

/**
 * Replaces the exception handler; null switches it off. Set it before threads start. Not guarded.
 */
ZTLIB_API void ztlib_registerExceptionHandler(ztlib_exception_handler handler);

/* ------------------------------------------------------------------------------------------------
 * Frame manager: all picture memory is the client's
 * --------------------------------------------------------------------------------------------- */

/**
 * Returns a frame for a picture of `width` by `height` pixels in `pixelFormat`, or null to refuse.
 * A frame is a record laid out as FFmpeg's AVFrame: data[0] at offset 0, width (int32) at 104,
 * height (int32) at 108. data[0] must hold all rows without padding; the library fills it so,
 * whatever else the record says.
 *
 * Pixels that a damaged frame does not cover keep what they held here. So a pool that serves
 * several cameras hands out cleared frames, or pictures of one show up in those of another.
 */
typedef void* (*ztlib_frame_allocate)(int width, int height, int pixelFormat);

/**
 * Takes a frame back, once, when the last image that shows it is gone. What it throws is dropped.
 */
typedef void (*ztlib_frame_release)(void* frame);

/** Stored and never called. */
typedef void (*ztlib_frame_third)(void);

/**
 * Registers the frame manager. With `keepExisting` 0 all three functions are replaced, also by
 * null; otherwise only those that are null at present. The functions must be thread-safe if images
 * are used on several threads. Not guarded.
 */
ZTLIB_API void ztlib_registerAVFrameMgr(ztlib_frame_allocate allocate, ztlib_frame_release release,
                                        ztlib_frame_third third, uint8_t keepExisting);

/* ------------------------------------------------------------------------------------------------
 * Images
 * --------------------------------------------------------------------------------------------- */

/** Returns a new empty image; the caller destroys it. Null after a failure. */
ZTLIB_API void* ztlib_ztimage_create(void);

/** Destroys an image; null is allowed. Not guarded. */
ZTLIB_API void ztlib_ztimage_destroy(void* image);

/**
 * Wraps a client frame as an image of `format` without copying. On success the image owns the
 * frame: it goes to the manager's release when the last view of it is gone. On failure it returns
 * null and the frame stays the client's. Refused are a null frame, and null data[0] where there are
 * samples ("Using null-pointer"), a format not 0 to 8 ("Wrong format"), and a negative size or one
 * of more than 2^31 - 1 samples ("Invalid range").
 * The size in samples is the frame's size divided by the sample size, truncated.
 *
 * ATTENTION, ZTLIB_GRAY with a width that is no multiple of 4: ztlib_simplemotion_detect takes the
 * rows of such a frame to be the width rounded up to a multiple of 4 apart, and reads them in
 * place. data[0] must hold (width + 3) / 4 * 4 * height bytes. The library cannot test that:
 * with less it reads behind the memory. The one exception are frames whose linesize[0] (int32 at
 * offset 64, as in AVFrame) equals the width: their rows follow each other without padding, and
 * width * height bytes are enough. linesize[0] is read by this call and for these frames alone, and
 * every other value, 0 too, means padded rows. All other functions take rows to be without padding,
 * so a frame without padding that says so is right everywhere.
 */
ZTLIB_API void* ztlib_ztimage_create_avframe(int32_t format, void* frame);

/** Returns the frame behind an image, still owned by it; null for an empty image. */
ZTLIB_API void* ztlib_ztimage_get_avframe(const void* image);

/**
 * Hands the image as one self-contained block (version 1: 32-byte header, body) to `out`.
 * An empty image is a failure.
 */
ZTLIB_API void ztlib_ztimage_saveToZTMem(const void* image, void* user, ztlib_output out);

/**
 * Replaces the image by the one in a block of ztlib_ztimage_saveToZTMem. Returns true after a
 * load; after a failure the image keeps its old content. The lower 32 bits of the size count.
 * Null data, and a block too small for its header or its pixels, fail with
 * "Invalid or nullptr memory!".
 */
ZTLIB_API bool ztlib_ztimage_loadFromZTMem(void* image, const ztlib_blob* memory);

/* ------------------------------------------------------------------------------------------------
 * Virtual coordinates: 16384 units across each axis of a picture. Rounded, not clamped; pure
 * functions without guard. A size of 0 gives 0.
 * --------------------------------------------------------------------------------------------- */

ZTLIB_API int32_t ztlib_getPixelXByVirtualX(int32_t virtualX, int32_t width);
ZTLIB_API int32_t ztlib_getPixelYByVirtualY(int32_t virtualY, int32_t height);
ZTLIB_API int32_t ztlib_getVirtualXByPixelX(int32_t pixelX, int32_t width);
ZTLIB_API int32_t ztlib_getVirtualYByPixelY(int32_t pixelY, int32_t height);

/* ------------------------------------------------------------------------------------------------
 * Scale-down choice
 * --------------------------------------------------------------------------------------------- */

/**
 * The power of two by which a picture of `width` by `height` pixels should be divided so that its
 * larger side comes closest to `target` pixels; it is limited by how often both sides halve
 * evenly. 0 if an argument is not positive. Not guarded.
 */
ZTLIB_API int32_t ztlib_getScaleDownByPixel1(int32_t target, int32_t width, int32_t height);

/**
 * The same choice in whole samples of `format`; 0 also if the size is not a whole number of
 * samples. A format that does not exist is a failure.
 */
ZTLIB_API int32_t ztlib_getScaleDownByPixel3(int32_t target, int32_t format, int32_t width,
                                             int32_t height);

/* ------------------------------------------------------------------------------------------------
 * Codec
 *
 * Configuration blocks are trees in the tagged form. Keys that are absent or of another kind leave
 * the present value.
 *   decoder: ScaleDown (int, 1 or more), PixelFormat (int), SwapRGB (bool)
 *   encoder: Width, Height, JPEGQuality (default 75), LineSize (int)
 *
 * Differential video looks for change in squares of 16 by 16 pixels, compares them with a reference
 * picture and sends those that differ, with their four neighbours, as one small JPEG picture. Every
 * frame names its type (offset 72): key frames (0) and reference frames (5) make up the reference
 * and must arrive; plain (3) and difference frames (4) may be lost without harm to later ones.
 * Its encoder has these keys besides:
 *   IFrameInterval             int,  60     frames from one key frame to the next
 *   RPFrameInterval            int,  4      frames from one reference frame to the next; 0 is
 *                                           ignored
 *   IVPixelSensitivity         int,  10     a block has changed if the brightness of its four
 *                                           quarters differs by more than 20 minus this in sum (by
 *                                           more than 1 from 20 on)
 *   AdvancedProfile            bool, false  difference frames in place of plain ones
 *   GenerateOutOfOrderIFrames  bool, true   a key frame when more than 40 % of the blocks changed
 *   Bits                       int,  6      bits of an entry in the list of blocks, 0 to 31
 * Width is a multiple of 16 and height one of 8; the rows below the last whole 16 are sent by key
 * frames only. A configuration makes the next frame a key frame.
 *
 * Its decoder takes a new ScaleDown at the next key frame. That frame still has the old size, and
 * the one behind it the new size with the base picture lost, so a change of scale is over with the
 * second key frame. PixelFormat should be one of the four-byte formats.
 *
 * The layered formats (0 and 4) are decoded only. Their PixelFormat is ZTLIB_RGB, ZTLIB_YUV,
 * ZTLIB_YUYV or ZTLIB_UYVY, any other is a failure; ScaleDown is 1, 2, 4 or 8, and nothing is drawn
 * at any other. A picture at 1/8 needs the first layer alone, at 1/4 the first two, at 1/2 the
 * first three. Pixels that no whole square of 16 by 16 of the coded picture covers stay as the
 * frame manager delivered them, and so does the fourth byte of each. SwapRGB has no effect. In
 * format 4 a new ScaleDown comes with the next key frame, which has the new size already, and
 * frames between key frames never change the base picture.
 * --------------------------------------------------------------------------------------------- */

/** Returns a decoder for a video format; null, with a log line, for an unknown one. */
ZTLIB_API void* ztlib_decoder_create(int32_t format);

/**
 * Sets the handle to null and destroys the decoder. Null address and null handle are allowed. Not
 * guarded.
 */
ZTLIB_API void ztlib_decoder_destroy(void** decoder);

/** Configures a decoder. The default PixelFormat is ZTLIB_BOOL8, which no frame decodes to. */
ZTLIB_API void ztlib_decoder_config(void* decoder, const ztlib_blob* config);

/**
 * Decodes one frame into `image`, whose old picture is dropped. If the frame has another video
 * format than the decoder, the decoder behind the handle is replaced by one with default
 * configuration. A frame of an unknown format is logged and leaves all as it is; with a null
 * handle it ends the process. The bytes are not copied, and those of differential video (format 7)
 * are written to: a frame that names no type gets one. So they must not lie in read-only memory,
 * nor be given to two decoders at once. After a failure the handle stays usable, and the image may
 * hold rows of the picture that failed; which, and with what pixels, is not told.
 *
 * A progressive picture is a failure if it has more blocks of 8 by 8 samples than its stream has
 * bits, or if its scans pass over the blocks of the picture that is asked for more than 64 times.
 */
ZTLIB_API void ztlib_decoder_process(void** decoder, void* image, void* data, uint32_t size);

/**
 * Gives a decoder of differential video a picture to start from without a key frame (deep copy); it
 * should have the format and the scaled size that the decoder is configured for. Does nothing for
 * every other decoder and for a null one.
 */
ZTLIB_API void ztlib_decoder_setBaseImage(void* decoder, const void* image);

/** Returns an encoder for a video format; null, with a log line, for an unknown one. */
ZTLIB_API void* ztlib_encoder_create(int32_t format);

/**
 * Sets the handle to null and destroys the encoder. Null address and null handle are allowed. Not
 * guarded.
 */
ZTLIB_API void ztlib_encoder_destroy(void** encoder);

/** Configures an encoder; required before the first picture. After a failure the old one holds. */
ZTLIB_API void ztlib_encoder_config(void* encoder, const ztlib_blob* config);

/**
 * Encodes a picture of any format that converts to ZTLIB_YUV and hands the coded frame to `out`
 * once. The picture should have the configured size; a smaller one is a failure of plain video, and
 * any other size ends the process in differential video, after a log line, and so does every size
 * if the configured one is no multiple of 8: compare them before the call. A coded picture has at
 * most width * height * 2 bytes, which noise at tiny sizes can exceed (a failure).
 * `key` other than 0 forces a key frame.
 */
ZTLIB_API void ztlib_encoder_process(void* encoder, void* user, ztlib_output out, const void* image,
                                     uint8_t key);

/** Wraps a JPEG file image into a frame of format 3 and hands it to `out` once. */
ZTLIB_API void ztlib_copyAndAddHeader(void* user, ztlib_output out, const void* jpeg,
                                      uint32_t size);

/**
 * Reads a frame's header; frames below 64 bytes are a failure. Null output pointers are skipped.
 * `frameType` is that of differential video, else the value of `differential`. The payload (what
 * follows the header) goes to `out` once.
 */
ZTLIB_API void ztlib_getFrameInfo1(const ztlib_blob* frame, int32_t* width, int32_t* height,
                                   int32_t* format, int32_t* differential, int32_t* refresh,
                                   int32_t* frameType, void* user, ztlib_output out);

/** The same without a copy: `payload` receives an address inside `data`. */
ZTLIB_API void ztlib_getFrameInfo2(const void* data, uint32_t size, int32_t* width, int32_t* height,
                                   int32_t* format, int32_t* differential, int32_t* refresh,
                                   int32_t* frameType, const void** payload, uint32_t* payloadSize);

/** Returns a frame's video format, -1 if the frame is too short to have one. Not guarded. */
ZTLIB_API int32_t ztlib_getVideoFormat(const ztlib_blob* frame);

/**
 * Returns the number of layers of a frame: 4 for the layered formats, 0 for every other one and for
 * a frame too short to have a format. Not guarded.
 */
ZTLIB_API int32_t ztlib_getLayerCount(const ztlib_blob* frame);

/**
 * Stores the sizes in bytes of a layered frame's four layers, without headers; the first includes
 * the block list of a differential frame. Layers that have been left out of the frame count with
 * the size that they had. `sizes` stays as it is for frames of other formats and for frames that
 * end before a layer does. Not guarded.
 */
ZTLIB_API void ztlib_getLayerSizes(const ztlib_blob* frame, uint32_t sizes[4]);

/**
 * Makes one frame from layer records and hands it to `out` once. `layers` are the records of the
 * first `count` layers, 1 to 4, in their order; each later layer refines the picture, and those
 * that are not given are marked as missing. The frame has 128 bytes more than its parts. If the
 * first record is of a format without layers, the frame is empty. Records that do not fit their
 * blob are a failure.
 */
ZTLIB_API void ztlib_composeFromLayers(void* user, ztlib_output out,
                                       const ztlib_blob* const* layers, int32_t count);

/**
 * Cuts a layered frame into the records of its four layers, each of which can be stored or sent
 * alone: `out` is called with users[0] and the record of layer 0, then with users[1] and so on. All
 * records exist before the first call. Returns 4; 0 for a frame of a format without layers, and
 * after a failure, both without a call.
 */
ZTLIB_API int32_t ztlib_decomposeToLayers(const ztlib_blob* frame, void* const users[4],
                                          ztlib_output out);

/**
 * The inverse transform of the legacy layered format: 8 rows of 8 coefficients, in place, any
 * alignment. Shifts and additions only; overflow wraps. Not guarded.
 */
ZTLIB_API void idct8x8_mmx(int16_t block[64]);

/* ------------------------------------------------------------------------------------------------
 * Motion detection
 *
 * A context watches one stream of gray pictures with up to eight detectors, each with a background
 * model of its own. A model learns for 32 frames, and for the first 3.1 seconds of frame time a
 * detector finds nothing.
 *
 * Memory follows the picture, not the block that asks for it: a model takes 9 bytes a pixel of rows
 * whose width is rounded up to a multiple of 4, so a context with n detectors keeps
 *   n * 9 * ((width + 3) / 4 * 4) * height
 * bytes (75 MB a detector at 3840 by 2160), and as if for one more while the size of the pictures
 * changes. Polygons add a mask to each detector, of at most 4 bytes a pixel and 64 a row, however
 * many they are. A client that takes blocks from others shows smaller pictures if that is too much.
 *
 * The configuration is a tree in the tagged form. Keys that are absent keep the present value, keys
 * of another kind are read if the value converts.
 *   ViolationTimeMs   long long, 0 to 100000, default 0: how long the scene moves before the signal
 *   GenerateMetadata  bool, default true: whether results tell more than the signal
 *   Configs           node with one child for each detector; none is one detector with defaults
 * Of a detector; a key that is absent or of another kind is the default:
 *   Sensitivity       double, default 70: 0 to 100
 *   MotionPercent     double, default 0.2: moving part of the picture that is a signal
 *   Masks             node with one short array (x, y in turn) for each polygon, 16384 units for the
 *                     picture's width on both axes; none is all of the picture
 *   HighVarianceReduction        bool, default true
 *   MeltinReduction              bool, default false
 *   AlternativeVarianceHandling  bool, default false
 *   ForbidHighSensitivityStart   bool, default true
 *   BinaryOutputMode             bool, default true
 *
 * A result is a tree in the tagged form:
 *   Motions           node with one child for each detector: Motion (binary: the bitmap of moving
 *                     pixels), Masks (as configured), DetectPercent, AlarmPercent (double)
 *   AlarmPercent      double, the largest: 0 to 100 on the way to the signal, and 1 in the signal
 *   DetectPercent     double, the largest: moving percentage of the picture
 *   Version           int, 0x20000
 *   TimestampMs       time, as given
 *   Predicted         bool, false
 *   Resolution        node with Width and Height, int
 * Without GenerateMetadata it is an empty Motions; before a configuration it has no element at all.
 * --------------------------------------------------------------------------------------------- */

/** Returns a new motion context, not configured; null after a failure. */
ZTLIB_API void* ztlib_simplemotion_create(void);

/** Destroys a motion context; null is allowed. Not guarded. */
ZTLIB_API void ztlib_simplemotion_destroy(void* context);

/**
 * Configures a context for pictures of `width` by `height` pixels; all models start to learn. A
 * blank picture of that size is asked of the frame manager for the time of the call. The mask stays
 * that of this size when pictures of another one come. Whether the configuration was good shows
 * only in the log and in the results.
 */
ZTLIB_API void ztlib_simplemotion_configure(void* context, const ztlib_blob* config, int32_t width,
                                            int32_t height);

/**
 * Takes in the next picture and returns true while any detector is in signal. The picture is
 * ZTLIB_GRAY, of any width. MIND THE MEMORY of one that the client has wrapped and whose width is
 * no multiple of 4: ztlib_ztimage_create_avframe says where its rows must lie and how many bytes it
 * must have. Pictures of another format are read as bytes, with rows the width rounded up to a
 * multiple of 4 apart, as far as they go. A picture of another size than the one before starts the
 * models again. `timestampMs` counts from 1601-01-01 UTC and may stand still or go back. The result
 * goes to `out` once, also before a configuration; a null `out` is not called.
 */
ZTLIB_API bool ztlib_simplemotion_detect(void* context, void* user, ztlib_output out,
                                         const void* image, int64_t timestampMs);

/* ------------------------------------------------------------------------------------------------
 * Triangulation
 *
 * Values known at some pixels, estimated at any other: points, each with a vector of floats, are
 * joined into triangles within a frame, and an estimate interpolates in the triangle that holds the
 * pixel. Meant for tens of points. The order is create, init, points, finalize, estimates, destroy.
 *
 * A point joins the mesh only if it lies in the middle of the circumcircle of one of the triangles:
 * where the square of its distance from the centre is below the root of the radius. Most points of
 * a large frame do not; they only take up their place. Arithmetic on coordinates is in 32 bits and
 * wraps.
 *
 * A handle belongs to one thread at a time. A null handle is a failure: "Using null-pointer".
 * --------------------------------------------------------------------------------------------- */

/**
 * Returns a new triangulation, for which all but init does nothing; null without memory, and
 * nothing is reported then. Not guarded.
 */
ZTLIB_API void* ztlib_triangulation_create(void);

/** Destroys a triangulation; null is allowed. Not guarded. */
ZTLIB_API void ztlib_triangulation_destroy(void* handle);

/**
 * Starts anew with an empty frame: points have x0 <= x < x1 and y0 <= y < y1. `dimensions` is the
 * number of floats that a point needs to be complete.
 */
ZTLIB_API void ztlib_triangulation_init(void* handle, int32_t x0, int32_t y0, int32_t x1,
                                        int32_t y1, int32_t dimensions);

/**
 * Adds a point with a copy of `count` floats; a count below 1 is a point without values. Points
 * outside of the frame and those where there is one already are ignored. A null `values` with a
 * count above 0 is a failure: "Using null-pointer".
 */
ZTLIB_API void ztlib_triangulation_addPoint(void* handle, int32_t x, int32_t y, const float* values,
                                            int32_t count);

/**
 * Extrapolates values for the corners of the frame and for all points that are not complete, each
 * from the nearest triangle that is. Does nothing as long as no point has joined the mesh.
 */
ZTLIB_API void ztlib_triangulation_finalize(void* handle);

/**
 * Writes `count` floats to `out`: the first ones of the values at a pixel, as they are once
 * finalized even if finalize was not called, which changes nothing of the state. All are 0 if
 * `count` is above the dimensions, if no triangle holds the pixel, or if there is nothing to
 * extrapolate from. A count below 1 writes nothing; a null `out` with one above 0 is a failure:
 * "Using null-pointer".
 */
ZTLIB_API void ztlib_triangulation_estimate(void* handle, int32_t x, int32_t y, float* out,
                                            int32_t count);

#ifdef __cplusplus
}
#endif

#endif /* ZTLIB_H */
