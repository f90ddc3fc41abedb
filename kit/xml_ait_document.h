/// XML AITs: ETSI TS 102 809, 5.4, as ETSI TS 102 796, 7.2.3.2 uses them.
#ifndef VESTA_KIT_XML_AIT_DOCUMENT_H
#define VESTA_KIT_XML_AIT_DOCUMENT_H

#include <cstddef>
#include <string_view>

#include "foundation/ref_ptr.h"
#include "kit/xml_ait_notes.h"
#include "kit/xml_fault.h"
#include "signalling/ait.h"

namespace VestaHbbTV {

constexpr size_t longestXMLAIT = size_t{1024} * 1024;
constexpr size_t longestXMLAITUrl = 2048;
constexpr size_t mostXMLAITApplications = 256;
/// Of the elements of one application, those that a table can hold something of.
constexpr size_t mostXMLAITElements = 256;
constexpr size_t longestXMLAITText = 4096;
/// Of namespaces, in force at a time.
constexpr size_t mostXMLAITPrefixes = 256;

/// Makes a table of a document. Applications of other types than HbbTV's are left out, and so is
/// what a table does not hold: names after the first, versions, icons, extensions of URLs,
/// recording, storage, and all that other standards add.
/// @param document whole; borrowed for the call, and nothing of it is kept
/// @param documentUrl absolute, for relative URLs; empty where it is not known
/// @param fault set where anything is wrong
/// @param notes filled where somebody wants to know; may be null
/// @return null where the fault is set
ref_ptr<AIT> readXMLAIT(std::string_view document, std::string_view documentUrl, XMLFault& fault,
                        XMLAITNotes* notes = nullptr);

}  // namespace VestaHbbTV

#endif
