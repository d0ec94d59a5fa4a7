#pragma once

#include "activation/RunningWindows.h"
#include "activation/WindowFocusing.h"
#include "activation/WindowGeometry.h"
#include "base/EventLoop.h"

#include <chrono>
#include <memory>

namespace varnel {

/// What is known of a client window without asking the server again.
struct DesktopWindow {
    WindowNumber id = 0;
    ProcessIdentifier process = 0;
    std::string instanceName; ///< WM_CLASS
    std::string className;
    int layer =
        0; ///< 0: an ordinary window (normal, dialog or without a type); panels, docks and menus are others
};

/// The desktop of an X server through its window manager's extended hints, over a connection of its own.
/// Any thread; calls are serialised. Requests that the window manager carries out are waited for, at most
/// `kPatience`. Without a window manager it lists and raises top-level windows itself.
class XcbDesktop : public RunningWindowListing, public WindowOrderingProviding {
public:
    static constexpr std::chrono::milliseconds kPatience{500};

    /// `display` as in the environment variable DISPLAY; empty: that variable.
    static std::expected<std::unique_ptr<XcbDesktop>, WindowError> connect(const std::string& display = {});
    ~XcbDesktop() override;

    /// Keeps the cache behind `clientWindows`, `activeWindow` and `frontmostProcess` up to date from the
    /// loop, so that asking costs no round trip while nothing changes. Main thread; the result must not
    /// outlive loop or desktop. Without it every question first looks at what the server has sent.
    [[nodiscard]] Subscription attach(EventLoop& loop);

    /// All client windows front to back, from the cache.
    std::vector<DesktopWindow> clientWindows();
    /// From the cache.
    std::optional<WindowNumber> activeWindow();
    std::optional<DesktopWindow> frontWindow(); ///< the active one, when it is a client window
    std::optional<ProcessIdentifier> frontmostProcess() override;

    /// With titles, desktops and states read anew (one round trip for all).
    std::expected<std::vector<RunningWindow>, WindowError> runningWindows() override;
    /// Visible windows of the current desktop, front to back, ours too.
    std::vector<OrderedWindow> windowsFrontToBack() override;

    enum class Wait { no, untilDone };
    /// Brings the window to the front and gives it the keyboard: switches to its desktop and takes it out of
    /// minimisation where needed. `timestamp` is the server time of the user's key; 0 asks the server.
    std::expected<void, WindowError> activate(WindowNumber window, Wait wait = Wait::untilDone,
                                              std::uint32_t timestamp = 0);
    /// Fails at once for a window on another desktop that the manager shows only when it is activated.
    std::expected<void, WindowError> unminimize(WindowNumber window);
    std::expected<void, WindowError> minimize(WindowNumber window);
    std::expected<void, WindowError> raise(WindowNumber window);
    std::expected<bool, WindowError> isMinimized(WindowNumber window);
    std::optional<std::uint32_t> currentDesktop();
    bool exists(WindowNumber window);

    /// Where the window is and may go.
    std::expected<WindowGeometry, WindowError> geometry(WindowNumber window);
    /// Takes the window out of maximisation and gives its frame this place; size hints may keep it smaller or
    /// larger.
    std::expected<void, WindowError> setFrame(WindowNumber window, const Rectangle& frame);
    std::expected<void, WindowError> setMaximized(WindowNumber window, bool maximized);
    /// A frame remembered with the window itself, so that it is known as long as the window lives.
    std::optional<Rectangle> rememberedFrame(WindowNumber window);
    void rememberFrame(WindowNumber window, const std::optional<Rectangle>& frame);

private:
    struct State;
    explicit XcbDesktop(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

} // namespace varnel
