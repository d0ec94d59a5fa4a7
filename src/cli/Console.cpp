#include "cli/Console.h"

#include "base/Localized.h"
#include "base/UniqueFd.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace varnel {

namespace {
constexpr std::size_t kBufferSize = std::size_t{64} * 1024;
constexpr std::size_t kMaximumInput = 256u << 20;

/// Whether the failed call is to be made again; waits as long as the descriptor is not ready.
bool isWorthRetrying(int descriptor, short events) {
    if (errno == EAGAIN) {
        pollfd entry{descriptor, events, 0};
        return ::poll(&entry, 1, -1) > 0 || errno == EINTR;
    }
    return errno == EINTR;
}

std::string nameOf(const std::string& path) {
    return path == "-" ? localized("standard input") : path;
}

} // namespace

void OutputStream::write(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= kBufferSize)
        flush();
}

void OutputStream::line(std::string_view text) {
    buffer_.append(text);
    buffer_.push_back('\n');
    if (buffer_.size() >= kBufferSize)
        flush();
}

void OutputStream::flush() {
    std::string_view rest = buffer_;
    while (!rest.empty() && !closed_) {
        ssize_t written = ::write(descriptor_, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (!isWorthRetrying(descriptor_, POLLOUT)) {
            if (errno != EPIPE)
                failure_ = errno;
            closed_ = true;
        }
    }
    buffer_.clear();
}

void Console::complain(std::string_view text) {
    out.flush(); // keeps both streams in order where they share a terminal
    err.write("varnel: ");
    err.line(text);
    err.flush();
}

ReadTextResult readText(const std::string& path) {
    ReadTextResult result;
    UniqueFd opened;
    int descriptor = STDIN_FILENO;
    if (path != "-") {
        // A named pipe that nobody writes to reads as empty.
        opened.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        descriptor = opened.get();
    }
    char chunk[16 * 1024];
    ssize_t got = descriptor < 0 ? -1 : 1;
    while (got > 0 && result.text.size() <= kMaximumInput) {
        got = ::read(descriptor, chunk, sizeof chunk);
        if (got > 0)
            result.text.append(chunk, static_cast<std::size_t>(got));
        else if (got < 0 && isWorthRetrying(descriptor, POLLIN))
            got = 1;
    }
    if (got < 0)
        result.error = localized("cannot read %1: %2", {nameOf(path), std::strerror(errno)});
    else if (result.text.size() > kMaximumInput)
        result.error = localized("%1 is larger than 256 MB", {nameOf(path)});
    return result;
}

} // namespace varnel
