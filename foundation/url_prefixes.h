/// What the URLs that the application manager tells apart begin with.
#ifndef VESTA_FOUNDATION_URL_PREFIXES_H
#define VESTA_FOUNDATION_URL_PREFIXES_H

#include <string_view>

namespace VestaHbbTV {

constexpr std::string_view httpPrefix = "http://";
constexpr std::string_view httpsPrefix = "https://";

/// Of every URL of the object carousel, relative ones too.
constexpr std::string_view dvbScheme = "dvb:";

/// Of an absolute `dvb:` URL; the platform's paths begin after it.
constexpr std::string_view absoluteDVBPrefix = "dvb://";

}  // namespace VestaHbbTV

#endif
