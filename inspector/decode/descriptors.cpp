#include "inspector/decode/descriptors.h"

#include <algorithm>

#include "inspector/decode/descriptor_table.h"

namespace inspector {

namespace {

const DescriptorKind* findKind(TagSpace space, uint8_t tag)
{
    const DescriptorTable table = space == TagSpace::AIT ? aitDescriptors() : otherDescriptors();
    const auto found =
        std::find_if(table.begin, table.end, [tag](const auto& kind) { return kind.tag == tag; });
    return found == table.end ? nullptr : found;
}

void decodePayload(const DescriptorKind* kind, FieldReader payload, Node& into)
{
    FieldReader fields = payload;
    if (kind && kind->decode)
        kind->decode(fields, into);
    if (!fields.ok()) {
        into.addFlag("malformed", true);
        payload.rest(into, "payload");
    } else {
        fields.rest(into, kind && kind->decode ? "private_data" : "payload");
    }
}

}  // namespace

bool decodeDescriptors(TagSpace space, FieldReader loop, Node& into, const char* listName)
{
    Node& list = into.addList(listName);
    while (!loop.empty()) {
        const size_t place = loop.place();
        const uint8_t tag = loop.u8();
        const uint8_t length = loop.u8();
        const FieldReader payload = loop.take(length);
        if (!loop.ok())
            return false;
        const DescriptorKind* const kind = findKind(space, tag);
        const std::string name = kind ? kind->name : "unknown";
        Node& descriptor = list.addObject("", kind ? name : "descriptor " + hexadecimal(tag, 2));
        descriptor.place = place;
        descriptor.addHexadecimal("tag", tag).quiet();
        descriptor.addText("descriptor", name).quiet();
        descriptor.addNumber("length", length).quiet();
        decodePayload(kind, payload, descriptor);
    }
    return true;
}

}  // namespace inspector
