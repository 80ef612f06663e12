#include "halyward/webapps/sha256.hpp"

#include "halyward/webapps/shared_library.hpp"

#include <openssl/evp.h>

#include <cstdio>

namespace halyward::detail {

namespace {

struct CryptoLibrary {
    decltype(&EVP_MD_CTX_new) contextNew = nullptr;
    decltype(&EVP_MD_CTX_free) contextFree = nullptr;
    decltype(&EVP_sha256) sha256 = nullptr;
    decltype(&EVP_DigestInit_ex) init = nullptr;
    decltype(&EVP_DigestUpdate) update = nullptr;
    decltype(&EVP_DigestFinal_ex) final = nullptr;
};

std::optional<CryptoLibrary> load() {
    // OpenSSL 3's libcrypto; on macOS it comes from Homebrew, whose folders the loader
    // does not search by itself.
#if defined(__APPLE__)
    void* library =
        openSharedLibrary({"libcrypto.3.dylib", "/opt/homebrew/opt/openssl@3/lib/libcrypto.3.dylib",
                           "/usr/local/opt/openssl@3/lib/libcrypto.3.dylib"});
#else
    void* library = openSharedLibrary({"libcrypto.so.3", "libcrypto.so"});
#endif
    CryptoLibrary crypto;
    const bool complete = findSymbol(library, "EVP_MD_CTX_new", crypto.contextNew) &&
                          findSymbol(library, "EVP_MD_CTX_free", crypto.contextFree) &&
                          findSymbol(library, "EVP_sha256", crypto.sha256) &&
                          findSymbol(library, "EVP_DigestInit_ex", crypto.init) &&
                          findSymbol(library, "EVP_DigestUpdate", crypto.update) &&
                          findSymbol(library, "EVP_DigestFinal_ex", crypto.final);
    if (!complete) return std::nullopt;
    return crypto;
}

const CryptoLibrary* cryptoLibrary() {
    static const std::optional<CryptoLibrary> library = load();
    return library ? &*library : nullptr;
}

EVP_MD_CTX* asContext(void* context) { return static_cast<EVP_MD_CTX*>(context); }

}  // namespace

Sha256::Sha256() {
    const CryptoLibrary* crypto = cryptoLibrary();
    if (crypto) context_ = crypto->contextNew();
    failed_ = !context_ || crypto->init(asContext(context_), crypto->sha256(), nullptr) != 1;
}

Sha256::~Sha256() {
    if (context_) cryptoLibrary()->contextFree(asContext(context_));
}

void Sha256::update(const void* data, std::size_t size) {
    if (failed_ || size == 0) return;
    failed_ = cryptoLibrary()->update(asContext(context_), data, size) != 1;
}

std::optional<std::string> Sha256::hexDigest() {
    if (failed_) return std::nullopt;
    unsigned char value[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (cryptoLibrary()->final(asContext(context_), value, &length) != 1) return std::nullopt;
    failed_ = true;  // a context that has given its digest takes nothing more
    std::string hex;
    hex.reserve(length * 2);
    for (unsigned int i = 0; i < length; ++i) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", value[i]);
        hex += pair;
    }
    return hex;
}

}  // namespace halyward::detail
