#include "halyward/webapps/curl_library.hpp"

#include "halyward/webapps/shared_library.hpp"

#include <optional>

namespace halyward::detail {

namespace {

std::optional<CurlLibrary> load() {
    // The names of the library's ABI version 4, that of every libcurl since 7.16.
#if defined(__APPLE__)
    void* library = openSharedLibrary({"libcurl.4.dylib", "libcurl.dylib"});
#else
    void* library = openSharedLibrary({"libcurl.so.4", "libcurl.so"});
#endif
    CurlLibrary curl;
    const bool complete = findSymbol(library, "curl_global_init", curl.globalInit) &&
                          findSymbol(library, "curl_easy_init", curl.easyInit) &&
                          findSymbol(library, "curl_easy_cleanup", curl.easyCleanup) &&
                          findSymbol(library, "curl_easy_reset", curl.easyReset) &&
                          findSymbol(library, "curl_easy_setopt", curl.easySetopt) &&
                          findSymbol(library, "curl_easy_perform", curl.easyPerform) &&
                          findSymbol(library, "curl_easy_getinfo", curl.easyGetinfo) &&
                          findSymbol(library, "curl_easy_strerror", curl.easyStrerror);
    if (!complete || curl.globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) return std::nullopt;
    return curl;
}

}  // namespace

const CurlLibrary* curlLibrary() {
    // A function-local static loads and initialises the library exactly once, also when
    // several threads fetch at the same time (curl_global_init is not thread-safe).
    static const std::optional<CurlLibrary> library = load();
    return library ? &*library : nullptr;
}

}  // namespace halyward::detail
