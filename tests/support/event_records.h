/// The integrator's event records: counted blocks that the library has to free.
#ifndef VESTA_TESTS_SUPPORT_EVENT_RECORDS_H
#define VESTA_TESTS_SUPPORT_EVENT_RECORDS_H

#include <array>

#include "vesta_hbbtv_appman.h"

#include "tests/support/section_builder.h"

namespace vesta::test {

/// A zeroed record with room for just one member of the union, as an integrator may allocate it.
template <typename Member>
Member* newRecord();

/// A table section of the service 1.2.3.
VestaHbbTV::HBBTV_EventData* aitRecord(const AITSection& section, void* channelHandle = nullptr);
/// No section: the table went away (0), or not (1).
VestaHbbTV::HBBTV_EventData* noSectionRecord(uintptr_t keepApplication);
VestaHbbTV::HBBTV_EventData* startRecord(void* window, uint32_t organisationId,
                                         unsigned short applicationId);
/// @param url may be null
VestaHbbTV::HBBTV_EventData* urlRecord(void* window, const char* url);
VestaHbbTV::HBBTV_EventData* windowRecord(void* window);
VestaHbbTV::HBBTV_EventData* downloadRecord(void* id);
/// @param strings each may be null
VestaHbbTV::HBBTV_EventData* streamEventRecord(VestaHbbTV::HBBTV_StreamEventCallback callback,
                                               uint32_t value1, uint32_t value2,
                                               const std::array<const char*, 4>& strings);
VestaHbbTV::HBBTV_EventData* userAgentRecord(unsigned short versionSelector,
                                             const std::array<const char*, 6>& strings);
VestaHbbTV::HBBTV_EventData* profilesRecord(unsigned short profiles);

}  // namespace vesta::test

#endif
