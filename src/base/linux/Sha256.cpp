// The one-shot and EVP interfaces bring in providers and initialisation at start; these three functions do
// not.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "base/Sha256.h"

#include <openssl/sha.h>

namespace varnel {

struct Sha256::State {
    SHA256_CTX context;
};

Sha256::Sha256()
    : state_(std::make_unique<State>()) {
    SHA256_Init(&state_->context);
}
Sha256::~Sha256() = default;

void Sha256::update(std::string_view bytes) {
    SHA256_Update(&state_->context, bytes.data(), bytes.size());
}

std::string Sha256::finishHex() {
    std::array<std::uint8_t, SHA256_DIGEST_LENGTH> digest{};
    SHA256_Final(digest.data(), &state_->context);
    return hexadecimal(digest);
}

} // namespace varnel
