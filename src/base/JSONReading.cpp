#include "base/JSONReader.h"

#include "base/JSONScanner.h"
#include "base/JSONStream.h"
#include "base/JSONWriter.h"

#include <algorithm>
#include <set>

namespace varnel {

namespace {

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
