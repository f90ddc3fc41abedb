/// What was kept of an element of an XML AIT.
#ifndef VESTA_KIT_XML_ELEMENT_H
#define VESTA_KIT_XML_ELEMENT_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kit/xml_fault.h"

namespace VestaHbbTV {

/// An element with those of its attributes and children that an XML AIT knows.
struct XMLElement {
    struct Attribute {
        std::string_view name;  ///< of static storage
        std::string value;
    };

    XMLElement() = default;
    XMLElement(std::string_view staticName, const XMLPlace& where) : name(staticName), place(where)
    {
    }

    /// @return null where there is no such attribute
    const std::string* findAttribute(std::string_view attribute) const
    {
        for (const Attribute& candidate : attributes)
            if (candidate.name == attribute)
                return &candidate.value;
        return nullptr;
    }

    std::string_view name;  ///< local, of static storage
    XMLPlace place;
    std::vector<Attribute> attributes;
    std::string text;  ///< without the white space around it; empty where children are expected
    std::vector<XMLElement> children;
};

}  // namespace VestaHbbTV

#endif
