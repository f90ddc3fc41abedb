#include "receiver/stream/stream_input.h"

#include "receiver/stream/file_input.h"
#include "receiver/stream/network_input.h"

namespace receiver {

bool isNetworkInput(const std::string& path)
{
    return path.rfind("udp://", 0) == 0 || path.rfind("rtp://", 0) == 0;
}

std::unique_ptr<StreamInput> makeStreamInput(const std::string& path, bool follow)
{
    if (isNetworkInput(path))
        return std::make_unique<NetworkInput>(path);
    return std::make_unique<FileInput>(path, follow);
}

}  // namespace receiver
