// Reading the CAN logs of other tools: candump, Vector ASC, PEAK TRC and
// Vector BLF. The format is told by the content, never by the file name.
//
// Times are integer nanoseconds, so that BLF's nanoseconds and candump's
// microseconds survive unchanged. Where the log states when it began (the
// ASC "date" line, TRC ";$STARTTIME", the BLF file header) or its times are
// themselves calendar times (candump), frame times count from the Unix epoch
// and hasAbsoluteTime() is true; otherwise they count from the log's 0.
// Wall-clock starts in headers carry no time zone and are read as UTC.
//
// Channels are 0-based indexes into channelNames(): for candump the
// interface names in order of first appearance; for the numbered formats the
// log's own numbers, so the log's channel/bus 1 is index 0 and its name is
// "1" (TRC versions without a bus column put every frame on "1").
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace canlogs {

enum class LogFormat { Unknown, Candump, Asc, Trc, Blf };

enum FrameFlag : uint8_t {
    FrameExtended = 0x01, // 29-bit identifier
    FrameRemote = 0x02,   // remote request: `length` is the requested length, no data
    FrameFd = 0x04,       // CAN FD frame
    FrameBrs = 0x08,      // CAN FD bit rate switch
    FrameEsi = 0x10,      // CAN FD error state indicator
};

struct Frame
{
    int64_t timeNs = 0;   // see above: since the epoch or since the log's start
    uint32_t id = 0;      // 11 or 29 bits, without flag bits
    uint16_t channel = 0; // index into LogReader::channelNames()
    uint8_t flags = 0;    // FrameFlag bits
    uint8_t length = 0;   // data bytes, 0 to 8 (classic) or 64 (FD)
    uint8_t data[64];     // bytes at and beyond `length` are 0
};

// Streams the frames of one log with memory bounded by a buffer of about a
// megabyte, whatever the file's size. Damage ends the stream: the frames
// before it are delivered, and error() names the file and the line (text) or
// byte offset (BLF) where reading stopped.
class LogReader
{
public:
    explicit LogReader(const std::string& path);
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    // Up to `max` frames into `out`; fewer only at the end, on damage or after
    // stop(). 0 once nothing is left.
    size_t read(Frame* out, size_t max);
    bool next(Frame& out) { return read(&out, 1) == 1; }

    bool atEnd() const;               // end of log, damage or stop
    const std::string& error() const; // empty unless unreadable or damaged
    LogFormat format() const;
    const std::string& formatName() const; // "candump", "ASC", "TRC 1.1", "BLF"

    bool hasAbsoluteTime() const; // known after the header (candump: after the first frame)
    int64_t startTimeNs() const;  // the start the header states, else 0
    const std::vector<std::string>& channelNames() const; // grows while reading

    // May be called from any thread: progress and a stop that takes effect at
    // the next batch.
    uint64_t bytesConsumed() const;
    uint64_t fileSize() const;
    void stop();
    bool stopped() const;

    struct State;

private:
    std::unique_ptr<State> d;
};

struct LogContents
{
    LogFormat format = LogFormat::Unknown;
    std::string formatName;
    std::vector<Frame> frames;
    std::vector<std::string> channelNames;
    bool hasAbsoluteTime = false;
    int64_t startTimeNs = 0;
    std::string error; // as LogReader::error(); frames holds those before it
};

// Reads a whole log at once.
LogContents readLog(const std::string& path);

// Data length of a CAN FD length code (0 to 15).
uint8_t fdLength(unsigned dlc);

} // namespace canlogs
