#pragma once

#include "base/JSONReader.h"
#include "base/JSONStream.h"

#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// Hears where the parts of a JSON text stand.
class JSONPlaceVisitor {
public:
    virtual ~JSONPlaceVisitor() = default;
    /// A value begins at `position`; `path` leads to it.
    virtual void value(const JSONPath& path, JSONPosition position) = 0;
    /// A member's key; `path` leads to its object.
    virtual void key(const JSONPath& path, const std::string& key, JSONPosition position) = 0;
};

/// The careful pass over a JSON text that knows lines and columns. It accepts exactly what the fast reader
/// accepts.
class JSONScanner {
public:
    /// `visitor` and `handler` may be null.
    explicit JSONScanner(std::string_view text, JSONPlaceVisitor* visitor = nullptr,
                         JSONHandler* handler = nullptr);
    /// What is wrong with the text, if anything; nothing when the handler ended the scan.
    std::optional<JSONError> scan();

private:
    bool value(int depth);
    bool object(int depth);
    bool array(int depth);
    /// `content` holds until the next text is read.
    bool string(std::string_view& content);
    bool step(JSONPathStep step, int depth);
    bool escape(std::string& content);
    bool character();
    std::optional<unsigned> hexadecimal();
    bool number();
    bool word(std::string_view word);
    void skipSpace();

    /// Whether to go on.
    template <typename... Parameters, typename... Arguments>
    bool tell(bool (JSONHandler::*function)(Parameters...), Arguments&&... arguments) {
        return !handler_ || (handler_->*function)(arguments...);
    }
    [[nodiscard]] bool atEnd() const { return next_ == text_.size(); }
    [[nodiscard]] char peek() const { return atEnd() ? '\0' : text_[next_]; }
    [[nodiscard]] JSONPosition position(std::size_t offset) const;
    [[nodiscard]] std::string found() const;
    bool fail(std::string message) { return failAt(next_, std::move(message)); }
    bool failAt(std::size_t offset, std::string message);

    std::string_view text_;
    JSONPlaceVisitor* visitor_;
    JSONHandler* handler_;
    std::size_t next_ = 0;
    std::optional<JSONError> error_;
    JSONPath path_;
    std::string unescaped_; ///< the content of a text with escapes
    /// A known place from which positions are counted on.
    mutable std::size_t countedTo_ = 0;
    mutable JSONPosition counted_{1, 1};
};

/// The text without the byte-order mark.
std::string_view withoutByteOrderMark(std::string_view text);

} // namespace varnel
