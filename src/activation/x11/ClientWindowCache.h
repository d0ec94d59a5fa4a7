#pragma once

#include "activation/x11/XcbConnection.h"
#include "activation/x11/XcbDesktop.h"

#include <optional>
#include <unordered_map>
#include <vector>

namespace varnel {

/// The client windows, their order and the active one, kept up to date by what the window manager changes on
/// the root window. Facts that belong to a window for life (process, class, type) are asked for once. Client
/// windows themselves are not watched: some change a property of theirs with every key. Not thread-safe.
class ClientWindowCache {
public:
    explicit ClientWindowCache(XcbConnection& connection);

    void handle(const xcb_generic_event_t& event);
    /// Handles what has been read already, or first reads what the server has sent. Never waits.
    void handleQueued();
    void handleArrived();
    /// Sends the requests that are due and takes the replies that are there. Never waits.
    void advance();
    /// Waits for the server until everything is known.
    void complete();

    [[nodiscard]] bool hasManager() const { return hasManager_; }
    /// Front to back.
    [[nodiscard]] const std::vector<DesktopWindow>& windows() const { return windows_; }
    [[nodiscard]] std::optional<WindowNumber> active() const { return active_; }
    [[nodiscard]] std::optional<std::uint32_t> currentDesktop() const { return currentDesktop_; }

private:
    enum class Waiting { no, yes };
    /// One property of the root window that is followed.
    struct Followed {
        XcbAtom atom;
        bool isDue = true;
        std::optional<xcb_get_property_cookie_t> asked = std::nullopt;
    };
    /// What has been asked about a new window.
    struct Question {
        unsigned classHint = 0, process = 0, machine = 0, type = 0,
                 client = 0; ///< sequence numbers; 0: answered
        DesktopWindow window;
        std::optional<ProcessIdentifier> claimedProcess, ownerProcess;
        bool isRemote = false;
        bool isGone = false;
    };

    bool step(Waiting waiting);
    bool stepFollowed(Followed& followed, Waiting waiting);
    void adopt(const Followed& followed, const xcb_get_property_reply_t* reply);
    void askAbout(WindowNumber window);
    bool stepQuestion(Question& question, Waiting waiting);
    void adoptOrder();
    void listWithoutManager();
    void describeType(DesktopWindow& window, const xcb_get_property_reply_t* reply) const;
    bool take(unsigned& sequence, Waiting waiting, XcbReply<void>& reply, bool* isGone = nullptr);

    XcbConnection& connection_;
    std::string hostName_;
    bool hasClientIdentifiers_ = false; ///< the X-Resource extension can tell a window's process
    bool hasManager_ = false;
    xcb_window_t managerWindow_ = XCB_NONE; ///< lives as long as the window manager
    Followed manager_{XcbAtom::supportingWmCheck};
    Followed order_{XcbAtom::clientListStacking};
    Followed activeWindow_{XcbAtom::activeWindow};
    Followed desktop_{XcbAtom::currentDesktop};
    std::vector<WindowNumber> orderBackToFront_;
    bool isOrderNew_ = false;
    std::unordered_map<WindowNumber, DesktopWindow> known_;
    std::unordered_map<WindowNumber, Question> questions_;
    std::vector<DesktopWindow> windows_;
    std::optional<WindowNumber> active_;
    std::optional<std::uint32_t> currentDesktop_;
};

} // namespace varnel
