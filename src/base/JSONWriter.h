#pragma once

#include "base/JSONValue.h"

#include <string>
#include <string_view>

namespace varnel {

/// Writes in the style of files made for the user, piece by piece, so that large documents need no tree: two
/// spaces a level, `"key" : value`, `\/` for slashes, empty containers as an opening bracket, an empty line
/// and the closing bracket at its indentation, no line break at the end. Callers give members in ascending
/// byte order of their keys; the writer does not sort.
class JSONPrettyWriter {
public:
    explicit JSONPrettyWriter(std::string& out)
        : out_(out) {}
    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(std::string_view key);
    void string(std::string_view text);
    void boolean(bool value);
    void number(double value);
    void null();
    void value(const JSONValue& value);

private:
    void separate();
    void open(char bracket);
    void close(char bracket);
    void newLine();

    std::string& out_;
    int depth_ = 0;
    bool first_ = true; ///< nothing has been written at this level yet
    bool afterKey_ = false;
};

/// The whole value in the style above.
std::string writePrettyJSON(const JSONValue& value);
/// On one line without spaces; slashes are not escaped. For protocols and `--json`.
std::string writeCompactJSON(const JSONValue& value);
/// As ECMAScript prints numbers ("1", "0.1", "1e+21"), with "-0" kept. `value` must be finite.
void appendJSONNumber(std::string& out, double value);
/// The text with quotes; control characters short (`\n`) or as four lower-case hexadecimal digits. Bytes that
/// are no UTF-8 become replacement characters: what is written can always be read.
void appendJSONString(std::string& out, std::string_view text, bool escapeSlashes);

} // namespace varnel
