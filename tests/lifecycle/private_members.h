/// Private members that a test replaces, since nothing public leads to them.
///
/// Access is not checked where a template is instantiated explicitly: each line below hands the
/// address of a member to a function that is found by its tag.
#ifndef VESTA_TESTS_LIFECYCLE_PRIVATE_MEMBERS_H
#define VESTA_TESTS_LIFECYCLE_PRIVATE_MEMBERS_H

#include <list>
#include <memory>

#include "lifecycle/application_policy.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"

namespace vesta::test {

template <typename Tag, auto member>
struct Private {
    friend constexpr auto memberOf(Tag) { return member; }
};

struct Windows {
    friend constexpr auto memberOf(Windows);
};
template struct Private<Windows, &VestaHbbTV::WindowManager::windows_>;

struct Policy {
    friend constexpr auto memberOf(Policy);
};
template struct Private<Policy, &VestaHbbTV::WindowManager::policy_>;

/// The windows of a manager, in the order of their creation.
inline std::list<VestaHbbTV::Window*>& windowsOf(VestaHbbTV::WindowManager& manager)
{
    return manager.*memberOf(Windows());
}

/// What a manager asks for windows.
inline std::unique_ptr<VestaHbbTV::ApplicationPolicy>& policyOf(VestaHbbTV::WindowManager& manager)
{
    return manager.*memberOf(Policy());
}

}  // namespace vesta::test

#endif
