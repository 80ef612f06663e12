#pragma once
// SHA-256 digests through OpenSSL's libcrypto, opened the first time a digest is needed
// (see shared_library.hpp): only its header is used at build time.

#include <cstddef>
#include <optional>
#include <string>

namespace halyward::detail {

// One digest being computed. Not copyable.
class Sha256 {
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    // Adds `size` bytes at `data`.
    void update(const void* data, std::size_t size);
    // The digest of everything added, as 64 lower-case hexadecimal digits; none when
    // libcrypto could not be opened or failed.
    std::optional<std::string> hexDigest();

private:
    void* context_ = nullptr;
    bool failed_ = false;
};

}  // namespace halyward::detail
