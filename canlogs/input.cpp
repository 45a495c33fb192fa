#include "logparser.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace canlogs {

void LogInfo::failAtLine(uint64_t line, const std::string& message)
{
    if (error.empty())
        error = path + ", line " + std::to_string(line) + ": " + message;
}

void LogInfo::failAtByte(uint64_t offset, const std::string& message)
{
    if (error.empty())
        error = path + ", byte " + std::to_string(offset) + ": " + message;
}

void LogInfo::growNumberedChannels(unsigned index)
{
    while (channelNames.size() <= index)
        channelNames.push_back(std::to_string(channelNames.size() + 1));
    numberedChannels = unsigned(channelNames.size());
}

FileInput::~FileInput()
{
    if (fd_ >= 0)
        ::close(fd_);
}

bool FileInput::open(const std::string& path, std::string* error)
{
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) {
        *error = path + ": " + std::strerror(errno);
        return false;
    }
    struct stat st
    {};
    if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
        *error = path + ": not a regular file";
        return false;
    }
    size_ = static_cast<uint64_t>(st.st_size);
    ::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
    return true;
}

size_t FileInput::read(void* dst, size_t n)
{
    size_t done = 0;
    while (done < n && !failed_) {
        const ssize_t got = ::read(fd_, static_cast<char*>(dst) + done, n - done);
        if (got > 0)
            done += static_cast<size_t>(got);
        else if (got == 0)
            break;
        else if (errno != EINTR)
            failed_ = true;
    }
    consumed_.fetch_add(done, std::memory_order_relaxed);
    return done;
}

size_t FileInput::peek(void* dst, size_t n) const
{
    const ssize_t got = ::pread(fd_, dst, n, 0);
    return got > 0 ? static_cast<size_t>(got) : 0;
}

bool LineSource::nextAfterRefill(const char*& begin, const char*& end)
{
    for (;;) {
        if (eof_) {
            if (pos_ == end_)
                return false;
            begin = pos_; // the last line, without an end of line
            end = end_ > pos_ && end_[-1] == '\r' ? end_ - 1 : end_;
            pos_ = end_;
            ++line_;
            return true;
        }
        const size_t kept = end_ - pos_;
        if (kept == buffer_.size()) {
            info_.failAtLine(line_ + 1, "line longer than " + std::to_string(kBufferSize) +
                                            " bytes; this is no CAN log or it is damaged");
            pos_ = end_;
            eof_ = true;
            return false;
        }
        std::memmove(buffer_.data(), pos_, kept);
        const size_t got = in_.read(buffer_.data() + kept, buffer_.size() - kept);
        if (in_.failed())
            info_.failAtLine(line_ + 1, std::string("read error: ") + std::strerror(errno));
        eof_ = got < buffer_.size() - kept;
        pos_ = buffer_.data();
        end_ = pos_ + kept + got;
        const char* nl = static_cast<const char*>(std::memchr(pos_ + kept, '\n', got));
        if (nl) {
            begin = pos_;
            end = nl > pos_ && nl[-1] == '\r' ? nl - 1 : nl;
            pos_ = nl + 1;
            ++line_;
            return true;
        }
    }
}

namespace text {

namespace {
char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
} // namespace

bool equalsNoCase(const char* b, const char* e, const char* literal)
{
    return size_t(e - b) == std::strlen(literal) && startsWithNoCase(b, e, literal);
}

bool startsWithNoCase(const char* b, const char* e, const char* literal)
{
    for (; *literal; ++literal, ++b)
        if (b == e || lower(*b) != *literal)
            return false;
    return true;
}

int64_t daysFromCivil(int64_t year, unsigned month, unsigned day)
{
    // Howard Hinnant's days_from_civil.
    year -= month <= 2;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(year - era * 400);
    const unsigned doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

} // namespace text
} // namespace canlogs
