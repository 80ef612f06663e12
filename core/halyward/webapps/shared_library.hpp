#pragma once
// Opening a shared library when it is first needed instead of linking it. The `halyward`
// command line links the web-app library; libraries that only web-app commands use
// (libcurl with the few dozen libraries behind it, libcrypto) would otherwise be loaded
// and relocated at the start of every command, `halyward version` included, several times
// the cost of the program itself.

#include <initializer_list>

namespace halyward::detail {

// The first of `names` that the dynamic loader can open (searched as dlopen(3) searches),
// kept open for the life of the process; null when none can.
void* openSharedLibrary(std::initializer_list<const char*> names);

// The address of `symbol` in `library`; null when it has none.
void* findSymbolAddress(void* library, const char* symbol);

// Points `function` at `symbol` of `library`; false when the library lacks it.
template <typename Function>
bool findSymbol(void* library, const char* symbol, Function& function) {
    function = reinterpret_cast<Function>(findSymbolAddress(library, symbol));
    return function != nullptr;
}

}  // namespace halyward::detail
