#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace varnel {

/// Text inside the value: keeping it never allocates. What does not fit is cut at a character, and an
/// ellipsis tells of it.
template <std::size_t Capacity>
class FixedText {
    static_assert(Capacity >= 8 && Capacity <= 255);

public:
    FixedText() = default;
    explicit FixedText(std::string_view text) { append(text); }

    void clear() {
        size_ = 0;
        isCut_ = false;
    }
    void append(std::string_view text) {
        if (isCut_)
            return;
        if (size_ + text.size() <= Capacity) {
            take(text);
            return;
        }
        isCut_ = true;
        text = text.substr(0, Capacity - size_);
        take(text);
        size_ = static_cast<std::uint8_t>(startOfCharacter(Capacity - kEllipsis.size()));
        take(kEllipsis);
    }
    [[nodiscard]] std::string_view view() const { return {bytes_.data(), size_}; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    friend bool operator==(const FixedText& a, const FixedText& b) { return a.view() == b.view(); }

private:
    static constexpr std::string_view kEllipsis = "…";

    void take(std::string_view text) {
        text.copy(bytes_.data() + size_, text.size());
        size_ = static_cast<std::uint8_t>(size_ + text.size());
    }
    /// The last place not after `limit` where a character may end.
    [[nodiscard]] std::size_t startOfCharacter(std::size_t limit) const {
        while (limit > 0 && (static_cast<unsigned char>(bytes_[limit]) & 0xC0) == 0x80)
            --limit;
        return limit;
    }

    std::array<char, Capacity> bytes_{};
    std::uint8_t size_ = 0;
    bool isCut_ = false;
};

} // namespace varnel
