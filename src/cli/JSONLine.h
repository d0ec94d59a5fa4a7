#pragma once

#include "base/JSONWriter.h"

#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A JSON object on one line whose members keep the order in which they are added, the order that the help
/// and the documentation show.
class JSONLine {
public:
    JSONLine& text(std::string_view key, std::string_view value) {
        name(key);
        appendJSONString(out_, value, false);
        return *this;
    }
    JSONLine& number(std::string_view key, double value) {
        name(key);
        appendJSONNumber(out_, value);
        return *this;
    }
    JSONLine& boolean(std::string_view key, bool value) { return raw(key, value ? "true" : "false"); }
    JSONLine& null(std::string_view key) { return raw(key, "null"); }
    JSONLine& texts(std::string_view key, const std::vector<std::string>& values) {
        std::string list = "[";
        for (const std::string& value : values) {
            if (list.size() > 1)
                list += ',';
            appendJSONString(list, value, false);
        }
        return raw(key, list + "]");
    }
    /// `json` is a whole JSON value.
    JSONLine& raw(std::string_view key, std::string_view json) {
        name(key);
        out_ += json;
        return *this;
    }
    [[nodiscard]] std::string finished() const { return out_ + "}"; }

private:
    void name(std::string_view key) {
        if (out_.size() > 1)
            out_ += ',';
        appendJSONString(out_, key, false);
        out_ += ':';
    }

    std::string out_ = "{";
};

} // namespace varnel
