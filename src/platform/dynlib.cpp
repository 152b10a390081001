#include "platform/dynlib.h"

#include <dlfcn.h>

#include "platform/path.h"
#include "platform/text.h"

DYNLIB* dynlib_open(const char* path, std::string* error) {
    // A bare name would be looked for in the machine's library folders.
    const std::string absolute = text_to_utf8(path_absolute(path));
    void* library = absolute.empty() ? nullptr : dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr && error != nullptr) {
        const char* reason = absolute.empty() ? nullptr : dlerror();
        *error = reason != nullptr ? reason : "";
    }
    return static_cast<DYNLIB*>(library);
}

void* dynlib_symbol(DYNLIB* library, const char* name) { return dlsym(library, name); }

void dynlib_close(DYNLIB* library) {
    if (library != nullptr) dlclose(library);
}
