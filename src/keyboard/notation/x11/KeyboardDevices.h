#pragma once

#include <xcb/xcb.h>

#include <bitset>
#include <cstdint>
#include <optional>
#include <vector>

namespace varnel {

/// The keyboards behind the one that programs see. What each says of itself is right also while a program has
/// grabbed or frozen the keyboard and events wait, which cannot be said of what the server says of all
/// together.
class KeyboardDevices {
public:
    using KeySet = std::bitset<256>;
    struct DownKeys {
        KeySet touched; ///< on keyboards that people touch
        KeySet posted;  ///< on those of XTEST
    };

    /// Looks for the keyboards that are there now; waits for the server's answer.
    void find(xcb_connection_t* connection);
    /// Asks those that were found, and waits for the answers; nothing when the connection broke.
    [[nodiscard]] std::optional<DownKeys> downKeys(xcb_connection_t* connection) const;

private:
    struct Keyboard {
        std::uint8_t device = 0;
        bool isTouched = false;
    };
    std::vector<Keyboard> keyboards_;
};

/// The keys of which the bit is set, as the server lists them: 32 bytes.
KeyboardDevices::KeySet keySetOfBits(const std::uint8_t* bits);

} // namespace varnel
