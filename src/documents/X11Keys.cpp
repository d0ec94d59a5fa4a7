#include "documents/X11Keys.h"

#include "keyboard/notation/KeyPositions.h"
#include "keyboard/notation/KeyTable.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <utility>

namespace varnel {
namespace {

using Pair = std::pair<std::string_view, std::string_view>;

constexpr Pair kNames[] = {
    {"Return", "return"},
    {"Tab", "tab"},
    {"space", "space"},
    {"BackSpace", "delete"},
    {"Delete", "forwarddelete"},
    {"Escape", "escape"},
    {"Home", "home"},
    {"End", "end"},
    {"Prior", "pageup"},
    {"Page_Up", "pageup"},
    {"Next", "pagedown"},
    {"Page_Down", "pagedown"},
    {"Left", "left"},
    {"Right", "right"},
    {"Down", "down"},
    {"Up", "up"},
    {"Insert", "help"},
    {"Help", "help"},
    {"Menu", "keycode110"},
    {"Print", "f13"},
    {"Sys_Req", "f13"},
    {"Scroll_Lock", "f14"},
    {"Pause", "f15"},
    {"Break", "f15"},
    {"Num_Lock", "keypadclear"},
    {"minus", "minus"},
    {"equal", "equal"},
    {"bracketleft", "leftbracket"},
    {"bracketright", "rightbracket"},
    {"semicolon", "semicolon"},
    {"apostrophe", "quote"},
    {"quoteright", "quote"},
    {"backslash", "backslash"},
    {"comma", "comma"},
    {"slash", "slash"},
    {"period", "period"},
    {"grave", "grave"},
    {"quoteleft", "grave"},
    {"less", "keycode10"},
    // Without Num Lock the keypad's keys have the names of what they move.
    {"KP_Insert", "keypad0"},
    {"KP_End", "keypad1"},
    {"KP_Down", "keypad2"},
    {"KP_Next", "keypad3"},
    {"KP_Page_Down", "keypad3"},
    {"KP_Left", "keypad4"},
    {"KP_Begin", "keypad5"},
    {"KP_Right", "keypad6"},
    {"KP_Home", "keypad7"},
    {"KP_Up", "keypad8"},
    {"KP_Prior", "keypad9"},
    {"KP_Page_Up", "keypad9"},
    {"KP_Delete", "keypaddecimal"},
    {"KP_Decimal", "keypaddecimal"},
    {"KP_Separator", "keypaddecimal"},
    {"KP_Enter", "keypadenter"},
    {"KP_Add", "keypadplus"},
    {"KP_Subtract", "keypadminus"},
    {"KP_Multiply", "keypadmultiply"},
    {"KP_Divide", "keypaddivide"},
    {"KP_Equal", "keypadequals"},
    {"XF86AudioRaiseVolume", "keycode72"},
    {"XF86AudioLowerVolume", "keycode73"},
    {"XF86AudioMute", "keycode74"},
};

constexpr Pair kShifted[] = {
    {"exclam", "1"},
    {"at", "2"},
    {"numbersign", "3"},
    {"dollar", "4"},
    {"percent", "5"},
    {"asciicircum", "6"},
    {"ampersand", "7"},
    {"asterisk", "8"},
    {"parenleft", "9"},
    {"parenright", "0"},
    {"underscore", "minus"},
    {"plus", "equal"},
    {"braceleft", "leftbracket"},
    {"braceright", "rightbracket"},
    {"colon", "semicolon"},
    {"quotedbl", "quote"},
    {"bar", "backslash"},
    {"greater", "period"},
    {"question", "slash"},
    {"asciitilde", "grave"},
};

// Keys without a place on a Mac's keyboard, by their Linux input codes.
constexpr std::pair<std::string_view, unsigned> kMediaKeys[] = {
    {"XF86AudioPlay", 164},
    {"XF86AudioPause", 201},
    {"XF86AudioNext", 163},
    {"XF86AudioPrev", 165},
    {"XF86AudioStop", 166},
    {"XF86AudioRecord", 167},
    {"XF86AudioRewind", 168},
    {"XF86AudioForward", 208},
    {"XF86MonBrightnessUp", 225},
    {"XF86MonBrightnessDown", 224},
    {"XF86KbdBrightnessUp", 230},
    {"XF86KbdBrightnessDown", 229},
    {"XF86KbdLightOnOff", 228},
    {"XF86Display", 227},
    {"XF86Calculator", 140},
    {"XF86Mail", 155},
    {"XF86WWW", 150},
    {"XF86HomePage", 172},
    {"XF86Search", 217},
    {"XF86Favorites", 156},
    {"XF86Back", 158},
    {"XF86Forward", 159},
    {"XF86Refresh", 173},
    {"XF86Reload", 173},
    {"XF86MyComputer", 157},
    {"XF86Explorer", 144},
    {"XF86Documents", 235},
    {"XF86Sleep", 142},
    {"XF86WakeUp", 143},
    {"XF86PowerOff", 116},
    {"XF86Eject", 161},
    {"XF86ScreenSaver", 152},
    {"XF86WLAN", 238},
    {"XF86Bluetooth", 237},
    {"XF86Battery", 236},
    {"XF86Tools", 171},
    {"XF86Cut", 137},
    {"XF86Copy", 133},
    {"XF86Paste", 135},
};

template <typename Table>
auto lookUp(const Table& table, std::string_view name) {
    return std::ranges::find_if(table, [&](const auto& entry) { return entry.first == name; });
}

bool isFunctionKey(std::string_view name) {
    return name.size() > 1 && name[0] == 'F' && name[1] >= '1' && name[1] <= '9';
}

} // namespace

std::optional<X11Key> keyForKeysym(std::string_view name) {
    if (name.size() == 1 && name[0] >= 'A' && name[0] <= 'Z')
        return X11Key{std::string(1, static_cast<char>(name[0] - 'A' + 'a')), true};
    const bool isPlain = name.size() == 1 && keyCodeNamed(name).has_value();
    if (isPlain)
        return X11Key{std::string(name), false};
    if (isFunctionKey(name)) {
        const std::string lower = "f" + std::string(name.substr(1));
        return keyCodeNamed(lower) ? std::optional(X11Key{lower, false}) : std::nullopt;
    }
    if (name.size() == 4 && name.starts_with("KP_") && name[3] >= '0' && name[3] <= '9')
        return X11Key{"keypad" + std::string(1, name[3]), false};
    if (const auto found = lookUp(kNames, name); found != std::end(kNames))
        return X11Key{std::string(found->second), false};
    if (const auto found = lookUp(kShifted, name); found != std::end(kShifted))
        return X11Key{std::string(found->second), true};
    if (const auto found = lookUp(kMediaKeys, name); found != std::end(kMediaKeys))
        return X11Key{KeyTokenCodec::keyName(KeyPositions::keyCodeForEvdev(found->second)), false};
    return std::nullopt;
}

std::optional<std::string_view> modifierForKeysym(std::string_view name) {
    constexpr Pair modifiers[] = {{"Super_L", "cmd"},    {"Super_R", "cmd"}, {"Control_L", "ctrl"},
                                  {"Control_R", "ctrl"}, {"Alt_L", "alt"},   {"Alt_R", "alt"},
                                  {"Meta_L", "alt"},     {"Meta_R", "alt"},  {"Shift_L", "shift"},
                                  {"Shift_R", "shift"}};
    const auto found = lookUp(modifiers, name);
    return found == std::end(modifiers) ? std::nullopt : std::optional(found->second);
}

} // namespace varnel
