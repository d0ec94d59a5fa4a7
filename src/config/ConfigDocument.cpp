#include "config/ConfigDocument.h"

#include "base/Localized.h"
#include "config/ConfigStreamReader.h"
#include "config/ConfigTreeDecoder.h"

#include <utility>

namespace varnel {
namespace {

ConfigFault faultOf(const JSONError& error) {
    return {.path = {}, .message = error.message, .position = error.position};
}

ConfigFault placed(ConfigFault fault, std::string_view text) {
    fault.position = findJSONPosition(text, fault.path);
    return fault;
}

std::expected<ConfigFileDocument, ConfigDecodingError> decodeByTheRules(std::string_view data) {
    auto root = readJSON(data);
    if (!root)
        return std::unexpected(ConfigDecodingError{faultOf(root.error()), std::nullopt});
    auto document = ConfigTreeDecoder::decodeObjectForm(*root);
    if (document)
        return std::move(*document);
    auto list = ConfigTreeDecoder::decodeArrayForm(*root);
    if (list)
        return std::move(*list);
    ConfigDecodingError error{placed(std::move(list.error()), data), std::nullopt};
    if (root->object())
        error.cause = placed(std::move(document.error()), data);
    return std::unexpected(std::move(error));
}

ConfigItem applicationItem(std::string name, std::vector<std::string> keys, std::string path) {
    return {.id = Uuid::random(),
            .name = std::move(name),
            .keys = std::move(keys),
            .type = ItemType::action,
            .action = ConfigAction{core::application, "open", {{"path", std::move(path)}}},
            .isEnabled = true,
            .allowsPassthroughPrefix = std::nullopt};
}

ConfigItem groupItem(std::string name, std::vector<std::string> keys) {
    return {.id = Uuid::random(),
            .name = std::move(name),
            .keys = std::move(keys),
            .type = ItemType::group,
            .action = std::nullopt,
            .isEnabled = true,
            .allowsPassthroughPrefix = std::nullopt};
}

} // namespace

std::expected<ConfigFileDocument, ConfigDecodingError> decodeDocument(std::string_view data) {
    if (auto document = ConfigStreamReader::read(data))
        return std::move(*document);
    return decodeByTheRules(data);
}

std::expected<ConfigItem, ConfigDecodingError> decodeItem(std::string_view data) {
    auto root = readJSON(data);
    if (!root)
        return std::unexpected(ConfigDecodingError{faultOf(root.error()), std::nullopt});
    auto item = ConfigTreeDecoder::decodeItem(*root, {});
    if (!item)
        return std::unexpected(ConfigDecodingError{placed(std::move(item.error()), data), std::nullopt});
    return std::move(*item);
}

ConfigFileDocument makeDefaultDocument() {
    return {
        .items = {applicationItem("Chrome", {"ctrl+j", "w", "g"}, "/Applications/Google Chrome.app"),
                  groupItem("Work", {"ctrl+j", "w"}),
                  applicationItem("Finder", {"ctrl+j", "s", "f"}, "/System/Library/CoreServices/Finder.app"),
                  applicationItem("Terminal", {"ctrl+j", "s", "t"},
                                  "/System/Applications/Utilities/Terminal.app"),
                  groupItem("System", {"ctrl+j", "s"}), groupItem("Master Key", {"ctrl+j"})},
        .pluginSettings = {}};
}

std::string_view itemTypeName(ItemType type) {
    return type == ItemType::group ? "group" : "action";
}

std::string describe(const ConfigFault& fault) {
    const std::string place = describe(fault.path);
    return localized("%1 (line %2, column %3)",
                     {(place.empty() ? "" : place + ": ") + fault.message,
                      std::to_string(fault.position.line), std::to_string(fault.position.column)});
}

std::string describe(const ConfigDecodingError& error) {
    if (!error.cause)
        return describe(error.fault);
    return localized("%1; nor is it a bare list of items: %2",
                     {describe(*error.cause), describe(error.fault)});
}

std::string describe(const ConfigEncodingError& error) {
    return error.message;
}

} // namespace varnel
