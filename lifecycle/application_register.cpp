#include "lifecycle/application_register.h"

#include "foundation/at_exit.h"
#include "lifecycle/application.h"

namespace VestaHbbTV {

std::vector<Application*> ApplicationRegister::list() const
{
    std::vector<Application*> applications;
    applications.reserve(byId_.size());
    for (const auto& [id, application] : byId_)
        applications.push_back(application);
    return applications;
}

void ApplicationRegister::add(Application* application)
{
    const auto place = byId_.emplace(application->getID(), application);
    const AtFailure undo([this, place] { byId_.erase(place); });
    places_.emplace(application, place);
}

void ApplicationRegister::remove(const Application* application)
{
    const auto found = places_.find(application);
    if (found == places_.end())
        return;
    byId_.erase(found->second);
    places_.erase(found);
}

unsigned long ApplicationRegister::idOf(const Application* application) const
{
    const auto found = places_.find(application);
    return found == places_.end() ? 0 : found->second->first;
}

Application* ApplicationRegister::find(unsigned long id) const
{
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : found->second;
}

void ApplicationRegister::forgetParent(const Application* parent)
{
    for (const auto& [id, application] : byId_) {
        if (application->getParent() == parent)
            application->setParent(nullptr);
    }
}

}  // namespace VestaHbbTV
