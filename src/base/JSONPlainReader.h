#pragma once

#include "base/JSONReader.h"

#include <expected>
#include <string_view>

namespace varnel {

/// `readJSON` without the fast library: the same language and the same errors, slower. For small static programs
/// that read one short request.
std::expected<JSONValue, JSONError> readJSONPlainly(std::string_view text);

} // namespace varnel
