#include "lifecycle/application_policy.h"

namespace VestaHbbTV {

ApplicationPolicy::~ApplicationPolicy() = default;

bool ApplicationPolicyHbbTV::requestNewWindow()
{
    ++windowCount_;
    return true;
}

void ApplicationPolicyHbbTV::releaseWindow()
{
    if (windowCount_ > 0)
        --windowCount_;
}

}  // namespace VestaHbbTV
