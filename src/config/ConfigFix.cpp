#include "config/ConfigFix.h"

#include "base/JSONReader.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "config/ConfigDocument.h"
#include "config/ConfigFindings.h"

#include <algorithm>
#include <set>

namespace varnel {
namespace {

/// Changes the items and tells of each change.
class Fixing {
public:
    Fixing(const CheckedConfig& config, std::vector<ConfigItem>& items)
        : config_(config)
        , items_(items) {}

    std::vector<std::string> run() {
        if (!config_.root.object())
            done_.push_back(localized("Brought the bare list of items into the current form of the file."));
        for (std::size_t index = 0; index < items_.size(); ++index) {
            fixIdentifier(index);
            fixSteps(index);
            if (items_[index].action && isOlderAction(*config_.tree(index).find("action")))
                done_.push_back(
                    localized("Brought the action of %1 into the current form.", {config_.mention(index)}));
        }
        return std::move(done_);
    }

private:
    void fixIdentifier(std::size_t index) {
        const bool isMissing = config_.itemID(index).empty();
        const bool isTaken = !seen_.insert(items_[index].id).second;
        if (isTaken) {
            items_[index].id = Uuid::random();
            seen_.insert(items_[index].id);
        }
        if (isTaken && !isMissing)
            done_.push_back(localized("Gave %1 an identifier of its own.", {config_.mention(index)}));
        else if (isMissing)
            done_.push_back(localized("Gave %1 an identifier.", {config_.mention(index)}));
    }

    void fixSteps(std::size_t index) {
        for (std::string& step : items_[index].keys) {
            const std::string canonical = canonicalStep(step);
            if (canonical == step)
                continue;
            done_.push_back(
                localized("Spelled the step %1 of %2 canonically: %3.",
                          {quoteForMessage(step), config_.mention(index), quoteForMessage(canonical)}));
            step = canonical;
        }
    }

    const CheckedConfig& config_;
    std::vector<ConfigItem>& items_;
    std::set<Uuid> seen_;
    std::vector<std::string> done_;
};

/// What saving would lose, as places; empty when nothing is.
std::string lossOf(std::string_view text, const CheckedConfig& config) {
    ConfigFindings findings(config);
    checkMembers(config, findings);
    std::vector<std::string> places;
    for (const Diagnostic& found : findings.finished(text))
        if (found.code == configRule(RuleID::droppedKey).code)
            places.push_back(found.path);
    for (const JSONDuplicateKey& twice : findDuplicateKeys(text)) {
        JSONPath path = twice.object;
        path.emplace_back(twice.key);
        places.push_back(describe(path));
    }
    return join(places, ", ");
}

} // namespace

std::expected<FixedConfig, std::string> fixDocument(std::string_view text) {
    const auto document = decodeDocument(text);
    if (!document)
        return std::unexpected(describe(document.error()));
    const auto root = readJSON(text);
    if (!root)
        return std::unexpected(describe(root.error()));
    const CheckedConfig config{*document, *root};
    std::vector<ConfigItem> items = document->items;
    FixedConfig fixed{.text = std::string(text), .done = Fixing(config, items).run()};
    if (fixed.done.empty())
        return fixed;
    if (const std::string loss = lossOf(text, config); !loss.empty())
        return std::unexpected(localized("nothing was mended, since saving would drop what stands at %1; "
                                         "remove or rename it first",
                                         {singleLine(loss, 400)}));
    auto saved = encodeDocument(items, document->pluginSettings);
    if (!saved)
        return std::unexpected(describe(saved.error()));
    fixed.text = std::move(*saved);
    return fixed;
}

} // namespace varnel
