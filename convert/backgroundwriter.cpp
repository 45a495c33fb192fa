#include "backgroundwriter.h"

#include <cerrno>

BackgroundWriter::BackgroundWriter(std::FILE* out) : out(out), thread([this] { run(); }) {}

BackgroundWriter::~BackgroundWriter()
{
    finish();
}

bool BackgroundWriter::write(const char* data, size_t size)
{
    std::vector<char> chunk;
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return inUse < depth || failedWith != 0; });
        if (failedWith != 0)
            return false;
        ++inUse;
        if (!spare.empty()) {
            chunk.swap(spare.back());
            spare.pop_back();
        }
    }
    chunk.assign(data, data + size);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        queued.push_back(std::move(chunk));
    }
    changed.notify_all();
    return true;
}

void BackgroundWriter::run()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return !queued.empty() || closing; });
        if (queued.empty())
            break;
        std::vector<char> chunk = std::move(queued.front());
        queued.pop_front();
        const bool ok = failedWith == 0;
        lock.unlock();
        const bool written = !ok || std::fwrite(chunk.data(), 1, chunk.size(), out) == chunk.size();
        const int error = errno;
        lock.lock();
        if (!written && failedWith == 0)
            failedWith = error != 0 ? error : EIO;
        spare.push_back(std::move(chunk));
        --inUse;
        changed.notify_all();
    }
    if (failedWith == 0 && std::fflush(out) != 0)
        failedWith = errno != 0 ? errno : EIO;
}

bool BackgroundWriter::finish()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        closing = true;
    }
    changed.notify_all();
    if (thread.joinable())
        thread.join();
    return errorNumber() == 0;
}

int BackgroundWriter::errorNumber() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return failedWith;
}
