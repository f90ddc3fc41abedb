#include "signalling/refused_section.h"

#include "foundation/byte_reader.h"
#include "foundation/decision.h"
#include "foundation/descriptor.h"

namespace VestaHbbTV {

namespace {

constexpr size_t sectionHeaderSize = 3;
constexpr size_t tableHeaderSize = 5;
constexpr size_t entryHeaderSize = 9;
constexpr size_t languageCodeSize = 3;
constexpr uint8_t applicationNameTag = 0x01;

/// One walk through a section. Each step answers whether there is nothing to refuse so far.
class Walk {
public:
    explicit Walk(const unsigned char* section)
        : size_(sectionHeaderSize + ByteReader(section + 1, 2).length12()),
          reader_(section + sectionHeaderSize, size_ - sectionHeaderSize)
    {
    }

    void run()
    {
        reader_.skip(tableHeaderSize);
        if (!walkCommonLoop())
            return;
        const uint32_t place = here();
        const uint32_t length = reader_.length12();
        if (!reader_.ok() || length > reader_.remaining())
            return explain(HBBTV_REASON_SECTION_APPLICATION_LOOP, {}, place, length);
        const size_t afterLoop = reader_.remaining() - length;
        while (reader_.remaining() > afterLoop) {
            if (!walkApplication())
                return;
        }
    }

private:
    uint32_t here() const { return static_cast<uint32_t>(size_ - reader_.remaining()); }

    bool walkCommonLoop()
    {
        const uint32_t place = here();
        const uint32_t length = reader_.length12();
        const uint32_t begin = here();
        const ByteReader loop = reader_.take(length);
        if (!reader_.ok()) {
            explain(HBBTV_REASON_SECTION_COMMON_LOOP, {}, place, length);
            return false;
        }
        return walkDescriptors(loop, begin, nullptr);
    }

    bool walkApplication()
    {
        const uint32_t place = here();
        DecisionAbout about;
        about.organisationId = reader_.u32();
        about.applicationId = reader_.u16();
        reader_.skip(1);  // application_control_code
        const uint32_t length = reader_.length12();
        const ByteReader loop = reader_.take(length);
        if (!reader_.ok()) {
            explain(HBBTV_REASON_SECTION_APPLICATION, about, place, length);
            return false;
        }
        return walkDescriptors(loop, place + static_cast<uint32_t>(entryHeaderSize), &about);
    }

    /// @param place of the loop's first byte @param about null in the common loop
    static bool walkDescriptors(ByteReader loop, uint32_t place, const DecisionAbout* about)
    {
        const size_t loopSize = loop.remaining();
        while (!loop.empty()) {
            const ByteReader toLoopEnd = loop;
            const uint32_t here = place + static_cast<uint32_t>(loopSize - loop.remaining());
            const uint8_t tag = loop.u8();
            const uint8_t length = loop.u8();
            loop.skip(length);
            const DecisionAbout whom = about ? *about : DecisionAbout();
            if (!loop.ok()) {
                explain(HBBTV_REASON_SECTION_DESCRIPTOR, whom, here, tag);
                return false;
            }
            if (about && length == 0) {
                explain(HBBTV_REASON_SECTION_EMPTY_DESCRIPTOR, whom, here, tag);
                return false;
            }
            if (about && tag == applicationNameTag && !hasWholeName(toLoopEnd)) {
                explain(HBBTV_REASON_SECTION_NAME, whom, here, tag);
                return false;
            }
        }
        return true;
    }

    static bool hasWholeName(ByteReader descriptor)
    {
        descriptor.skip(descriptorHeaderSize + languageCodeSize);
        descriptor.skip(descriptor.u8());
        return descriptor.ok();
    }

    const size_t size_;
    ByteReader reader_;
};

}  // namespace

void explainRefusal(const unsigned char* section)
{
    Walk(section).run();
}

}  // namespace VestaHbbTV
