#include "recorder/plugin_listeners.h"

#include <dlfcn.h>

#include "recorder/crossing.h"
#include "recorder/next_function.h"

namespace recorder {

namespace {

void tellManager(int event, void* appId);
void tellDestroyed(void* appId);

/// One of the variables, wherever the program sees it.
template <typename Listener>
class Variable {
public:
    Variable(const char* name, Listener standIn)
        : place_(static_cast<Listener*>(find(name))), standIn_(standIn)
    {
    }

    void listen()
    {
        if (!place_ || !*place_ || *place_ == standIn_)
            return;
        listener_ = *place_;
        *place_ = standIn_;
    }

    void giveBack()
    {
        if (place_ && *place_ == standIn_)
            *place_ = listener_;
        known_ = value();
    }

    /// Whether the program changed it since it was given back, or asked for.
    bool takeChange()
    {
        const bool isOther = value() != known_;
        known_ = value();
        return isOther;
    }

    Listener value() const { return place_ ? *place_ : nullptr; }

    /// Whom the stand-in stands for.
    Listener listener() const { return listener_; }

private:
    /// A program may have a copy, which is everybody's then.
    static void* find(const char* name)
    {
        void* const found = dlsym(RTLD_DEFAULT, name);
        return found ? found : findInLibraries(name);
    }

    Listener* const place_;
    const Listener standIn_;
    Listener listener_ = nullptr;
    Listener known_ = nullptr;  // of the program's listeners
};

Variable<VEIF_ApplicationManagerListener>& managerVariable()
{
    static Variable<VEIF_ApplicationManagerListener> variable("veif_applicationManagerListener",
                                                              tellManager);
    return variable;
}

Variable<VEIF_ApplicationDestroyedListener>& destroyedVariable()
{
    static Variable<VEIF_ApplicationDestroyedListener> variable("veif_applicationDestroyedListener",
                                                                tellDestroyed);
    return variable;
}

void tellManager(int event, void* appId)
{
    const VEIF_ApplicationManagerListener listener = managerVariable().listener();
    TellManagerListener call{event, appId};
    callOut(call, [&] { listener(event, appId); });
}

void tellDestroyed(void* appId)
{
    const VEIF_ApplicationDestroyedListener listener = destroyedVariable().listener();
    TellDestroyedListener call{appId};
    callOut(call, [&] { listener(appId); });
}

template <typename Call, typename Listener>
void recordChange(Variable<Listener>& variable)
{
    if (!variable.takeChange())
        return;
    Call call{variable.value(), VEIF_RETURN_OK};
    Lines<Call> lines(call, Direction::in, Moment::now());
    lines.returned();
}

}  // namespace

void PluginListeners::recordChanges()
{
    recordChange<ManagerSetListener>(managerVariable());
    recordChange<ManagerSetDestroyedListener>(destroyedVariable());
}

void PluginListeners::listen()
{
    managerVariable().listen();
    destroyedVariable().listen();
}

void PluginListeners::giveBack()
{
    managerVariable().giveBack();
    destroyedVariable().giveBack();
}

VEIF_ApplicationManagerListener PluginListeners::manager()
{
    return managerVariable().value();
}

VEIF_ApplicationDestroyedListener PluginListeners::destroyed()
{
    return destroyedVariable().value();
}

}  // namespace recorder
