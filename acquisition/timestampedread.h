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

// Looks up "tessReadT" in the driver library the program is linked against:
// by its soname first, which is the one name an installed package has
// without its development files, then by the plain "libtessbus.so".
// Returns 0 on success, -1 when neither name loads a library that has it.
int lookUpTimestampedRead();

// The same in the library of the given name or path: stores the result in
// timestampedRead (null on failure) and returns 0 or -1.
int lookUpTimestampedRead(const char* libraryName);

#endif // TIMESTAMPEDREAD_H
