// A program that has its integration as a plugin, and knows nothing of the library.

#include <cstdio>
#include <dlfcn.h>

int main(int count, char** arguments)
{
    void* const plugin = dlopen(VESTA_PLUGIN, RTLD_NOW | RTLD_LOCAL | VESTA_PLUGIN_MODE);
    if (!plugin) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 2;
    }
    const auto runStory = reinterpret_cast<int (*)(int, char**)>(dlsym(plugin, "runStory"));
    return runStory ? runStory(count, arguments) : 2;
}
