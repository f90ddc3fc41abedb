#include "lifecycle/call_scope.h"

#include <memory>
#include <utility>
#include <vector>

#include "lifecycle/application.h"

namespace VestaHbbTV {

namespace {

unsigned depth = 0;
std::vector<std::unique_ptr<Application>> retired;

}  // namespace

CallScope::CallScope()
{
    ++depth;
}

CallScope::~CallScope()
{
    if (--depth > 0 || retired.empty())
        return;
    // An application's memory may be the last to hold a table; nothing calls out from there.
    const std::vector<std::unique_ptr<Application>> freed = std::move(retired);
    retired.clear();
}

void CallScope::retire(Application* application)
{
    if (!application)
        return;
    std::unique_ptr<Application> owned(application);
    const CallScope scope;
    owned->end();
    retired.push_back(std::move(owned));
}

}  // namespace VestaHbbTV
