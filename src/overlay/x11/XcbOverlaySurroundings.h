#pragma once

#include "overlay/OverlaySurroundings.h"
#include "overlay/XSettings.h"

#include <xcb/xcb.h>

#include <memory>

struct xkb_context;
struct xkb_keymap;

namespace varnel {

/// The desktop of an X server, over a connection of its own: the user's keyboard layout, whether somebody
/// blends windows, and the settings that the desktop publishes. Reads them when they change, so that hardly
/// anything is asked while a key waits.
class XcbOverlaySurroundings final : public OverlaySurroundings {
public:
    /// Null when there is no server at `display` (empty: as the environment says).
    static std::unique_ptr<XcbOverlaySurroundings> connect(EventLoop& loop, const std::string& display = {});
    ~XcbOverlaySurroundings() override;

    [[nodiscard]] std::optional<std::string> keyLabel(KeyCode code) const override;
    [[nodiscard]] bool blendsWindows() const override { return blendsWindows_; }
    [[nodiscard]] bool prefersLessMotion() const override { return disablesAnimations(settings_); }
    [[nodiscard]] std::optional<bool> prefersDark() const override;
    [[nodiscard]] std::optional<DesktopPlace> focusedPlace() override;

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

    XcbOverlaySurroundings(EventLoop& loop, Connection connection, int screen);
    [[nodiscard]] xcb_atom_t atom(const std::string& name) const;
    [[nodiscard]] xcb_window_t owner(xcb_atom_t selection) const;
    [[nodiscard]] xcb_window_t focusedWindow() const;
    void watchSelections();
    void watchKeyboard();
    void handleEvents();
    void handle(const xcb_generic_event_t& event);
    void readKeyboard();
    void readGroup();
    void readSettings();

    Connection connection_;
    xcb_window_t root_ = XCB_NONE;
    xcb_atom_t activeWindow_ = XCB_NONE;     ///< the property that a window manager sets
    xcb_atom_t compositor_ = XCB_NONE;       ///< the selection that a compositor owns
    xcb_atom_t settingsManager_ = XCB_NONE;  ///< the selection that the settings manager owns
    xcb_atom_t settingsProperty_ = XCB_NONE; ///< what it publishes, on its window
    std::uint8_t fixesEvents_ = 0;           ///< first event of the extension; 0: it is missing
    std::uint8_t keyboardEvents_ = 0;
    std::int32_t keyboard_ = -1;
    xkb_context* context_ = nullptr;
    xkb_keymap* keymap_ = nullptr;
    std::uint32_t group_ = 0; ///< the layout in use, of those that are set up
    bool blendsWindows_ = false;
    XSettings settings_;
    Subscription watch_;
};

} // namespace varnel
