/// XML documents from strangers: what they hold is handed on, and what they could do harm with is
/// refused.
#ifndef VESTA_KIT_XML_PARSER_H
#define VESTA_KIT_XML_PARSER_H

#include <cstddef>
#include <string_view>

#include "kit/xml_fault.h"

namespace VestaHbbTV {

/// A name with its namespace; both borrowed for the call.
struct XMLName {
    std::string_view space;  ///< URI; empty for none
    std::string_view local;
};

/// The attributes of an element, but for declarations of namespaces.
class XMLAttributes {
public:
    /// @param pairs name, value, name, value and so on, null at their end; borrowed
    explicit XMLAttributes(const char* const* pairs) : pairs_(pairs) {}

    /// Counts them.
    size_t size() const;
    XMLName nameOf(size_t index) const;
    std::string_view valueOf(size_t index) const { return pairs_[2 * index + 1]; }

private:
    const char* const* pairs_;
};

/// Hears what a document holds, in its order. Texts are UTF-8 and borrowed for the call.
class XMLContent {
public:
    virtual ~XMLContent() = default;

    virtual void startElement(const XMLName& name, const XMLAttributes& attributes,
                              const XMLPlace& place) = 0;
    virtual void endElement() = 0;

    /// A piece of text inside the innermost element, in one or more calls.
    virtual void addText(std::string_view text, const XMLPlace& place) = 0;

    /// A prefix stands for a namespace, from the next element on until that has ended. Others
    /// than those of elements and attributes, which are resolved already, may stand in values.
    virtual void beginPrefix(std::string_view /*prefix*/, std::string_view /*space*/) {}
    /// The one that began last ends.
    virtual void endPrefix() {}
};

constexpr size_t deepestXMLElement = 32;

/// Parses a whole document: well-formed, with namespaces, not deeper than the limit. Of a document
/// type only the name is accepted: nothing outside the document is ever looked for, and no entity
/// stands for more than a character. The parser's memory is bounded by a multiple of the document.
/// @param content called until the first fault
/// @param fault set where parsing ended early; `content` may set it to end it
void parseXML(std::string_view document, XMLContent& content, XMLFault& fault);

}  // namespace VestaHbbTV

#endif
