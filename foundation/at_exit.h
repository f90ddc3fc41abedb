/// Something to be done however a block is left.
#ifndef VESTA_FOUNDATION_AT_EXIT_H
#define VESTA_FOUNDATION_AT_EXIT_H

#include <utility>

namespace VestaHbbTV {

/// Calls a function when it dies. The function must not throw.
template <typename Function>
class AtExit {
public:
    explicit AtExit(Function function) : function_(std::move(function)) {}
    AtExit(const AtExit&) = delete;
    AtExit& operator=(const AtExit&) = delete;
    ~AtExit() { function_(); }

private:
    Function function_;
};

}  // namespace VestaHbbTV

#endif
