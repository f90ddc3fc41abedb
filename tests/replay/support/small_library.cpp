// Something that has entry functions of the library, and does what a record's URL tells it to: for
// records of what the library itself would never do.

#include <csignal>
#include <cstdlib>
#include <string>

#include "vesta_hbbtv_appman.h"

namespace VestaHbbTV {

namespace {

bool isArmed = false;
int eventsLeft = 0;

/// Where the program that loads it is instrumented, too, the signal is all that is wanted.
void crash()
{
    raise(SIGSEGV);
}

}  // namespace

void vesta_hbbtv_init(TAVO_Vesta*)
{
}

void* vesta_hbbtv_create_window()
{
    return std::malloc(1);
}

void vesta_hbbtv_send_event(HBBTV_EventType, HBBTV_EventData* data)
{
    eventsLeft++;
    std::free(data);
}

bool vesta_hbbtv_tick()
{
    if (eventsLeft == 0)
        return false;
    eventsLeft--;
    return true;
}

bool vesta_hbbtv_is_within_boundaries(void*, const char* url)
{
    const std::string what = url ? url : "";
    if (what == "arm")
        isArmed = true;
    if (what == "crash" && isArmed)
        crash();
    if (what == "never come back") {
        for (;;) {
        }
    }
    if (what == "open with query")
        ve_open_url(nullptr, "http://a.example/?real=1");
    if (what == "open with another query")
        ve_open_url(nullptr, "http://a.example/?real=2");
    if (what == "open another")
        ve_open_url(nullptr, "another");
    if (what == "open")
        ve_open_url(nullptr, "one");
    if (what == "free a window")
        ve_clear_history(reinterpret_cast<TAVO_VestaWindow*>(&isArmed));
    return what != "no";
}

}  // namespace VestaHbbTV
