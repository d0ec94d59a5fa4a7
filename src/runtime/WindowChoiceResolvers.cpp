#include "runtime/WindowChoiceResolvers.h"

#include "activation/RunningApplications.h"
#include "base/Localized.h"
#include "keyboard/notation/ChoiceLabels.h"

#include <algorithm>
#include <utility>

namespace varnel {

namespace {

std::string_view alphabetOf(const ConfigItem& item) {
    if (item.action)
        if (const auto found = item.action->params.find("useFullAlphabet");
            found != item.action->params.end())
            if (const bool* full = found->second.boolean(); full && *full)
                return ChoiceLabels::kFullAlphabet;
    return ChoiceLabels::kHomeRowAlphabet;
}

void setLabels(DynamicChoiceList& list, LabelKeeper& keeper, const ConfigItem& item) {
    std::vector<std::string> identifiers;
    identifiers.reserve(list.choices.size());
    for (const DynamicChoice& choice : list.choices)
        identifiers.push_back(choice.id);
    auto labels = keeper.labels(identifiers, alphabetOf(item));
    for (std::size_t i = 0; i < labels.size(); ++i)
        list.choices[i].label = std::move(labels[i]);
}

/// Asks on the executor and answers on the main thread.
class WindowServiceResolver final : public DynamicChoiceResolver {
public:
    WindowServiceResolver(const WindowChoiceSurroundings& surroundings,
                          std::function<bool(const ConfigItem&)> asksFor, ChoiceMaker make)
        : surroundings_(surroundings)
        , asksFor_(std::move(asksFor))
        , make_(std::move(make)) {}

    [[nodiscard]] bool asksFor(const ConfigItem& item) const override { return asksFor_(item); }

    [[nodiscard]] Subscription resolve(const ConfigItem& item, Answer answer) override {
        // Read and written on the main thread only.
        const auto isWanted = std::make_shared<bool>(true);
        EventLoop& loop = surroundings_.loop;
        surroundings_.executor.submit([this, item, answer = std::move(answer), isWanted, &loop] {
            WindowServices* services = surroundings_.services();
            auto list = services ? make_(*services, item)
                                 : std::unexpected(localized("The windows of this system cannot be listed."));
            loop.post([answer, isWanted, list = std::move(list)]() mutable {
                if (*isWanted)
                    answer(std::move(list));
            });
        });
        return Subscription([isWanted] { *isWanted = false; });
    }

private:
    WindowChoiceSurroundings surroundings_;
    std::function<bool(const ConfigItem&)> asksFor_;
    ChoiceMaker make_;
};

} // namespace

std::expected<DynamicChoiceList, std::string> WindowChoices::make(WindowServices& services,
                                                                  const ConfigItem& item) {
    const auto path = applicationPathForWindowChoice(item);
    if (!path)
        return std::unexpected(localized("The item opens no application."));
    const auto windows = services.windows();
    if (!windows)
        return std::unexpected(windows.error().message);
    DynamicChoiceList list{.title = item.name, .choices = {}};
    const auto front = services.frontWindowOf(*path);
    for (const RunningApplication& application : runningApplications(*windows, ownProcess_)) {
        if (!front ||
            std::ranges::find(application.windows, *front, &RunningWindow::id) == application.windows.end())
            continue;
        for (const RunningWindow& window : application.windows) {
            DynamicChoice choice;
            choice.id = "window " + std::to_string(window.id);
            choice.title = windowTitle(window);
            choice.detail = windowPlace(window);
            choice.applicationPath = *path;
            choice.action =
                ConfigAction{core::runningApps, "activate", JSONValue::Object{{"choice", choice.id}}};
            list.choices.push_back(std::move(choice));
        }
    }
    setLabels(list, labels_[*path], item);
    if (list.choices.empty()) {
        DynamicChoice open;
        open.id = "open";
        open.title = item.name;
        open.applicationPath = *path;
        open.action = item.action;
        open.action->params.erase("windowSelectionMode");
        list.choices.push_back(std::move(open));
    }
    return list;
}

std::expected<DynamicChoiceList, std::string> RunningApplicationChoices::make(WindowServices& services,
                                                                              const ConfigItem& item) {
    const auto windows = services.windows();
    if (!windows)
        return std::unexpected(windows.error().message);
    DynamicChoiceList list{.title = item.name, .choices = {}};
    for (const RunningApplication& application : runningApplications(*windows, ownProcess_)) {
        DynamicChoice choice;
        choice.id = application.id;
        choice.title = application.name;
        choice.detail = application.windows.size() > 1
                            ? localized("%1 windows", {std::to_string(application.windows.size())})
                            : windowPlace(application.windows.front());
        choice.isRunningApplication = true;
        list.choices.push_back(std::move(choice));
    }
    if (list.choices.empty())
        return std::unexpected(localized("No application has a window."));
    setLabels(list, labels_, item);
    return list;
}

void addWindowChoiceResolvers(DynamicChoiceRegistry& registry, const WindowChoiceSurroundings& surroundings) {
    const auto windows = std::make_shared<WindowChoices>(surroundings.ownProcess);
    registry.add(std::string(kWindowChoices),
                 std::make_shared<WindowServiceResolver>(
                     surroundings,
                     [](const ConfigItem& item) { return applicationPathForWindowChoice(item).has_value(); },
                     [windows](WindowServices& services, const ConfigItem& item) {
                         return windows->make(services, item);
                     }));
    const auto applications = std::make_shared<RunningApplicationChoices>(surroundings.ownProcess);
    registry.add(std::string(kRunningApplicationChoices),
                 std::make_shared<WindowServiceResolver>(
                     surroundings, asksForRunningApplication,
                     [applications](WindowServices& services, const ConfigItem& item) {
                         return applications->make(services, item);
                     }));
}

} // namespace varnel
