#include "activation/x11/ClientWindowCache.h"

#include <xcb/res.h>
#include <xcb/xcbext.h>

#include <sys/utsname.h>

#include <algorithm>

namespace varnel {
namespace {

// A stream of changes must not keep a caller waiting for ever.
constexpr int kMostRounds = 16;
// Layers of windows that are not ordinary, in the manner of other window servers.
constexpr int kDesktopLayer = -1000;
constexpr int kPaletteLayer = 3;
constexpr int kDockLayer = 20;
constexpr int kPopupLayer = 25;

std::string hostName() {
    utsname names{};
    return uname(&names) == 0 ? names.nodename : "";
}

} // namespace

ClientWindowCache::ClientWindowCache(XcbConnection& connection)
    : connection_(connection)
    , hostName_(hostName()) {
    xcb_connection_t* c = connection_.get();
    xcb_prefetch_extension_data(c, &xcb_res_id);
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, connection_.root(), XCB_CW_EVENT_MASK, &events);
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_res_id);
    if (!extension || !extension->present)
        return;
    XcbReply<xcb_res_query_version_reply_t> version(
        xcb_res_query_version_reply(c, xcb_res_query_version(c, 1, 2), nullptr));
    hasClientIdentifiers_ =
        version && (version->server_major > 1 || (version->server_major == 1 && version->server_minor >= 2));
}

void ClientWindowCache::handleQueued() {
    while (XcbReply<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection_.get())})
        handle(*event);
}

