#include "lifecycle/application_list.h"

#include <utility>

#include "lifecycle/application.h"

namespace VestaHbbTV {

ApplicationList::~ApplicationList()
{
    while (!empty())
        pop();
}

void ApplicationList::push(std::unique_ptr<Application> application)
{
    application->next_ = std::move(last_);
    last_ = std::move(application);
}

std::unique_ptr<Application> ApplicationList::pop()
{
    std::unique_ptr<Application> taken = std::move(last_);
    last_ = std::move(taken->next_);
    return taken;
}

}  // namespace VestaHbbTV
