#ifndef DRIVER_SUPPORT_H
#define DRIVER_SUPPORT_H

// Helpers of the driver, decoding and capture tests.
#include "tessbus_test.h"
#include "testsupport.h"

#include <QtTest>

#include <cstring>

namespace TestSupport {

// A frame of the given data bytes; flags go into the length byte.
inline TessFrameT frameT(uint32_t id, std::initializer_list<uint8_t> data, uint64_t stamp = 0,
                         uint8_t flags = 0)
{
    TessFrameT f{};
    f.id = id;
    f.len = uint8_t(data.size()) | flags;
    std::copy(data.begin(), data.end(), f.data);
    f.timestamp = stamp;
    return f;
}

inline TessFrame frame(uint32_t id, std::initializer_list<uint8_t> data, uint8_t flags = 0)
{
    const TessFrameT t = frameT(id, data, 0, flags);
    TessFrame f;
    std::memcpy(&f, &t, sizeof f);
    return f;
}

// The bytes of n objects, to compare them exactly (not-a-number included).
template <typename T> QByteArray bytes(const T* data, size_t n = 1)
{
    return QByteArray(reinterpret_cast<const char*>(data), int(n * sizeof(T)));
}

// Data rows from a table of structs whose first member is the row's name:
// the _data function calls addRows(table), the test tableRow(table).
template <typename Row, size_t N> void addRows(const Row (&rows)[N])
{
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < N; ++i)
        QTest::newRow(rows[i].name) << int(i);
}

template <typename Row, size_t N> const Row& tableRow(const Row (&rows)[N])
{
    QFETCH(int, row);
    return rows[row];
}

} // namespace TestSupport

#endif // DRIVER_SUPPORT_H
