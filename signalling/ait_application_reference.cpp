#include "signalling/ait_application_reference.h"

#include <utility>

namespace VestaHbbTV {

AITApplicationReference::AITApplicationReference(AITApplicationReference&& other) noexcept
{
    *this = std::move(other);
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): reset() holds the former table to its end
AITApplicationReference& AITApplicationReference::operator=(const AITApplicationReference& other)
{
    reset(other.application_);
    return *this;
}

AITApplicationReference&
AITApplicationReference::operator=(AITApplicationReference&& other) noexcept
{
    if (this != &other) {
        reset(other.application_);
        other.reset();
    }
    return *this;
}

void AITApplicationReference::reset(AITApplication* application)
{
    // Dropping the former table may destroy it, so that comes last: the new application may belong
    // to it, and this reference must not be in its lists any more.
    const ref_ptr<AIT> former(std::move(table_));
    unlink();
    link(application);
    if (application && application->getAIT() && application->getAIT()->isCounted())
        table_.reset(application->getAIT());
}

void AITApplicationReference::forget(AITApplication& dying)
{
    // A table that is still counted does not own the dying application, so it may go here, too.
    while (dying.firstReference_)
        dying.firstReference_->reset();
}

void AITApplicationReference::link(AITApplication* application)
{
    application_ = application;
    if (!application)
        return;
    next_ = application->firstReference_;
    if (next_)
        next_->previous_ = this;
    application->firstReference_ = this;
}

void AITApplicationReference::unlink()
{
    if (!application_)
        return;
    if (previous_)
        previous_->next_ = next_;
    else
        application_->firstReference_ = next_;
    if (next_)
        next_->previous_ = previous_;
    application_ = nullptr;
    next_ = nullptr;
    previous_ = nullptr;
}

}  // namespace VestaHbbTV
