/// Base64 (RFC 4648, section 4), as bodies stand in a record.
#ifndef VESTA_REPLAY_BASE64_H
#define VESTA_REPLAY_BASE64_H

#include <optional>
#include <string>
#include <string_view>

namespace replay {

std::string toBase64(std::string_view bytes);

/// @return nothing for what is no base64
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace replay

#endif
