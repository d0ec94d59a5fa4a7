#include "base/JSONStream.h"

#include "base/JSONPlainReader.h"
#include "base/JSONScanner.h"

#define SIMDJSON_EXCEPTIONS 0
#include <simdjson.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace varnel {

namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::SUCCESS;

/// Escapes can spell half a surrogate pair, which the library would pass on as invalid UTF-8.
bool hasSurrogate(std::string_view text) {
    for (std::size_t i = text.find('\xED'); i != std::string_view::npos; i = text.find('\xED', i + 1))
        if (i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) >= 0xA0)
            return true;
    return false;
}

/// Feeds a handler from the library's parser. Its functions give false when reading must end, for an error or
/// because the handler wants no more.
class Walker {
public:
    explicit Walker(JSONHandler& handler)
        : handler_(handler) {}

    /// The document must be an object or an array.
    bool run(ondemand::document& document) {
        ondemand::json_type type;
        if (document.type().get(type) != SUCCESS ||
            !(type == ondemand::json_type::object ? object(document, 1) : array(document, 1)))
            return stopped_;
        // There is no place left to read from.
        return document.current_location().error() == simdjson::OUT_OF_BOUNDS;
    }

private:
    bool tell(bool goOn) {
        stopped_ = stopped_ || !goOn;
        return goOn;
    }

    bool value(ondemand::value& source, int depth) {
        ondemand::json_type type;
        if (depth > kMaximumJSONDepth || source.type().get(type) != SUCCESS)
            return false;
        switch (type) {
        case ondemand::json_type::object:
            return object(source, depth);
        case ondemand::json_type::array:
            return array(source, depth);
        case ondemand::json_type::string: {
            std::string_view text;
            return source.get_string().get(text) == SUCCESS && !hasSurrogate(text) &&
                   tell(handler_.string(text));
        }
        case ondemand::json_type::number: {
            double number = 0;
            return ((isShort(source) && source.get_double().get(number) == SUCCESS) ||
                    numberTheLongWay(source, number)) &&
                   tell(handler_.number(number));
        }
        case ondemand::json_type::boolean: {
            bool truth = false;
            return source.get_bool().get(truth) == SUCCESS && tell(handler_.boolean(truth));
        }
        case ondemand::json_type::null: {
            bool null = false;
            return source.is_null().get(null) == SUCCESS && null && tell(handler_.null());
        }
        }
        return false;
    }

    /// The library misreads fractions below one with more than 19 digits.
    static bool isShort(ondemand::value& source) {
        constexpr std::size_t kTrustedLength = 19;
        const std::string_view token = source.raw_json_token();
        return std::min(token.find_first_of(" \t\r\n"), token.size()) <= kTrustedLength;
    }

    /// It also refuses some valid numbers, such as zeros with huge exponents.
    static bool numberTheLongWay(ondemand::value& source, double& number) {
        const auto value = readJSONPlainly(std::string_view(source.raw_json_token()));
        if (!value || !value->number())
            return false;
        number = *value->number();
        return true;
    }

    /// `Source` is a document or a value.
    template <typename Source>
    bool object(Source& source, int depth) {
        ondemand::object members;
        if (source.get_object().get(members) != SUCCESS || !tell(handler_.beginObject()))
            return false;
        for (auto member : members) {
            std::string_view key;
            ondemand::value content;
            if (member.error() != SUCCESS || member.unescaped_key().get(key) != SUCCESS ||
                hasSurrogate(key) || !tell(handler_.key(key)) || member.value().get(content) != SUCCESS ||
                !value(content, depth + 1))
                return false;
        }
        return tell(handler_.endObject());
    }

    template <typename Source>
    bool array(Source& source, int depth) {
        ondemand::array elements;
        if (source.get_array().get(elements) != SUCCESS || !tell(handler_.beginArray()))
            return false;
        for (auto element : elements) {
            ondemand::value content;
            if (element.get(content) != SUCCESS || !value(content, depth + 1))
                return false;
        }
        return tell(handler_.endArray());
    }

    JSONHandler& handler_;
    bool stopped_ = false;
};

} // namespace

std::expected<void, JSONError> parseJSON(std::string_view text, JSONHandler& handler) {
    const std::string_view content = withoutByteOrderMark(text);
    const auto first = content.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos || (content[first] != '{' && content[first] != '[')) {
        if (auto error = JSONScanner(text, nullptr, &handler).scan())
            return std::unexpected(*std::move(error));
        return {};
    }
    const std::unique_ptr<char[]> padded(new char[content.size() + simdjson::SIMDJSON_PADDING]);
    std::memcpy(padded.get(), content.data(), content.size());
    std::memset(padded.get() + content.size(), ' ', simdjson::SIMDJSON_PADDING);

    ondemand::parser parser;
    ondemand::document document;
    const std::string_view input(padded.get(), content.size());
    const auto failure = parser.iterate(input, input.size() + simdjson::SIMDJSON_PADDING).get(document);
    if (failure == SUCCESS && Walker(handler).run(document))
        return {};
    if (auto error = JSONScanner(text).scan())
        return std::unexpected(*std::move(error));
    // Only what the library cannot hold comes here: texts of 4 GB, memory running out.
    return std::unexpected(JSONError{simdjson::error_message(failure), {1, 1}});
}

} // namespace varnel
