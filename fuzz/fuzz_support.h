// What every harness shares: the bound on what a reader allocates, and
// scratch files for the readers that take a path.
#pragma once

#include <sanitizer/allocator_interface.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace fuzz {

// Bytes alive on the heap, counted by the allocator's hooks, and the most
// that were alive since the last reset. libFuzzer's -malloc_limit_mb sees
// single blocks only; this sees the sum, Qt's own blocks included.
struct HeapCounter
{
    std::atomic<int64_t> live{0};
    std::atomic<int64_t> peak{0};
};

inline HeapCounter& heap()
{
    static HeapCounter counter;
    return counter;
}

extern "C" inline void fuzzMallocHook(const volatile void*, size_t size)
{
    HeapCounter& h = heap();
    const int64_t now = h.live.fetch_add(int64_t(size), std::memory_order_relaxed) + int64_t(size);
    int64_t seen = h.peak.load(std::memory_order_relaxed);
    while (now > seen && !h.peak.compare_exchange_weak(seen, now, std::memory_order_relaxed)) {
    }
}

extern "C" inline void fuzzFreeHook(const volatile void* p)
{
    if (p)
        heap().live.fetch_sub(int64_t(__sanitizer_get_allocated_size(const_cast<const void*>(p))),
                              std::memory_order_relaxed);
}

// Checks, for one input, that the heap never held more than `factor` times
// the input's size plus `constant` bytes beyond what it held before.
class AllocationBound
{
public:
    AllocationBound(size_t inputSize, int64_t factor, int64_t constant)
        : limit(int64_t(inputSize) * factor + constant)
    {
        static const bool installed = __sanitizer_install_malloc_and_free_hooks(fuzzMallocHook, fuzzFreeHook);
        (void)installed;
        start = heap().live.load();
        heap().peak.store(start);
    }
    ~AllocationBound()
    {
        const int64_t used = heap().peak.load() - start;
        if (used > limit) {
            std::fprintf(stderr, "allocation bound exceeded: %lld bytes at a time, limit %lld\n",
                         static_cast<long long>(used), static_cast<long long>(limit));
            std::abort();
        }
    }
    AllocationBound(const AllocationBound&) = delete;
    AllocationBound& operator=(const AllocationBound&) = delete;

private:
    int64_t limit;
    int64_t start = 0;
};

// A private folder for the process, made at the first call.
inline const std::string& scratchDir()
{
    static const std::string dir = [] {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/vistrel-fuzz-XXXXXX";
        if (!mkdtemp(pattern.data()))
            std::abort();
        return pattern;
    }();
    return dir;
}

// Writes the bytes to `name` in the scratch folder and returns its path.
inline std::string writeScratch(const char* name, const uint8_t* data, size_t size)
{
    const std::string path = scratchDir() + "/" + name;
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f || (size > 0 && std::fwrite(data, 1, size, f) != size) || std::fclose(f) != 0)
        std::abort();
    return path;
}

} // namespace fuzz
