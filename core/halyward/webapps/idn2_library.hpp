#pragma once
// libidn2, opened the first time an address with an international host name is read (see
// shared_library.hpp): only its header is used at build time, so commands that never read
// such an address do not load it and libunistring behind it.

#include <idn2.h>

namespace halyward::detail {

// The libidn2 functions the address checks call, resolved from the shared library.
struct IDN2Library {
    decltype(&idn2_to_ascii_8z) toASCII = nullptr;
    decltype(&idn2_to_unicode_8z8z) toUnicode = nullptr;
    decltype(&idn2_free) free = nullptr;
};

// libidn2, loaded once for the whole process; none when the library is not installed or
// lacks one of the functions.
const IDN2Library* idn2Library();

}  // namespace halyward::detail
