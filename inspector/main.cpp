// Says what a broadcast signals, and what is wrong with it.

#include <iostream>
#include <string>
#include <vector>

#include "inspector/program.h"

int main(int argc, char** argv)
{
    return inspector::run(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
