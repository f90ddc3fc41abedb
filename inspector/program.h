/// The command: reads inputs, and prints what is in them or what is wrong with it.
#ifndef VESTA_INSPECTOR_PROGRAM_H
#define VESTA_INSPECTOR_PROGRAM_H

#include <iosfwd>
#include <string>
#include <vector>

namespace inspector {

enum ExitCode : int {
    exitSuccess = 0,
    exitUsage = 1,
    exitUnreadable = 2,
    exitErrors = 3,   ///< findings of severity error
    exitWarnings = 4  ///< of severity warning, with --strict
};

/// @param arguments without the program's name
/// @return an ExitCode
int run(const std::vector<std::string>& arguments, std::ostream& output, std::ostream& errors);

}  // namespace inspector

#endif
