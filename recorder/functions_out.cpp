#include "recorder/functions_out.h"

#include <dlfcn.h>
#include <type_traits>

#include "recorder/crossing.h"

namespace recorder {

namespace {

template <typename Call, typename Function = typename Call::Function>
struct Recorded;

/// What the library calls in the place of `real`.
template <typename Call, typename Result, typename... Parameters>
struct Recorded<Call, Result(Parameters...)> {
    static inline Result (*real)(Parameters...) = nullptr;

    static Result call(Parameters... arguments)
    {
        if constexpr (std::is_void_v<Result>) {
            Call call{arguments...};
            callOut(call, [&] { real(arguments...); });
        } else {
            Call call{arguments..., Result{}};
            callOut(call, [&] { call.result = real(arguments...); });
            return call.result;
        }
    }
};

/// Where a function is: not what the library's own slot holds, which may be the way to look it up
/// and would be overwritten with the answer.
void* find(const char* name, void* library)
{
    void* const found = dlsym(RTLD_DEFAULT, name);
    return found || !library ? found : dlsym(library, name);
}

template <typename... Calls>
struct List {
    static std::vector<Replacement> replacements(void* library)
    {
        std::vector<Replacement> all;
        (add<Calls>(all, library), ...);
        return all;
    }

private:
    template <typename Call>
    static void add(std::vector<Replacement>& all, void* library)
    {
        using Real = decltype(Recorded<Call>::real);
        Recorded<Call>::real = reinterpret_cast<Real>(find(Call::name, library));
        if (Recorded<Call>::real)
            all.push_back({Call::name, reinterpret_cast<void*>(&Recorded<Call>::call)});
    }
};

}  // namespace

std::vector<Replacement> replacementsFor(const void* library)
{
    Dl_info info = {};
    dladdr(library, &info);
    void* const handle = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    std::vector<Replacement> all = FunctionsOut<List>::replacements(handle);
    if (handle)
        dlclose(handle);
    return all;
}

}  // namespace recorder
