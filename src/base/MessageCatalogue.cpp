#include "base/MessageCatalogue.h"

#include "base/UniqueFd.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cstring>

namespace varnel {

namespace {
constexpr std::uint32_t kMagic = 0x950412de;
constexpr std::size_t kTableEntry = 8; // length and place
constexpr std::size_t kMaximumSize = 16u << 20;
} // namespace

std::optional<MessageCatalogue> MessageCatalogue::open(const std::string& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat facts {};
    if (file.get() < 0 || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_size <= 0 ||
        static_cast<std::size_t>(facts.st_size) > kMaximumSize)
        return std::nullopt;
    const auto size = static_cast<std::size_t>(facts.st_size);
    void* mapped = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (mapped == MAP_FAILED)
        return std::nullopt;
    auto catalogue = over({static_cast<const char*>(mapped), size});
    if (!catalogue)
        ::munmap(mapped, size);
    return catalogue; // stays mapped for good: texts point into it
}

std::optional<MessageCatalogue> MessageCatalogue::over(std::string_view bytes) {
    MessageCatalogue catalogue(bytes);
    const auto magic = catalogue.number(0), revision = catalogue.number(4), count = catalogue.number(8);
    const auto originals = catalogue.number(12), translations = catalogue.number(16);
    if (magic != kMagic || revision != 0u || !translations || *count > bytes.size() / kTableEntry)
        return std::nullopt;
    catalogue.count_ = *count;
    catalogue.originals_ = *originals;
    catalogue.translations_ = *translations;
    return catalogue;
}

std::optional<std::uint32_t> MessageCatalogue::number(std::size_t offset) const {
    std::uint32_t value = 0;
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof value)
        return std::nullopt;
    std::memcpy(&value, bytes_.data() + offset, sizeof value);
    return value;
}

std::optional<std::string_view> MessageCatalogue::text(std::size_t table, std::size_t index) const {
    const auto length = number(table + index * kTableEntry), place = number(table + index * kTableEntry + 4);
    if (!length || !place || *place > bytes_.size() || bytes_.size() - *place < *length)
        return std::nullopt;
    return bytes_.substr(*place, *length);
}

std::optional<std::string_view> MessageCatalogue::find(std::string_view englishText) const {
    std::size_t first = 0, last = count_; // the originals are sorted by their bytes
    while (first < last) {
        const std::size_t middle = first + (last - first) / 2;
        const auto original = text(originals_, middle);
        if (!original)
            return std::nullopt;
        if (const int order = original->compare(englishText); order == 0) {
            const auto translation = text(translations_, middle);
            return translation && !translation->empty() ? translation : std::nullopt;
        } else if (order < 0) {
            first = middle + 1;
        } else {
            last = middle;
        }
    }
    return std::nullopt;
}

} // namespace varnel
