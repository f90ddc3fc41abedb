/// Scripts that call the natives with whatever is chosen.
#ifndef VESTA_FUZZ_NATIVE_CALLS_H
#define VESTA_FUZZ_NATIVE_CALLS_H

#include "vesta_hbbtv_appman.h"

#include "fuzz/choices.h"

namespace vesta::fuzz {

inline void callStreamEventNative(Choices& choices)
{
    switch (choices.below(4)) {
    case 0:
        native_BroadcastAddStreamEventListener(choices.of(urls), nullptr, nullptr, nullptr, nullptr,
                                               windowId(choices));
        break;
    case 1:
        native_BroadcastAddXMLStreamEventListener(nullptr, nullptr, choices.byte() * 1e17, -1.5,
                                                  nullptr, nullptr, nullptr, windowId(choices));
        break;
    case 2:
        native_BroadcastRemoveStreamEventListener(choices.of(urls), nullptr, nullptr, nullptr,
                                                  nullptr, windowId(choices));
        break;
    default:
        native_BroadcastRemoveAllStreamEventListeners(nullptr, windowId(choices));
        break;
    }
}

inline void callApplicationNative(Choices& choices)
{
    double number = choices.byte() * 8.5 - 3;
    void* pointer = nullptr;
    switch (choices.below(6)) {
    case 0:
        native_KeySetSetValue(applicationId(choices), number, &number);
        break;
    case 1:
        native_KeySetGetValue(applicationId(choices), &number);
        break;
    case 2:
        native_ApplicationDestroyApplication(applicationId(choices));
        break;
    case 3:
        native_ApplicationHide(applicationId(choices));
        break;
    case 4:
        native_ApplicationShow(applicationId(choices));
        break;
    default:
        native_ApplicationCreateApplication(choices.of(urls), 1, applicationId(choices), &pointer);
        break;
    }
}

inline void callNative(Choices& choices)
{
    double number = 0;
    long id = 0;
    void* pointer = nullptr;
    switch (choices.below(9)) {
    case 0:
        native_AppPrivateDataGetFreeMem(windowId(choices), &number);
        break;
    case 1:
        native_KeySetGetMaximumValue(windowId(choices), &number);
        break;
    case 2:
        native_PermissionsIsBroadcastRelated(windowId(choices), choices.of(urls));
        break;
    case 3:
        native_PermissionsIsTrusted(windowId(choices), choices.of(urls));
        break;
    case 4:
        native_AppManNotifySetChannelCalled(windowId(choices), choices.of(urls),
                                            choices.flag() ? &foreignPlace : nullptr);
        break;
    case 5:
        native_AppManGetWindowOfApplication(applicationId(choices), &id);
        break;
    case 6:
        native_AppManGetApplicationId(windowId(choices), nullptr, &pointer);
        break;
    case 7:
        native_AppPrivateDataGetCurrentChannel(applicationId(choices), &pointer);
        break;
    default:
        callStreamEventNative(choices);
        break;
    }
}

}  // namespace vesta::fuzz

#endif
