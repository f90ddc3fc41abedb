/// The program, without its main().
#ifndef VESTA_REPLAY_PROGRAM_H
#define VESTA_REPLAY_PROGRAM_H

#include <string>
#include <vector>

namespace replay {

/// What stands in the standard output is flushed.
/// @return the exit code; where the replay ends inside the library the process ends here
int run(const std::vector<std::string>& arguments);

}  // namespace replay

#endif
