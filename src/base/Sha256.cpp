#include "base/Sha256.h"

namespace varnel {

std::string Sha256::hexadecimal(const std::array<std::uint8_t, 32>& digest) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string out;
    for (const std::uint8_t byte : digest) {
        out += kDigits[byte >> 4];
        out += kDigits[byte & 15];
    }
    return out;
}

} // namespace varnel
