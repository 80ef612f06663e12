#include "halyward/webapps/shared_library.hpp"

#include <dlfcn.h>

namespace halyward::detail {

void* openSharedLibrary(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        // Never closed: handles and callbacks may outlive any one use, and unloading TLS
        // and crypto libraries is not safe.
        if (void* library = ::dlopen(name, RTLD_NOW | RTLD_LOCAL)) return library;
    }
    return nullptr;
}

void* findSymbolAddress(void* library, const char* symbol) {
    return library ? ::dlsym(library, symbol) : nullptr;
}

}  // namespace halyward::detail
