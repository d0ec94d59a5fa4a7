#pragma once

#include "base/JSONReader.h"
#include "config/ConfigDocument.h"

#include <expected>
#include <string>

namespace varnel {

/// The rules of reading configurations, over a JSON tree. Says exactly what is wrong where: a fault's path
/// names the offending value, or the missing member; its position is left open.
namespace ConfigTreeDecoder {

std::expected<ConfigFileDocument, ConfigFault> decodeObjectForm(const JSONValue& root);
std::expected<ConfigFileDocument, ConfigFault> decodeArrayForm(const JSONValue& root);
std::expected<ConfigItem, ConfigFault> decodeItem(const JSONValue& value, JSONPath path);

} // namespace ConfigTreeDecoder
} // namespace varnel
