// A program that knows the library only at run time, but exports its symbols: succeeds if the
// library calls the program's hooks.
//     expects_platform_through_dlopen LIBRARY CONVERSATION

#include <cstdio>
#include <dlfcn.h>

#include "conversation.h"

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3)
        return 2;
    // First the library by itself, kept out of the global scope; then who talks to it.
    if (!dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL)) {
        std::printf("%s\n", dlerror());
        return 3;
    }
    void* const conversation = dlopen(arguments[2], RTLD_NOW | RTLD_LOCAL);
    void* const function = conversation ? dlsym(conversation, "converse") : nullptr;
    if (!function) {
        std::printf("%s\n", dlerror());
        return 4;
    }
    Outcome outcome;
    reinterpret_cast<decltype(&converse)>(function)(&outcome);
    return isPlatforms(outcome, *platformJournal()) ? 0 : 1;
}
