/// XML AITs (ETSI TS 102 809, 5.4) that a browser was made to load in place of a page.
#ifndef VESTA_RECEIVER_INTEGRATION_XML_TABLES_H
#define VESTA_RECEIVER_INTEGRATION_XML_TABLES_H

#include <cstddef>
#include <string>

struct TAVO_VestaWindow;

namespace receiver {

class EventLog;

/// No document is longer; who loads one need not read on.
constexpr size_t longestXMLTable = size_t(1) << 20;

/// Whether what is loaded is a table: by its MIME type, or by the end of the URL's path, whatever
/// the server calls it.
bool isXMLTable(const std::string& url, const std::string& mimeType);

/// Puts a document's table in force in a window: on a later tick its applications are the window's,
/// and the first one that may start does. Says so, or what is wrong with the document. Browser
/// thread.
/// @param url of the document @return whether it is a table
bool takeXMLTable(EventLog& log, TAVO_VestaWindow* window, const std::string& document,
                  const std::string& url);

}  // namespace receiver

#endif
