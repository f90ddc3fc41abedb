/// What a table says of its applications and the application manager does not pass on.
#ifndef VESTA_RECEIVER_SERVICE_TABLE_BOOK_H
#define VESTA_RECEIVER_SERVICE_TABLE_BOOK_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "foundation/mutex.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// The middleware thread writes it before it sends a section; callable from any thread.
class TableBook {
public:
    /// A section of the service's table; one of another version begins a new table.
    void note(const SectionBytes& section);

    /// The service was left.
    void clear();

    /// @return the profiles that the first application of these ids wants, for people:
    ///         "0x0000 with version 1.2.1"; empty when there are none
    std::vector<std::string> profilesOf(uint32_t organisationId, uint16_t applicationId) const;

    /// @return the URLs that the first application of these ids has in its boundary beside its own
    ///         (simple_application_boundary_descriptor: ETSI TS 102 809, 5.3.8)
    std::vector<std::string> boundaryOf(uint32_t organisationId, uint16_t applicationId) const;

    /// The application's name, bytes as they came. The application manager hands names out as
    /// strings of C, which a zero ends; ISO/IEC 10646 and the selector of ISO 8859 have zeros.
    /// @param known what was handed out
    /// @return the whole name if it begins so; else what was handed out
    std::string wholeName(uint32_t organisationId, uint16_t applicationId,
                          const std::string& known) const;

private:
    struct Entry {
        std::string profiles;  ///< five bytes each
        std::string name;
        std::string boundary;  ///< a length and a URL each
    };
    using Key = std::pair<uint32_t, uint16_t>;

    static void noteApplication(VestaHbbTV::ByteReader descriptors, Entry& entry);
    const std::string* find(const Key& key, std::string Entry::*text) const VESTA_REQUIRES(mutex_);

    mutable VestaHbbTV::Mutex mutex_;
    // By number: 256 at most.
    std::map<uint8_t, std::map<Key, Entry>> sections_ VESTA_GUARDED_BY(mutex_);
    int version_ VESTA_GUARDED_BY(mutex_) = -1;
};

}  // namespace receiver

#endif
