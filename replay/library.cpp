#include "replay/library.h"

#include <dlfcn.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "receiver/installation.h"

namespace replay {

namespace {

const char libraryName[] = "libvesta_hbbtv_appman.so.1";
const char kitName[] = "libvesta_hbbtv_kit.so.1";

/// Where to look for a library: where the user says, or in the build tree, in the installation and
/// where the system has it.
std::vector<std::string> placesOf(const std::string& path, const char* name)
{
    if (!path.empty())
        return {path.find('/') == std::string::npos ? "./" + path : path};
    return {receiver::programFolder() + name, receiver::libraryFolder() + name, name};
}

void* openFirst(const std::vector<std::string>& places, std::string& problem)
{
    for (const std::string& place : places) {
        const bool isFile = place.find('/') != std::string::npos;
        if (isFile && places.size() > 1 && access(place.c_str(), R_OK) != 0)
            continue;
        void* const handle = dlopen(place.c_str(), RTLD_NOW | RTLD_GLOBAL);
        if (!handle)
            problem = dlerror();
        return handle;
    }
    return nullptr;
}

}  // namespace

std::optional<Library> Library::open(const std::string& path, const std::string& kitPath,
                                     std::string& problem)
{
    void* const handle = openFirst(placesOf(path, libraryName), problem);
    if (!handle)
        return std::nullopt;
    return Library(handle, kitPath);
}

void* Library::find(const char* symbol) const
{
    return dlsym(handle_, symbol);
}

void* Library::findInKit(const char* symbol, std::string& problem)
{
    if (!kit_)
        kit_ = openFirst(placesOf(kitPath_, kitName), problem);
    void* const function = kit_ ? dlsym(kit_, symbol) : nullptr;
    if (!function && !kitPath_.empty() && problem.empty())
        problem = kitPath_ + " has no " + symbol;
    else if (kitPath_.empty())
        problem.clear();  // there may be none
    return function;
}

}  // namespace replay
