/// Findings for people.
#ifndef VESTA_INSPECTOR_CHECK_REPORT_H
#define VESTA_INSPECTOR_CHECK_REPORT_H

#include <iosfwd>

#include "inspector/check/finding.h"

namespace inspector {

/// Each finding in four lines, errors first, and their number at last.
void printReport(const Findings& findings, std::ostream& out);

}  // namespace inspector

#endif
