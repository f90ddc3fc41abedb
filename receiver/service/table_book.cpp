#include "receiver/service/table_book.h"

#include <cstdio>

#include "foundation/descriptor.h"

namespace receiver {

using VestaHbbTV::ByteReader;
using VestaHbbTV::forEachDescriptor;
using VestaHbbTV::MutexLock;

namespace {

constexpr uint8_t applicationTag = 0x00;
constexpr uint8_t applicationNameTag = 0x01;
constexpr uint8_t boundaryTag = 0x17;
constexpr size_t languageCodeSize = 3;
constexpr size_t profileSize = 5;

/// application_profile and its version: ETSI TS 102 809, 5.3.5.3.
std::string readProfiles(ByteReader payload)
{
    const size_t length = payload.u8();
    return payload.text(length - length % profileSize);
}

/// The first language: ETSI TS 102 809, 5.3.5.6.1.
std::string readName(ByteReader payload)
{
    payload.skip(languageCodeSize);
    return payload.text(payload.u8());
}

std::string wordsFor(ByteReader profile)
{
    char text[sizeof("0xffff with version 255.255.255")];
    const unsigned mask = profile.u16();
    const unsigned major = profile.u8();
    const unsigned minor = profile.u8();
    std::snprintf(text, sizeof(text), "0x%04x with version %u.%u.%u", mask, major, minor,
                  unsigned{profile.u8()});
    return text;
}

}  // namespace

void TableBook::note(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    const MutexLock lock(mutex_);
    if (header.version != version_)
        sections_.clear();
    version_ = header.version;
    std::map<Key, Entry>& entries = sections_[header.sectionNumber];
    entries.clear();
    ByteReader body = sectionBody(section);
    body.skip(body.length12());
    ByteReader loop = body.take(body.length12());
    while (!loop.empty()) {
        const Key key = {loop.u32(), loop.u16()};
        loop.skip(1);  // application_control_code
        const ByteReader descriptors = loop.take(loop.length12());
        if (!loop.ok())
            return;
        noteApplication(descriptors, entries[key]);
    }
}

/// The first descriptor of a kind that says something counts.
void TableBook::noteApplication(ByteReader descriptors, Entry& entry)
{
    forEachDescriptor(descriptors, [&entry](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        if (tag == applicationTag && entry.profiles.empty())
            entry.profiles = readProfiles(payload);
        if (tag == applicationNameTag && entry.name.empty())
            entry.name = readName(payload);
        if (tag == boundaryTag && entry.boundary.empty()) {
            payload.skip(1);  // boundary_extension_count
            entry.boundary = payload.text(payload.remaining());
        }
        return true;
    });
}

void TableBook::clear()
{
    const MutexLock lock(mutex_);
    sections_.clear();
    version_ = -1;
}

/// @return the text of the first application of these ids that has one; null without any
const std::string* TableBook::find(const Key& key, std::string Entry::*text) const
{
    for (const auto& [number, entries] : sections_) {
        const auto found = entries.find(key);
        if (found != entries.end() && !(found->second.*text).empty())
            return &(found->second.*text);
    }
    return nullptr;
}

std::vector<std::string> TableBook::profilesOf(uint32_t organisationId,
                                               uint16_t applicationId) const
{
    const MutexLock lock(mutex_);
    std::vector<std::string> profiles;
    const std::string* const bytes = find({organisationId, applicationId}, &Entry::profiles);
    if (!bytes)
        return profiles;
    ByteReader reader(reinterpret_cast<const unsigned char*>(bytes->data()), bytes->size());
    while (!reader.empty())
        profiles.push_back(wordsFor(reader.take(profileSize)));
    return profiles;
}

std::vector<std::string> TableBook::boundaryOf(uint32_t organisationId,
                                               uint16_t applicationId) const
{
    const MutexLock lock(mutex_);
    std::vector<std::string> urls;
    const std::string* const bytes = find({organisationId, applicationId}, &Entry::boundary);
    if (!bytes)
        return urls;
    ByteReader reader(reinterpret_cast<const unsigned char*>(bytes->data()), bytes->size());
    while (!reader.empty()) {
        const std::string url = reader.text(reader.u8());
        if (!reader.ok())
            break;
        urls.push_back(url);
    }
    return urls;
}

std::string TableBook::wholeName(uint32_t organisationId, uint16_t applicationId,
                                 const std::string& known) const
{
    const MutexLock lock(mutex_);
    const std::string* const name = find({organisationId, applicationId}, &Entry::name);
    const bool isCut = name && name->size() > known.size() && name->c_str() == known;
    return isCut ? *name : known;
}

}  // namespace receiver
