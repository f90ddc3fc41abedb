/// The receiver's end of the script objects (ETSI TS 102 796, annex A; OIPF DAE): what they cannot
/// know by themselves comes from here, most of it from the application manager's natives.
#ifndef VESTA_RECEIVER_OBJECTS_OBJECT_HOST_H
#define VESTA_RECEIVER_OBJECTS_OBJECT_HOST_H

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "receiver/browser/script_host.h"

namespace receiver {

class EventLog;
class Integrator;

/// What a script is thrown.
struct ScriptError {
    std::string name;  ///< of a DOMException, or "TypeError"
    std::string message;
};

/// Browser thread. The functions are found by the names that the scripts use; who knows more (of
/// channels, of programmes) adds his own.
class ObjectHost : public ScriptHost {
public:
    using Json = nlohmann::json;
    /// @param arguments an array @return what the script gets; throws ScriptError
    using Function = std::function<Json(const CallingDocument& document, const Json& arguments)>;

    /// @param log, integrator, browser borrowed
    ObjectHost(EventLog& log, Integrator& integrator, ScriptedBrowser& browser);
    ~ObjectHost() override;
    ObjectHost(const ObjectHost&) = delete;
    ObjectHost& operator=(const ObjectHost&) = delete;

    void add(const std::string& name, Function function);

    /// @param window null for all pages
    void send(const TAVO_VestaWindow* window, const Json& event);

    /// @param hear gets what pages say by debug()
    void setDebugListener(std::function<void(const std::string& text)> hear)
    {
        hearDebug_ = std::move(hear);
    }

    /// @return an application of which the document may speak: its own, or one that this created;
    ///         throws ScriptError for others
    void* applicationArgument(const CallingDocument& document, const Json& arguments,
                              size_t index) const;

    std::string answer(const CallingDocument& document, const std::string& call) override;
    void startFromPage(TAVO_VestaWindow* window, const std::string& url) override;

private:
    static void tellOfEnd(void* application);
    void addApplicationFunctions();
    void addKeySetFunctions();
    void addOtherKeyFunctions();
    void addRequestFunctions();
    Json decideOnRequest(const CallingDocument& document, const Json& arguments);
    void addPageFunctions();

    EventLog& log_;
    Integrator& integrator_;
    ScriptedBrowser& browser_;
    std::map<std::string, Function> functions_;
    std::map<void*, void*> creators_;  // of applications that run, by theirs: both are ids
    unsigned long lastOriginsChange_ = 0;
    std::function<void(const std::string& text)> hearDebug_;
};

/// @name Arguments of a call; throw TypeError for what is not of the type
/// @{
std::string textArgument(const nlohmann::json& arguments, size_t index);
double numberArgument(const nlohmann::json& arguments, size_t index);
/// @return a whole number from 0 to most
uint64_t wholeNumberArgument(const nlohmann::json& arguments, size_t index, uint64_t most);
bool flagArgument(const nlohmann::json& arguments, size_t index);
/// @}

}  // namespace receiver

#endif
