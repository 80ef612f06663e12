#pragma once
// libidn2, opened the first time an address with an international host name is read (see
// shared_library.hpp), so that commands that never read such an address do not load it
// and libunistring behind it. The few calls used are declared here from the library's
// stable C interface (ABI version 0), so building needs no libidn2 headers either.

namespace halyward::detail {

// The libidn2 functions the address checks call, resolved from the shared library.
struct IDN2Library {
    /// idn2_to_ascii_8z(input, output, flags): a UTF-8 name to its ASCII form.
    int (*toASCII)(const char* input, char** output, int flags) = nullptr;
    /// idn2_to_unicode_8z8z(input, output, flags): an ASCII name back to UTF-8.
    int (*toUnicode)(const char* input, char** output, int flags) = nullptr;
    /// idn2_free(pointer): releases what the two calls above answer with.
    void (*free)(void* pointer) = nullptr;
};

// The library's success code (IDN2_OK) and its flag for the rules browsers follow,
// UTS #46 non-transitional processing (IDN2_NONTRANSITIONAL).
inline constexpr int idn2OK = 0;
inline constexpr int idn2NonTransitional = 8;

// libidn2, loaded once for the whole process; none when the library is not installed or
// lacks one of the functions.
const IDN2Library* idn2Library();

}  // namespace halyward::detail
