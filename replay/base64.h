/// Reads Base64 (RFC 4648, section 4), as recorder/boundary/base64.h writes it.
#ifndef VESTA_REPLAY_BASE64_H
#define VESTA_REPLAY_BASE64_H

#include <optional>
#include <string>
#include <string_view>

namespace replay {

/// @return nothing for what is no base64
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace replay

#endif
