#include "base/JSONStream.h"

#include "base/JSONScanner.h"

namespace varnel {

// For programs that are linked statically: the fast library comes as shared code only, and loading that takes
// longer than it ever saves on a file of a few megabytes.
std::expected<void, JSONError> parseJSON(std::string_view text, JSONHandler& handler) {
    if (auto error = JSONScanner(text, nullptr, &handler).scan())
        return std::unexpected(*std::move(error));
    return {};
}

} // namespace varnel
