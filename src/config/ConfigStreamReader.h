#pragma once

#include "base/JSONStream.h"
#include "config/ConfigItem.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace varnel {

/// Turns a well-formed configuration of the present form straight into records, without a tree. It gives up
/// on everything that takes a decision: any fault, a repeated member, an older form of action. Whatever it
/// does read equals what the rules of `ConfigTreeDecoder` make of the same text.
class ConfigStreamReader : private JSONHandler {
public:
    /// The document, or nothing when the text has to be read by the full rules.
    static std::optional<ConfigFileDocument> read(std::string_view text);

private:
    enum class Place { top, document, items, item, keys, action, settings, end };
    /// The members that are read; each is a bit of `seen`.
    enum Member : unsigned {
        none = 0,
        documentItems = 1,
        documentSettings = 2,
        itemID = 4,
        itemName = 8,
        itemKeys = 16,
        itemType = 32,
        itemAction = 64,
        itemEnabled = 128,
        itemPassthrough = 256,
        actionPlugin = 512,
        actionAction = 1024,
        actionParams = 2048
    };

    bool beginObject() override;
    bool endObject() override;
    bool beginArray() override;
    bool endArray() override;
    bool key(std::string_view key) override;
    bool string(std::string_view text) override;
    bool number(double value) override;
    bool boolean(bool value) override;
    bool null() override;

    [[nodiscard]] Member memberNamed(std::string_view key) const;
    bool startMember(Member member);
    bool skipPiece(int depthChange);
    bool beginTree();
    bool endTree();
    bool endItem();
    bool endAction();
    bool endDocument();
    [[nodiscard]] ConfigItem& item() { return document_.items.back(); }

    ConfigFileDocument document_;
    Place place_ = Place::top;
    Member member_ = none; ///< whose value comes next
    unsigned seen_ = 0;    ///< members met in the objects that are open
    bool isArrayForm_ = false;
    bool skipping_ = false; ///< inside the value of a member that nobody reads
    int skippedDepth_ = 0;
    bool buildingTree_ = false; ///< inside parameters or one plugin's settings
    JSONTreeBuilder tree_;
    std::string pluginKey_;
    std::vector<std::string> keys_; ///< gathered here so that each item's list is exactly as large as needed
};

} // namespace varnel
