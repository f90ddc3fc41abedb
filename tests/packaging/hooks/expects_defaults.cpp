// A program that brings no hooks: succeeds if the library works with its own.

#include <cstdio>

#include "conversation.h"

int main()
{
    Outcome outcome;
    converse(&outcome);
    const std::vector<std::string> calls = {"ve_protocol_finished(200)"};
    const bool isDefault = outcome.keySets == 0x3FF && outcome.page.empty() &&
                           outcome.calls == calls && outcome.sameCarousel;
    if (!isDefault)
        std::printf("key sets 0x%x, page \"%s\", %zu calls\n",
                    static_cast<unsigned>(outcome.keySets), outcome.page.c_str(),
                    outcome.calls.size());
    return isDefault ? 0 : 1;
}
