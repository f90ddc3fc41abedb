/// Any bytes as a simple application boundary descriptor, alone and inside a section, and the
/// entries they give as URLs of a second domain.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "security/application_domain.h"

using namespace VestaHbbTV;

namespace {

void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

std::unique_ptr<unsigned char[]> exactBlock(const uint8_t* data, size_t size)
{
    std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
    if (size != 0)
        std::memcpy(block.get(), data, size);
    return block;
}

ApplicationDomain parsedInSection(const uint8_t* data, size_t size)
{
    ApplicationDomain domain;
    domain.parseSimpleApplicationBoundaryExtensionDescriptor(exactBlock(data, size).get(), size);
    return domain;
}

void checkParsedAlone(const uint8_t* data, size_t size)
{
    if (size < 2 || size < 2u + data[1] + 1u)
        return;
    const size_t own = 2u + data[1] + 1u;
    ApplicationDomain domain;
    domain.parseSimpleApplicationBoundaryExtensionDescriptor(exactBlock(data, own).get());
    require(domain.getEntries() == parsedInSection(data, own).getEntries(),
            "alone is the same as in a section that ends one byte later");
}

void checkEntries(ApplicationDomain& domain)
{
    for (std::string entry : domain.getEntries()) {
        require(domain.isWithinBoundaries(entry), "an entry is within its boundaries");
        require(domain.isWithinBoundaries(entry + "/x"), "so is what lies below it");
        require(domain.removePath(entry).size() <= entry.size(), "an origin is a prefix");
        require(domain.extractHostName(entry).find_first_of("/:") == std::string::npos,
                "a host has neither path nor port");
        require(domain.extractProtocol(entry) >= 0 && domain.extractProtocol(entry) <= 3,
                "a protocol is one of four");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ApplicationDomain domain = parsedInSection(data, size);
    require(size > 2 || domain.getEntries().empty(), "nothing comes of nothing");
    checkParsedAlone(data, size);
    checkEntries(domain);

    ApplicationDomain other;
    const bool extended = other.extendDomain(domain);
    require(extended == !domain.getEntries().empty(), "the first entry is always added");
    require(!domain.extendDomain(domain), "a domain does not extend itself");
    // Everything in a domain may follow what precedes it, but removing a path may take away what
    // decided its host.
    require(other.getEntries().size() <= domain.getEntries().size(), "no entry comes from nowhere");
    const std::string text(reinterpret_cast<const char*>(data), size);
    domain.addBoundaryExtension(text);
    domain.isWithinBoundaries(text);
    return 0;
}
