#include <windows.h>
// After windows.h, which it builds on.
#include <bcrypt.h>

#include <stdexcept>

#include "vynhost/base/digest.h"

namespace vynhost {

struct Sha256::State {
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    ~State() {
        if (hash != nullptr) ::BCryptDestroyHash(hash);
        if (algorithm != nullptr) ::BCryptCloseAlgorithmProvider(algorithm, 0);
    }
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
    if (::BCryptOpenAlgorithmProvider(&state_->algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0) <
            0 ||
        ::BCryptCreateHash(state_->algorithm, &state_->hash, nullptr, 0, nullptr, 0, 0) < 0) {
        throw std::runtime_error("SHA-256 is not to be had");
    }
}

Sha256::~Sha256() = default;

void Sha256::add(const void* bytes, std::size_t size) {
    // It writes nothing there, though it asks for bytes that could be written.
    auto* from = static_cast<UCHAR*>(const_cast<void*>(bytes));
    ::BCryptHashData(state_->hash, from, static_cast<ULONG>(size), 0);
}

std::array<std::uint8_t, 32> Sha256::finish() {
    std::array<std::uint8_t, 32> sum{};
    ::BCryptFinishHash(state_->hash, sum.data(), static_cast<ULONG>(sum.size()), 0);
    return sum;
}

}  // namespace vynhost
