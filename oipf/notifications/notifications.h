/// What the library tells and asks its listeners: one class a notification type.
///
/// A notification is built with `new`, handed to NotificationManager::broadcast() and deleted
/// there; its destructor writes the listeners' answers into the caller's variables. Strings that
/// constructors take may be null and are copied.
#ifndef VESTA_OIPF_NOTIFICATIONS_NOTIFICATIONS_H
#define VESTA_OIPF_NOTIFICATIONS_NOTIFICATIONS_H

#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/visibility.h"
#include "oipf/notifications/text_store.h"

namespace VestaHbbTV {

class AIT;
class AITApplication;

class VESTA_EXPORTED Notification {
public:
    Notification(const Notification&) = delete;
    Notification& operator=(const Notification&) = delete;
    virtual ~Notification();

    HBBTV_NotificationType getType() const { return type_; }

    /// The record that listeners get; null for an AIT update without a table.
    HBBTV_NotificationData* getData() const { return data_; }

protected:
    /// @param data malloc'ed or null; freed with the notification
    Notification(HBBTV_NotificationType type, HBBTV_NotificationData* data);

private:
    const HBBTV_NotificationType type_;
    HBBTV_NotificationData* data_;
};

/// May this application start? The answer starts as START.
class VESTA_EXPORTED StartApplicationNotification : public Notification {
public:
    StartApplicationNotification(void* window, bool broadcastRelated, bool serviceBound,
                                 unsigned long orgId, unsigned short appId, const char* url,
                                 unsigned char usageType, bool autostart,
                                 HBBTV_ApplicationActionType* answer);
    ~StartApplicationNotification() override;

    /// The answer that stands when no listener gives another.
    VESTA_HIDDEN void presetAction(HBBTV_ApplicationActionType action);

private:
    HBBTV_ApplicationActionType* answer_;
};

/// An application stopped. Listeners may overwrite whether the table is activated again.
class VESTA_EXPORTED StopApplicationNotification : public Notification {
public:
    /// @param reactivateAIT the caller's flag, handed to the listeners as it is
    StopApplicationNotification(void* window, bool broadcastRelated, unsigned long orgId,
                                unsigned short appId, const char* url, int* reactivateAIT);
    ~StopApplicationNotification() override;
};

/// An application cannot run on this terminal. The record's window, serviceBound, trusted and
/// usageType are not set, and its empty URL is the library's.
class VESTA_EXPORTED RejectApplicationNotification : public Notification {
public:
    RejectApplicationNotification(bool broadcastRelated, unsigned long orgId, unsigned short appId,
                                  bool autostart);
};

/// A table was taken in. A record can be much larger than its table: without listeners there is no
/// need for one. Equal addresses of an application are one text.
class VESTA_EXPORTED AITUpdateNotification : public Notification {
public:
    /// @param ait null gives a null record
    AITUpdateNotification(void* window, AIT* ait);
    ~AITUpdateNotification() override;

private:
    std::vector<HBBTV_AITApplicationInfo> applications_;
    std::vector<char*> urls_;  ///< of all applications, one after the other
    TextStore texts_;
};

/// Is this application trusted? The listeners see the library's verdict and may overrule it.
class VESTA_EXPORTED TrustedNotification : public Notification {
public:
    /// @param answer in/out
    TrustedNotification(void* window, const char* url, bool* answer, bool broadcastRelated,
                        unsigned long orgId, unsigned short appId, unsigned char usageType,
                        bool autostart);
    ~TrustedNotification() override;

private:
    bool* answer_;
};

/// An application became broadcast-related or broadcast-independent.
class VESTA_EXPORTED BroadcastRelatedChangeNotification : public Notification {
public:
    BroadcastRelatedChangeNotification(void* window, bool broadcastRelated, bool trusted,
                                       bool autostart, unsigned long orgId, unsigned short appId,
                                       const char* url, unsigned char usageType);
    ~BroadcastRelatedChangeNotification() override;
};

/// May this XMLHttpRequest go ahead? The answer starts as ALLOW.
class VESTA_EXPORTED XHRNotification : public Notification {
public:
    XHRNotification(const char* documentUrl, const char* requestUrl, HBBTV_XHR_Permission* answer);
    ~XHRNotification() override;

private:
    VESTA_HIDDEN explicit XHRNotification(HBBTV_XHR_Permission* answer);

    HBBTV_XHR_Permission* answer_;
};

/// Asks for a browser window: the listener stores it through the slot and reports success.
class VESTA_EXPORTED RequestWindowNotification : public Notification {
public:
    RequestWindowNotification(TAVO_VestaWindow** tavoWindow, bool* answer, void* window);
    ~RequestWindowNotification() override;

private:
    bool* answer_;
};

/// Gives a browser window back.
class VESTA_EXPORTED ReleaseWindowNotification : public Notification {
public:
    ReleaseWindowNotification(TAVO_VestaWindow** tavoWindow, bool* answer);
    ~ReleaseWindowNotification() override;

private:
    bool* answer_;
};

class VESTA_EXPORTED ShowWindowNotification : public Notification {
public:
    explicit ShowWindowNotification(TAVO_VestaWindow** tavoWindow);
};

class VESTA_EXPORTED HideWindowNotification : public Notification {
public:
    explicit HideWindowNotification(TAVO_VestaWindow** tavoWindow);
};

/// An application changed its key set.
class VESTA_EXPORTED KeysetChangedNotification : public Notification {
public:
    KeysetChangedNotification(TAVO_VestaWindow* tavoWindow, int keysetValue);
};

/// How much memory is free? Listeners write through the caller's pointer.
class VESTA_EXPORTED GetFreeMemoryNotification : public Notification {
public:
    explicit GetFreeMemoryNotification(long* freeMemory);
};

}  // namespace VestaHbbTV

#endif
