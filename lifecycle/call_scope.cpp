#include "lifecycle/call_scope.h"

#include <memory>
#include <utility>

#include "lifecycle/application.h"
#include "lifecycle/application_list.h"

namespace VestaHbbTV {

namespace {

unsigned depth = 0;
ApplicationList retired;

}  // namespace

CallScope::CallScope()
{
    ++depth;
}

CallScope::~CallScope()
{
    // An application's memory may be the last to hold a table; nothing calls out from there. The
    // scopes of the applications that are freed stand inside this one: there is no recursion.
    while (depth == 1 && !retired.empty())
        retired.pop();
    --depth;
}

void CallScope::retire(Application* application)
{
    if (!application)
        return;
    std::unique_ptr<Application> owned(application);
    const CallScope scope;
    owned->end();
    retired.push(std::move(owned));
}

}  // namespace VestaHbbTV
