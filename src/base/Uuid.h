#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// A 128-bit identifier; written as 36 characters in upper case, read in either case.
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    /// A fresh random one (version 4).
    static Uuid random();
    static std::optional<Uuid> parse(std::string_view text);
    [[nodiscard]] std::string text() const;
    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

} // namespace varnel
