/// The functions that the recorder stands before.
#ifndef VESTA_RECORDER_NEXT_FUNCTION_H
#define VESTA_RECORDER_NEXT_FUNCTION_H

#include <atomic>

namespace recorder {

/// Where the library, or the kit, has a function or a variable; null where neither is there. What
/// was loaded for a plugin alone (RTLD_LOCAL) is found, too, and then stays loaded.
void* findInLibraries(const char* symbol);

/// Looks a name up in what was loaded after the recorder; a name that is missing there ends the
/// program, as it would without the recorder.
void* findNext(const char* symbol);

/// The library's own function.
template <typename Call>
typename Call::Function* next()
{
    static std::atomic<typename Call::Function*> found{nullptr};
    typename Call::Function* function = found.load(std::memory_order_relaxed);
    if (!function) {
        function = reinterpret_cast<typename Call::Function*>(findNext(Call::symbol));
        found.store(function, std::memory_order_relaxed);
    }
    return function;
}

}  // namespace recorder

#endif
