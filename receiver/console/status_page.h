/// What the receiver knows, on one page.
#ifndef VESTA_RECEIVER_CONSOLE_STATUS_PAGE_H
#define VESTA_RECEIVER_CONSOLE_STATUS_PAGE_H

#include <string>

namespace receiver {

class Session;

/// The services of the stream, the tuned one marked.
std::string servicesPage(Session& session);

/// Windows, applications, the table in force and the carousels' files.
std::string statusPage(Session& session);

}  // namespace receiver

#endif
