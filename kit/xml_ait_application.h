/// One application of an XML AIT: ETSI TS 102 809, 5.4.4.
#ifndef VESTA_KIT_XML_AIT_APPLICATION_H
#define VESTA_KIT_XML_AIT_APPLICATION_H

#include <cstddef>
#include <memory>
#include <string_view>

#include "kit/xml_ait_notes.h"
#include "kit/xml_element.h"
#include "kit/xml_fault.h"
#include "signalling/ait_application.h"

namespace VestaHbbTV {

constexpr size_t mostXMLAITNames = 32;
constexpr size_t mostXMLAITBoundaries = 32;
constexpr size_t mostXMLAITTransports = 16;

/// Whether a namespace is that of XML AITs. Deliberate: of any year. Revisions add elements, which
/// are skipped, and values, which are faults where they decide on anything; what a document of
/// another year says in the elements that are known is what they have always meant.
bool isXMLAITName(std::string_view space);

/// Makes an entry of an element.
/// @param mixed set where there is text between elements or an element in a text: a fault of an
///        application of HbbTV's type
/// @param documentUrl as readXMLAIT() takes it
/// @param table for which the entry is made, not yet inserted
/// @param fault set where anything is wrong
/// @param notes as readXMLAIT() takes them
/// @return null where the application is of another type than HbbTV's, whatever else is wrong with
///         it, and where the fault is set
std::unique_ptr<AITApplication> readXMLAITApplication(const XMLElement& element,
                                                      const XMLFault& mixed,
                                                      std::string_view documentUrl, AIT* table,
                                                      XMLFault& fault, XMLAITNotes* notes);

}  // namespace VestaHbbTV

#endif
