#include "station/carousel/biop_messages.h"

namespace station {

namespace {

constexpr uint32_t biopProfileTag = 0x49534F06;
constexpr uint32_t objectLocationTag = 0x49534F50;
constexpr uint32_t connectionBinderTag = 0x49534F40;
constexpr unsigned biopVersion = 0x0100;
constexpr unsigned deliveryParameterUse = 0x0016;  // BIOP_DELIVERY_PARA_USE
constexpr unsigned streamEventUse = 0x000D;        // STR_EVENT_USE
constexpr unsigned messageSelector = 0x0001;
constexpr uint32_t noTimeout = 0xFFFFFFFF;
constexpr unsigned boundObject = 1;   // nobject: anything but a directory
constexpr unsigned boundContext = 2;  // ncontext: a directory

std::string kindText(ObjectKind kind)
{
    switch (kind) {
    case ObjectKind::ServiceGateway:
        return {"srg\0", 4};
    case ObjectKind::Directory:
        return {"dir\0", 4};
    case ObjectKind::StreamEvent:
        return {"ste\0", 4};
    case ObjectKind::File:
        break;
    }
    return {"fil\0", 4};
}

Bytes keyBytes(uint32_t key)
{
    return ByteWriter().u32(key);
}

// BIOP::FileMessage and its like begin alike: 4.7.4.
Bytes makeMessage(uint32_t key, ObjectKind kind, const Bytes& info, const Bytes& body)
{
    ByteWriter content;
    content.with8(keyBytes(key)).with32(kindText(kind)).with16(info);
    content.u8(0);  // no service contexts
    content.with32(body);
    ByteWriter message;
    message.add(std::string("BIOP")).u16(biopVersion).u8(0).u8(0);  // big-endian, its only type
    return message.with32(content);
}

// content_type_descriptor: ETSI TS 102 809, B.2.3.4.
Bytes makeFileInfo(uint64_t size, const std::string& contentType)
{
    ByteWriter info;
    info.u32(static_cast<uint32_t>(size >> 32)).u32(static_cast<uint32_t>(size));
    if (!contentType.empty())
        info.u8(0x72).with8(contentType);
    return info;
}

Bytes makeBinding(const CarouselIdentity& carousel, const DirectoryEntry& entry)
{
    const ObjectKind kind = entry.place.kind;
    ByteWriter binding;
    binding.u8(1).with8(entry.name + '\0').with8(kindText(kind));  // a name of one component
    binding.u8(kind == ObjectKind::Directory ? boundContext : boundObject);
    binding.add(makeObjectReference(carousel, entry.place));
    return binding.with16(
        kind == ObjectKind::File ? makeFileInfo(entry.contentSize, entry.contentType) : Bytes());
}

// DSM::Stream::Info_T and DSM::Event::EventList_T: 4.7.4.5.
Bytes makeStreamEventInfo(const StreamEventObject& object)
{
    ByteWriter info;
    info.u8(0);              // no description
    info.u32(0).u16(0);      // a duration nobody knows: seconds, microseconds
    info.u8(0).u8(0).u8(1);  // neither audio nor video, but data
    info.u16(static_cast<unsigned>(object.events.size()));
    for (const NamedEvent& event : object.events)
        info.with8(event.name + '\0');
    return info;
}

}  // namespace

Bytes makeObjectReference(const CarouselIdentity& carousel, const ObjectPlace& place)
{
    ByteWriter location;
    location.u32(carousel.carouselId).u16(place.moduleId).u16(biopVersion);
    location.with8(keyBytes(place.key));
    const Bytes selector =
        ByteWriter().u16(messageSelector).u32(place.transactionId).u32(noTimeout);
    ByteWriter binder;
    binder.u8(1).u16(0).u16(deliveryParameterUse).u16(carousel.componentTag).with8(selector);
    ByteWriter profile;
    profile.u8(0).u8(2);  // big-endian, two components
    profile.u32(objectLocationTag).with8(location);
    profile.u32(connectionBinderTag).with8(binder);
    return ByteWriter().with32(kindText(place.kind)).u32(1).u32(biopProfileTag).with32(profile);
}

Bytes makeDirectory(ObjectKind kind, uint32_t key, const CarouselIdentity& carousel,
                    const std::vector<DirectoryEntry>& entries)
{
    ByteWriter body;
    body.u16(checkedSize(entries.size(), 0xFFFF));
    for (const DirectoryEntry& entry : entries)
        body.add(makeBinding(carousel, entry));
    return makeMessage(key, kind, {}, body);
}

Bytes makeFile(uint32_t key, const Bytes& content, const std::string& contentType)
{
    return makeMessage(key, ObjectKind::File, makeFileInfo(content.size(), contentType),
                       ByteWriter().with32(content));
}

Bytes makeStreamEvents(uint32_t key, const StreamEventObject& object)
{
    ByteWriter body;
    body.u8(1).u16(0).u16(streamEventUse).u16(object.componentTag).u8(0);  // one tap, no selector
    body.u8(static_cast<unsigned>(object.events.size()));
    for (const NamedEvent& event : object.events)
        body.u16(event.id);
    return makeMessage(key, ObjectKind::StreamEvent, makeStreamEventInfo(object), body);
}

}  // namespace station
