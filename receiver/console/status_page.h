/// What the receiver knows, in lines.
#ifndef VESTA_RECEIVER_CONSOLE_STATUS_PAGE_H
#define VESTA_RECEIVER_CONSOLE_STATUS_PAGE_H

#include <string>
#include <vector>

namespace receiver {

class Session;

/// The services of the stream, the tuned one marked.
std::vector<std::string> servicesPage(Session& session);

/// Windows, applications, the table in force and the carousels' files.
std::vector<std::string> statusPage(Session& session);

}  // namespace receiver

#endif
