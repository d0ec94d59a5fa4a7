#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// Translations as `msgfmt` compiles them (a .mo file), mapped into memory: only the pages that are looked
/// into cost memory. Finding allocates nothing; any thread. A damaged file finds less, never beyond its end.
class MessageCatalogue {
public:
    /// None when the file is not there or is no such file.
    static std::optional<MessageCatalogue> open(const std::string& path);
    /// Of bytes that outlive the catalogue and that nobody frees.
    static std::optional<MessageCatalogue> over(std::string_view bytes);

    [[nodiscard]] std::optional<std::string_view> find(std::string_view englishText) const;
    [[nodiscard]] std::size_t size() const { return count_; }

private:
    explicit MessageCatalogue(std::string_view bytes)
        : bytes_(bytes) {}
    [[nodiscard]] std::optional<std::uint32_t> number(std::size_t offset) const;
    /// The text that entry `index` of the table tells of.
    [[nodiscard]] std::optional<std::string_view> text(std::size_t table, std::size_t index) const;

    std::string_view bytes_;
    std::size_t count_ = 0;
    std::size_t originals_ = 0;
    std::size_t translations_ = 0;
};

} // namespace varnel
