/// Something to be done however a block is left.
#ifndef VESTA_FOUNDATION_AT_EXIT_H
#define VESTA_FOUNDATION_AT_EXIT_H

#include <exception>
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

/// The same, but only where the block is left because memory ran out.
template <typename Function>
class AtFailure {
public:
    explicit AtFailure(Function function) : function_(std::move(function)) {}
    AtFailure(const AtFailure&) = delete;
    AtFailure& operator=(const AtFailure&) = delete;
    ~AtFailure()
    {
        if (std::uncaught_exceptions() > exceptions_)
            function_();
    }

private:
    Function function_;
    const int exceptions_ = std::uncaught_exceptions();
};

}  // namespace VestaHbbTV

#endif
