// A program that brings no hooks: succeeds if the library works with its own.

#include <cstdio>

#include "conversation.h"

int main()
{
    Outcome outcome;
    converse(&outcome);
    const bool isDefault = outcome.keySets == 0x3FF && outcome.page.empty() &&
                           outcome.mimeType.empty() && outcome.status == 200 &&
                           outcome.sameCarousel;
    if (!isDefault)
        std::printf("key sets 0x%x, page \"%s\", status %d\n",
                    static_cast<unsigned>(outcome.keySets), outcome.page.c_str(), outcome.status);
    return isDefault ? 0 : 1;
}
