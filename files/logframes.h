#ifndef LOGFRAMES_H
#define LOGFRAMES_H

#include "canlogs/canlog_reader.h"
#include "tessbus.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// Opening a CAN log as a recording. Of the frames that stream by, those that
// rows read are kept, in file order, in the form a capture thread hands them
// to a curve: a row reads a net and an id, with TESS_ID_29BIT for a 29-bit
// one, and a frame's net is the one its channel was given. The frame's time
// in nanoseconds is its timestamp. Memory grows with the kept frames only.
class LogFrameSieve
{
public:
    static constexpr uint64_t key(int net, uint32_t id) { return uint64_t(uint32_t(net)) << 32 | id; }

    // The keys that rows read, in any order, repeats allowed.
    explicit LogFrameSieve(std::vector<uint64_t> rowKeys);

    // The net of each channel index, -1 for none. Frames of channels beyond
    // the list go to no net and are counted by channel.
    void mapChannels(std::vector<int> channelNets);

    // Frames of more than 8 data bytes (a TessFrame holds 8) and remote
    // frames (which never hold a value) are not kept; FD frames of up to 8
    // bytes count as classic ones.
    void add(const canlogs::Frame* frames, size_t n);

    // The kept frames of a key; empty for a key no frame had.
    const std::vector<TessFrameT>& framesOf(uint64_t key) const;

    // Over all frames added, kept or not.
    uint64_t frameCount() const { return seen; }
    int64_t firstTimeNs() const { return firstNs; }
    int64_t lastTimeNs() const { return lastNs; }
    // Frames of each channel beyond the map, by channel index (0 for the
    // channels within it).
    const std::vector<uint64_t>& unmappedFrames() const { return unmapped; }

private:
    // The index of a key's frames in `kept`, keys.size() for none: an open
    // hash, so that a frame costs one multiplication and mostly one compare.
    size_t indexOf(uint64_t key) const
    {
        for (size_t slot = (key * 0x9E3779B97F4A7C15ull) >> shift;; slot = (slot + 1) & (table.size() - 1)) {
            const Slot& entry = table[slot];
            if (entry.index == keys.size() || entry.key == key)
                return entry.index;
        }
    }

    struct Slot
    {
        uint64_t key;
        size_t index; // keys.size(): empty
    };
    std::vector<uint64_t> keys; // unique
    std::vector<Slot> table;    // a power of two, at most a quarter used
    unsigned shift = 62;
    std::vector<std::vector<TessFrameT>> kept; // at the index of their key
    std::vector<int> nets;
    std::vector<uint64_t> unmapped;
    uint64_t seen = 0;
    int64_t firstNs = 0;
    int64_t lastNs = 0;
};

#endif // LOGFRAMES_H
