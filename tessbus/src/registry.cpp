#include "registry.h"

#include "tessbus_test.h"

#include <climits>
#include <vector>

namespace tessbus {

Registry& Registry::instance()
{
    // Never destroyed: a thread may still be inside the library while the
    // process exits, and static destruction must not pull the nets away.
    static Registry* registry = new Registry;
    return *registry;
}

void Registry::loadIfNeededLocked()
{
    if (loaded_)
        return;
    nets_ = loadConfiguredNets();
    loaded_ = true;
}

int Registry::open(int net, const OpenParams& params, int* handle)
{
    std::lock_guard<std::mutex> lock(mutex_);
    loadIfNeededLocked();
    const std::shared_ptr<Net>& n = nets_[net];
    if (!n)
        return TESS_ERR_NO_NET;
    if (n->failures().shouldFail(TESS_TEST_FAIL_OPEN))
        return TESS_ERR_INJECTED;
    if (lastHandle_ == INT_MAX)
        return TESS_ERR_NO_MEMORY; // numbers are used up; they are never reused
    std::shared_ptr<Handle> opened;
    const int result = n->open(params, &opened);
    if (result != TESS_OK)
        return result;
    const int number = ++lastHandle_;
    handles_.emplace(number, std::move(opened));
    *handle = number;
    return TESS_OK;
}

int Registry::close(int handle)
{
    std::shared_ptr<Handle> closing;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = handles_.find(handle);
        if (it == handles_.end())
            return TESS_ERR_HANDLE;
        closing = std::move(it->second);
        handles_.erase(it);
    }
    closing->close();
    return TESS_OK;
}

std::shared_ptr<Handle> Registry::handle(int handle)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = handles_.find(handle);
    return it == handles_.end() ? nullptr : it->second;
}

std::shared_ptr<Net> Registry::net(int net)
{
    if (net < 0 || net >= TESS_MAX_NETS)
        return nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    loadIfNeededLocked();
    return nets_[net];
}

int Registry::openHandles(int net)
{
    if (net < 0 || net >= TESS_MAX_NETS)
        return -1;
    std::lock_guard<std::mutex> lock(mutex_);
    loadIfNeededLocked();
    if (!nets_[net])
        return -1;
    int count = 0;
    for (const auto& entry : handles_) {
        if (&entry.second->net() == nets_[net].get())
            ++count;
    }
    return count;
}

void Registry::reload()
{
    NetTable oldNets;
    std::unordered_map<int, std::shared_ptr<Handle>> oldHandles;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        oldNets.swap(nets_);
        oldHandles.swap(handles_);
        loaded_ = false;
    }
    // Outside the lock: closing wakes readers, and ending a net joins its
    // thread; neither may wait for a caller that waits for the lock.
    for (auto& entry : oldHandles)
        entry.second->close();
    oldHandles.clear();
    for (auto& net : oldNets) {
        if (net)
            net->shutdown();
    }
    std::lock_guard<std::mutex> lock(mutex_);
    loadIfNeededLocked();
}

} // namespace tessbus
