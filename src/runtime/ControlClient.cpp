#include "runtime/ControlClient.h"

#include "base/JSONReader.h"
#include "base/JSONWriter.h"
#include "runtime/LocalSocket.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace varnel {

namespace {

using Clock = std::chrono::steady_clock;
using Error = ControlClientError;

constexpr std::size_t kMaximumAnswer = 1 << 20;

Error failed(std::string message) {
    return {Error::Kind::failed, std::move(message)};
}

/// Waits until the descriptor is ready; false once `deadline` has passed.
bool waitFor(int descriptor, short events, Clock::time_point deadline) {
    for (;;) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd entry{descriptor, events, 0};
        int ready = ::poll(&entry, 1, static_cast<int>(std::max<long long>(0, left)));
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

/// As long as the other side is only too busy to take us, tries again.
std::expected<UniqueFd, int> connectPatiently(const std::string& path, Clock::time_point deadline) {
    auto connected = LocalSocket::connectTo(path);
    while (!connected && connected.error() == EAGAIN && Clock::now() < deadline) {
        ::poll(nullptr, 0, 5);
        connected = LocalSocket::connectTo(path);
    }
    return connected;
}

std::expected<UniqueFd, int> connectFirst(const RuntimePaths& paths, Clock::time_point deadline) {
    auto connected = connectPatiently(paths.displayControlSocket(), deadline);
    return connected ? std::move(connected) : connectPatiently(paths.controlSocket(), deadline);
}

bool sendAll(int descriptor, std::string_view text, Clock::time_point deadline) {
    while (!text.empty()) {
        ssize_t sent = ::write(descriptor, text.data(), text.size());
        if (sent >= 0)
            text.remove_prefix(static_cast<std::size_t>(sent));
        else if (errno != EINTR && (errno != EAGAIN || !waitFor(descriptor, POLLOUT, deadline)))
            return false;
    }
    return true;
}

/// Up to the line break; empty when none came in time.
std::string receiveLine(int descriptor, Clock::time_point deadline) {
    std::string line;
    char chunk[4096];
    while (line.size() < kMaximumAnswer && waitFor(descriptor, POLLIN, deadline)) {
        ssize_t got = ::read(descriptor, chunk, sizeof chunk);
        if (got == 0 || (got < 0 && errno != EINTR && errno != EAGAIN))
            break;
        line.append(chunk, static_cast<std::size_t>(std::max<ssize_t>(0, got)));
        if (std::size_t end = line.find('\n'); end != std::string::npos)
            return line.substr(0, end);
    }
    return {};
}

} // namespace

std::expected<JSONValue::Object, ControlClientError>
sendControlRequest(const RuntimePaths& paths, const JSONValue::Object& request, Duration patience) {
    auto deadline = Clock::now() + patience;
    auto connected = connectFirst(paths, deadline);
    if (!connected) {
        int code = connected.error();
        if (code == ENOENT || code == ECONNREFUSED || code == ENOTDIR)
            return std::unexpected(Error{Error::Kind::notRunning, "Varnel is not running"});
        return std::unexpected(
            failed("cannot reach the running application: " + std::string(std::strerror(code))));
    }
    if (!sendAll(connected->get(), writeCompactJSON(request) + "\n", deadline))
        return std::unexpected(failed("the running application does not listen"));
    std::string line = receiveLine(connected->get(), deadline);
    auto answer = readJSON(line);
    if (!answer || !answer->object())
        return std::unexpected(failed("the running application does not answer"));
    return std::move(*answer->object());
}

} // namespace varnel
