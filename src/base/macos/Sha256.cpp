#include "base/Sha256.h"

#include <CommonCrypto/CommonDigest.h>

#include <algorithm>

namespace varnel {

struct Sha256::State {
    CC_SHA256_CTX context;
};

Sha256::Sha256()
    : state_(std::make_unique<State>()) {
    CC_SHA256_Init(&state_->context);
}
Sha256::~Sha256() = default;

void Sha256::update(std::string_view bytes) {
    // The system counts in 32 bits.
    for (constexpr std::size_t kPiece = std::size_t{1} << 30; !bytes.empty();) {
        const std::string_view piece = bytes.substr(0, kPiece);
        CC_SHA256_Update(&state_->context, piece.data(), static_cast<CC_LONG>(piece.size()));
        bytes.remove_prefix(piece.size());
    }
}

std::string Sha256::finishHex() {
    std::array<std::uint8_t, CC_SHA256_DIGEST_LENGTH> digest{};
    CC_SHA256_Final(digest.data(), &state_->context);
    return hexadecimal(digest);
}

} // namespace varnel
