#include "config/ConfigStreamReader.h"

#include <iterator>
#include <utility>

namespace varnel {
namespace {

// A canonical item takes some 400 bytes. Reserving too much costs address space only: untouched pages take no
// memory, while growing step by step would move every item several times.
constexpr std::size_t kBytesPerItemGuess = 320;

} // namespace

std::optional<ConfigFileDocument> ConfigStreamReader::read(std::string_view text) {
    ConfigStreamReader reader;
    reader.document_.items.reserve(text.size() / kBytesPerItemGuess);
    if (!parseJSON(text, reader) || reader.place_ != Place::end)
        return std::nullopt;
    return std::move(reader.document_);
}

ConfigStreamReader::Member ConfigStreamReader::memberNamed(std::string_view key) const {
    switch (place_) {
    case Place::document:
        return key == "items" ? documentItems : key == "pluginSettings" ? documentSettings : none;
    case Place::action:
        return key == "pluginID"   ? actionPlugin
               : key == "actionID" ? actionAction
               : key == "params"   ? actionParams
                                   : none;
    case Place::item:
        break;
    default:
        return none;
    }
    static constexpr std::pair<std::string_view, Member> kItemMembers[] = {
        {"action", itemAction},
        {"id", itemID},
        {"isEnabled", itemEnabled},
        {"keys", itemKeys},
        {"name", itemName},
        {"type", itemType},
        {"allowsPassthroughPrefix", itemPassthrough}};
    for (const auto& [name, member] : kItemMembers)
        if (key == name)
            return member;
    return none;
}

bool ConfigStreamReader::startMember(Member member) {
    member_ = member;
    skipping_ = member == none;
    if (seen_ & member)
        return false;
    seen_ |= member;
    return true;
}

bool ConfigStreamReader::skipPiece(int depthChange) {
    skippedDepth_ += depthChange;
    skipping_ = skippedDepth_ > 0;
    return true;
}

bool ConfigStreamReader::key(std::string_view key) {
    if (skipping_)
        return true;
    if (buildingTree_)
        return tree_.key(key);
    if (place_ == Place::settings) {
        pluginKey_ = key;
        return !document_.pluginSettings.contains(pluginKey_);
    }
    return startMember(memberNamed(key));
}

bool ConfigStreamReader::beginTree() {
    buildingTree_ = true;
    return tree_.beginObject();
}

bool ConfigStreamReader::endTree() {
    if (!tree_.complete())
        return true;
    buildingTree_ = false;
    JSONValue value = tree_.take();
    if (place_ == Place::settings)
        document_.pluginSettings.emplace(std::move(pluginKey_), std::move(*value.object()));
    else
        item().action->params = std::move(*value.object());
    return true;
}

bool ConfigStreamReader::beginObject() {
    if (skipping_)
        return skipPiece(+1);
    if (buildingTree_)
        return tree_.beginObject();
    switch (place_) {
    case Place::top:
        place_ = Place::document;
        return true;
    case Place::items:
        document_.items.emplace_back();
        seen_ &= documentItems | documentSettings;
        place_ = Place::item;
        return true;
    case Place::document:
        place_ = Place::settings;
        return member_ == documentSettings;
    case Place::item:
        place_ = Place::action;
        item().action.emplace();
        return member_ == itemAction;
    case Place::action:
        return member_ == actionParams && beginTree();
    case Place::settings:
        return beginTree();
    case Place::keys:
    case Place::end:
        break;
    }
    return false;
}

bool ConfigStreamReader::endObject() {
    if (skipping_)
        return skipPiece(-1);
    if (buildingTree_)
        return tree_.endObject() && endTree();
    switch (place_) {
    case Place::item:
        return endItem();
    case Place::action:
        return endAction();
    case Place::settings:
        place_ = Place::document;
        return true;
    case Place::document:
        return endDocument();
    default:
        return false;
    }
}

bool ConfigStreamReader::endItem() {
    constexpr unsigned required = itemName | itemKeys | itemType;
    if ((seen_ & required) != required)
        return false;
    if (!(seen_ & itemID))
        item().id = Uuid::random();
    if (item().type != ItemType::group)
        item().allowsPassthroughPrefix.reset();
    place_ = Place::items;
    return true;
}

bool ConfigStreamReader::endAction() {
    place_ = Place::item;
    return (seen_ & actionPlugin) && (seen_ & actionAction);
}

bool ConfigStreamReader::endDocument() {
    if (!(seen_ & documentItems) || !(seen_ & documentSettings))
        return false;
    place_ = Place::end;
    return true;
}

bool ConfigStreamReader::beginArray() {
    if (skipping_)
        return skipPiece(+1);
    if (buildingTree_)
        return tree_.beginArray();
    if (place_ == Place::item && member_ == itemKeys) {
        place_ = Place::keys;
        keys_.clear();
        return true;
    }
    isArrayForm_ = place_ == Place::top;
    if (!isArrayForm_ && !(place_ == Place::document && member_ == documentItems))
        return false;
    place_ = Place::items;
    return true;
}

bool ConfigStreamReader::endArray() {
    if (skipping_)
        return skipPiece(-1);
    if (buildingTree_)
        return tree_.endArray();
    if (place_ == Place::keys) {
        item().keys.assign(std::move_iterator(keys_.begin()), std::move_iterator(keys_.end()));
        place_ = Place::item;
        return true;
    }
    if (place_ != Place::items)
        return false;
    place_ = isArrayForm_ ? Place::end : Place::document;
    return true;
}

bool ConfigStreamReader::string(std::string_view text) {
    if (skipping_)
        return skipPiece(0);
    if (buildingTree_)
        return tree_.string(text);
    if (place_ == Place::keys) {
        keys_.emplace_back(text);
        return true;
    }
    if (place_ != Place::item && place_ != Place::action)
        return false;
    switch (member_) {
    case itemID:
        if (auto id = Uuid::parse(text)) {
            item().id = *id;
            return true;
        }
        return false;
    case itemName:
        item().name = text;
        return true;
    case itemType:
        item().type = text == "group" ? ItemType::group : ItemType::action;
        return text == "group" || text == "action";
    case actionPlugin:
        item().action->pluginID = text;
        return true;
    case actionAction:
        item().action->actionID = text;
        return true;
    default:
        return false;
    }
}

bool ConfigStreamReader::number(double value) {
    if (skipping_)
        return skipPiece(0);
    return buildingTree_ && tree_.number(value);
}

bool ConfigStreamReader::boolean(bool value) {
    if (skipping_)
        return skipPiece(0);
    if (buildingTree_)
        return tree_.boolean(value);
    if (place_ != Place::item || (member_ != itemEnabled && member_ != itemPassthrough))
        return false;
    if (member_ == itemEnabled)
        item().isEnabled = value;
    else
        item().allowsPassthroughPrefix = value;
    return true;
}

bool ConfigStreamReader::null() {
    if (skipping_)
        return skipPiece(0);
    if (buildingTree_)
        return tree_.null();
    if (place_ != Place::item)
        return place_ == Place::action && member_ == actionParams;
    if (member_ == itemID)
        seen_ &= ~itemID;
    return member_ == itemID || member_ == itemAction || member_ == itemEnabled || member_ == itemPassthrough;
}

} // namespace varnel
