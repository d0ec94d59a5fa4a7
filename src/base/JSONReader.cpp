#include "base/JSONReader.h"

#include "base/JSONPlainReader.h"
#include "base/JSONScanner.h"
#include "base/JSONStream.h"
#include "base/JSONWriter.h"

#define SIMDJSON_EXCEPTIONS 0
#include <simdjson.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

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
            return (source.get_double().get(number) == SUCCESS || numberTheLongWay(source, number)) &&
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

    /// The library refuses some valid numbers, such as zeros with huge exponents.
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

class PathFinder : public JSONPlaceVisitor {
public:
    explicit PathFinder(const JSONPath& wanted)
        : wanted_(wanted) {}
    void value(const JSONPath& path, JSONPosition position) override {
        if (path.size() > wanted_.size() || !std::equal(path.begin(), path.end(), wanted_.begin()))
            return;
        // A later duplicate of a key takes the place of everything found under the earlier one.
        places_.resize(path.size());
        places_.push_back(position);
    }
    void key(const JSONPath&, const std::string&, JSONPosition) override {}
    [[nodiscard]] JSONPosition place() const { return places_.empty() ? JSONPosition{1, 1} : places_.back(); }

private:
    const JSONPath& wanted_;
    std::vector<JSONPosition> places_;
};

class DuplicateFinder : public JSONPlaceVisitor {
public:
    void value(const JSONPath& path, JSONPosition) override {
        keys_.resize(path.size() + 1);
        keys_.back().clear();
    }
    void key(const JSONPath& path, const std::string& key, JSONPosition position) override {
        if (!keys_[path.size()].insert(key).second)
            found.push_back({path, key, position});
    }
    std::vector<JSONDuplicateKey> found;

private:
    std::vector<std::set<std::string>> keys_; ///< of the object on each level of the present path
};

bool isPlainName(std::string_view key) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    return !key.empty() && isLetter(key[0]) &&
           std::all_of(key.begin(), key.end(), [&](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
}

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

std::expected<JSONValue, JSONError> readJSON(std::string_view text) {
    JSONTreeBuilder builder;
    if (auto read = parseJSON(text, builder); !read)
        return std::unexpected(read.error());
    return builder.take();
}

std::string describe(const JSONPath& path) {
    std::string out;
    for (const JSONPathStep& step : path) {
        if (const auto* index = std::get_if<std::size_t>(&step)) {
            out += "[" + std::to_string(*index) + "]";
            continue;
        }
        const auto& key = std::get<std::string>(step);
        if (isPlainName(key)) {
            out += (out.empty() ? "" : ".") + key;
        } else {
            out += "[";
            appendJSONString(out, key, false);
            out += "]";
        }
    }
    return out;
}

JSONPosition findJSONPosition(std::string_view text, const JSONPath& path) {
    PathFinder finder(path);
    JSONScanner(text, &finder).scan();
    return finder.place();
}

std::vector<JSONDuplicateKey> findDuplicateKeys(std::string_view text) {
    DuplicateFinder finder;
    JSONScanner(text, &finder).scan();
    return std::move(finder.found);
}

} // namespace varnel
