#include "receiver/integration/channel_reference.h"

namespace receiver {

namespace {

constexpr unsigned idBits = 16;
constexpr uintptr_t idMask = 0xFFFF;

}  // namespace

void* channelReference(unsigned transportStreamId, unsigned serviceId)
{
    const uintptr_t number =
        (uintptr_t(transportStreamId) & idMask) << idBits | (uintptr_t(serviceId) & idMask);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): nobody looks at what it points to
    return (serviceId & idMask) == 0 ? nullptr : reinterpret_cast<void*>(number);
}

uint16_t serviceIdOf(const void* channel)
{
    return static_cast<uint16_t>(reinterpret_cast<uintptr_t>(channel) & idMask);
}

}  // namespace receiver
