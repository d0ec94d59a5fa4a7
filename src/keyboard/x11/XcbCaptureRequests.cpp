#include "keyboard/x11/XcbCaptureRequests.h"

#include "keyboard/notation/x11/XcbReply.h"

#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include <algorithm>

namespace varnel {
namespace {

constexpr std::uint32_t kAnyModifier = 0x80000000u;
constexpr std::uint8_t kAnyKey = 0;
constexpr std::uint32_t kKeyEvents = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;
constexpr std::uint16_t kAllDevices = 0;

} // namespace

void XcbCaptureRequests::retarget(const Target& target) {
    target_ = target;
    awaited_.clear();
    byCore_.clear();
    refused_.clear();
    contestedKeys_.clear();
    guardIsWhole_ = true;
    replaySequence_ = dropSequence_ = 0;
}

unsigned XcbCaptureRequests::grabKey(std::uint8_t key, const std::vector<std::uint32_t>& modifiers) {
    return xcb_input_xi_passive_grab_device(target_.connection, XCB_CURRENT_TIME, target_.root, XCB_NONE, key,
                                            target_.keyboard, static_cast<std::uint16_t>(modifiers.size()), 1,
                                            XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_SYNC,
                                            XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER,
                                            &kKeyEvents, modifiers.data())
        .sequence;
}

void XcbCaptureRequests::ungrabKey(std::uint8_t key, const std::vector<std::uint32_t>& modifiers) {
    xcb_input_xi_passive_ungrab_device(target_.connection, target_.root, key, target_.keyboard,
                                       static_cast<std::uint16_t>(modifiers.size()),
                                       XCB_INPUT_GRAB_TYPE_KEYCODE, modifiers.data());
}

void XcbCaptureRequests::install(GrabCombination combination) {
    if (std::find(byCore_.begin(), byCore_.end(), combination) != byCore_.end()) {
        grabCore(combination);
        return;
    }
    const unsigned sequence = grabKey(combination.key, map_.withLocks(combination.modifiers));
    if (checks_)
        awaited_.push_back({sequence, combination, false});
    else
        xcb_discard_reply(target_.connection, sequence);
}

bool XcbCaptureRequests::forget(GrabCombination combination) {
    std::erase(refused_, combination);
    return std::erase(byCore_, combination) != 0;
}

void XcbCaptureRequests::remove(GrabCombination combination) {
    std::erase_if(awaited_, [&](const Awaited& awaited) {
        if (awaited.combination != combination)
            return false;
        xcb_discard_reply(target_.connection, awaited.sequence);
        return true;
    });
    if (forget(combination))
        for (const std::uint32_t modifiers : map_.withLocks(combination.modifiers))
            xcb_ungrab_key(target_.connection, combination.key, target_.root,
                           static_cast<std::uint16_t>(modifiers));
    ungrabKey(combination.key, map_.withLocks(combination.modifiers));
}

void XcbCaptureRequests::grabCore(GrabCombination combination) {
    for (const std::uint32_t modifiers : map_.withLocks(combination.modifiers)) {
        const auto cookie =
            xcb_grab_key_checked(target_.connection, 0, target_.root, static_cast<std::uint16_t>(modifiers),
                                 combination.key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC);
        // A checked request has no reply of its own to poll for; the refusal is found by `collectReplies`.
        awaited_.push_back({cookie.sequence, combination, true});
    }
}

bool XcbCaptureRequests::isFreeOfCoreGrabs(GrabCombination combination) const {
    if (std::find(byCore_.begin(), byCore_.end(), combination) != byCore_.end())
        return true; // ours
    const auto attempt = xcb_grab_key_checked(target_.connection, 0, target_.root, combination.modifiers,
                                              combination.key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_ungrab_key(target_.connection, combination.key, target_.root, combination.modifiers);
    return !XcbOwned<xcb_generic_error_t>(xcb_request_check(target_.connection, attempt));
}

bool XcbCaptureRequests::collectReplies() {
    bool changed = false;
    while (!awaited_.empty()) {
        const Awaited awaited = awaited_.front();
        void* memory = nullptr;
        xcb_generic_error_t* failure = nullptr;
        if (xcb_poll_for_reply(target_.connection, awaited.sequence, &memory, &failure) == 0)
            break;
        awaited_.pop_front();
        const XcbOwned<xcb_input_xi_passive_grab_device_reply_t> reply(
            static_cast<xcb_input_xi_passive_grab_device_reply_t*>(memory));
        const XcbOwned<xcb_generic_error_t> error(failure);
        const bool isRefused = error != nullptr || (reply && reply->num_modifiers != 0);
        const bool wasRefused = isRefusedSoFar(awaited.combination);
        if (!isRefused) {
            if (wasRefused && !awaited.isCore)
                changed = forget(awaited.combination) || changed;
        } else if (wasRefused) {
            continue;
        } else if (awaited.isCore) {
            refused_.push_back(awaited.combination);
            changed = true;
        } else {
            byCore_.push_back(awaited.combination);
            grabCore(awaited.combination);
        }
    }
    if (!awaited_.empty())
        xcb_flush(target_.connection);
    return changed;
}

bool XcbCaptureRequests::isRefusedSoFar(GrabCombination combination) const {
    return std::find(refused_.begin(), refused_.end(), combination) != refused_.end();
}

void XcbCaptureRequests::retryRefused() {
    // Whoever has them grabbed them by XInput too; a core grab of somebody else's hinders nobody.
    for (const GrabCombination combination : refused_)
        awaited_.push_back(
            {grabKey(combination.key, map_.withLocks(combination.modifiers)), combination, false});
}

void XcbCaptureRequests::testGuard() {
    const auto isGranted = [&](unsigned sequence) {
        const XcbOwned<xcb_input_xi_passive_grab_device_reply_t> reply(xcb_input_xi_passive_grab_device_reply(
            target_.connection, xcb_input_xi_passive_grab_device_cookie_t{sequence}, nullptr));
        return reply && reply->num_modifiers == 0;
    };
    contestedKeys_.clear();
    const unsigned whole = grabKey(kAnyKey, {kAnyModifier});
    ungrabKey(kAnyKey, {kAnyModifier});
    guardIsWhole_ = isGranted(whole);
    if (guardIsWhole_)
        return;
    std::vector<unsigned> sequences;
    for (unsigned key = target_.minimumKey; key <= target_.maximumKey; ++key)
        sequences.push_back(grabKey(static_cast<std::uint8_t>(key), {kAnyModifier}));
    ungrabKey(kAnyKey, {kAnyModifier});
    for (std::size_t i = 0; i < sequences.size(); ++i)
        if (!isGranted(sequences[i]))
            contestedKeys_.push_back(static_cast<std::uint8_t>(target_.minimumKey + i));
}

void XcbCaptureRequests::installGuard() {
    if (guardIsWhole_) {
        xcb_discard_reply(target_.connection, grabKey(kAnyKey, {kAnyModifier}));
        return;
    }
    std::vector<std::uint32_t> everything(256);
    for (std::uint32_t i = 0; i < 256; ++i)
        everything[i] = i;
    for (unsigned key = target_.minimumKey; key <= target_.maximumKey; ++key) {
        const auto code = static_cast<std::uint8_t>(key);
        const bool isContested =
            std::find(contestedKeys_.begin(), contestedKeys_.end(), code) != contestedKeys_.end();
        // What others hold stays theirs; the rest of that key is ours.
        xcb_discard_reply(target_.connection,
                          isContested ? grabKey(code, everything) : grabKey(code, {kAnyModifier}));
    }
}

void XcbCaptureRequests::removeGuard() {
    ungrabKey(kAnyKey, {kAnyModifier});
}

void XcbCaptureRequests::arm() {
    if (guardIsWhole_) {
        xcb_discard_reply(target_.connection, grabKey(kAnyKey, map_.withLocks(0)));
        return;
    }
    for (unsigned key = target_.minimumKey; key <= target_.maximumKey; ++key)
        xcb_discard_reply(target_.connection, grabKey(static_cast<std::uint8_t>(key), map_.withLocks(0)));
}

void XcbCaptureRequests::disarm() {
    ungrabKey(kAnyKey, map_.withLocks(0));
}

void XcbCaptureRequests::installTail(std::uint8_t key) {
    xcb_discard_reply(target_.connection, grabKey(key, {kAnyModifier}));
}

void XcbCaptureRequests::removeTail(std::uint8_t key) {
    ungrabKey(key, {kAnyModifier});
}

void XcbCaptureRequests::watchRawInput(bool on) {
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{};
    // All devices, because the events of the master cease while anything is grabbed; those of the keyboards
    // themselves never do.
    selection.head.deviceid = kAllDevices;
    selection.head.mask_len = 1;
    selection.mask = on ? XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
                              XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS
                        : 0;
    xcb_input_xi_select_events(target_.connection, target_.root, 1, &selection.head);
}

void XcbCaptureRequests::convert(const GrabbedKey& event) {
    // A grab is only ever converted by a request of its own protocol.
    if (event.isCore) {
        xcb_discard_reply(target_.connection,
                          xcb_grab_keyboard(target_.connection, 0, target_.root, XCB_CURRENT_TIME,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC)
                              .sequence);
        return;
    }
    xcb_discard_reply(target_.connection,
                      xcb_input_xi_grab_device(target_.connection, target_.root, XCB_CURRENT_TIME, XCB_NONE,
                                               target_.keyboard, XCB_INPUT_GRAB_MODE_22_SYNC,
                                               XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER, 1,
                                               &kKeyEvents)
                          .sequence);
}

void XcbCaptureRequests::allow(std::uint8_t mode) {
    xcb_input_xi_allow_events(target_.connection, XCB_CURRENT_TIME, target_.keyboard, mode, 0, target_.root);
}

void XcbCaptureRequests::answerKeep() {
    allow(XCB_INPUT_EVENT_MODE_SYNC_DEVICE);
}

void XcbCaptureRequests::answerReplay() {
    allow(XCB_INPUT_EVENT_MODE_REPLAY_DEVICE);
}

void XcbCaptureRequests::answerUngrab(bool isCore) {
    if (isCore)
        xcb_ungrab_keyboard(target_.connection, XCB_CURRENT_TIME);
    else
        xcb_input_xi_ungrab_device(target_.connection, XCB_CURRENT_TIME, target_.keyboard);
}

void XcbCaptureRequests::drop(bool isCore, bool replay) {
    replaySequence_ = 0;
    if (replay)
        replaySequence_ = xcb_input_xi_allow_events(target_.connection, XCB_CURRENT_TIME, target_.keyboard,
                                                    XCB_INPUT_EVENT_MODE_REPLAY_DEVICE, 0, target_.root)
                              .sequence;
    dropSequence_ =
        isCore ? xcb_ungrab_keyboard(target_.connection, XCB_CURRENT_TIME).sequence
               : xcb_input_xi_ungrab_device(target_.connection, XCB_CURRENT_TIME, target_.keyboard).sequence;
}

GrabbedKey::Settled XcbCaptureRequests::settled(std::uint32_t fullSequence) {
    // The numbers wrap around.
    const auto isBefore = [fullSequence](std::uint32_t request) {
        return request != 0 && static_cast<std::int32_t>(fullSequence - request) < 0;
    };
    if (isBefore(replaySequence_))
        return GrabbedKey::Settled::replayed;
    if (isBefore(dropSequence_))
        return GrabbedKey::Settled::taken;
    replaySequence_ = dropSequence_ = 0;
    return GrabbedKey::Settled::no;
}

} // namespace varnel
