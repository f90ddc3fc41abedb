/// Findings for people.
#ifndef VESTA_INSPECTOR_CHECK_REPORT_H
#define VESTA_INSPECTOR_CHECK_REPORT_H

#include <iosfwd>
#include <string>

#include "inspector/check/finding.h"

namespace inspector {

/// "service 1, PID 0x0200, AIT, section 0, byte 21, application a.1"; empty where nothing is known.
std::string textOf(const Place& place);

/// Each finding in four lines, errors first, and their number at last.
void printReport(const Findings& findings, std::ostream& out);

}  // namespace inspector

#endif
