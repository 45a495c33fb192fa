// The process's nets and open handles. Handle numbers are never given out
// twice, so a stale number can't reach a handle opened later.
#pragma once

#include "config.h"
#include "net.h"

#include <memory>
#include <mutex>
#include <unordered_map>

namespace tessbus {

class Registry
{
public:
    static Registry& instance();

    int open(int net, const OpenParams& params, int* handle);
    int close(int handle);
    std::shared_ptr<Handle> handle(int handle);
    std::shared_ptr<Net> net(int net);
    int openHandles(int net);
    // Closes every handle, ends the nets' threads and forgets the
    // configuration; the next call reads it again.
    void reload();

private:
    Registry() = default;
    void loadIfNeededLocked();

    std::mutex mutex_;
    bool loaded_ = false;
    NetTable nets_;
    std::unordered_map<int, std::shared_ptr<Handle>> handles_;
    int lastHandle_ = 0;
};

} // namespace tessbus
