#include "base/Localized.h"
#include "base/PollEventLoop.h"
#include "base/PosixFileSystem.h"
#include "keyboard/x11/XcbKeyboardEventTapSession.h"
#include "runtime/Doctor.h"
#include "runtime/ProgramLocation.h"
#include "runtime/linux/WatchLimits.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>

namespace varnel {

namespace {

constexpr Duration kGrabPatience = 150ms; ///< a refusal may come with the second round trip

template <typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;
template <typename T>
Reply<T> own(T* reply) {
    return {reply, &std::free};
}

/// One connection for all questions.
class DisplayQuestions {
public:
    explicit DisplayQuestions(xcb_connection_t* connection)
        : connection_(connection)
        , root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {}

    bool hasExtension(const std::string& name) {
        const auto reply = own(xcb_query_extension_reply(
            connection_,
            xcb_query_extension(connection_, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
        return reply && reply->present;
    }

    std::string windowManager() {
        const auto check = windowProperty(root_, "_NET_SUPPORTING_WM_CHECK");
        return check == XCB_NONE ? std::string() : textProperty(check, "_NET_WM_NAME");
    }

    /// The program that owns the tray of the first screen.
    std::string trayHost() {
        const auto owner = own(xcb_get_selection_owner_reply(
            connection_, xcb_get_selection_owner(connection_, atom("_NET_SYSTEM_TRAY_S0")), nullptr));
        if (!owner || owner->owner == XCB_NONE)
            return {};
        const std::string program = programOf(owner->owner);
        return program.empty() ? localized("a program") : program;
    }

    /// Programs with passive grabs, as the server counts what its clients own. By name, each once.
    std::vector<std::string> grabbers() {
        std::set<std::string> names;
        const xcb_atom_t grab = atom("PASSIVE GRAB");
        const auto clients =
            own(xcb_res_query_clients_reply(connection_, xcb_res_query_clients(connection_), nullptr));
        if (!clients || grab == XCB_NONE)
            return {};
        const auto* client = xcb_res_query_clients_clients(clients.get());
        for (int i = 0; i < xcb_res_query_clients_clients_length(clients.get()); ++i)
            if (owns(client[i].resource_base, grab))
                if (std::string name = programOf(client[i].resource_base); !name.empty())
                    names.insert(std::move(name));
        return {names.begin(), names.end()};
    }

private:
    /// Made where there is none: the server itself names its kinds of resources only when it is asked.
    xcb_atom_t atom(const std::string& name) {
        const auto reply = own(xcb_intern_atom_reply(
            connection_,
            xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
        return reply ? reply->atom : XCB_NONE;
    }
    Reply<xcb_get_property_reply_t> property(xcb_window_t window, const std::string& name) {
        return own(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, atom(name), XCB_ATOM_ANY, 0, 64), nullptr));
    }
    xcb_window_t windowProperty(xcb_window_t window, const std::string& name) {
        const auto reply = property(window, name);
        return reply && xcb_get_property_value_length(reply.get()) >= 4
                   ? *static_cast<xcb_window_t*>(xcb_get_property_value(reply.get()))
                   : XCB_NONE;
    }
    std::string textProperty(xcb_window_t window, const std::string& name) {
        const auto reply = property(window, name);
        return reply ? std::string(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                   static_cast<std::size_t>(xcb_get_property_value_length(reply.get())))
                     : std::string();
    }
    bool owns(std::uint32_t client, xcb_atom_t type) {
        const auto resources = own(xcb_res_query_client_resources_reply(
            connection_, xcb_res_query_client_resources(connection_, client), nullptr));
        if (!resources)
            return false;
        const auto* kinds = xcb_res_query_client_resources_types(resources.get());
        return std::any_of(kinds, kinds + xcb_res_query_client_resources_types_length(resources.get()),
                           [&](const xcb_res_type_t& kind) { return kind.resource_type == type; });
    }
    /// The name of the local program behind a resource; "" for one elsewhere and for this one.
    std::string programOf(std::uint32_t resource) {
        const xcb_res_client_id_spec_t wanted{resource, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        const auto ids = own(xcb_res_query_client_ids_reply(
            connection_, xcb_res_query_client_ids(connection_, 1, &wanted), nullptr));
        if (!ids)
            return {};
        for (auto id = xcb_res_query_client_ids_ids_iterator(ids.get()); id.rem > 0;
             xcb_res_client_id_value_next(&id)) {
            if (xcb_res_client_id_value_value_length(id.data) < 1)
                continue;
            const std::uint32_t process = *xcb_res_client_id_value_value(id.data);
            if (static_cast<pid_t>(process) == ::getpid())
                continue;
            if (auto name = PosixFileSystem().readFile("/proc/" + std::to_string(process) + "/comm"))
                return name->substr(0, name->find('\n'));
        }
        return {};
    }

    xcb_connection_t* connection_;
    xcb_window_t root_;
};

/// What is in the way of capturing these keys, found out by capturing them. Keys pass meanwhile.
std::string tryCapturing(const std::string& display, const std::vector<std::string>& tokens,
                         std::string& error) {
    PollEventLoop loop;
    XcbKeyboardEventTapSessionFactory taps(loop, {.displayName = display,
                                                  .ledger = nullptr,
                                                  .guardProgram = {},
                                                  .onConnectionLost = {},
                                                  .onTroubleChanged = {}});
    const auto session = taps.createSession([](const KeyboardEvent&) { return TapVerdict::pass; });
    if (!session) {
        error = taps.error();
        return {};
    }
    session->enable();
    session->setInterest({.mode = KeyInterest::Mode::watch,
                          .tokens = std::make_shared<const std::vector<std::string>>(tokens)});
    const Subscription end = loop.after(kGrabPatience, [&] { loop.quit(); });
    loop.run();
    return session->trouble();
}

DoctorDisplay lookAtDisplay(const DoctorFacts& facts) {
    DoctorDisplay display;
    display.name = facts.paths.display;
    const char* session = std::getenv("XDG_SESSION_TYPE");
    display.isWaylandSession =
        (session && std::string(session) == "wayland") || std::getenv("WAYLAND_DISPLAY");
    if (display.name.empty())
        return display;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display.name.c_str(), nullptr), &xcb_disconnect);
    if (xcb_connection_has_error(connection.get())) {
        display.error = localized("it does not answer");
        return display;
    }
    DisplayQuestions ask(connection.get());
    for (const char* extension : {"XInputExtension", "XKEYBOARD", "XTEST", "RANDR", "X-Resource"})
        display.extensions[extension] = ask.hasExtension(extension);
    display.windowManager = ask.windowManager();
    display.trayHost = ask.trayHost();
    if (display.extensions["X-Resource"])
        display.grabbers = ask.grabbers();
    if (facts.status) {
        const auto trouble = facts.status->find("trouble");
        const std::string* text = trouble == facts.status->end() ? nullptr : trouble->second.string();
        display.trouble = text ? *text : std::string();
        // Of course the running application holds keys.
        std::erase_if(display.grabbers, [](const std::string& name) { return name.starts_with("varnel"); });
    } else if (display.extensions["XInputExtension"]) {
        display.trouble = tryCapturing(display.name, facts.configuration.firstKeys, display.error);
    }
    return display;
}

} // namespace

void addSystemFacts(DoctorFacts& facts) {
    facts.display = lookAtDisplay(facts);
    facts.watchLimits = readWatchLimits(parentPath(facts.configuration.file.path));
    for (const char* helper : {"varnel-keyguard", "varnel-launcher"})
        facts.helpers[helper] = ::access(appendPath(programFolder(), helper).c_str(), X_OK) == 0;
}

} // namespace varnel
