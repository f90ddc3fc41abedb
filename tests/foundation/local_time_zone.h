/// The process's time zone, set for a test.
#ifndef VESTA_TESTS_FOUNDATION_LOCAL_TIME_ZONE_H
#define VESTA_TESTS_FOUNDATION_LOCAL_TIME_ZONE_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace vesta::test {

/// Sets the time zone, and the former one again when it dies. No other thread may run meanwhile.
class LocalTimeZone {
public:
    /// @param zone as POSIX has it in TZ: "XXX-05:45" is five hours and three quarters ahead of UTC
    explicit LocalTimeZone(const char* zone)
    {
        if (const char* const former = std::getenv("TZ"))
            former_ = former;
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    LocalTimeZone(const LocalTimeZone&) = delete;
    LocalTimeZone& operator=(const LocalTimeZone&) = delete;
    ~LocalTimeZone()
    {
        if (former_)
            ::setenv("TZ", former_->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }

private:
    std::optional<std::string> former_;
};

}  // namespace vesta::test

#endif
