/// @file
/// A pointer to an application of an AIT that never dangles.
#ifndef VESTA_SIGNALLING_AIT_APPLICATION_REFERENCE_H
#define VESTA_SIGNALLING_AIT_APPLICATION_REFERENCE_H

#include "foundation/ref_ptr.h"
#include "foundation/visibility.h"
#include "signalling/ait.h"
#include "signalling/ait_application.h"

namespace VestaHbbTV {

/// Points at an application of a table, or at none.
///
/// Where the table was counted when the reference was set, the reference holds a count of its own,
/// so that table and application live on. Where nobody counted it, the reference never deletes it.
/// In either case the reference becomes null when the application dies first.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED AITApplicationReference {
public:
    /// Points at none.
    AITApplicationReference() = default;

    /// Points at an application of a table.
    /// @param application may be null
    explicit AITApplicationReference(AITApplication* application) { reset(application); }

    /// Points where the other one does, with a count of its own.
    AITApplicationReference(const AITApplicationReference& other) { reset(other.application_); }

    /// Points where the other one did, which is null afterwards.
    AITApplicationReference(AITApplicationReference&& other) noexcept;

    /// Points where the other one does, as reset() does.
    AITApplicationReference& operator=(const AITApplicationReference& other);

    /// Points where the other one did, which is null afterwards; to itself it changes nothing.
    AITApplicationReference& operator=(AITApplicationReference&& other) noexcept;

    /// Gives up its count: a table that nobody else holds dies.
    ~AITApplicationReference() { reset(); }

    /// Points at another application, or at none. The table that was held may die in this call,
    /// but only after the reference has changed.
    void reset(AITApplication* application = nullptr);

    /// Borrowed while the reference points there; null when there is none (any more).
    AITApplication* get() const { return application_; }

    /// Reaches into the application; not to be used when null.
    AITApplication* operator->() const { return application_; }

    /// The application; not to be asked for when null.
    AITApplication& operator*() const { return *application_; }

    /// Whether it points at an application (still).
    explicit operator bool() const { return application_ != nullptr; }

private:
    friend class AITApplication;

    /// Makes every reference to a dying application null.
    VESTA_HIDDEN static void forget(AITApplication& dying);

    VESTA_HIDDEN void link(AITApplication* application);
    VESTA_HIDDEN void unlink();

    AITApplication* application_ = nullptr;
    AITApplicationReference* next_ = nullptr;
    AITApplicationReference* previous_ = nullptr;
    ref_ptr<AIT> table_;
};

}  // namespace VestaHbbTV

#endif
