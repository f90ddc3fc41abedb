/// Keeps the texts of one record together.
#ifndef VESTA_OIPF_NOTIFICATIONS_TEXT_STORE_H
#define VESTA_OIPF_NOTIFICATIONS_TEXT_STORE_H

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace VestaHbbTV {

/// Holds copies of texts. Many short ones share a block, so that each costs its own length only.
class TextStore {
public:
    /// @return a copy that ends with a NUL; lives as long as the store
    char* add(std::string_view text);

private:
    char* take(size_t size);

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;  ///< of the block that short texts share
    size_t freeSize_ = 0;
};

}  // namespace VestaHbbTV

#endif
