#include "timestampedread.h"

#include <dlfcn.h>
#include <initializer_list>

TessReadTFunction timestampedRead = nullptr;
int timestampedReadStatus = -1;

int lookUpTimestampedRead()
{
    // The soname comes from the build (TESSBUS_SONAME); a library of that
    // soname is already loaded, so the loader hands back that very copy.
    for (const char* name : {TESSBUS_SONAME, "libtessbus.so"}) {
        if (lookUpTimestampedRead(name) == 0)
            return 0;
    }
    return -1;
}

int lookUpTimestampedRead(const char* libraryName)
{
    timestampedRead = nullptr;
    // The handle is kept for the life of the process: the function pointer
    // must stay valid, and the library is linked in anyway.
    void* library = dlopen(libraryName, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return -1;
    void* symbol = dlsym(library, "tessReadT");
    if (!symbol)
        return -1;
    timestampedRead = reinterpret_cast<TessReadTFunction>(symbol);
    return 0;
}
