#include "tests/support/section_builder.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

#include "tests/support/crc32.h"

namespace vesta::test {

namespace {

[[maybe_unused]] constexpr size_t maximumLength12 = 0x0FFF;
constexpr size_t sectionHeaderSize = 3;
constexpr size_t crcSize = 4;

void append8(Bytes& bytes, unsigned value)
{
    bytes.push_back(static_cast<unsigned char>(value & 0xFF));
}

void append16(Bytes& bytes, unsigned value)
{
    append8(bytes, value >> 8);
    append8(bytes, value);
}

void append32(Bytes& bytes, uint32_t value)
{
    append16(bytes, value >> 16);
    append16(bytes, value);
}

/// A length of 12 bits behind four reserved ones.
void appendLength12(Bytes& bytes, size_t length)
{
    assert(length <= maximumLength12);
    append16(bytes, 0xF000 | static_cast<unsigned>(length));
}

void append(Bytes& bytes, const Bytes& more)
{
    std::copy(more.begin(), more.end(), std::back_inserter(bytes));
}

void append(Bytes& bytes, const std::string& text)
{
    bytes.insert(bytes.end(), text.begin(), text.end());
}

/// A length of one byte, then the text.
void appendCounted(Bytes& bytes, const std::string& text)
{
    assert(text.size() <= 0xFF);
    append8(bytes, static_cast<unsigned>(text.size()));
    append(bytes, text);
}

}  // namespace

Bytes descriptor(uint8_t tag, const Bytes& payload)
{
    assert(payload.size() <= 0xFF);
    Bytes bytes = {tag, static_cast<unsigned char>(payload.size())};
    append(bytes, payload);
    return bytes;
}

Bytes applicationDescriptor(const ApplicationFields& fields)
{
    Bytes payload;
    append8(payload, static_cast<unsigned>(5 * fields.profiles.size()));
    for (const Profile& profile : fields.profiles) {
        append16(payload, profile.mask);
        append8(payload, profile.major);
        append8(payload, profile.minor);
        append8(payload, profile.micro);
    }
    append8(payload, (fields.serviceBound ? 0x80U : 0U) | (fields.visibility & 3U) << 5 | 0x1FU);
    append8(payload, fields.priority);
    append(payload, Bytes(fields.labels.begin(), fields.labels.end()));
    return descriptor(0x00, payload);
}

Bytes nameDescriptor(const std::string& name, const std::string& language)
{
    Bytes payload(language.begin(), language.end());
    appendCounted(payload, name);
    return descriptor(0x01, payload);
}

Bytes otherTransport(uint8_t label, uint16_t protocolId, const Bytes& selector)
{
    Bytes payload;
    append16(payload, protocolId);
    append8(payload, label);
    append(payload, selector);
    return descriptor(0x02, payload);
}

Bytes httpTransport(uint8_t label, const std::string& base)
{
    Bytes selector;
    appendCounted(selector, base);
    append8(selector, 0);  // URL_extension_count
    return otherTransport(label, 3, selector);
}

Bytes carouselTransport(uint8_t label, uint8_t componentTag)
{
    return otherTransport(label, 1, {0x7F, componentTag});
}

Bytes remoteCarouselTransport(uint8_t label, uint16_t originalNetworkId, uint16_t transportStreamId,
                              uint16_t serviceId, uint8_t componentTag)
{
    Bytes selector = {0xFF};
    append16(selector, originalNetworkId);
    append16(selector, transportStreamId);
    append16(selector, serviceId);
    append8(selector, componentTag);
    return otherTransport(label, 1, selector);
}

Bytes locationDescriptor(const std::string& path)
{
    return descriptor(0x15, Bytes(path.begin(), path.end()));
}

Bytes usageDescriptor(uint8_t usageType)
{
    return descriptor(0x16, {usageType});
}

Bytes boundaryDescriptor(const std::vector<std::string>& extensions)
{
    Bytes payload;
    append8(payload, static_cast<unsigned>(extensions.size()));
    for (const std::string& extension : extensions)
        appendCounted(payload, extension);
    return descriptor(0x17, payload);
}

Bytes recordingDescriptor(uint8_t flags, const std::vector<std::string>& labels,
                          const Bytes& componentTags, const Bytes& trailing)
{
    Bytes payload = {flags};
    append8(payload, static_cast<unsigned>(labels.size()));
    for (const std::string& label : labels) {
        appendCounted(payload, label);
        append8(payload, 0xC0);  // storage_properties
    }
    append8(payload, static_cast<unsigned>(componentTags.size()));
    append(payload, componentTags);
    append(payload, trailing);
    return descriptor(0x06, payload);
}

Bytes operator+(Bytes left, const Bytes& right)
{
    append(left, right);
    return left;
}

std::unique_ptr<unsigned char[]> exactBlock(const Bytes& bytes)
{
    std::unique_ptr<unsigned char[]> block(new unsigned char[bytes.size()]);
    if (!bytes.empty())
        std::memcpy(block.get(), bytes.data(), bytes.size());
    return block;
}

AITEntry::AITEntry(uint32_t organisationId, uint16_t applicationId, uint8_t controlCode)
    : organisationId_(organisationId), applicationId_(applicationId), controlCode_(controlCode)
{
}

AITEntry& AITEntry::controlCode(uint8_t code)
{
    controlCode_ = code;
    return *this;
}

AITEntry& AITEntry::priority(uint8_t priority)
{
    fields_.priority = priority;
    return *this;
}

AITEntry& AITEntry::visibility(uint8_t visibility)
{
    fields_.visibility = visibility;
    return *this;
}

AITEntry& AITEntry::serviceBound(bool bound)
{
    fields_.serviceBound = bound;
    return *this;
}

AITEntry& AITEntry::profiles(std::vector<Profile> profiles)
{
    fields_.profiles = std::move(profiles);
    return *this;
}

AITEntry& AITEntry::labels(std::vector<uint8_t> labels)
{
    labels_ = std::move(labels);
    return *this;
}

AITEntry& AITEntry::withoutApplicationDescriptor()
{
    hasApplicationDescriptor_ = false;
    return *this;
}

AITEntry& AITEntry::name(const std::string& name)
{
    return raw(nameDescriptor(name));
}

AITEntry& AITEntry::http(uint8_t label, const std::string& base)
{
    transportLabels_.push_back(label);
    return raw(httpTransport(label, base));
}

AITEntry& AITEntry::carousel(uint8_t label, uint8_t componentTag)
{
    transportLabels_.push_back(label);
    return raw(carouselTransport(label, componentTag));
}

AITEntry& AITEntry::remoteCarousel(uint8_t label, uint16_t originalNetworkId,
                                   uint16_t transportStreamId, uint16_t serviceId,
                                   uint8_t componentTag)
{
    transportLabels_.push_back(label);
    return raw(remoteCarouselTransport(label, originalNetworkId, transportStreamId, serviceId,
                                       componentTag));
}

AITEntry& AITEntry::location(const std::string& path)
{
    return raw(locationDescriptor(path));
}

AITEntry& AITEntry::usage(uint8_t usageType)
{
    return raw(usageDescriptor(usageType));
}

AITEntry& AITEntry::boundary(const std::vector<std::string>& extensions)
{
    return raw(boundaryDescriptor(extensions));
}

AITEntry& AITEntry::recording(uint8_t flags, const std::vector<std::string>& labels,
                              const Bytes& componentTags, const Bytes& trailing)
{
    return raw(recordingDescriptor(flags, labels, componentTags, trailing));
}

AITEntry& AITEntry::raw(const Bytes& descriptors)
{
    append(descriptors_, descriptors);
    return *this;
}

AITEntry& AITEntry::loopLength(uint16_t length)
{
    loopLength_ = length;
    return *this;
}

Bytes AITEntry::bytes() const
{
    Bytes loop;
    if (hasApplicationDescriptor_) {
        ApplicationFields fields = fields_;
        fields.labels = labels_.value_or(transportLabels_);
        loop = applicationDescriptor(fields);
    }
    append(loop, descriptors_);

    Bytes bytes;
    append32(bytes, organisationId_);
    append16(bytes, applicationId_);
    append8(bytes, controlCode_);
    appendLength12(bytes, loopLength_.value_or(static_cast<uint16_t>(loop.size())));
    append(bytes, loop);
    return bytes;
}

std::unique_ptr<unsigned char[]> AITEntry::exactBlock() const
{
    return test::exactBlock(bytes());
}

AITSection& AITSection::tableId(uint8_t id)
{
    tableId_ = id;
    return *this;
}

AITSection& AITSection::applicationType(uint16_t type)
{
    applicationType_ = type;
    return *this;
}

AITSection& AITSection::version(uint8_t version)
{
    version_ = version;
    return *this;
}

AITSection& AITSection::currentNext(bool current)
{
    currentNext_ = current;
    return *this;
}

AITSection& AITSection::number(uint8_t number, uint8_t last)
{
    number_ = number;
    lastNumber_ = last;
    return *this;
}

AITSection& AITSection::common(const Bytes& descriptors)
{
    append(common_, descriptors);
    return *this;
}

AITSection& AITSection::add(const AITEntry& entry)
{
    return add(entry.bytes());
}

AITSection& AITSection::add(const Bytes& entry)
{
    append(applications_, entry);
    return *this;
}

AITSection& AITSection::sectionLength(uint16_t length)
{
    sectionLength_ = length;
    return *this;
}

AITSection& AITSection::commonLength(uint16_t length)
{
    commonLength_ = length;
    return *this;
}

AITSection& AITSection::applicationLoopLength(uint16_t length)
{
    applicationLoopLength_ = length;
    return *this;
}

/// What stands between section_length and CRC_32.
Bytes AITSection::body() const
{
    Bytes bytes;
    append16(bytes, applicationType_);
    append8(bytes, 0xC0U | (version_ & 0x1FU) << 1 | (currentNext_ ? 1U : 0U));
    append8(bytes, number_);
    append8(bytes, lastNumber_);
    appendLength12(bytes, commonLength_.value_or(static_cast<uint16_t>(common_.size())));
    append(bytes, common_);
    appendLength12(bytes,
                   applicationLoopLength_.value_or(static_cast<uint16_t>(applications_.size())));
    append(bytes, applications_);
    return bytes;
}

Bytes AITSection::bytes() const
{
    const Bytes body = this->body();
    Bytes bytes = {tableId_};
    appendLength12(bytes, sectionLength_.value_or(static_cast<uint16_t>(body.size() + crcSize)));
    append(bytes, body);
    append32(bytes, crc32(bytes));
    if (sectionLength_)
        bytes.resize(sectionHeaderSize + *sectionLength_, 0xFF);
    return bytes;
}

std::unique_ptr<unsigned char[]> AITSection::exactBlock() const
{
    return test::exactBlock(bytes());
}

unsigned char* AITSection::mallocBlock() const
{
    const Bytes bytes = this->bytes();
    auto* const block = static_cast<unsigned char*>(std::malloc(bytes.size()));
    std::memcpy(block, bytes.data(), bytes.size());
    return block;
}

}  // namespace vesta::test
