#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace varnel {

/// SHA-256, fed piece by piece; the platform's library does the work.
class Sha256 {
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void update(std::string_view bytes);
    /// 64 lower-case hexadecimal digits. Ends the computation.
    [[nodiscard]] std::string finishHex();

private:
    static std::string hexadecimal(const std::array<std::uint8_t, 32>& digest);

    struct State;
    std::unique_ptr<State> state_;
};

} // namespace varnel
