/// What a PMT's streams hold, as values that can be compared and printed.
#ifndef VESTA_TESTS_SIGNALLING_PMT_CONTENT_H
#define VESTA_TESTS_SIGNALLING_PMT_CONTENT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <tuple>
#include <vector>

#include "signalling/pmt.h"

namespace vesta::test {

struct StreamContent {
    unsigned type = 0;
    unsigned pid = 0;
    std::optional<unsigned> componentTag = {};
    std::optional<uint32_t> carouselId = {};
    bool hasAssociationTag = false;
    bool hasDeferredAssociationTags = false;
    bool hasApplicationSignalling = false;

    auto fields() const
    {
        return std::tie(type, pid, componentTag, carouselId, hasAssociationTag,
                        hasDeferredAssociationTags, hasApplicationSignalling);
    }
    friend bool operator==(const StreamContent& left, const StreamContent& right)
    {
        return left.fields() == right.fields();
    }
    friend std::ostream& operator<<(std::ostream& out, const StreamContent& s)
    {
        out << "type " << s.type << " PID " << s.pid;
        if (s.componentTag)
            out << " tag " << *s.componentTag;
        if (s.carouselId)
            out << " carousel " << *s.carouselId;
        return out << (s.hasAssociationTag ? " association" : "")
                   << (s.hasDeferredAssociationTags ? " deferred" : "")
                   << (s.hasApplicationSignalling ? " signalling" : "");
    }
};

inline StreamContent contentOf(const VestaHbbTV::ElementaryStream& stream)
{
    StreamContent content;
    content.type = stream.getStreamType();
    content.pid = stream.getElementaryPID();
    if (const auto* identifier = stream.getStreamIdentifierDescriptor())
        content.componentTag = identifier->getComponentTag();
    if (const auto* identifier = stream.getCarouselIdentifierDescriptor())
        content.carouselId = identifier->getCarouselId();
    content.hasAssociationTag = stream.getAssociationTagDescriptor() != nullptr;
    content.hasDeferredAssociationTags = stream.getDeferredAssociationTagsDescriptor() != nullptr;
    content.hasApplicationSignalling = stream.getApplicationSignallingDescriptor() != nullptr;
    return content;
}

inline std::vector<StreamContent> contentOf(const VestaHbbTV::PMT& table)
{
    std::vector<StreamContent> contents;
    for (const VestaHbbTV::ElementaryStream& stream : table.getElementaryStreams())
        contents.push_back(contentOf(stream));
    return contents;
}

}  // namespace vesta::test

#endif
