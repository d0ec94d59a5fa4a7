#pragma once

#include "keyboard/notation/KeyToken.h"

#include <array>
#include <cstdint>
#include <optional>

namespace varnel {

/// Where a key sits: the Linux input code of a position and the virtual key code of the same position on an
/// ANSI keyboard. Independent of the layout in use. An X11 key code is the Linux one plus 8.
namespace KeyPositions {

/// Linux codes without a counterpart are numbered from here, so that they never collide: 256 + the Linux
/// code.
inline constexpr KeyCode kUnmappedBase = 256;
inline constexpr unsigned kX11Offset = 8;

struct Position {
    std::uint8_t evdev;
    std::uint8_t keyCode;
};

// Where several Linux keys share a virtual key code the first one is what the reverse lookup answers.
// clang-format off
inline constexpr Position kPositions[] = {
    // letters, by rows
    {16, 12}, {17, 13}, {18, 14}, {19, 15}, {20, 17}, {21, 16}, {22, 32}, {23, 34}, {24, 31}, {25, 35},
    {30, 0}, {31, 1}, {32, 2}, {33, 3}, {34, 5}, {35, 4}, {36, 38}, {37, 40}, {38, 37}, {44, 6}, {45, 7},
    {46, 8}, {47, 9}, {48, 11}, {49, 45}, {50, 46},
    // digits and punctuation; the extra key of ISO keyboards is the section key
    {2, 18}, {3, 19}, {4, 20}, {5, 21}, {6, 23}, {7, 22}, {8, 26}, {9, 28}, {10, 25}, {11, 29}, {12, 27},
    {13, 24}, {26, 33}, {27, 30}, {39, 41}, {40, 39}, {41, 50}, {43, 42}, {51, 43}, {52, 47}, {53, 44},
    {86, 10},
    // editing and moving; Insert sits where Help does, the Menu key where the contextual menu's does
    {1, 53}, {14, 51}, {15, 48}, {28, 36}, {57, 49}, {102, 115}, {103, 126}, {104, 116}, {105, 123},
    {106, 124}, {107, 119}, {108, 125}, {109, 121}, {110, 114}, {111, 117}, {127, 110}, {138, 114},
    // modifiers and Caps Lock
    {29, 59}, {97, 62}, {42, 56}, {54, 60}, {56, 58}, {100, 61}, {125, 55}, {126, 54}, {58, 57},
    // function keys; F13 to F15 before the three keys that sit in their place on PC keyboards
    {59, 122}, {60, 120}, {61, 99}, {62, 118}, {63, 96}, {64, 97}, {65, 98}, {66, 100}, {67, 101},
    {68, 109}, {87, 103}, {88, 111}, {183, 105}, {184, 107}, {185, 113}, {186, 106}, {187, 64}, {188, 79},
    {189, 80}, {190, 90}, {99, 105}, {70, 107}, {119, 113},
    // keypad; NumLock sits where Clear does
    {69, 71}, {55, 67}, {74, 78}, {78, 69}, {83, 65}, {96, 76}, {98, 75}, {117, 81}, {121, 95}, {82, 82},
    {79, 83}, {80, 84}, {81, 85}, {75, 86}, {76, 87}, {77, 88}, {71, 89}, {72, 91}, {73, 92},
    // Japanese keyboards
    {124, 93}, {89, 94}, {123, 102}, {94, 102}, {122, 104}, {92, 104}, {93, 104},
    // volume
    {113, 74}, {114, 73}, {115, 72},
};
// clang-format on

namespace detail {
inline constexpr std::uint8_t kNone = 0xFF;
inline constexpr auto kForward = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(kNone);
    for (const Position p : kPositions)
        table[p.evdev] = p.keyCode;
    return table;
}();
inline constexpr auto kReverse = [] {
    std::array<std::uint8_t, 128> table{}; // Linux code 0 is reserved: no key
    for (const Position p : kPositions)
        if (table[p.keyCode] == 0)
            table[p.keyCode] = p.evdev;
    return table;
}();
} // namespace detail

constexpr KeyCode keyCodeForEvdev(unsigned evdev) {
    if (evdev < 256 && detail::kForward[evdev] != detail::kNone)
        return detail::kForward[evdev];
    return static_cast<KeyCode>(kUnmappedBase + evdev);
}

/// Nothing where no key of a PC keyboard sits at that position.
constexpr std::optional<unsigned> evdevForKeyCode(KeyCode code) {
    if (code < 128 && detail::kReverse[code] != 0)
        return detail::kReverse[code];
    // A mapped key has one number only, never the unmapped form as well.
    if (code >= kUnmappedBase && code < kUnmappedBase + 256 &&
        detail::kForward[static_cast<unsigned>(code - kUnmappedBase)] == detail::kNone)
        return static_cast<unsigned>(code - kUnmappedBase);
    return std::nullopt;
}

/// The same with X11's numbering; X11 key codes reach from 8 to 255.
constexpr KeyCode keyCodeForX11(std::uint8_t xKeyCode) {
    return keyCodeForEvdev(xKeyCode < kX11Offset ? 0u : xKeyCode - kX11Offset);
}
constexpr std::optional<std::uint8_t> x11ForKeyCode(KeyCode code) {
    const std::optional<unsigned> evdev = evdevForKeyCode(code);
    if (!evdev || *evdev + kX11Offset > 255)
        return std::nullopt;
    return static_cast<std::uint8_t>(*evdev + kX11Offset);
}

} // namespace KeyPositions
} // namespace varnel
