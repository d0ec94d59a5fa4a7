#pragma once

#include "base/JSONValue.h"
#include "cli/Console.h"

#include <cstdint>
#include <string_view>

namespace varnel {

/// Prints the decisions of the running application, one a line, with their time of day and what came between.
class DecisionLines {
public:
    explicit DecisionLines(OutputStream& out)
        : out_(out) {}

    /// `decision` as the application reports it. Tells when decisions before it were missed.
    void add(const JSONValue::Object& decision);
    /// A line for the keys that were only counted, if there were any.
    void addOtherKeys(const JSONValue::Object& report, std::string_view key);

private:
    OutputStream& out_;
    std::uint64_t last_ = 0;
};

} // namespace varnel
