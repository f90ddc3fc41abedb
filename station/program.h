/// The program's commands.
#ifndef VESTA_STATION_PROGRAM_H
#define VESTA_STATION_PROGRAM_H

#include <iosfwd>
#include <string>
#include <vector>

namespace station {

enum ExitCode {
    exitSuccess = 0,
    exitUsage = 1,      ///< wrong arguments, or something wrong in the description
    exitUnreadable = 2  ///< a file that cannot be read or written
};

/// @param arguments without the program's name
int run(const std::vector<std::string>& arguments, std::ostream& output, std::ostream& errors);

}  // namespace station

#endif
