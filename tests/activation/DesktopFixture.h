#pragma once

#include "activation/x11/XcbConnection.h"
#include "activation/x11/XcbDesktop.h"
#include "tests/activation/TestWindows.h"
#include "tests/support/XServer.h"

#include <gtest/gtest.h>

namespace varnel {

/// An X server with a window manager, and a second look at its state beside the code under test.
class DesktopFixture : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(server.display().empty());
        probe = XcbConnection::open(server.display());
        ASSERT_TRUE(probe);
        prepareServer();
        if (!wantsManager())
            return connectDesktop();
        manager = std::make_unique<TestProcess>(std::vector<std::string>{"openbox", "--sm-disable"},
                                                server.display());
        // It may lose windows that are shown while it starts; it has started once it does what it is told.
        for (std::uint32_t number : {1u, 0u})
            ASSERT_TRUE(eventually([&] {
                tell(probe->root(), XcbAtom::currentDesktop, {number, 0, 0, 0, 0});
                return rootWord(XcbAtom::currentDesktop) == number;
            }));
        connectDesktop();
    }
    virtual bool wantsManager() const { return true; }
    virtual void prepareServer() {}
    void connectDesktop() {
        auto connected = XcbDesktop::connect(server.display());
        ASSERT_TRUE(connected);
        desktop = std::move(*connected);
    }

    /// Starts a program and waits until its windows are managed.
    TestProcess& show(std::vector<TestWindow> windows) {
        std::size_t total = desktop->clientWindows().size();
        for (const TestWindow& window : windows)
            total += static_cast<std::size_t>(window.count);
        processes.push_back(std::make_unique<TestProcess>([&] { showWindows(server.display(), windows); }));
        EXPECT_TRUE(eventually([&] { return desktop->clientWindows().size() == total; }));
        return *processes.back();
    }
    /// Starts a program that shows one window of this title.
    TestProcess& start(std::vector<std::string> argv, const std::string& title) {
        processes.push_back(std::make_unique<TestProcess>(std::move(argv), server.display()));
        EXPECT_TRUE(eventually([&] { return window(title).id != 0; })) << title;
        return *processes.back();
    }
    TestProcess& startTerminal(const std::string& title) {
        return start({"xterm", "-T", title, "-e", "sleep", "1000"}, title);
    }
    RunningWindow window(const std::string& title) {
        const auto windows = desktop->runningWindows();
        for (const RunningWindow& each : *windows)
            if (each.title == title)
                return each;
        return {};
    }

    std::optional<std::uint32_t> rootWord(XcbAtom property) {
        return firstLong(wait(*probe, probe->ask(probe->root(), probe->atom(property))).get());
    }
    std::vector<std::uint32_t> words(xcb_window_t window, XcbAtom property) {
        return longs(wait(*probe, probe->ask(window, probe->atom(property))).get());
    }
    bool hasState(xcb_window_t window, XcbAtom state) {
        for (std::uint32_t each : words(window, XcbAtom::wmState))
            if (each == probe->atom(state))
                return true;
        return false;
    }
    xcb_window_t topmost() {
        const auto stack = words(probe->root(), XcbAtom::clientListStacking);
        return stack.empty() ? 0 : stack.back();
    }
    /// Whether the keyboard's focus is in the window, by the server's own word.
    bool hasKeyboard(xcb_window_t window) {
        xcb_connection_t* c = probe->get();
        XcbReply<xcb_get_input_focus_reply_t> focus(
            xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
        for (xcb_window_t at = focus->focus; at > 1 && at != probe->root();) {
            if (at == window)
                return true;
            XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, at), nullptr));
            at = tree ? tree->parent : 0;
        }
        return false;
    }
    bool isViewable(xcb_window_t window) {
        xcb_connection_t* c = probe->get();
        XcbReply<xcb_get_window_attributes_reply_t> reply(
            xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr));
        return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    }
    void tell(xcb_window_t window, XcbAtom type, std::array<std::uint32_t, 5> data) {
        probe->tellManager(window, type, data);
        xcb_flush(probe->get());
    }
    void moveToDesktop(xcb_window_t window, std::uint32_t number) {
        tell(window, XcbAtom::wmDesktop, {number, 2, 0, 0, 0});
        EXPECT_TRUE(eventually([&] { return words(window, XcbAtom::wmDesktop) == std::vector{number}; }));
    }

    XServer server;
    std::unique_ptr<XcbConnection> probe;
    std::unique_ptr<TestProcess> manager;
    std::unique_ptr<XcbDesktop> desktop;
    std::vector<std::unique_ptr<TestProcess>> processes;
};

} // namespace varnel
