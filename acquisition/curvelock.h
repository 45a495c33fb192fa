#ifndef CURVELOCK_H
#define CURVELOCK_H

#include <QMutex>

// Qt as the distribution ships it is not built for ThreadSanitizer, so the
// hand-over inside QMutex is invisible to the sanitizer. In a sanitizer build
// (VISTREL_TSAN) every lock of a curve's mutex also tells it about the
// acquire and the release; elsewhere the calls vanish.
#if defined(VISTREL_TSAN)
extern "C" void __tsan_acquire(void* addr);
extern "C" void __tsan_release(void* addr);
#endif

inline void lockCurveMutex(QMutex& mutex)
{
    mutex.lock();
#if defined(VISTREL_TSAN)
    __tsan_acquire(&mutex);
#endif
}

inline void unlockCurveMutex(QMutex& mutex)
{
#if defined(VISTREL_TSAN)
    __tsan_release(&mutex);
#endif
    mutex.unlock();
}

// Holds a curve's mutex for one scope. Use it wherever a curve's ring is
// touched: the capture thread's append and the refresh cycle's snapshot.
class CurveLock
{
public:
    explicit CurveLock(QMutex& mutex) : mutex(mutex) { lockCurveMutex(mutex); }
    ~CurveLock() { unlockCurveMutex(mutex); }
    CurveLock(const CurveLock&) = delete;
    CurveLock& operator=(const CurveLock&) = delete;

private:
    QMutex& mutex;
};

// Takes the mutex on request and gives it back when it is destroyed itself.
// As a member declared right behind the mutex it keeps the mutex held while
// the members declared after it are freed.
class DeferredCurveLock
{
public:
    explicit DeferredCurveLock(QMutex& mutex) : mutex(mutex) {}
    ~DeferredCurveLock()
    {
        if (held)
            unlockCurveMutex(mutex);
    }
    DeferredCurveLock(const DeferredCurveLock&) = delete;
    DeferredCurveLock& operator=(const DeferredCurveLock&) = delete;

    void lock()
    {
        if (held)
            return;
        lockCurveMutex(mutex);
        held = true;
    }

private:
    QMutex& mutex;
    bool held = false;
};

#endif // CURVELOCK_H
