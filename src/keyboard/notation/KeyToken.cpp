#include "keyboard/notation/KeyToken.h"

#include <array>
#include <utility>

namespace varnel {
namespace {

struct ModifierFacts {
    std::string_view name;
    KeyFlags flag;
    KeyCode left;
    KeyCode right;
};
constexpr std::array<ModifierFacts, 4> kFacts{{
    {"cmd", kCommandFlag, 55, 54},
    {"ctrl", kControlFlag, 59, 62},
    {"alt", kAlternateFlag, 58, 61},
    {"shift", kShiftFlag, 56, 60},
}};
const ModifierFacts& factsOf(Modifier modifier) {
    return kFacts[static_cast<std::size_t>(modifier)];
}

} // namespace

std::string_view modifierName(Modifier modifier) {
    return factsOf(modifier).name;
}
KeyFlags modifierFlag(Modifier modifier) {
    return factsOf(modifier).flag;
}
KeyCode modifierKeyCode(Modifier modifier) {
    return factsOf(modifier).left;
}

std::optional<Modifier> modifierNamed(std::string_view name) {
    for (Modifier modifier : kModifiers)
        if (factsOf(modifier).name == name)
            return modifier;
    return std::nullopt;
}

std::optional<Modifier> modifierForKeyCode(KeyCode code) {
    for (Modifier modifier : kModifiers)
        if (factsOf(modifier).left == code || factsOf(modifier).right == code)
            return modifier;
    return std::nullopt;
}

} // namespace varnel
