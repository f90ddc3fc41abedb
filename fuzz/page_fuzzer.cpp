/// Any page to what the console's browser looks for in it, and each address that it names made
/// absolute. The address of the page is the input's first line.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

#include "receiver/browser/page.h"

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const uint8_t* const end = data + size;
    const uint8_t* const lineEnd = std::find(data, end, '\n');
    const std::string address(data, lineEnd);
    const std::string page(lineEnd == end ? end : lineEnd + 1, end);
    const auto references = receiver::subresources(page);
    if (!references)
        return 0;
    for (const std::string& reference : *references) {
        require(!reference.empty() && reference.size() <= receiver::mostReferenceBytes);
        receiver::resolveURL(address, reference);
    }
    require(std::set<std::string>(references->begin(), references->end()).size() ==
            references->size());
    return 0;
}
