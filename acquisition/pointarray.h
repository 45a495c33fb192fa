#ifndef POINTARRAY_H
#define POINTARRAY_H

#include <cstddef>
#include <memory>

// One coordinate of a curve's points: `length` doubles, element 0 the live
// point, then the samples newest first.
//
// New samples enter at the front, behind the live point, and push the older
// ones one place further per sample. Rather than moving every point at each
// refresh, the array lies at the top of a buffer with room for a quarter of
// its length below it, and new samples move its start down: the points
// already held keep their place in memory. Only when the room is used up is
// the array moved back to the top, in one copy: with a hundredth of the
// array new at each refresh, once in 25 refreshes. get() is therefore valid
// until the next pushFront().
class PointArray
{
public:
    explicit PointArray(size_t length);
    PointArray(const PointArray&) = delete;
    PointArray& operator=(const PointArray&) = delete;

    double* get() { return buffer.get() + start; }
    const double* get() const { return buffer.get() + start; }
    double& operator[](size_t i) { return get()[i]; }
    const double& operator[](size_t i) const { return get()[i]; }
    size_t size() const { return length; }

    // Makes room for `fresh` new samples: element i + fresh becomes what
    // element i was, for every i from 1 on that stays within the array.
    // Elements 1 to `fresh` are then the caller's to write; element 0 keeps
    // no meaning either. fresh is at most size() - 1.
    void pushFront(size_t fresh);

private:
    const size_t length;
    const size_t room;
    const std::unique_ptr<double[]> buffer;
    size_t start;
};

#endif // POINTARRAY_H
