/// Where something stands in a description, and what is wrong there.
#ifndef VESTA_STATION_DESCRIPTION_PLACE_H
#define VESTA_STATION_DESCRIPTION_PLACE_H

#include <string>
#include <vector>

namespace station {

struct Place {
    unsigned line = 0;
    std::string path;  ///< "services[0].ait.version"; empty for the whole description
};

struct Problem {
    Place place;
    std::string message;
};

using Problems = std::vector<Problem>;

/// @return "station.json:12: services[0].id: expected a number"
inline std::string textOf(const Problem& problem, const std::string& file)
{
    const std::string path = problem.place.path.empty() ? "" : problem.place.path + ": ";
    return file + ":" + std::to_string(problem.place.line) + ": " + path + problem.message;
}

}  // namespace station

#endif
