#include "recorder/next_function.h"

#include <cstdlib>
#include <dlfcn.h>
#include <string>

#include "recorder/record_file.h"

namespace recorder {

namespace {

/// In what was loaded for a plugin alone, which RTLD_NEXT does not see. It stays loaded.
void* findInLibrariesOfPlugins(const char* symbol)
{
    for (const char* const name : {"libvesta_hbbtv_appman.so.1", "libvesta_hbbtv_kit.so.1"}) {
        void* const library = dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
        void* const found = library ? dlsym(library, symbol) : nullptr;
        if (found)
            return found;
        if (library)
            dlclose(library);
    }
    return nullptr;
}

}  // namespace

void* findInLibraries(const char* symbol)
{
    void* const found = dlsym(RTLD_NEXT, symbol);
    return found ? found : findInLibrariesOfPlugins(symbol);
}

void* findNext(const char* symbol)
{
    void* const found = findInLibraries(symbol);
    if (!found) {
        complain("there is no " + std::string(symbol) + " after the recorder");
        std::abort();
    }
    return found;
}

}  // namespace recorder
