/// Any sections, one after the other, into one table; then everything that can be asked of it. A
/// section takes as many bytes as it declares (missing ones are 0) in a heap block of that size, so
/// that one byte too far is seen.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "foundation/logging.h"
#include "foundation/ref_ptr.h"
#include "signalling/ait.h"
#include "signalling/ait_application_reference.h"
#include "signalling/hbbtv_url.h"

using namespace VestaHbbTV;

namespace {

constexpr size_t sectionHeaderSize = 3;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// Takes every line and keeps none.
class NullOutput : public LoggingOutput {
public:
    NullOutput() : LoggingOutput(DEBUG) {}
    void output(LogEntry& entry) override { length_ += entry.stream().str().size(); }

private:
    size_t length_ = 0;
};

/// Feeds the first section of the data to the table. @return how many bytes it took
size_t feedSection(AIT& table, const uint8_t* data, size_t size)
{
    const size_t length = static_cast<size_t>(data[1] & 0x0F) << 8 | data[2];
    const size_t declared = sectionHeaderSize + length;
    const size_t taken = declared < size ? declared : size;
    const std::unique_ptr<unsigned char[]> block(new unsigned char[declared]());
    std::memcpy(block.get(), data, taken);
    const unsigned int before = table.getNumApplications();
    const bool wasComplete = table.isComplete() && !table.isXMLBased();
    const bool accepted = table.parse(block.get());
    require(!(wasComplete && accepted));
    require(!wasComplete || table.getNumApplications() == before);
    return taken;
}

void askTransports(AITApplication& application)
{
    for (const bool http : {false, true}) {
        size_t steps = 0;
        const AITApplicationTransport* transport = application.getFirstAvailableTransport(http);
        while (transport && steps++ < application.getNumTransports())
            transport = application.getNextAvailableTransport(transport, http);
    }
    AITApplicationTransport::ProtocolId protocol = AITApplicationTransport::ProtocolId(0);
    if (application.getPreferredTransportProtocol(protocol))
        require(application.isTransportedOverProtocol(protocol));
    application.isPreferredTransportProtocol(AITApplicationTransport::HTTP);
    for (const auto& transport : application.getTransports()) {
        const HbbTVURL url(transport->getURL(application.getApplicationLocation()));
        require(application.getTransportMatchingURL(url) != nullptr);
        require(transport->getHostname().empty() ==
                (transport->getProtocol() != AITApplicationTransport::OBJECT_CAROUSEL));
    }
}

void askApplication(const AIT& table, AITApplication& application)
{
    require(application.getAIT() == &table);
    require(application.isXMLAITbased() == table.isXMLBased());
    require(table.isHandledAITApplication(&application));
    const AITApplication* const sameIds =
        table.getAITApplication(application.getOrganisationId(), application.getApplicationId());
    require(application.sameAITApplication(sameIds));
    require(table.getFirstAITApplicationOfUsageType(application.getUsageType()) != nullptr);
    require(application.getApplicationDescriptor() || application.getNumTransports() == 0);
    application.hasValidAppId();
    application.isInSignedRange();
    application.isPlatformProfileSupported();
    ApplicationDomain extended;
    extended.extendDomain(*application.getApplicationDomain());
    askTransports(application);
}

void askTable(const AIT& table)
{
    const unsigned int count = table.getNumApplications();
    require(table.getAITApplication(count) == nullptr);
    for (unsigned int i = 0; i < count; ++i) {
        askApplication(table, *table.getAITApplication(i));
        require(i == 0 || table.getAITApplication(i - 1)->getApplicationPriority() >=
                              table.getAITApplication(i)->getApplicationPriority());
    }
    for (int code = 0; code <= 0xFF; ++code) {
        const auto controlCode = static_cast<AITApplication::ControlCode>(code);
        for (const bool http : {false, true}) {
            const AITApplication* application = table.getAITApplication(controlCode, http);
            while (application)
                application = table.getNextAITApplication(application, controlCode, http);
        }
        table.getCommonTransport(static_cast<uint8_t>(code));
    }
    table.getFirstDigitalTeletextAITApplication();
    table.printAIT();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Logging::getInstance()->addOutput(new NullOutput);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const bool fromXML = size > 0 && data[size - 1] == 'X';
    ref_ptr<AIT> table(fromXML ? new AIT : new AIT(0x22, 0x7, 0x1, nullptr));
    AIT* const uncounted = new AIT(1, 2, 3, nullptr);
    for (size_t at = 0; size - at >= sectionHeaderSize;) {
        feedSection(*uncounted, data + at, size - at);
        at += feedSection(*table, data + at, size - at);
    }
    askTable(*table);

    AITApplicationReference keeping(table->getAITApplication(0U));
    std::vector<AITApplicationReference> watching;
    for (unsigned int i = 0; i < uncounted->getNumApplications(); ++i)
        watching.emplace_back(uncounted->getAITApplication(i));
    table->clearCommonTransports();
    table.reset();
    if (keeping)
        askApplication(*keeping->getAIT(), *keeping);
    delete uncounted;
    for (const AITApplicationReference& reference : watching)
        require(!reference);
    return 0;
}
