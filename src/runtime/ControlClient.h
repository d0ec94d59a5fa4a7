#pragma once

#include "base/JSONValue.h"
#include "base/TimePoint.h"
#include "runtime/RuntimePaths.h"

#include <expected>
#include <functional>
#include <string>

namespace varnel {

struct ControlClientError {
    enum class Kind { notRunning, failed } kind = Kind::failed;
    std::string message; ///< a sentence for the user
};

/// Sends one request to the application that runs on this display, or else to the one that has the plain
/// socket, and waits for its answer. The program must ignore SIGPIPE.
std::expected<JSONValue::Object, ControlClientError>
sendControlRequest(const RuntimePaths& paths, const JSONValue::Object& request, Duration patience = 5s);

/// Sends a request to the same and hands on each line that comes, without end. Returns when `onLine` returns
/// false; an error tells that the application has ended the conversation.
std::expected<void, ControlClientError>
followControl(const RuntimePaths& paths, const JSONValue::Object& request,
              const std::function<bool(const JSONValue::Object& line)>& onLine);

} // namespace varnel
