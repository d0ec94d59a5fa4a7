#include "runtime/ControlClient.h"

#include "base/JSONReader.h"
#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "runtime/LocalSocket.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>

namespace varnel {

namespace {

using Clock = std::chrono::steady_clock;
using Error = ControlClientError;

constexpr std::size_t kMaximumAnswer = 1 << 20;
constexpr Duration kPatience = 5s;

Error failed(std::string message) {
    return {Error::Kind::failed, std::move(message)};
}

/// Waits until the descriptor is ready; false once `deadline` has passed.
bool waitFor(int descriptor, short events, Clock::time_point deadline) {
    for (;;) {
        constexpr long long kLongest = 3'600'000; // what is left may not fit into an int
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd entry{descriptor, events, 0};
        int ready = ::poll(&entry, 1, static_cast<int>(std::clamp<long long>(left, 0, kLongest)));
        if (ready > 0)
            return true;
        if ((ready == 0 && left <= kLongest) || (ready < 0 && errno != EINTR))
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

/// Splits what a connection brings into lines.
class LineReader {
public:
    explicit LineReader(int descriptor)
        : descriptor_(descriptor) {}

    /// Without its line break; none when none came in time, or none that anybody could want to read.
    std::optional<std::string> next(Clock::time_point deadline) {
        for (;;) {
            if (std::size_t end = received_.find('\n'); end != std::string::npos) {
                std::string line = received_.substr(0, end);
                received_.erase(0, end + 1);
                return line;
            }
            if (received_.size() >= kMaximumAnswer || !receive(deadline))
                return std::nullopt;
        }
    }

private:
    bool receive(Clock::time_point deadline) {
        char chunk[4096];
        if (!waitFor(descriptor_, POLLIN, deadline))
            return false;
        const ssize_t got = ::read(descriptor_, chunk, sizeof chunk);
        received_.append(chunk, static_cast<std::size_t>(std::max<ssize_t>(0, got)));
        return got > 0 || (got < 0 && (errno == EINTR || errno == EAGAIN));
    }

    int descriptor_;
    std::string received_;
};

/// A connection on which the request was sent.
std::expected<UniqueFd, Error> ask(const RuntimePaths& paths, const JSONValue::Object& request,
                                   Clock::time_point deadline) {
    auto connected = connectFirst(paths, deadline);
    if (!connected) {
        int code = connected.error();
        if (code == ENOENT || code == ECONNREFUSED || code == ENOTDIR)
            return std::unexpected(Error{Error::Kind::notRunning, localized("Varnel is not running")});
        return std::unexpected(
            failed(localized("cannot reach the running application: %1", {std::strerror(code)})));
    }
    if (!sendAll(connected->get(), writeCompactJSON(request) + "\n", deadline))
        return std::unexpected(failed(localized("the running application does not listen")));
    return std::move(*connected);
}

} // namespace

std::expected<JSONValue::Object, ControlClientError>
sendControlRequest(const RuntimePaths& paths, const JSONValue::Object& request, Duration patience) {
    auto deadline = Clock::now() + patience;
    auto connection = ask(paths, request, deadline);
    if (!connection)
        return std::unexpected(connection.error());
    auto answer = readJSON(LineReader(connection->get()).next(deadline).value_or(""));
    if (!answer || !answer->object())
        return std::unexpected(failed(localized("the running application does not answer")));
    return std::move(*answer->object());
}

std::expected<void, ControlClientError>
followControl(const RuntimePaths& paths, const JSONValue::Object& request,
              const std::function<bool(const JSONValue::Object& line)>& onLine) {
    auto connection = ask(paths, request, Clock::now() + kPatience);
    if (!connection)
        return std::unexpected(connection.error());
    LineReader reader(connection->get());
    // Nobody lives to see it.
    const auto never = Clock::now() + std::chrono::hours(24 * 365);
    for (auto line = reader.next(never); line; line = reader.next(never)) {
        auto object = readJSON(*line);
        if (!object || !object->object())
            return std::unexpected(failed(localized("the running application does not answer")));
        if (!onLine(*object->object()))
            return {};
    }
    return std::unexpected(failed(localized("the running application has ended")));
}

} // namespace varnel
