/// What is wrong with a document, and where.
#ifndef VESTA_KIT_XML_FAULT_H
#define VESTA_KIT_XML_FAULT_H

#include <string>
#include <string_view>

#include "vesta_hbbtv_kit.h"

namespace VestaHbbTV {

/// A place in a document, both from 1; the column counts characters.
struct XMLPlace {
    unsigned line = 0;
    unsigned column = 0;
};

/// The first fault that was found, if any.
class XMLFault {
public:
    bool isSet() const { return status_ != HBBTV_KIT_XML_AIT_OK; }

    /// Keeps the fault, unless there is one already.
    void set(HBBTV_KitXMLAITStatus status, const XMLPlace& place, std::string text);

    HBBTV_KitXMLAITStatus getStatus() const { return status_; }
    const XMLPlace& getPlace() const { return place_; }
    const std::string& getText() const { return text_; }

private:
    HBBTV_KitXMLAITStatus status_ = HBBTV_KIT_XML_AIT_OK;
    XMLPlace place_;
    std::string text_;
};

/// A text of a document as a fault may quote it: cut, each character that is not printable ASCII
/// replaced by "?", and in quotation marks.
std::string quotation(std::string_view text);

}  // namespace VestaHbbTV

#endif
