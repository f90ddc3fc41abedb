#include "recorder/functions_out.h"

#include <dlfcn.h>
#include <link.h>
#include <string>
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
void* find(const char* name, void* scope)
{
    void* const found = dlsym(RTLD_DEFAULT, name);
    return found || !scope ? found : dlsym(scope, name);
}

int addName(dl_phdr_info* info, size_t, void* names)
{
    static_cast<std::vector<std::string>*>(names)->emplace_back(info->dlpi_name);
    return 0;
}

/// Where the library looks names up that the whole program does not see: it, and what was loaded
/// first of all that needs it, such as a plugin.
/// @return a handle; null where there is none
void* scopeOf(const void* library)
{
    Dl_info info = {};
    dladdr(library, &info);
    void* scope = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    if (!scope)
        return nullptr;
    const char* const itsOwn = "veif_applicationManagerListener";  // the recorder has none
    const void* const place = dlsym(scope, itsOwn);
    std::vector<std::string> names;
    dl_iterate_phdr(addName, &names);
    for (const std::string& name : names) {
        void* const object = name.empty() ? nullptr : dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
        if (object && dlsym(object, itsOwn) == place) {
            dlclose(scope);
            return object;
        }
        if (object)
            dlclose(object);
    }
    return scope;
}

template <typename... Calls>
struct List {
    static std::vector<Replacement> replacements(void* scope)
    {
        std::vector<Replacement> all;
        (add<Calls>(all, scope), ...);
        return all;
    }

private:
    template <typename Call>
    static void add(std::vector<Replacement>& all, void* scope)
    {
        using Real = decltype(Recorded<Call>::real);
        Recorded<Call>::real = reinterpret_cast<Real>(find(Call::name, scope));
        if (Recorded<Call>::real)
            all.push_back({Call::name, reinterpret_cast<void*>(&Recorded<Call>::call)});
    }
};

}  // namespace

std::vector<Replacement> replacementsFor(const void* library)
{
    void* const scope = scopeOf(library);
    std::vector<Replacement> all = FunctionsOut<List>::replacements(scope);
    if (scope)
        dlclose(scope);
    return all;
}

}  // namespace recorder
