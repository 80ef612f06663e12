#include "halyward/webapps/idn2_library.hpp"

#include "halyward/webapps/shared_library.hpp"

#include <optional>

namespace halyward::detail {

namespace {

std::optional<IDN2Library> load() {
    // The names of the library's ABI version 0, that of every libidn2 release.
#if defined(__APPLE__)
    // Homebrew's prefixes come first: the loader's default search path holds neither
    // /opt/homebrew/lib nor, for a bare name, always /usr/local/lib.
    void* library = openSharedLibrary(
        {"/opt/homebrew/lib/libidn2.0.dylib", "/usr/local/lib/libidn2.0.dylib", "libidn2.0.dylib"});
#else
    void* library = openSharedLibrary({"libidn2.so.0", "libidn2.so"});
#endif
    IDN2Library idn2;
    const bool complete = findSymbol(library, "idn2_to_ascii_8z", idn2.toASCII) &&
                          findSymbol(library, "idn2_to_unicode_8z8z", idn2.toUnicode) &&
                          findSymbol(library, "idn2_free", idn2.free);
    if (!complete) return std::nullopt;
    return idn2;
}

}  // namespace

const IDN2Library* idn2Library() {
    static const std::optional<IDN2Library> library = load();
    return library ? &*library : nullptr;
}

}  // namespace halyward::detail
