#include "halyward/webapps/curl_library.hpp"

#include <dlfcn.h>

#include <optional>

namespace halyward::detail {

namespace {

// The names the library's ABI version 4 (every libcurl since 7.16) is installed under.
#if defined(__APPLE__)
constexpr const char* kLibraryNames[] = {"libcurl.4.dylib", "libcurl.dylib"};
#else
constexpr const char* kLibraryNames[] = {"libcurl.so.4", "libcurl.so"};
#endif

template <typename Function>
bool resolve(void* library, const char* symbol, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, symbol));
    return function != nullptr;
}

std::optional<CurlLibrary> load() {
    void* library = nullptr;
    for (const char* name : kLibraryNames) {
        // Kept open for the life of the process: handles and callbacks may outlive any
        // one fetch, and unloading TLS libraries is not safe.
        library = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
        if (library) break;
    }
    if (!library) return std::nullopt;
    CurlLibrary curl;
    const bool complete = resolve(library, "curl_global_init", curl.globalInit) &&
                          resolve(library, "curl_easy_init", curl.easyInit) &&
                          resolve(library, "curl_easy_cleanup", curl.easyCleanup) &&
                          resolve(library, "curl_easy_reset", curl.easyReset) &&
                          resolve(library, "curl_easy_setopt", curl.easySetopt) &&
                          resolve(library, "curl_easy_perform", curl.easyPerform) &&
                          resolve(library, "curl_easy_getinfo", curl.easyGetinfo) &&
                          resolve(library, "curl_easy_strerror", curl.easyStrerror);
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
