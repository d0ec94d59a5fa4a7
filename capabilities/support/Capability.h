#pragma once

#include "base/JSONValue.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace varnel::capability {

/// What a bundled package's program is asked to do: the JSON object on its standard input.
struct Request {
    std::string actionID;
    JSONValue::Object params;
    JSONValue::Object settings;

    /// The parameter when it is a string, else empty.
    [[nodiscard]] std::string text(std::string_view key) const;
    /// The parameter when it is a boolean, else `fallback`.
    [[nodiscard]] bool flag(std::string_view key, bool fallback) const;
};

/// What it answers: the JSON object on its standard output.
struct Response {
    bool success = true;
    std::optional<std::string> message; ///< none: nothing particular to say
    static Response failure(std::string message) { return {false, std::move(message)}; }
};

/// The whole program: reads the request, calls `act`, writes the response. Returns the exit status: 0
/// whenever a response was written. A call with another command word than "action" is answered with a
/// failure.
int run(int argc, char** argv, const std::function<Response(const Request&)>& act);

} // namespace varnel::capability
