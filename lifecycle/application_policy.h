/// Decides whether the window manager may create another window.
#ifndef VESTA_LIFECYCLE_APPLICATION_POLICY_H
#define VESTA_LIFECYCLE_APPLICATION_POLICY_H

#include <cstdint>

#include "foundation/visibility.h"

namespace VestaHbbTV {

class VESTA_EXPORTED ApplicationPolicy {
public:
    ApplicationPolicy() = default;
    ApplicationPolicy(const ApplicationPolicy&) = delete;
    ApplicationPolicy& operator=(const ApplicationPolicy&) = delete;
    virtual ~ApplicationPolicy();

    /// Asked before each window. @return whether it may be created
    virtual bool requestNewWindow() = 0;

    /// Called once for every window that goes.
    virtual void releaseWindow() = 0;
};

/// HbbTV sets no limit: windows are only counted.
class VESTA_EXPORTED ApplicationPolicyHbbTV : public ApplicationPolicy {
public:
    bool requestNewWindow() override;
    void releaseWindow() override;

    /// The number of windows in use.
    int getWindowCount() const { return windowCount_; }

private:
    int32_t windowCount_ = 0;
};

}  // namespace VestaHbbTV

#endif
