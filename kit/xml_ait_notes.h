/// What somebody who looks for faults wants to know of an XML AIT besides its table.
#ifndef VESTA_KIT_XML_AIT_NOTES_H
#define VESTA_KIT_XML_AIT_NOTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "kit/xml_fault.h"

namespace VestaHbbTV {

struct XMLAITNotes {
    static constexpr size_t mostSkipped = 100;

    /// Something that the table does not hold.
    struct Skipped {
        XMLPlace place;
        std::string text;  ///< for people
    };

    struct Application {
        uint32_t organisationId = 0;
        uint16_t applicationId = 0;
        XMLPlace place;
    };

    /// Keeps it, unless there are too many.
    void skip(const XMLPlace& place, std::string text)
    {
        if (skipped.size() < mostSkipped)
            skipped.push_back({place, std::move(text)});
    }

    std::vector<Skipped> skipped;
    std::vector<Application>
        applications;  ///< those that are in the table, as the document has them
};

}  // namespace VestaHbbTV

#endif
