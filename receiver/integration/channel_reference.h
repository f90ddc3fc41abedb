/// The receiver's channel references: what its events call a service towards the application
/// manager, and what scripts get and give back by way of the natives.
#ifndef VESTA_RECEIVER_INTEGRATION_CHANNEL_REFERENCE_H
#define VESTA_RECEIVER_INTEGRATION_CHANNEL_REFERENCE_H

#include <cstdint>

namespace receiver {

/// A number carried in a pointer, the same for a service wherever it is asked for: nobody owns it,
/// and it is never void. Null for no service alone, since a service's id is not 0.
void* channelReference(unsigned transportStreamId, unsigned serviceId);

/// @return 0 for null
uint16_t serviceIdOf(const void* channel);

}  // namespace receiver

#endif