void ClientWindowCache::handleArrived() {
    while (XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
        handle(*event);
}

void ClientWindowCache::handle(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7f;
    // A killed window manager leaves its properties behind, but not its window.
    if ((type == XCB_DESTROY_NOTIFY &&
         reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == managerWindow_) ||
        (type == 0 && reinterpret_cast<const xcb_value_error_t&>(event).bad_value == managerWindow_)) {
        hasManager_ = false;
        managerWindow_ = XCB_NONE;
    }
    if (type != XCB_PROPERTY_NOTIFY)
        return;
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (change.window != connection_.root())
        return;
    for (Followed* followed : {&manager_, &order_, &activeWindow_, &desktop_})
        if (change.atom == connection_.atom(followed->atom))
            followed->isDue = true;
    // A new window manager writes its lists before or after it says that it is there.
    if (change.atom == connection_.atom(XcbAtom::supportingWmCheck))
        order_.isDue = activeWindow_.isDue = desktop_.isDue = true;
}

void ClientWindowCache::advance() {
    step(Waiting::no);
    xcb_flush(connection_.get());
}

void ClientWindowCache::complete() {
    for (int round = 0; round < kMostRounds && !connection_.isBroken(); ++round) {
        // One round sends everything that is due before the next one waits for it.
        if (step(round == 0 ? Waiting::no : Waiting::yes))
            break;
    }
    handleQueued();
    if (!hasManager_)
        listWithoutManager();
}

bool ClientWindowCache::step(Waiting waiting) {
    bool done = true;
    for (Followed* followed : {&manager_, &order_, &activeWindow_, &desktop_})
        done = stepFollowed(*followed, waiting) && done;
    for (auto it = questions_.begin(); it != questions_.end();) {
        if (!stepQuestion(it->second, waiting)) {
            done = false;
            ++it;
            continue;
        }
        if (!it->second.isGone)
            known_[it->first] = std::move(it->second.window);
        it = questions_.erase(it);
        isOrderNew_ = true;
    }
    if (isOrderNew_ && questions_.empty())
        adoptOrder();
    return done && !isOrderNew_;
}

bool ClientWindowCache::stepFollowed(Followed& followed, Waiting waiting) {
    if (followed.asked) {
        unsigned sequence = followed.asked->sequence;
        XcbReply<void> reply;
        if (!take(sequence, waiting, reply))
            return false;
        followed.asked.reset();
        adopt(followed, static_cast<const xcb_get_property_reply_t*>(reply.get()));
    }
    if (!followed.isDue)
        return true;
    followed.isDue = false;
    followed.asked = connection_.ask(connection_.root(), connection_.atom(followed.atom), 65536);
    return false;
}

void ClientWindowCache::adopt(const Followed& followed, const xcb_get_property_reply_t* reply) {
    switch (followed.atom) {
    case XcbAtom::supportingWmCheck:
        managerWindow_ = firstLong(reply).value_or(XCB_NONE);
        hasManager_ = managerWindow_ != XCB_NONE;
        if (hasManager_) {
            const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
            xcb_change_window_attributes(connection_.get(), managerWindow_, XCB_CW_EVENT_MASK, &events);
        }
        break;
    case XcbAtom::clientListStacking:
        orderBackToFront_ = longs(reply);
        for (WindowNumber window : orderBackToFront_)
            if (!known_.contains(window) && !questions_.contains(window))
                askAbout(window);
        isOrderNew_ = true;
        break;
    case XcbAtom::activeWindow:
        active_ = firstLong(reply);
        if (active_ == XCB_NONE)
            active_.reset();
        break;
    default:
        currentDesktop_ = firstLong(reply);
    }
}

void ClientWindowCache::askAbout(WindowNumber window) {
    Question question;
    question.window.id = window;
    question.classHint = connection_.ask(window, XCB_ATOM_WM_CLASS).sequence;
    question.process = connection_.ask(window, connection_.atom(XcbAtom::wmPid), 1).sequence;
    question.machine = connection_.ask(window, XCB_ATOM_WM_CLIENT_MACHINE).sequence;
    question.type = connection_.ask(window, connection_.atom(XcbAtom::wmWindowType), 16).sequence;
    if (hasClientIdentifiers_) {
        const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        question.client = xcb_res_query_client_ids(connection_.get(), 1, &wanted).sequence;
    }
    questions_.emplace(window, std::move(question));
}

bool ClientWindowCache::stepQuestion(Question& question, Waiting waiting) {
    XcbReply<void> reply;
    const auto property = [&] { return static_cast<const xcb_get_property_reply_t*>(reply.get()); };
    if (question.classHint) {
        if (!take(question.classHint, waiting, reply, &question.isGone))
            return false;
        const std::string_view text = bytes(property());
        const std::size_t end = std::min(text.find('\0'), text.size());
        question.window.instanceName = text.substr(0, end);
        const std::string_view rest = text.substr(std::min(end + 1, text.size()));
        question.window.className = rest.substr(0, std::min(rest.find('\0'), rest.size()));
    }
    if (question.process) {
        if (!take(question.process, waiting, reply))
            return false;
        question.claimedProcess = firstLong(property());
    }
    if (question.machine) {
        if (!take(question.machine, waiting, reply))
            return false;
        const std::string_view machine = bytes(property());
        question.isRemote = !machine.empty() && machine != hostName_ && machine != "localhost";
    }
    if (question.type) {
        if (!take(question.type, waiting, reply))
            return false;
        describeType(question.window, property());
    }
    if (question.client) {
        if (!take(question.client, waiting, reply))
            return false;
        if (const auto* answer = static_cast<const xcb_res_query_client_ids_reply_t*>(reply.get()))
            for (auto ids = xcb_res_query_client_ids_ids_iterator(answer); ids.rem;
                 xcb_res_client_id_value_next(&ids))
                if ((ids.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) && ids.data->length >= 4)
                    question.ownerProcess =
                        static_cast<ProcessIdentifier>(*xcb_res_client_id_value_value(ids.data));
    }
    // The program's own word first: a window may belong to a helper that draws for it.
    if (!question.isRemote)
        question.window.process = question.claimedProcess.value_or(question.ownerProcess.value_or(0));
    return true;
}

void ClientWindowCache::describeType(DesktopWindow& window, const xcb_get_property_reply_t* reply) const {
    window.layer = 0;
    // The first type that we know counts; programs put their own, finer ones before it.
    static constexpr std::pair<XcbAtom, int> kLayers[] = {
        {XcbAtom::typeNormal, 0},
        {XcbAtom::typeDialog, 0},
        {XcbAtom::typeDesktop, kDesktopLayer},
        {XcbAtom::typeDock, kDockLayer},
        {XcbAtom::typeUtility, kPaletteLayer},
        {XcbAtom::typeToolbar, kPaletteLayer},
        {XcbAtom::typeMenu, kPaletteLayer},
    };
    const std::vector<std::uint32_t> types = longs(reply);
    for (std::uint32_t type : types)
        for (const auto& [atom, layer] : kLayers)
            if (type == connection_.atom(atom)) {
                window.layer = layer;
                return;
            }
    if (!types.empty())
        window.layer = kPopupLayer;
}

void ClientWindowCache::adoptOrder() {
    isOrderNew_ = false;
    windows_.clear();
    windows_.reserve(orderBackToFront_.size());
    for (auto it = orderBackToFront_.rbegin(); it != orderBackToFront_.rend(); ++it)
        if (const auto found = known_.find(*it); found != known_.end())
            windows_.push_back(found->second);
    if (known_.size() == windows_.size())
        return;
    std::unordered_map<WindowNumber, DesktopWindow> alive;
    for (const DesktopWindow& window : windows_)
        alive.emplace(window.id, window);
    known_ = std::move(alive);
}

void ClientWindowCache::listWithoutManager() {
    xcb_connection_t* c = connection_.get();
    XcbReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, connection_.root()), nullptr));
    if (!tree)
        return;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    std::vector<xcb_get_window_attributes_cookie_t> cookies;
    cookies.reserve(tree->children_len);
    for (int i = 0; i < tree->children_len; ++i)
        cookies.push_back(xcb_get_window_attributes(c, children[i]));
    orderBackToFront_.clear();
    for (int i = 0; i < tree->children_len; ++i) {
        XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, cookies[static_cast<std::size_t>(i)], nullptr));
        if (attributes && !attributes->override_redirect && attributes->map_state == XCB_MAP_STATE_VIEWABLE)
            orderBackToFront_.push_back(children[i]);
    }
    for (WindowNumber window : orderBackToFront_)
        if (!known_.contains(window))
            askAbout(window);
    isOrderNew_ = true;
    for (int round = 0; round < kMostRounds && !step(Waiting::yes); ++round) {
    }
    XcbReply<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    active_.reset();
    // The focus may be anywhere inside a top-level window.
    for (xcb_window_t at = focus ? focus->focus : XCB_NONE; at > XCB_INPUT_FOCUS_POINTER_ROOT;) {
        XcbReply<xcb_query_tree_reply_t> above(xcb_query_tree_reply(c, xcb_query_tree(c, at), nullptr));
        if (!above || above->parent == XCB_NONE)
            break;
        if (above->parent == connection_.root()) {
            active_ = at;
            break;
        }
        at = above->parent;
    }
}

bool ClientWindowCache::take(unsigned& sequence, Waiting waiting, XcbReply<void>& reply, bool* isGone) {
    void* answer = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (waiting == Waiting::yes)
        answer = xcb_wait_for_reply(connection_.get(), sequence, &error);
    else if (!xcb_poll_for_reply(connection_.get(), sequence, &answer, &error))
        return connection_.isBroken();
    reply.reset(answer);
    if (isGone)
        *isGone = error != nullptr;
    std::free(error);
    sequence = 0;
    return true;
}

} // namespace varnel
