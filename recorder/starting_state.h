/// What a library that was just loaded has to be told, so that a record can begin in the middle.
#ifndef VESTA_RECORDER_STARTING_STATE_H
#define VESTA_RECORDER_STARTING_STATE_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "recorder/boundary/calls_in.h"
#include "recorder/boundary/calls_out.h"
#include "recorder/boundary/writer.h"

namespace recorder {

/// Follows the calls, and keeps what lasts: everything else is gone whenever isReached(). Its
/// functions get every call before it is made, and after it returned.
class StartingState {
public:
    /// @param stand what events say is kept as it has it
    explicit StartingState(Stand& stand) : stand_(&stand) {}

    template <typename Call>
    void asked(const Call&)
    {
    }
    void asked(SendEvent& call);
    void asked(const CreateApplication&) { isSignalled_ = true; }
    void asked(const LoadXmlAit& call) { windowsWithXml_.insert(call.window); }
    void asked(const DsmccGetFile& call) { openFiles_.insert(call.id); }
    void asked(const Notify& call);

    template <typename Call>
    void answered(const Call&)
    {
    }
    void answered(const Init& call);
    void answered(const Shutdown&);
    void answered(const SetSendeventCondition& call) { condition_ = call; }
    void answered(const AddNotificationListener& call);
    void answered(const CreateWindow& call);
    void answered(const ReleaseWindow& call);
    void answered(const SetTimeShifted& call);
    void answered(const DsmccCloseFile& call) { openFiles_.erase(call.id); }
    void answered(const Notify& call);

    /// Whether nothing but what is kept here can matter for what is to come, if all calls have
    /// returned and the last tick found nothing to do: there is neither an application nor a table
    /// that could start one, and no file is being loaded.
    bool isReached() const;

    bool isRunning() const { return isRunning_; }

    /// Hands over the calls, each as one that has returned, in an order that brings the library
    /// into the state.
    /// @param broadcastWindow that the library has now; null for none
    /// @param take called with each call, and for events also with a text: what it says
    template <typename Take>
    void forEachCall(void* broadcastWindow, VEIF_ApplicationManagerListener managerListener,
                     VEIF_ApplicationDestroyedListener destroyedListener, const Take& take) const;

private:
    Stand* stand_;
    SetSendeventCondition condition_ = {};
    Init init_ = {};
    bool isRunning_ = false;
    std::vector<AddNotificationListener> listeners_;
    std::vector<CreateWindow> windows_;
    std::map<void*, int> timeShifts_;
    std::map<int, std::string>
        lastingEvents_;                  // what they say, by their types; one for both of HTTP
    std::set<TAVO_VestaWindow*> pages_;  // that were given and not released
    std::set<void*> openFiles_;
    std::set<void*> windowsWithXml_;
    bool isSignalled_ = false;  // since the last change of the channel
};

template <typename Take>
void StartingState::forEachCall(void* broadcastWindow,
                                VEIF_ApplicationManagerListener managerListener,
                                VEIF_ApplicationDestroyedListener destroyedListener,
                                const Take& take) const
{
    if (condition_.condition || condition_.mutex)
        take(condition_, nullptr);
    if (managerListener)
        take(ManagerSetListener{managerListener, VEIF_RETURN_OK}, nullptr);
    if (destroyedListener)
        take(ManagerSetDestroyedListener{destroyedListener, VEIF_RETURN_OK}, nullptr);
    if (isRunning_)
        take(init_, nullptr);
    for (const AddNotificationListener& each : listeners_)
        take(each, nullptr);
    for (const CreateWindow& each : windows_)
        take(each, nullptr);
    if (broadcastWindow)
        take(SetBroadcastWindow{broadcastWindow}, nullptr);
    for (const auto& [window, timeShifted] : timeShifts_)
        take(SetTimeShifted{window, timeShifted, 0}, nullptr);
    for (const auto& [type, text] : lastingEvents_)
        take(SendEvent{}, text.c_str());
    for (size_t events = lastingEvents_.size(); events > 0; --events)
        take(Tick{true}, nullptr);
}

}  // namespace recorder

#endif
