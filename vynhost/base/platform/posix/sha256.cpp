#include <openssl/evp.h>

#include <stdexcept>

#include "vynhost/base/digest.h"

namespace vynhost {

struct Sha256::State {
    EVP_MD_CTX* context = ::EVP_MD_CTX_new();
    ~State() { ::EVP_MD_CTX_free(context); }
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
    if (state_->context == nullptr ||
        ::EVP_DigestInit_ex(state_->context, ::EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 is not to be had");
    }
}

Sha256::~Sha256() = default;

void Sha256::add(const void* bytes, std::size_t size) {
    ::EVP_DigestUpdate(state_->context, bytes, size);
}

std::array<std::uint8_t, 32> Sha256::finish() {
    std::array<std::uint8_t, 32> sum{};
    ::EVP_DigestFinal_ex(state_->context, sum.data(), nullptr);
    return sum;
}

}  // namespace vynhost
