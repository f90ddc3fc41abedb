#include "replay/progress.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace replay {

namespace {

Progress ownProgress = {};
size_t stepsToSay = 0;
char signalStack[1 << 16];

// What a handler of a signal may do.

void say(const char* text)
{
    if (write(STDERR_FILENO, text, std::strlen(text)) < 0)
        return;  // nobody reads it
}

void say(uint64_t number)
{
    char digits[24];
    size_t place = sizeof(digits);
    digits[--place] = '\0';
    do {
        digits[--place] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number > 0);
    say(digits + place);
}

void sayStep(const Progress::Step& step)
{
    say("  ");
    say(step.number);
    say(step.isIn ? "  in   " : "  out  ");
    say(step.name);
    say("\n");
}

void sayWhereItCrashed(int signal)
{
    const Progress& now = *progress;
    say("vesta_replay: signal ");
    say(static_cast<uint64_t>(signal));
    say(now.isIdle ? ", in an idle tick" : ", inside:");
    say("\n");
    for (size_t place = 0; place < now.depth && place < Progress::deepest; ++place)
        sayStep(now.open[place]);
    say("the latest steps:\n");
    const size_t count = std::min({stepsToSay, now.begun, Progress::remembered});
    for (size_t place = now.begun - count; place < now.begun; ++place)
        sayStep(now.latest[place % Progress::remembered]);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

}  // namespace

Progress* progress = &ownProgress;

void Progress::begin(uint64_t number, bool isIn, const char* name)
{
    Step step = {number, isIn, {}};
    std::strncpy(step.name, name, sizeof(step.name) - 1);
    latest[begun % remembered] = step;
    begun++;
    if (depth < deepest)
        open[depth] = step;
    depth++;
}

void Progress::end()
{
    depth--;
}

const char* Progress::function() const
{
    if (isIdle)
        return "vesta_hbbtv_tick";
    return depth == 0 ? "" : open[std::min(depth, deepest) - 1].name;
}

void noteCrashes(size_t steps)
{
    stepsToSay = steps;
    const stack_t stack = {signalStack, 0, sizeof(signalStack)};
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = sayWhereItCrashed;
    action.sa_flags = SA_ONSTACK | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL})
        sigaction(signal, &action, nullptr);
}

}  // namespace replay
