#include "framesorter.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

// A frame that comes this few places too early is moved into place at once;
// further out the window is sorted before it passes frames on.
constexpr size_t shortMove = 32;
constexpr size_t mergeBuffer = 4096; // frames read at once from each run

bool earlier(const ConvertFrame& a, const ConvertFrame& b)
{
    return a.timeNs < b.timeNs;
}

void stableSort(std::vector<ConvertFrame>& frames)
{
    std::stable_sort(frames.begin(), frames.end(), earlier);
}

// Appends a frame, keeping a sorted vector sorted while that is cheap;
// `sorted` turns false when it isn't.
void appendInOrder(std::vector<ConvertFrame>& frames, bool& sorted, const ConvertFrame& frame)
{
    if (sorted && !frames.empty() && frame.timeNs < frames.back().timeNs) {
        // Behind the last frame of no later time, so that equal times keep
        // their order of arrival.
        auto at = frames.end() - 1;
        const auto stop = frames.size() > shortMove ? frames.end() - shortMove : frames.begin();
        while (at != stop && frame.timeNs < (at - 1)->timeNs)
            --at;
        if (at != frames.begin() && frame.timeNs < (at - 1)->timeNs) {
            sorted = false;
            frames.push_back(frame);
        } else {
            frames.insert(at, frame);
        }
        return;
    }
    frames.push_back(frame);
}

} // namespace

ReorderWindow::ReorderWindow(size_t capacity, FrameReceiver& receiver)
    : capacity(std::max<size_t>(capacity, 2)), receiver(receiver)
{
    frames.reserve(this->capacity);
}

bool ReorderWindow::push(const ConvertFrame& frame)
{
    if (released && frame.timeNs < lastReleased)
        return false;
    appendInOrder(frames, sorted, frame);
    if (frames.size() >= capacity)
        release(capacity / 2);
    return true;
}

void ReorderWindow::sortHeld()
{
    if (!sorted)
        stableSort(frames);
    sorted = true;
}

void ReorderWindow::release(size_t count)
{
    sortHeld();
    count = std::min(count, frames.size());
    if (count == 0)
        return;
    for (size_t i = 0; i < count; ++i)
        receiver.take(frames[i]);
    released = true;
    lastReleased = frames[count - 1].timeNs;
    frames.erase(frames.begin(), frames.begin() + long(count));
}

void ReorderWindow::finish()
{
    release(frames.size());
}

RunSorter::RunSorter(size_t runLength, std::string directory)
    : runLength(std::max<size_t>(runLength, 1)), directory(std::move(directory))
{
    frames.reserve(this->runLength);
}

RunSorter::~RunSorter()
{
    if (fd >= 0)
        ::close(fd);
}

bool RunSorter::fail(const std::string& what)
{
    if (failure.empty())
        failure = what + ": " + std::strerror(errno);
    return false;
}

bool RunSorter::push(const ConvertFrame& frame)
{
    if (!failure.empty())
        return false;
    appendInOrder(frames, sorted, frame);
    return frames.size() < runLength || writeRun();
}

bool RunSorter::writeRun()
{
    if (frames.empty())
        return true;
    if (fd < 0) {
        std::string name = directory + "/vistrel-convert-XXXXXX";
        fd = ::mkstemp(name.data());
        if (fd < 0)
            return fail("cannot make a temporary file in " + directory);
        // Nobody else needs to see it, and it goes when the sorter goes.
        ::unlink(name.c_str());
    }
    if (!sorted)
        stableSort(frames);
    sorted = true;
    const char* p = reinterpret_cast<const char*>(frames.data());
    size_t left = frames.size() * sizeof(ConvertFrame);
    while (left > 0) {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return fail("cannot write a temporary file in " + directory);
        p += n;
        left -= size_t(n);
    }
    runs.push_back({written, frames.size()});
    written += frames.size();
    frames.clear();
    return true;
}

bool RunSorter::finish(FrameReceiver& receiver)
{
    if (!failure.empty())
        return false;
    if (runs.empty()) {
        if (!sorted)
            stableSort(frames);
        for (const ConvertFrame& f : frames)
            receiver.take(f);
        frames.clear();
        return true;
    }
    if (!writeRun())
        return false;
    std::vector<ConvertFrame>().swap(frames);

    // A k-way merge; among equal times the earlier run comes first.
    struct Reader
    {
        uint64_t next; // next frame in the file
        uint64_t end;
        std::vector<ConvertFrame> buffer;
        size_t at = 0;
    };
    std::vector<Reader> readers;
    for (const Run& run : runs)
        readers.push_back({run.first, run.first + run.count, {}, 0});
    const auto refill = [this](Reader& r) {
        const size_t n = size_t(std::min<uint64_t>(mergeBuffer, r.end - r.next));
        r.buffer.resize(n);
        r.at = 0;
        size_t done = 0;
        char* p = reinterpret_cast<char*>(r.buffer.data());
        const size_t bytes = n * sizeof(ConvertFrame);
        while (done < bytes) {
            const ssize_t got =
                ::pread(fd, p + done, bytes - done, off_t(r.next * sizeof(ConvertFrame) + done));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return fail("cannot read a temporary file in " + directory);
            done += size_t(got);
        }
        r.next += n;
        return true;
    };
    using Head = std::pair<int64_t, size_t>; // time, run
    std::vector<Head> heap;
    const auto later = [](const Head& a, const Head& b) { return a > b; };
    for (size_t i = 0; i < readers.size(); ++i) {
        if (!refill(readers[i]))
            return false;
        heap.push_back({readers[i].buffer.front().timeNs, i});
    }
    std::make_heap(heap.begin(), heap.end(), later);
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), later);
        Reader& r = readers[heap.back().second];
        receiver.take(r.buffer[r.at++]);
        if (r.at == r.buffer.size()) {
            if (r.next == r.end) {
                heap.pop_back();
                continue;
            }
            if (!refill(r))
                return false;
        }
        heap.back().first = r.buffer[r.at].timeNs;
        std::push_heap(heap.begin(), heap.end(), later);
    }
    return true;
}
