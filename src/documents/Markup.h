#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace varnel {

/// Making any UTF-8 text safe inside a document. Bytes that are no UTF-8 become replacement characters.
namespace Markup {

/// For text and attribute values of HTML and XML.
std::string xml(std::string_view text);
/// For a cell of a Markdown table: nothing in it acts as markup, and it stays on one line.
std::string markdown(std::string_view text);
/// Without direction controls, and in an isolate of its own where it reads from right to left, so that it
/// turns nothing around that stands beside it.
std::string isolated(std::string_view text);
/// At most `columns` wide, an ellipsis marks the cut. East Asian characters and emoji count as two.
std::string shortened(std::string_view text, std::size_t columns);

} // namespace Markup
} // namespace varnel
