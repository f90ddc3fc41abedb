// Plays a record of what crossed the library's boundary into the library, and compares.

#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "replay/player.h"
#include "replay/program.h"

int main(int argc, char** argv)
{
    try {
        const int code = replay::run(std::vector<std::string>(argv + 1, argv + argc));
        std::cout.flush();
        return code;
    } catch (const std::bad_alloc&) {
        std::cerr << "vesta_replay: memory ran out\n";
        return replay::exitUnreadable;
    }
}
