#pragma once

#include "base/JSONValue.h"
#include "base/TimePoint.h"
#include "runtime/RuntimePaths.h"

#include <expected>
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

} // namespace varnel
