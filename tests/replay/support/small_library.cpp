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

/// Reads a file and hands it on in two pieces of the same size. @param how what becomes of them
void handOn(const std::string& how)
{
    char* buffer = nullptr;
    unsigned int length = 0;
    dsmcc_read(nullptr, &buffer, &length);
    std::string file(buffer, length);
    const unsigned int half = length / 2;
    if (how == "a wrong byte")
        file[half + 1] = static_cast<char>(file[half + 1] + 1);
    const bool isSwapped = how == "a wrong order";
    ve_protocol_write(nullptr, file.data() + (isSwapped ? half : 0), half);
    const char* second = file.data() + (isSwapped ? 0 : half);
    if (how == "a wrong offset")
        second--;
    if (how == "the same again")
        second -= half;
    ve_protocol_write(nullptr, how == "null" ? nullptr : second, half);
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
    if (what.rfind("hand on ", 0) == 0)
        handOn(what.substr(8));
    return what != "no";
}

}  // namespace VestaHbbTV
