/// Applications that wait for their end, linked through themselves.
#ifndef VESTA_LIFECYCLE_APPLICATION_LIST_H
#define VESTA_LIFECYCLE_APPLICATION_LIST_H

#include <memory>

namespace VestaHbbTV {

class Application;

/// Owns its applications. Taking one in allocates nothing, so that it cannot fail: applications end
/// also where memory has run out. An application is in one list at a time. Browser thread only.
class ApplicationList {
public:
    ApplicationList() = default;
    ApplicationList(const ApplicationList&) = delete;
    ApplicationList& operator=(const ApplicationList&) = delete;
    ~ApplicationList();

    bool empty() const { return !last_; }

    /// @param application not null
    void push(std::unique_ptr<Application> application);

    /// Takes out the application that came last. The list must not be empty.
    std::unique_ptr<Application> pop();

private:
    std::unique_ptr<Application> last_;
};

}  // namespace VestaHbbTV

#endif
