#include "receiver/installation.h"

#include <climits>
#include <unistd.h>

#ifndef VESTA_LIBRARY_FOLDER
#error "the build says where libraries are installed, seen from the programs"
#endif

namespace receiver {

std::string programFolder()
{
    char path[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    const std::string program(path, length > 0 ? static_cast<size_t>(length) : 0);
    return program.substr(0, program.rfind('/') + 1);
}

std::string libraryFolder()
{
    return programFolder() + VESTA_LIBRARY_FOLDER + "/";
}

std::string privateFolder(const std::string& name)
{
    const std::string beside = programFolder() + name;
    const bool isBuildTree = access(beside.c_str(), X_OK) == 0;
    return isBuildTree ? beside : libraryFolder() + "vesta_hbbtv_appman/" + name;
}

}  // namespace receiver
