// Reader of candump logs ("(1436509052.249713) can0 123#DEADBEEF"): the
// recordings that replay nets play back.
#pragma once

#include "tessbus.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessbus {

struct LogFrame
{
    int64_t timeUs = 0; // recording time in microseconds
    TessFrame frame{};
};

enum class LogLine {
    Frame,   // a classical CAN frame
    Ignored, // blank, comment or CAN FD line
    Bad,     // neither
};

// Reads one line; `out` is set for LogLine::Frame only.
LogLine parseCandumpLine(const std::string& line, LogFrame* out);

struct CandumpLog
{
    std::vector<LogFrame> frames;
    int badLines = 0;
    int firstBadLine = 0; // line number of the first bad line, from 1
};

// False when the file can't be read; `error` then says why.
bool readCandumpLog(const std::string& path, CandumpLog* log, std::string* error);

} // namespace tessbus
