#pragma once

#include "base/Subscription.h"
#include "config/ConfigItem.h"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// One of several things that an action asks the user to pick.
struct DynamicChoice {
    std::string id;
    std::string title;
    std::string detail;
    std::optional<std::string> label; ///< its own label; used when every choice has a valid one
    bool isRunningApplication = false;
    std::string applicationPath;
    /// What runs when it is taken. None: the item's own action with `id` as the parameter "choice".
    std::optional<ConfigAction> action;
    friend bool operator==(const DynamicChoice&, const DynamicChoice&) = default;
};

struct LabeledChoice {
    std::string label;
    DynamicChoice choice;
    friend bool operator==(const LabeledChoice&, const LabeledChoice&) = default;
};

struct DynamicChoiceList {
    std::optional<std::string> title; ///< shown above the choices
    std::vector<DynamicChoice> choices;
};

/// Labels for the choices: their own where all are valid together, else generated from the alphabet that the
/// item's parameter "useFullAlphabet" selects.
std::vector<LabeledChoice> labeled(std::vector<DynamicChoice> choices, const ConfigItem& item);

/// The item to run for a choice: the item with the choice's action.
ConfigItem itemForChoice(const ConfigItem& item, const DynamicChoice& choice);

/// Finds out what there is to choose from. Main thread; slow work belongs elsewhere.
class DynamicChoiceResolver {
public:
    /// The choices, or why there are none, as a sentence for the status.
    using Answer = std::function<void(std::expected<DynamicChoiceList, std::string>)>;
    virtual ~DynamicChoiceResolver() = default;

    /// Whether this action asks at all. Called for each completed sequence before its key is answered: only
    /// looks at values in memory.
    [[nodiscard]] virtual bool asksFor(const ConfigItem& item) const = 0;
    /// Calls `answer` once on the main thread, now or later. Dropping the result cancels: then `answer` is
    /// not called any more.
    [[nodiscard]] virtual Subscription resolve(const ConfigItem& item, Answer answer) = 0;
};

/// The resolvers by key. An item without one runs its action as it stands.
class DynamicChoiceRegistry {
public:
    /// Replaces a resolver of the same key.
    void add(std::string key, std::shared_ptr<DynamicChoiceResolver> resolver);
    void remove(std::string_view key);
    /// The first resolver, in the order of adding, that asks for the item; else null.
    [[nodiscard]] std::shared_ptr<DynamicChoiceResolver> resolverFor(const ConfigItem& item) const;

private:
    std::vector<std::pair<std::string, std::shared_ptr<DynamicChoiceResolver>>> resolvers_;
};

/// The application whose windows the item wants chosen: the path of a "core.application"/"open" action whose
/// "windowSelectionMode" is "chooseWhenMultiple", else none.
std::optional<std::string> applicationPathForWindowChoice(const ConfigItem& item);

/// A "core.running-apps"/"activate" action that does not name its application yet.
bool asksForRunningApplication(const ConfigItem& item);

/// Keys of the resolvers that the system itself brings.
inline constexpr std::string_view kWindowChoices = "core.application.windows";
inline constexpr std::string_view kRunningApplicationChoices = "core.running-apps.activate";
inline constexpr std::string_view kPluginChoices = "plugin";

} // namespace varnel
