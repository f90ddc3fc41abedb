/// What the boundary extensions of an application admit, asked of the application manager's own
/// domain.
#ifndef VESTA_INSPECTOR_CHECK_BOUNDARY_CHECK_H
#define VESTA_INSPECTOR_CHECK_BOUNDARY_CHECK_H

#include <functional>
#include <string>
#include <vector>

#include "security/application_domain.h"

namespace inspector {

/// Of one application.
class BoundaryCheck {
public:
    using Report = std::function<void(const char* finding, const std::string& detail)>;

    /// @param pages that the application may begin with; none where they are not known
    explicit BoundaryCheck(const std::vector<std::string>& pages);

    /// Takes the next extension, in the order of the table.
    /// @param report hears what is wrong with it
    void add(const std::string& extension, const Report& report);

    /// After the last one. @param report hears of pages that are outside
    void finish(const Report& report) const;

private:
    /// The domain of the application that began with a page.
    struct Started {
        std::string page;
        VestaHbbTV::ApplicationDomain domain;
    };

    bool extendDomains(const std::string& extension, const std::string& entry,
                       const Report& report);

    VestaHbbTV::ApplicationDomain table_;  // as the application manager keeps it of the table
    std::vector<Started> started_;
};

}  // namespace inspector

#endif
