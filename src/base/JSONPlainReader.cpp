#include "base/JSONPlainReader.h"

#include "base/JSONScanner.h"
#include "base/JSONStream.h"

namespace varnel {

std::expected<JSONValue, JSONError> readJSONPlainly(std::string_view text) {
    JSONTreeBuilder builder;
    if (auto error = JSONScanner(text, nullptr, &builder).scan())
        return std::unexpected(*std::move(error));
    return builder.take();
}

} // namespace varnel
