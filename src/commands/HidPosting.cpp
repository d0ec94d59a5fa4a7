#include "commands/HidPosting.h"

#include <algorithm>
#include <optional>
#include <ranges>
#include <string>

namespace varnel {

namespace {

constexpr std::uint32_t kAccessGranted = 0;
constexpr std::uint32_t kParameterConnection = 1;
constexpr std::uint32_t kKeyUp = 11;
constexpr std::uint32_t kFlagsChanged = 12;

std::uint32_t reduced(KeyFlags flags) {
    return static_cast<std::uint32_t>(flags & kModifierFlags);
}

/// What has been pressed and not released yet.
class HeldKeys {
public:
    struct HeldModifier {
        KeyCode keyCode;
        KeyFlags flag;
    };

    void note(const KeyboardShortcutEvent& event) {
        switch (event.type) {
        case KeyboardShortcutEvent::EventType::keyDown:
            key_ = event.keyCode;
            break;
        case KeyboardShortcutEvent::EventType::keyUp:
            key_.reset();
            break;
        case KeyboardShortcutEvent::EventType::flagsChanged:
            noteModifier(event);
            break;
        }
    }

    [[nodiscard]] std::optional<KeyCode> key() const { return key_; }
    [[nodiscard]] const std::vector<HeldModifier>& modifiers() const { return modifiers_; }
    [[nodiscard]] KeyFlags flags() const { return flags_; }

private:
    void noteModifier(const KeyboardShortcutEvent& event) {
        for (const Modifier modifier : kModifiers) {
            if (modifierKeyCode(modifier) != event.keyCode)
                continue;
            const KeyFlags flag = modifierFlag(modifier);
            if (event.isKeyDown) {
                modifiers_.push_back({event.keyCode, flag});
                flags_ |= flag;
                continue;
            }
            const auto held =
                std::ranges::find(modifiers_ | std::views::reverse, event.keyCode, &HeldModifier::keyCode);
            if (held != modifiers_.rend())
                modifiers_.erase(std::next(held).base());
            flags_ &= ~flag;
        }
    }

    std::optional<KeyCode> key_;
    std::vector<HeldModifier> modifiers_;
    KeyFlags flags_ = 0;
};

class HidConnection {
public:
    HidConnection(const HidPostingTable& hid, LogSink& log)
        : hid_(hid)
        , log_(log) {}
    HidConnection(const HidConnection&) = delete;
    HidConnection& operator=(const HidConnection&) = delete;
    ~HidConnection() { close(); }

    bool open() {
        if (const std::uint32_t service = hid_.findService()) {
            const std::int32_t result = hid_.open(service, kParameterConnection, connection_);
            hid_.release(service);
            if (result != 0) {
                connection_ = 0;
                error("iohid system open failed result=" + std::to_string(result));
            }
        } else {
            error("iohid system service missing");
        }
        if (connection_ == 0)
            error("hid post connection unavailable");
        return connection_ != 0;
    }

    bool postAll(const std::vector<KeyboardShortcutEvent>& events) {
        keyboardType_ = hid_.keyboardType();
        HeldKeys held;
        for (const KeyboardShortcutEvent& event : events) {
            const std::uint32_t type = systemEventType(event.type);
            if (!post("hid post event failed", type, event.keyCode, event.flags)) {
                releaseAll(held);
                return false;
            }
            held.note(event);
        }
        return true;
    }

private:
    bool post(const char* failure, std::uint32_t type, KeyCode keyCode, KeyFlags flags) {
        const std::int32_t result = hid_.post(
            connection_,
            {.type = type, .keyCode = keyCode, .keyboardType = keyboardType_, .flags = reduced(flags)});
        if (result != 0)
            error(std::string(failure) + " result=" + std::to_string(result) +
                  " type=" + std::to_string(type) + " keyCode=" + std::to_string(keyCode));
        return result == 0;
    }

    void releaseAll(const HeldKeys& held) {
        KeyFlags flags = held.flags();
        if (const std::optional<KeyCode> key = held.key())
            post("hid cleanup failed", kKeyUp, *key, flags);
        for (const auto& modifier : held.modifiers() | std::views::reverse) {
            flags &= ~modifier.flag;
            post("hid cleanup failed", kFlagsChanged, modifier.keyCode, flags);
        }
    }

    void close() {
        if (connection_ == 0)
            return;
        if (const std::int32_t result = hid_.close(connection_); result != 0)
            error("hid connection close failed result=" + std::to_string(result));
    }

    void error(const std::string& text) { log_.write(LogLevel::error, kShortcutLog, text); }

    const HidPostingTable& hid_;
    LogSink& log_;
    std::uint32_t connection_ = 0;
    std::uint32_t keyboardType_ = 0;
};

} // namespace

bool postThroughHid(const HidPostingTable& hid, const std::vector<KeyboardShortcutEvent>& events,
                    LogSink& log) {
    const std::uint32_t access = hid.checkPostAccess();
    if (access != kAccessGranted && !hid.requestPostAccess()) {
        log.write(LogLevel::error, kShortcutLog, "hid post access denied access=" + std::to_string(access));
        return false;
    }
    HidConnection connection(hid, log);
    return connection.open() && connection.postAll(events);
}

} // namespace varnel
