#pragma once
// libcurl, opened the first time a fetch needs it (see shared_library.hpp): only its header
// is used at build time.

#include <curl/curl.h>

namespace halyward::detail {

// The libcurl functions the site fetcher calls, resolved from the shared library.
struct CurlLibrary {
    decltype(&curl_global_init) globalInit = nullptr;
    decltype(&curl_easy_init) easyInit = nullptr;
    decltype(&curl_easy_cleanup) easyCleanup = nullptr;
    decltype(&curl_easy_reset) easyReset = nullptr;
    decltype(&curl_easy_setopt) easySetopt = nullptr;
    decltype(&curl_easy_perform) easyPerform = nullptr;
    decltype(&curl_easy_getinfo) easyGetinfo = nullptr;
    decltype(&curl_easy_strerror) easyStrerror = nullptr;
};

// libcurl with curl_global_init already run, loaded once for the whole process; none when
// the library is not installed or lacks one of the functions.
const CurlLibrary* curlLibrary();

}  // namespace halyward::detail
