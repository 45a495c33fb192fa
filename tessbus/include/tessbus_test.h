/*
 * Test interface of libtessbus: lets tests build nets from a configuration
 * of their own, put frames onto virtual nets and make calls fail on purpose.
 * Programs never need it; it is exported from the same library so that
 * tests run against the very code the program uses.
 */
#ifndef TESSBUS_TEST_H
#define TESSBUS_TEST_H

#include "tessbus.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Returned by a call that failed because tessTestSetFailure asked for it. */
#define TESS_ERR_INJECTED 100

/*
 * Closes every handle (blocked reads fail), stops the frame generators and
 * reads the configuration again (TESSBUS_CONFIG, XDG_CONFIG_HOME, ...).
 * Handle numbers stay unique across reloads. Returns 0.
 */
TESSBUS_API int tessTestReload(void);

/*
 * Puts frames onto a virtual net (plain, demo or replay) now: every handle
 * that admits a frame's id receives it. The timestamp is the net's counter
 * at the moment of the call; lost and reserved are ignored. Fails on other
 * nets, on ids that are neither 11-bit nor flagged 29-bit, and on a data
 * length above 8.
 */
TESSBUS_API int tessTestInject(int net, const TessFrame* frames, int count);
/* The same with the timestamps given in the frames. */
TESSBUS_API int tessTestInjectT(int net, const TessFrameT* frames, int count);

/*
 * Pins the timestamp counter of a virtual net to a value: until the next
 * call, TESS_IOCTL_GET_TIMESTAMP and the stamps of injected and generated
 * frames all read that value. TESS_TEST_UNPIN lets the counter run again,
 * continuing from the pinned value.
 */
#define TESS_TEST_UNPIN UINT64_MAX
TESSBUS_API int tessTestSetTimestamp(int net, uint64_t counter);

/*
 * Failure injection on a net. op is one of the constants below; times is
 * the number of following calls of that kind on the net that fail with
 * TESS_ERR_INJECTED, -1 for all of them until the call is made again with
 * times 0. A reload clears every failure.
 */
#define TESS_TEST_FAIL_OPEN 1
#define TESS_TEST_FAIL_STATUS 2
#define TESS_TEST_FAIL_SET_BAUDRATE 3
#define TESS_TEST_FAIL_ID_ADD 4
#define TESS_TEST_FAIL_READ 5 /* tessRead and tessReadT */
#define TESS_TEST_FAIL_IOCTL 6
TESSBUS_API int tessTestSetFailure(int net, int op, int times);

/* Number of open handles on a net, -1 if the net does not exist. */
TESSBUS_API int tessTestOpenHandles(int net);

/* The last baud value that tessSetBaudrate accepted on a handle (0 before). */
TESSBUS_API int tessTestHandleBaud(int handle, uint32_t* baud);

/*
 * Waits until at least `readers` reads are blocked on the net's empty
 * queues, so that a test can inject once its reader thread is ready.
 * Returns 0 when reached, TESS_ERR_TIMEOUT after timeoutMs.
 */
TESSBUS_API int tessTestWaitForReaders(int net, int readers, int timeoutMs);

#ifdef __cplusplus
}
#endif

#endif /* TESSBUS_TEST_H */
