#ifndef TIMESTAMPEDREAD_H
#define TIMESTAMPEDREAD_H

#include "tessbus.h"

// The driver's timestamped read is optional: older libraries lack it, so it
// is looked up at run time. Both variables are set once by the main window's
// constructor, before any capture thread exists, and only read afterwards.
extern TessReadTFunction timestampedRead;
// 0 when timestampedRead can be called, -1 when not. Users test this, not
// the pointer.
extern int timestampedReadStatus;

// The library the program is linked against, as the dynamic loader knows it.
constexpr const char* driverLibraryName = "libtessbus.so";

// Loads the driver library and looks up "tessReadT" in it; stores the result
// in timestampedRead. Returns 0 on success, -1 when the library can't be
// loaded or lacks the symbol (timestampedRead is then null).
int lookUpTimestampedRead(const char* libraryName = driverLibraryName);

#endif // TIMESTAMPEDREAD_H
