#include "recorder/starting_state.h"

#include <algorithm>

namespace recorder {

void StartingState::asked(SendEvent& call)
{
    using namespace VestaHbbTV;
    switch (call.type) {
    case E_AIT_SECTION:
    case E_START_APPLICATION:
    case E_START_BROADCAST_INDEPENDENT_APPLICATION:
        isSignalled_ = true;
        break;
    case E_CHANNEL_CHANGE:
        isSignalled_ = false;
        break;
    case E_HTTP_AVAILABLE:
    case E_HTTP_UNAVAILABLE:
    case E_USER_AGENT_INFO:
    case E_SUPPORTED_PROFILES:
        if (isRunning_) {
            const int key = call.type == E_HTTP_UNAVAILABLE ? E_HTTP_AVAILABLE : call.type;
            lastingEvents_[key] = askedText(call, *stand_);
        }
        break;
    case E_TERMINATE_APPLICATION:
    case E_DSMCC_FILE_READY:
    case E_DSMCC_FILE_ERROR:
    case E_DSMCC_STREAM_EVENT:
    case E_LOW_MEMORY:
        break;
    }
}

void StartingState::asked(const Notify& call)
{
    if (call.type == VestaHbbTV::HBBTV_NOTIFICATION_RELEASE_WINDOW)
        pages_.erase(*call.data->window.tavoWindow);
}

void StartingState::answered(const Init& call)
{
    init_ = call;
    isRunning_ = true;
    openFiles_.clear();
}

void StartingState::answered(const Shutdown&)
{
    const SetSendeventCondition condition = condition_;
    *this = StartingState(*stand_);
    condition_ = condition;
}

void StartingState::answered(const AddNotificationListener& call)
{
    if (call.result)
        listeners_.push_back(call);
}

void StartingState::answered(const CreateWindow& call)
{
    if (call.result)
        windows_.push_back(call);
}

void StartingState::answered(const ReleaseWindow& call)
{
    const auto isReleased = [&call](const CreateWindow& each) {
        return each.result == call.window;
    };
    windows_.erase(std::remove_if(windows_.begin(), windows_.end(), isReleased), windows_.end());
    timeShifts_.erase(call.window);
    windowsWithXml_.erase(call.window);
}

void StartingState::answered(const SetTimeShifted& call)
{
    if (call.result != 0)
        return;
    if (call.timeShifted)
        timeShifts_[call.window] = call.timeShifted;
    else
        timeShifts_.erase(call.window);
}

void StartingState::answered(const Notify& call)
{
    if (call.type != VestaHbbTV::HBBTV_NOTIFICATION_REQUEST_WINDOW)
        return;
    TAVO_VestaWindow* const page = *call.data->window.tavoWindow;
    if (page && call.data->window.success == 1)
        pages_.insert(page);
}

bool StartingState::isReached() const
{
    return !isSignalled_ && windowsWithXml_.empty() && pages_.empty() && openFiles_.empty();
}

}  // namespace recorder
