/// Where a program finds what is installed with it, or lies beside it in the build tree.
#ifndef VESTA_RECEIVER_INSTALLATION_H
#define VESTA_RECEIVER_INSTALLATION_H

#include <string>

namespace receiver {

/// The folder of the running program, with "/" at its end; empty where the system does not say.
std::string programFolder();

/// The folder of the installation's libraries, with "/" at its end. An installation can be moved as
/// a whole: this is as far from the running program as it was meant to be.
std::string libraryFolder();

/// A folder of what the program alone uses: in the build tree beside the program, else in the
/// installation, where it may not exist.
std::string privateFolder(const std::string& name);

}  // namespace receiver

#endif
