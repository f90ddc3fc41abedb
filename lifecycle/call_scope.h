/// Keeps ended applications in memory while the library is calling out.
#ifndef VESTA_LIFECYCLE_CALL_SCOPE_H
#define VESTA_LIFECYCLE_CALL_SCOPE_H

namespace VestaHbbTV {

class Application;

/// Listeners, scripts and the browser may end any application from inside a call that works on it.
/// While a scope lives, an application that ends does everything that others can see of its end at
/// once, but its memory stays until the outermost scope closes: pointers to it that are still on
/// the stack stay readable. Browser thread only.
class CallScope {
public:
    CallScope();
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;
    ~CallScope();

    /// Ends an application and frees it now, or when the outermost scope closes.
    /// @param application ownership passes; null is ignored
    static void retire(Application* application);
};

}  // namespace VestaHbbTV

#endif
