/* A driver library as older versions were: everything but tessReadT. */
#include "tessbus.h"

int tessOpen(int net, int flags, int txQueue, int rxQueue, int txTimeout, int rxTimeout, int* handle)
{
    (void)net, (void)flags, (void)txQueue, (void)rxQueue, (void)txTimeout, (void)rxTimeout;
    if (handle)
        *handle = -1;
    return TESS_ERR_NO_NET;
}

int tessRead(int handle, TessFrame* frames, int* count, void* reserved)
{
    (void)handle, (void)frames, (void)reserved;
    if (count)
        *count = 0;
    return TESS_ERR_HANDLE;
}
