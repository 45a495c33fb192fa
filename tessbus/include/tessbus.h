/*
 * libtessbus: the CAN driver library of Vistrel.
 *
 * Nets 0 to 255 are configured outside the program (see docs/tessbus.md). Every
 * call returns TESS_OK (0) or an error code; callers only test against 0.
 * All records are little-endian and byte-exact, so they can be written to
 * files and read back on any machine.
 */
#ifndef TESSBUS_H
#define TESSBUS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(TESSBUS_BUILDING)
#define TESSBUS_API __attribute__((visibility("default")))
#else
#define TESSBUS_API
#endif

/* Identifier flag of 29-bit frames, in TessFrame.id and for tessIdAdd. */
#define TESS_ID_29BIT 0x20000000
/* Remote frame flag in TessFrame.len; bits 0-3 hold the data length. */
#define TESS_FRAME_RTR 0x10
#define TESS_FRAME_LEN_MASK 0x0F
/* Baud value flag: the low 16 bits are BTR0 (high byte) and BTR1 (low byte). */
#define TESS_BAUD_BTR 0x80000000u

/* Feature bits of TessStatus.features. */
#define TESS_FEATURE_FC 0x01
#define TESS_FEATURE_29BIT 0x02
#define TESS_FEATURE_TIMESTAMP 0x20
#define TESS_FEATURE_LO 0x40
#define TESS_FEATURE_SD 0x80

/* tessIoctl codes. 7 and 8 write one uint64_t and need TESS_FEATURE_TIMESTAMP;
   9 writes a TessTraffic record, on every net. */
#define TESS_IOCTL_GET_TIMESTAMP_FREQ 7
#define TESS_IOCTL_GET_TIMESTAMP 8
#define TESS_IOCTL_GET_TRAFFIC 9

#define TESS_MAX_NETS 256
#define TESS_BOARD_NAME_SIZE 14

/* Error codes. */
#define TESS_OK 0
#define TESS_ERR_NO_NET 1        /* net not configured or not reachable */
#define TESS_ERR_HANDLE 2        /* no such handle, or closed */
#define TESS_ERR_PARAM 3         /* bad argument */
#define TESS_ERR_NOT_SUPPORTED 4 /* the backend cannot do this */
#define TESS_ERR_TIMEOUT 5       /* nothing arrived within the rx timeout */
#define TESS_ERR_IO 6            /* the operating system refused */
#define TESS_ERR_NO_MEMORY 7

typedef struct TessFrame {
    uint32_t id;       /* with TESS_ID_29BIT on 29-bit frames */
    uint8_t len;       /* bits 0-3 data length, TESS_FRAME_RTR */
    uint8_t lost;      /* frames lost before this one (saturates at 255) */
    uint16_t reserved;
    uint8_t data[8];
} TessFrame;

typedef struct TessFrameT {
    uint32_t id;
    uint8_t len;
    uint8_t lost;
    uint16_t reserved;
    uint8_t data[8];
    uint64_t timestamp; /* ticks of TESS_IOCTL_GET_TIMESTAMP_FREQ */
} TessFrameT;

typedef struct TessStatus {
    uint16_t hardwareVersion;
    uint16_t firmwareVersion;
    uint16_t driverVersion;
    uint16_t libraryVersion;
    uint32_t boardStatus;
    char boardName[TESS_BOARD_NAME_SIZE]; /* zero-terminated */
    uint16_t features;
} TessStatus;

/*
 * What TESS_IOCTL_GET_TRAFFIC writes: the traffic that the net saw since it
 * was made, every id counted, whether a handle admits it or not. Both
 * counters only grow; a program samples them, say once a second, and takes
 * rates and the bus load from the differences. A frame's bits are those of
 * an 11-bit or 29-bit classic frame from start of frame to the end of the
 * interframe space, with worst-case bit stuffing: with s = 34 + 8n (11-bit)
 * or 54 + 8n (29-bit) stuffable bits, n data bytes (0 for remote frames),
 * the frame takes s + 13 + (s - 1) / 4 bits (integer division): 135 for an
 * 11-bit frame of 8 bytes, 160 for a 29-bit one.
 */
typedef struct TessTraffic {
    uint64_t frames; /* data and remote frames */
    uint64_t bits;   /* their estimated length on the wire */
} TessTraffic;

/*
 * Opens a handle on a net. rxQueue bounds the handle's own receive queue;
 * rxTimeout is in milliseconds, 0 meaning that a read waits until frames
 * arrive or the handle is closed. txQueue, txTimeout and flags are accepted
 * and not used: the library does not send.
 */
TESSBUS_API int tessOpen(int net, int flags, int txQueue, int rxQueue, int txTimeout, int rxTimeout,
                         int* handle);
/* Closes a handle; a read blocked on it in another thread fails at once. */
TESSBUS_API int tessClose(int handle);
TESSBUS_API int tessStatus(int handle, TessStatus* status);
TESSBUS_API int tessIoctl(int handle, int code, void* out);
/* baud: 0 ("1000.0") to 13 ("10.0"), or TESS_BAUD_BTR plus BTR0/BTR1. */
TESSBUS_API int tessSetBaudrate(int handle, uint32_t baud);
/* Admits one identifier, with TESS_ID_29BIT for 29-bit ones. */
TESSBUS_API int tessIdAdd(int handle, int32_t id);
/* Fills up to *count frames and sets *count to their number; may block. */
TESSBUS_API int tessRead(int handle, TessFrame* frames, int* count, void* reserved);
TESSBUS_API int tessReadT(int handle, TessFrameT* frames, int* count, void* reserved);

/* The signature under which programs look tessReadT up at run time. */
typedef int (*TessReadTFunction)(int handle, TessFrameT* frames, int* count, void* reserved);

#ifdef __cplusplus
}
#endif

#ifdef __cplusplus
static_assert(sizeof(TessFrame) == 16, "TessFrame is 16 bytes");
static_assert(offsetof(TessFrame, len) == 4 && offsetof(TessFrame, lost) == 5 &&
                  offsetof(TessFrame, reserved) == 6 && offsetof(TessFrame, data) == 8,
              "TessFrame layout");
static_assert(sizeof(TessFrameT) == 24 && offsetof(TessFrameT, timestamp) == 16, "TessFrameT layout");
static_assert(offsetof(TessFrameT, len) == 4 && offsetof(TessFrameT, data) == 8,
              "TessFrameT begins like TessFrame");
static_assert(sizeof(TessStatus) == 28, "TessStatus is 28 bytes");
static_assert(sizeof(TessTraffic) == 16 && offsetof(TessTraffic, bits) == 8, "TessTraffic layout");
static_assert(offsetof(TessStatus, firmwareVersion) == 2 && offsetof(TessStatus, driverVersion) == 4 &&
                  offsetof(TessStatus, libraryVersion) == 6 && offsetof(TessStatus, boardStatus) == 8 &&
                  offsetof(TessStatus, boardName) == 12 && offsetof(TessStatus, features) == 26,
              "TessStatus layout");
#else
_Static_assert(sizeof(TessFrame) == 16, "TessFrame is 16 bytes");
_Static_assert(sizeof(TessFrameT) == 24, "TessFrameT is 24 bytes");
_Static_assert(sizeof(TessStatus) == 28, "TessStatus is 28 bytes");
_Static_assert(sizeof(TessTraffic) == 16, "TessTraffic is 16 bytes");
#endif

#endif /* TESSBUS_H */
