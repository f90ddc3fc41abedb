/// Writes the files of the carousels to a folder.
#ifndef VESTA_RECEIVER_CAROUSEL_EXTRACTION_H
#define VESTA_RECEIVER_CAROUSEL_EXTRACTION_H

#include <string>

namespace receiver {

class EventLog;
class ServiceCarousels;

/// Writes every complete file below "FOLDER/<component tag>/", and "FOLDER/index.json", which lists
/// them and what is missing. Says what is not whole, what a limit cut and which directories are
/// bound twice. A name that would lead out of the folder is left out with a word about it.
/// @return whether everything that is complete could be written
bool extractFiles(const ServiceCarousels& carousels, const std::string& folder, EventLog& log);

}  // namespace receiver

#endif
