// A program that brings its own hooks: succeeds if the library calls those and not its own.

#include "conversation.h"

int main()
{
    Outcome outcome;
    converse(&outcome);
    return isPlatforms(outcome, *platformJournal()) ? 0 : 1;
}
