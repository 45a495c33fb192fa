#include "logframes.h"

#include <algorithm>
#include <cstring>

LogFrameSieve::LogFrameSieve(std::vector<uint64_t> rowKeys) : keys(std::move(rowKeys))
{
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    kept.resize(keys.size() + 1); // the last one stays empty: no key's frames
    size_t size = 4;
    for (shift = 62; size < 4 * keys.size(); --shift)
        size *= 2;
    table.assign(size, {0, keys.size()});
    for (size_t index = 0; index < keys.size(); ++index) {
        size_t slot = (keys[index] * 0x9E3779B97F4A7C15ull) >> shift;
        while (table[slot].index != keys.size())
            slot = (slot + 1) & (size - 1);
        table[slot] = {keys[index], index};
    }
}

void LogFrameSieve::mapChannels(std::vector<int> channelNets)
{
    nets = std::move(channelNets);
}

void LogFrameSieve::add(const canlogs::Frame* frames, size_t n)
{
    if (n == 0)
        return;
    if (seen == 0)
        firstNs = frames[0].timeNs;
    seen += n;
    lastNs = frames[n - 1].timeNs;
    for (size_t i = 0; i < n; ++i) {
        const canlogs::Frame& f = frames[i];
        if (f.channel >= nets.size()) {
            if (f.channel >= unmapped.size())
                unmapped.resize(size_t(f.channel) + 1);
            ++unmapped[f.channel];
            continue;
        }
        const int net = nets[f.channel];
        if (net < 0 || f.length > 8 || (f.flags & canlogs::FrameRemote))
            continue;
        const uint32_t id = f.id | ((f.flags & canlogs::FrameExtended) ? uint32_t(TESS_ID_29BIT) : 0u);
        const size_t index = indexOf(key(net, id));
        if (index == keys.size())
            continue;
        TessFrameT frame{};
        frame.id = id;
        frame.len = f.length;
        std::memcpy(frame.data, f.data, sizeof frame.data);
        frame.timestamp = uint64_t(f.timeNs);
        kept[index].push_back(frame);
    }
}

const std::vector<TessFrameT>& LogFrameSieve::framesOf(uint64_t key) const
{
    return kept[indexOf(key)];
}
