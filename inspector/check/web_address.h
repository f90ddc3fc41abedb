/// Whether what an AIT says makes the address of a page on the web.
#ifndef VESTA_INSPECTOR_CHECK_WEB_ADDRESS_H
#define VESTA_INSPECTOR_CHECK_WEB_ADDRESS_H

#include <string>

namespace inspector {

/// @name What is wrong, for people; empty where nothing is
/// @{
std::string problemOfWebBase(const std::string& base);

/// The application manager puts the location right after the base, as it is.
/// @param base in which nothing is wrong
std::string problemOfJoint(const std::string& base, const std::string& location);
/// @}

}  // namespace inspector

#endif
