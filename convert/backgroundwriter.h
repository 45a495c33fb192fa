#ifndef BACKGROUNDWRITER_H
#define BACKGROUNDWRITER_H

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

// Writes text to a stdio stream on a thread of its own, so that the
// conversion goes on while the system copies what it made. A few chunks
// wait at most; write() blocks when they are all in use.
class BackgroundWriter
{
public:
    explicit BackgroundWriter(std::FILE* out);
    ~BackgroundWriter();
    BackgroundWriter(const BackgroundWriter&) = delete;
    BackgroundWriter& operator=(const BackgroundWriter&) = delete;

    // Queues a copy of the text; false once a write has failed.
    bool write(const char* data, size_t size);
    // Waits until everything is written and flushed; false on any failure,
    // with errorNumber() telling why.
    bool finish();
    int errorNumber() const;

private:
    static constexpr size_t depth = 4;

    void run();

    std::FILE* const out;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::vector<char>> queued;
    std::vector<std::vector<char>> spare;
    size_t inUse = 0; // queued or being written
    bool closing = false;
    int failedWith = 0;
    std::thread thread; // last: starts when everything else is made
};

#endif // BACKGROUNDWRITER_H
