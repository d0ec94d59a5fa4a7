#pragma once

#include "base/JSONReader.h"

#include <expected>
#include <string_view>

namespace varnel {

/// Receives a JSON text piece by piece, in the order of the text. Each function returns whether to go on;
/// false ends the reading. Views are valid during the call only.
class JSONHandler {
public:
    virtual ~JSONHandler() = default;
    virtual bool beginObject() = 0;
    virtual bool endObject() = 0;
    virtual bool beginArray() = 0;
    virtual bool endArray() = 0;
    /// The key of the member whose value comes next. A key may come twice in one object.
    virtual bool key(std::string_view key) = 0;
    virtual bool string(std::string_view text) = 0;
    virtual bool number(double value) = 0;
    virtual bool boolean(bool value) = 0;
    virtual bool null() = 0;
};

/// Reads one JSON text by the rules of `readJSON` without building a tree. The handler may have received a
/// part of the text before an error is found: on an error discard what it has gathered. When the handler ends
/// the reading early, what follows in the text may go unchecked, and the result may be success all the same.
std::expected<void, JSONError> parseJSON(std::string_view text, JSONHandler& handler);

/// Builds the value of a part of a text, for handlers that want a subtree: pass it every piece, starting with
/// the first of the part. Of duplicate keys the last wins.
class JSONTreeBuilder : public JSONHandler {
public:
    bool beginObject() override;
    bool endObject() override;
    bool beginArray() override;
    bool endArray() override;
    bool key(std::string_view key) override;
    bool string(std::string_view text) override;
    bool number(double value) override;
    bool boolean(bool value) override;
    bool null() override;

    /// One whole value has arrived.
    [[nodiscard]] bool complete() const { return complete_; }
    /// The value; the builder can be used for another one afterwards.
    [[nodiscard]] JSONValue take();

private:
    struct Level {
        JSONValue value;
        std::string key; ///< of the member to come
    };
    bool add(JSONValue value);
    bool close();

    std::vector<Level> open_;
    JSONValue result_;
    bool complete_ = false;
};

} // namespace varnel
