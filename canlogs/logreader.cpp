#include "logparser.h"

namespace canlogs {

using namespace text;

struct LogReader::State
{
    LogInfo info;
    FileInput input;
    std::unique_ptr<Parser> parser;
    LogFormat format = LogFormat::Unknown;
    bool atEnd = false;
    std::atomic<bool> stopRequested{false};
};

namespace {

bool isHexWord(const char* b, const char* e)
{
    if (b == e)
        return false;
    for (; b < e; ++b)
        if (hexDigit(*b) < 0)
            return false;
    return true;
}

// The text format that the first lines belong to. Comment-only text of
// candump's kind counts as candump; a line of none gives Unknown and its number.
LogFormat detectText(const char* p, const char* end, bool wholeFile, uint64_t* badLine)
{
    bool candumpComments = false;
    for (uint64_t line = 1; p < end; ++line) {
        const char* nl = static_cast<const char*>(std::memchr(p, '\n', end - p));
        if (!nl && !wholeFile)
            break; // a line cut by the end of the sample
        const char* e = nl ? nl : end;
        const char* b = p;
        p = nl ? nl + 1 : end;
        if (e > b && e[-1] == '\r')
            --e;
        skipBlanks(b, e);
        if (b == e)
            continue;
        if (*b == ';')
            return LogFormat::Trc;
        if (*b == '(')
            return LogFormat::Candump;
        if (*b == '#') {
            candumpComments = true;
            continue;
        }
        for (const char* asc : {"date ", "base ", "//", "begin triggerblock", "internal events logged",
                                "no internal events logged"})
            if (startsWithNoCase(b, e, asc))
                return LogFormat::Asc;
        const char* first = word(b, e);
        if (b - first >= 2 && b[-1] == ')' && isDigit(*first))
            return LogFormat::Trc; // "1)  1841  0001  8  00 ..." of version 1.0 without a header
        skipBlanks(b, e);
        const char* id = word(b, e);
        const char* idEnd = b;
        skipBlanks(b, e);
        if (isHexWord(id, idEnd) && b < e && *b == '[')
            return LogFormat::Candump; // candump's screen form: "can0  123   [4]  DE AD BE EF"
        *badLine = line;
        return LogFormat::Unknown;
    }
    return candumpComments ? LogFormat::Candump : LogFormat::Unknown;
}

} // namespace

LogReader::LogReader(const std::string& path) : d(std::make_unique<State>())
{
    d->info.path = path;
    d->atEnd = true;
    if (!d->input.open(path, &d->info.error))
        return;
    std::vector<char> buffer(64 * 1024);
    const char* sample = buffer.data();
    const size_t n = d->input.peek(buffer.data(), buffer.size());
    if (n == 0) {
        d->info.error = path + ": the file is empty";
        return;
    }
    uint64_t badLine = 0;
    if (n >= 4 && std::memcmp(sample, "LOGG", 4) == 0) {
        d->format = LogFormat::Blf;
        d->parser = makeBlfParser(d->input, d->info);
    } else {
        d->format = detectText(sample, sample + n, n == d->input.size(), &badLine);
        if (d->format == LogFormat::Candump)
            d->parser = makeCandumpParser(d->input, d->info);
        else if (d->format == LogFormat::Asc)
            d->parser = makeAscParser(d->input, d->info);
        else if (d->format == LogFormat::Trc)
            d->parser = makeTrcParser(d->input, d->info);
    }
    if (!d->parser) {
        const std::string what = "not a candump, ASC, TRC or BLF log";
        if (badLine)
            d->info.failAtLine(badLine, what);
        else
            d->info.error = path + ": " + what;
        return;
    }
    d->atEnd = !d->info.error.empty();
}

LogReader::~LogReader() = default;

size_t LogReader::read(Frame* out, size_t max)
{
    if (d->atEnd || max == 0)
        return 0;
    if (d->stopRequested.load(std::memory_order_relaxed)) {
        d->atEnd = true;
        return 0;
    }
    const size_t n = d->parser->parse(out, max);
    if (n < max)
        d->atEnd = true;
    return n;
}

bool LogReader::atEnd() const
{
    return d->atEnd;
}
const std::string& LogReader::error() const
{
    return d->info.error;
}
LogFormat LogReader::format() const
{
    return d->format;
}
const std::string& LogReader::formatName() const
{
    return d->info.formatName;
}
bool LogReader::hasAbsoluteTime() const
{
    return d->info.absoluteTime;
}
int64_t LogReader::startTimeNs() const
{
    return d->info.startNs;
}
const std::vector<std::string>& LogReader::channelNames() const
{
    return d->info.channelNames;
}
uint64_t LogReader::bytesConsumed() const
{
    return d->input.consumed();
}
uint64_t LogReader::fileSize() const
{
    return d->input.size();
}
void LogReader::stop()
{
    d->stopRequested.store(true, std::memory_order_relaxed);
}
bool LogReader::stopped() const
{
    return d->stopRequested.load(std::memory_order_relaxed);
}

LogContents readLog(const std::string& path)
{
    LogReader reader(path);
    LogContents log;
    constexpr size_t kBatch = 4096;
    while (!reader.atEnd()) {
        const size_t have = log.frames.size();
        log.frames.resize(have + kBatch);
        log.frames.resize(have + reader.read(log.frames.data() + have, kBatch));
    }
    log.format = reader.format();
    log.formatName = reader.formatName();
    log.channelNames = reader.channelNames();
    log.hasAbsoluteTime = reader.hasAbsoluteTime();
    log.startTimeNs = reader.startTimeNs();
    log.error = reader.error();
    return log;
}

uint8_t fdLength(unsigned dlc)
{
    return dlcLength(dlc);
}

} // namespace canlogs
