// The station: puts applications on air.

#include <iostream>
#include <string>
#include <vector>

#include "station/program.h"

int main(int argc, char** argv)
{
    return station::run(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
