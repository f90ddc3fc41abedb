// Plays a record of what crossed the library's boundary into the library, and compares.

#include <iostream>
#include <string>
#include <vector>

#include "replay/program.h"

int main(int argc, char** argv)
{
    const int code = replay::run(std::vector<std::string>(argv + 1, argv + argc));
    std::cout.flush();
    return code;
}
