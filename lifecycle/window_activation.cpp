// What a table means for the application that runs in a window.

#include "foundation/at_exit.h"
#include "foundation/logging.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
#include "lifecycle/window.h"
#include "security/application_domain.h"

namespace VestaHbbTV {

namespace {

const char module[] = "Window";

}  // namespace

bool Window::setAIT(const ref_ptr<AIT>& ait)
{
    ++tableChanges_;
    ++tablesSet_;
    if (!ait) {
        if (ait_)
            ait_->setStale(true);
        return false;
    }
    // The argument may be one of the references replaced here.
    const ref_ptr<AIT> table(ait);  // NOLINT(performance-unnecessary-copy-initialization)
    previousAIT_ = ait_;
    ait_ = table;
    if (!table->isXMLBased())
        broadcastAIT_ = table;
    return true;
}

void Window::scheduleReactivateAIT(bool restoreBroadcastAIT)
{
    if (restoreBroadcastAIT && ait_ != broadcastAIT_) {
        ait_ = broadcastAIT_;
        ++tableChanges_;
    }
    activateAIT();
}

bool Window::activateAIT()
{
    const Hold hold(this);
    const ref_ptr<AIT> table(ait_);  // whoever is called may put another one in force
    tableActedOn_ = true;
    const AtFailure remember([this] { tableActedOn_ = false; });
    return state_ == RUNNING ? activateForRunningApplication()
                             : activateWithoutRunningApplication();
}

bool Window::activateForRunningApplication()
{
    Application* const running = runningApplication_;
    if (!running) {
        log(WARN, module,
            "When activating AIT the manager state was RUNNING, but no running application was "
            "found.");
        enter(IDLE);
        return activateAIT();
    }
    AITApplication* const entry = running->getAITApplication();
    const auto tearDown = [this](HBBTV_Reason reason) {
        explain(reason, about(runningApplication_));
        return tearDownRunningApplication();
    };
    if (!entry)
        return tearDown(HBBTV_REASON_END_WITHOUT_ENTRY);
    if (ait_ && isServiceBoundToFormerService(entry))
        return tearDown(HBBTV_REASON_END_SERVICE_BOUND);

    AITApplication* const successor =
        ait_ ? ait_->getAITApplication(entry->getOrganisationId(), entry->getApplicationId())
             : nullptr;
    if (!successor)
        return tearDown(HBBTV_REASON_END_NOT_LISTED);
    if (successor->isSignalledWith(AITApplication::KILL))
        return tearDown(HBBTV_REASON_END_KILLED);
    return adoptRunningApplication(running, entry, successor);
}

bool Window::isServiceBoundToFormerService(const AITApplication* entry) const
{
    const auto* const descriptor = entry->getApplicationDescriptor();
    return descriptor && descriptor->isServiceBound() && (!previousAIT_ || previousAIT_->isStale());
}

bool Window::adoptRunningApplication(Application* running, AITApplication* entry,
                                     AITApplication* successor)
{
    ref_ptr<AITApplicationTransport> transport;
    if (!running->isBroadcastRelated()) {
        const unsigned long tables = tableChanges_;
        const bool mayStay = becomeBroadcastRelated(running, entry, successor, transport);
        if (running != runningApplication_ || tables != tableChanges_ || released_)
            return true;  // whoever was called ended it, or put another table in force
        if (!mayStay) {
            explain(HBBTV_REASON_END_NOT_ADOPTED, about(running));
            return tearDownRunningApplication();
        }
    }

    log(LOG, module, "Allowing running application to continue at new AIT load.");
    explain(HBBTV_REASON_KEPT, about(running));
    running->setAITApplication(successor);
    if (!transport)
        transport.reset(successor->getFirstAvailableTransport(isHttpAvailable()));
    if (!transport) {
        // Deliberate: the application goes on, and already runs for the new entry.
        log(ERR, module,
            "Something really funky is going on! No transport found for the application in newly "
            "loaded AIT!");
        return false;
    }
    running->setTransport(transport.get());
    return true;
}

bool Window::becomeBroadcastRelated(Application* running, const AITApplication* entry,
                                    AITApplication* successor,
                                    ref_ptr<AITApplicationTransport>& transport)
{
    if (ait_->isXMLBased()) {
        explain(HBBTV_REASON_NOT_ADOPTED_XML, about(running));
        return false;
    }
    if (!successor->isSignalledWith(AITApplication::AUTOSTART) &&
        !successor->isSignalledWith(AITApplication::PRESENT)) {
        explain(HBBTV_REASON_NOT_ADOPTED_CONTROL_CODE, about(running), 0,
                static_cast<uint32_t>(successor->getControlCode()));
        return false;
    }

    if (entry->isXMLAITbased()) {
        transport.reset(findTransportOfXMLStart(running, successor));
        if (!transport || running != runningApplication_)
            return false;
        log(LOG, module,
            "Transferring state of running application from broadcast independent to broadcast "
            "related at new AIT load");
    } else {
        log(LOG, module,
            "Transferring state of running application from broadcast independent (transitioned "
            "earlier from broadcast related) to broadcast related at new AIT load.");
    }
    explain(HBBTV_REASON_ADOPTED, about(running));
    running->setBroadcastRelated(true);
    return true;
}

AITApplicationTransport* Window::findTransportOfXMLStart(Application* running,
                                                         AITApplication* successor)
{
    AITApplicationTransport* const transport =
        successor->getTransportMatchingURL(running->getURL());
    if (!transport || transport->getProtocol() != AITApplicationTransport::HTTP) {
        if (areDecisionsHeard)
            explain(HBBTV_REASON_NOT_ADOPTED_TRANSPORT, about(running), 0, 0,
                    running->getURL().getFullUrl().c_str());
        return nullptr;
    }
    ApplicationDomain* const domain = successor->getApplicationDomain();
    domain->addBoundaryExtension(running->getURL().getFullUrl());
    const DecisionAbout whom = about(running);  // who is asked may end it
    if (isLoadedUrlWithinBoundaries(domain))
        return transport;
    explain(HBBTV_REASON_NOT_ADOPTED_BOUNDARY, whom);
    return nullptr;
}

bool Window::tearDownRunningApplication()
{
    log(LOG, module, "Tearing down running application at new AIT load");
    enter(TEARDOWN);
    // Also where memory runs out: the application does not wait for a successor that nobody starts.
    const AtExit leave([this] { leaveTeardownWithoutSuccessor(); });
    scheduleReactivateAIT(false);
    return true;
}

bool Window::activateWithoutRunningApplication()
{
    if (!ait_ || ait_->isStale()) {
        explain(HBBTV_REASON_START_NO_TABLE, about(this));
        endTeardown();
        return false;
    }
    const unsigned long tables = tableChanges_;
    AITApplication* const first =
        ait_->getAITApplication(AITApplication::AUTOSTART, isHttpAvailable());
    if (!first && areDecisionsHeard)
        explainAutostart(this, *ait_);
    const bool isStarted = first && startFirstAutostartApplication(first);
    if (!isStarted && tables == tableChanges_)
        endTeardown();
    return true;
}

/// @return whether an application was started, or runs after all
bool Window::startFirstAutostartApplication(AITApplication* first)
{
    const unsigned long tables = tableChanges_;
    const bool isXML = ait_->isXMLBased();
    if (Application* const started = startApplication(first, HbbTVURL(""), nullptr)) {
        started->setAutostarted(true);
        if (isXML && runningApplication_ && runningApplication_->getParent()) {
            started->setParent(runningApplication_->getParent());
            runningApplication_->setParent(nullptr);
        }
        return true;
    }
    if (state_ == RUNNING)
        return true;
    if (tables != tableChanges_)
        return false;  // who was asked put another table in force, which decides by itself
    if (startNextAutostartApplication(first)) {
        log(LOG, module,
            "First AUTOSTART application failed to start, started lower prio one instead.");
        return true;
    }
    if (tables == tableChanges_)
        log(WARN, module, "AUTOSTART application failed to start.");
    return false;
}

void Window::endTeardown()
{
    if (state_ == TEARDOWN)
        shutdown(runningApplication_, atOnce);
}

Application* Window::startNextAutostartApplication(AITApplication* after)
{
    const Hold hold(this);
    const ref_ptr<AIT> table(ait_);
    if (!after || !table)
        return nullptr;
    const unsigned long tables = tableChanges_;
    AITApplication* candidate = after;
    while (!released_ && tables == tableChanges_) {
        candidate =
            table->getNextAITApplication(candidate, AITApplication::AUTOSTART, isHttpAvailable());
        if (!candidate)
            return nullptr;
        if (Application* const started = startApplication(candidate, HbbTVURL(""), nullptr)) {
            started->setAutostarted(true);
            explain(HBBTV_REASON_START_LOWER_AUTOSTART, about(started));
            return started;
        }
    }
    return nullptr;
}

bool Window::setTimeShifted(bool timeShifted)
{
    if (timeShifted == timeShifted_)
        return false;
    timeShifted_ = timeShifted;
    if (!timeShifted_ || state_ != RUNNING)
        return true;
    Application* const running = getRunningApplication();
    if (!running || survivesTimeShift(running->getAITApplication()))
        return true;
    explain(HBBTV_REASON_END_TIME_SHIFT, about(running));
    shutdown(running, atOnceReactivating);
    return true;
}

bool Window::survivesTimeShift(const AITApplication* entry) const
{
    const auto* const recording = entry ? entry->getApplicationRecordingDescriptor() : nullptr;
    return recording && recording->isTrickModeAware() && recording->isTimeShift();
}

}  // namespace VestaHbbTV
