#include "activation/WindowListing.h"

#include <algorithm>
#include <set>

namespace varnel {
namespace {

/// Programs keep windows of a point or two for their own ends.
constexpr int kSmallestSide = 32;

bool canBeSeen(const WindowListEntry& entry) {
    return entry.layer != 0 ||
           (entry.alpha > 0 && entry.bounds.width >= kSmallestSide && entry.bounds.height >= kSmallestSide);
}

} // namespace

std::vector<OrderedWindow> WindowListOrdering::windowsFrontToBack() {
    std::vector<OrderedWindow> windows;
    for (const WindowListEntry& entry : list_.onScreenWindows())
        windows.push_back({.number = entry.number, .process = entry.process, .layer = entry.layer});
    return windows;
}

/// One listing, which asks each question once.
class WindowListListing::Listing {
public:
    explicit Listing(WindowListListing& owner)
        : owner_(owner)
        , front_(owner.applications_.frontmostProcess())
        , snapshot_(owner.server_.spaceSnapshot().value_or(WindowServerSpaceSnapshot{})) {}

    std::vector<RunningWindow> run() {
        std::set<WindowNumber> onScreen;
        for (const WindowListEntry& entry : owner_.list_.onScreenWindows()) {
            onScreen.insert(entry.number);
            if (canBeSeen(entry))
                addOnScreen(entry);
        }
        for (const WindowListEntry& entry : owner_.list_.allWindows())
            if (!onScreen.contains(entry.number) && entry.layer == 0 && canBeSeen(entry))
                addOffScreen(entry);
        return std::move(windows_);
    }

private:
    void addOnScreen(const WindowListEntry& entry) {
        RunningWindow window = described(entry);
        window.isActive = !activeFound_ && window.layer == 0 && front_ == window.process;
        activeFound_ = activeFound_ || window.isActive;
        windows_.push_back(std::move(window));
    }

    void addOffScreen(const WindowListEntry& entry) {
        RunningWindow window = described(entry);
        window.isOnCurrentDesktop = !isOnSpaceOutOfSight(entry.number);
        if (window.isOnCurrentDesktop) {
            const auto& offered = minimizedByNumber(entry.process);
            const auto found = offered.find(entry.number);
            if (found == offered.end())
                return;
            window.isMinimized = found->second;
        }
        windows_.push_back(std::move(window));
    }

    RunningWindow described(const WindowListEntry& entry) {
        RunningWindow window{.id = entry.number,
                             .process = entry.process,
                             .title = entry.title,
                             .applicationName = entry.applicationName,
                             .applicationID = bundleIdentifier(entry.process),
                             .layer = entry.layer};
        if (window.title.empty() && window.layer == 0)
            window.title = owner_.server_.windowTitle(window.id).value_or("");
        if (const auto spaces = spacesOf(entry.number); spaces.size() == 1)
            if (const auto index = snapshot_.spaceIndexesByID.find(spaces.front());
                index != snapshot_.spaceIndexesByID.end())
                window.desktop = static_cast<std::uint32_t>(index->second);
        return window;
    }

    [[nodiscard]] std::vector<SpaceIdentifier> spacesOf(WindowNumber window) const {
        const auto found = snapshot_.spaceIDsByWindowID.find(window);
        return found == snapshot_.spaceIDsByWindowID.end() ? std::vector<SpaceIdentifier>() : found->second;
    }

    [[nodiscard]] bool isOnSpaceOutOfSight(WindowNumber window) const {
        const auto spaces = spacesOf(window);
        return !spaces.empty() && std::ranges::none_of(spaces, [this](SpaceIdentifier space) {
            return std::ranges::find(snapshot_.visibleSpaceIDs, space) != snapshot_.visibleSpaceIDs.end();
        });
    }

    const std::string& bundleIdentifier(ProcessIdentifier process) {
        const auto [found, isNew] = identifiers_.try_emplace(process);
        if (isNew)
            found->second = owner_.list_.bundleIdentifier(process).value_or("");
        return found->second;
    }

    /// The windows that the application offers, and whether they are minimised.
    const std::map<WindowNumber, bool>& minimizedByNumber(ProcessIdentifier process) {
        const auto [found, isNew] = offered_.try_emplace(process);
        if (isNew)
            for (const AccessibilityElement& element :
                 owner_.applications_.windows(owner_.applications_.applicationElement(process)))
                if (const auto number = owner_.server_.windowNumber(element))
                    found->second[*number] = owner_.accessibility_.isMinimized(element).value_or(false);
        return found->second;
    }

    WindowListListing& owner_;
    std::optional<ProcessIdentifier> front_;
    WindowServerSpaceSnapshot snapshot_;
    std::map<ProcessIdentifier, std::string> identifiers_;
    std::map<ProcessIdentifier, std::map<WindowNumber, bool>> offered_;
    std::vector<RunningWindow> windows_;
    bool activeFound_ = false;
};

std::expected<std::vector<RunningWindow>, WindowError> WindowListListing::runningWindows() {
    return Listing(*this).run();
}

} // namespace varnel
