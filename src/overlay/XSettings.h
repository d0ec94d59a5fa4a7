#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <variant>

namespace varnel {

/// What a desktop tells its applications by the XSETTINGS protocol; colours are left out.
using XSettings = std::map<std::string, std::variant<std::int32_t, std::string>, std::less<>>;

/// Reads the property of the settings manager's window. What is malformed ends the reading; what was read
/// before it is kept.
XSettings parseXSettings(std::span<const std::uint8_t> property);

/// The desktop asked for no animations.
bool disablesAnimations(const XSettings& settings);
/// The desktop's theme is a dark one.
bool usesDarkTheme(const XSettings& settings);

} // namespace varnel
