#include "keyboard/notation/x11/KeyboardDevices.h"

#include "keyboard/notation/x11/XcbReply.h"

#include <xcb/xinput.h>

#include <string_view>

namespace varnel {
namespace {

constexpr std::string_view kTestKeyboard = "XTEST keyboard";

/// The keys of a keyboard in the answer about a device; nothing for other devices.
KeyboardDevices::KeySet keysOf(const xcb_input_query_device_state_reply_t* reply) {
    KeyboardDevices::KeySet keys;
    if (!reply)
        return keys;
    auto state = xcb_input_query_device_state_classes_iterator(reply);
    for (; state.rem > 0; xcb_input_input_state_next(&state)) {
        if (state.data->class_id != XCB_INPUT_INPUT_CLASS_KEY)
            continue;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(state.data);
        keys |= keySetOfBits(reinterpret_cast<const xcb_input_key_state_t*>(bytes)->keys);
    }
    return keys;
}

} // namespace

KeyboardDevices::KeySet keySetOfBits(const std::uint8_t* bits) {
    KeyboardDevices::KeySet keys;
    for (std::size_t key = 0; key < keys.size(); ++key)
        keys[key] = ((bits[key / 8] >> (key % 8)) & 1) != 0;
    return keys;
}

void KeyboardDevices::find(xcb_connection_t* connection) {
    keyboards_.clear();
    const XcbOwned<xcb_input_list_input_devices_reply_t> reply(
        xcb_input_list_input_devices_reply(connection, xcb_input_list_input_devices(connection), nullptr));
    if (!reply)
        return;
    const xcb_input_device_info_t* device = xcb_input_list_input_devices_devices(reply.get());
    auto names = xcb_input_list_input_devices_names_iterator(reply.get());
    for (; names.rem > 0; xcb_str_next(&names), ++device) {
        if (device->device_use != XCB_INPUT_DEVICE_USE_IS_X_EXTENSION_KEYBOARD)
            continue;
        const std::string_view name(xcb_str_name(names.data),
                                    static_cast<std::size_t>(xcb_str_name_length(names.data)));
        keyboards_.push_back({.device = device->device_id, .isTouched = !name.ends_with(kTestKeyboard)});
        // Only devices that were opened answer.
        xcb_discard_reply(connection, xcb_input_open_device(connection, device->device_id).sequence);
    }
}

std::optional<KeyboardDevices::DownKeys> KeyboardDevices::downKeys(xcb_connection_t* connection) const {
    std::vector<xcb_input_query_device_state_cookie_t> questions;
    questions.reserve(keyboards_.size());
    for (const Keyboard& keyboard : keyboards_)
        questions.push_back(xcb_input_query_device_state(connection, keyboard.device));
    DownKeys down;
    for (std::size_t i = 0; i < questions.size(); ++i) {
        const XcbOwned<xcb_input_query_device_state_reply_t> reply(
            xcb_input_query_device_state_reply(connection, questions[i], nullptr));
        (keyboards_[i].isTouched ? down.touched : down.posted) |= keysOf(reply.get());
    }
    return xcb_connection_has_error(connection) ? std::nullopt : std::optional(down);
}

} // namespace varnel
