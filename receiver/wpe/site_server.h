/// Folders in the place of web sites, for a browser that asks the network.
#ifndef VESTA_RECEIVER_WPE_SITE_SERVER_H
#define VESTA_RECEIVER_WPE_SITE_SERVER_H

#include <libsoup/soup.h>
#include <string>
#include <vector>

#include "receiver/browser/sites.h"

namespace receiver {

/// A proxy on loopback: what a site's folder answers for comes from there, the rest from the
/// network.
/// @param address receives its URL @return the server, the caller's; null where there can be none
SoupServer* startSiteServer(const std::vector<Site>& sites, std::string& address);

}  // namespace receiver

#endif
