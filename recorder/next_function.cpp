#include "recorder/next_function.h"

#include <cstdlib>
#include <dlfcn.h>
#include <string>

#include "recorder/record_file.h"

namespace recorder {

void* findNext(const char* symbol)
{
    void* const found = dlsym(RTLD_NEXT, symbol);
    if (!found) {
        complain("there is no " + std::string(symbol) + " after the recorder");
        std::abort();
    }
    return found;
}

}  // namespace recorder
