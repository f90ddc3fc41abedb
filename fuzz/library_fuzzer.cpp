// The whole library between a browser, a platform and an integrator that do what the bytes say, at
// any time: also from inside the library's own calls. Whatever happens, a shutdown leaves nothing.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "fuzz/choices.h"
#include "fuzz/native_calls.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "signalling/ait.h"
#include "tests/support/counted_memory.h"
#include "tests/support/event_records.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"
#include "tests/support/recording_listener.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;
using namespace vesta::fuzz;

namespace {

const TAVO_VESTA_EVENT browserEvents[] = {
    TAVO_VESTA_EVT_WINDOW_CLOSE,           TAVO_VESTA_EVT_URL_CHANGED,
    TAVO_VESTA_EVT_LOADING_FINISHED,       TAVO_VESTA_EVT_LOADING_FINISHED,
    TAVO_VESTA_EVT_LOADING_FAILED,         TAVO_VESTA_EVT_PROTOCOL_LOADING_START,
    TAVO_VESTA_EVT_PROTOCOL_LOADING_START, TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP,
    TAVO_VESTA_EVT_XML_PARSE_FAILED,       TAVO_VESTA_EVT_XHR_PERMISSION,
    static_cast<TAVO_VESTA_EVENT>(3)};

const int keys[] = {403, 404, 13, 461, 19, 33, 457, 48, 65, 0, -1};

const uintptr_t loadCount = 4;

const char* const interruptedFunctions[] = {
    "ve_open_url",          "ve_clear_history",          "ve_get_window",
    "ve_get_loading_url",   "ve_get_window_identifier",  "ve_resolve_relative_url",
    "ve_protocol_write",    "ve_set_uastring_extension", "ve_protocol_set_mime_type",
    "ve_protocol_finished", "ve_protocol_failed",        "tavo_keyboard_evt"};

const char* const interruptedHooks[] = {"hbbtv_keyset_get_supported_values",
                                        "hbbtv_ait_start",
                                        "hbbtv_ait_stop",
                                        "hbbtv_ait_invalidate",
                                        "hbbtv_ait_completed",
                                        "dsmcc_start",
                                        "dsmcc_stop",
                                        "dsmcc_get_file",
                                        "dsmcc_get_mime_type",
                                        "dsmcc_read",
                                        "dsmcc_close_file",
                                        "dsmcc_clear_cache",
                                        "dsmcc_stream_event_subscribe",
                                        "dsmcc_xml_stream_event_subscribe",
                                        "dsmcc_stream_event_unsubscribe",
                                        "dsmcc_stream_event_unsubscribe_all"};

/// A file of this size takes two writes.
const size_t bigFileSize = 131072;

class Driver {
public:
    Driver(const uint8_t* data, size_t size) : choices_(data, size) {}

    void run();

    /// One of the fakes was called: now and then something happens before it answers.
    void interrupt()
    {
        if (depth_ < 3 && choices_.byte() % 8 == 7)
            step();
    }

    static Driver* current;

private:
    void start();
    void step();
    void stop();

    void sendEvent();
    void sendSection();
    void sendRawSection();
    AITEntry entry();
    void queueXMLTable();
    void browserEvent();
    void keyPress();
    void changeWindows();
    void askAboutWindows();
    void changeAnswers();
    void changePlatform();
    void changeBrowser();
    void restart();

    void* window();
    void* load() { return reinterpret_cast<void*>(uintptr_t{choices_.below(loadCount)}); }
    static void send(int type, HBBTV_EventData* data)
    {
        if (ConfigurationManager::getInstance()->getEventQueue())
            vesta_hbbtv_send_event(static_cast<HBBTV_EventType>(type), data);
        else
            unsent_.push_back({type, data});
    }

    struct Unsent {
        int type;
        HBBTV_EventData* data;
    };
    static std::vector<Unsent> unsent_;

    Choices choices_;
    int depth_ = 0;
    bool listening_ = false;
    std::vector<void*> windows_;  // every handle there ever was
};

Driver* Driver::current = nullptr;
std::vector<Driver::Unsent> Driver::unsent_;

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    RecordingListener::listen(type, data);
    Driver::current->interrupt();
    return HBBTV_STATUS_OK;
}

void onManagerEvent(int, void*)
{
    Driver::current->interrupt();
}

void onDestroyed(void*)
{
    Driver::current->interrupt();
}

void onStreamEvent(const char*, uint32_t, const char*, const char*, const char*, uint32_t)
{
    Driver::current->interrupt();
}

void Driver::run()
{
    current = this;
    start();
    while (!choices_.empty())
        step();
    stop();
}

void Driver::start()
{
    FakeBrowser& browser = FakeBrowser::instance();
    FakePlatform& platform = FakePlatform::instance();
    browser.reset();
    platform.reset();
    RecordingListener::instance().reset();
    browser.journalling = platform.journalling = RecordingListener::instance().journalling = false;
    for (const char* const function : interruptedFunctions)
        browser.whileIn[function] = [this] { interrupt(); };
    for (const char* const hook : interruptedHooks)
        platform.whileIn[hook] = [this] { interrupt(); };
    platform.files["1.2.3.4/index.html"].bytes = "bytes";
    platform.files["1.2.3.4/relative"].getFileResult = DSMCC_PENDING;
    veif_applicationManagerListener = onManagerEvent;
    veif_applicationDestroyedListener = onDestroyed;

    vesta_hbbtv_init(browser.handle());
    listening_ = vesta_hbbtv_add_notification_listener(listen);
    windows_.push_back(vesta_hbbtv_create_window());
    vesta_hbbtv_set_broadcast_window(windows_.back());
}

void Driver::step()
{
    ++depth_;
    switch (choices_.below(16)) {
    case 0:
    case 1:
    case 2:
        vesta_hbbtv_tick();
        break;
    case 3:
    case 4:
        sendSection();
        break;
    case 5:
        sendEvent();
        break;
    case 6:
        sendRawSection();
        break;
    case 7:
    case 8:
        browserEvent();
        break;
    case 9:
        keyPress();
        break;
    case 10:
        changeWindows();
        break;
    case 11:
        callNative(choices_);
        break;
    case 12:
        callApplicationNative(choices_);
        break;
    case 13:
        changeAnswers();
        break;
    case 14:
        queueXMLTable();
        break;
    default:
        restart();
        break;
    }
    --depth_;
}

/// Ends the run: the library must have nothing left, and nothing of its middleware's.
void Driver::stop()
{
    vesta_hbbtv_shutdown();
    if (WindowManager::instance || NotificationManager::instance || ConfigurationManager::instance)
        std::abort();
    if (!RecordingListener::instance().windowsInUse.empty())
        std::abort();  // a browser window that the integrator never gets back
    // What was dropped for want of a queue stayed with the sender: a queue frees it by its type.
    vesta_hbbtv_init(FakeBrowser::instance().handle());
    for (const Unsent& event : unsent_)
        vesta_hbbtv_send_event(static_cast<HBBTV_EventType>(event.type), event.data);
    unsent_.clear();
    vesta_hbbtv_shutdown();
    if (outstandingBlocks() != 0)
        std::abort();
}

void Driver::sendEvent()
{
    const uint8_t type = choices_.below(14);
    if (choices_.below(8) == 7)
        return send(type, nullptr);
    switch (type) {
    case E_AIT_SECTION:
        return send(type, noSectionRecord(choices_.below(2)));
    case E_START_APPLICATION:
        return send(type, startRecord(window(), choices_.below(3), choices_.below(4)));
    case E_START_BROADCAST_INDEPENDENT_APPLICATION:
        return send(type, urlRecord(window(), choices_.of(urls)));
    case E_DSMCC_FILE_READY:
    case E_DSMCC_FILE_ERROR:
        return send(type, downloadRecord(load()));
    case E_DSMCC_STREAM_EVENT:
        return send(type, streamEventRecord(choices_.flag() ? onStreamEvent : nullptr, 1, 2,
                                            {"a", nullptr, "c", "d"}));
    case E_USER_AGENT_INFO:
        return send(type, userAgentRecord(choices_.below(3), {"a", "b", nullptr, "d", "e", "f"}));
    case E_SUPPORTED_PROFILES:
        return send(type, profilesRecord(choices_.below(2)));
    default:
        return send(type, windowRecord(window()));
    }
}

AITEntry Driver::entry()
{
    const uint16_t ids[] = {1, 2, 3, 0x4001, 0};
    const uint8_t kind = choices_.byte();
    AITEntry entry(1 + choices_.below(2), choices_.of(ids), choices_.below(8));
    if (kind & 1)
        entry.http(1, choices_.flag() ? "http://a.example/" : "http://b.example/");
    if (kind & 2)
        entry.carousel(2, 4);
    if (kind & 4)
        entry.labels({2, 1, 2});
    if (kind & 8)
        entry.serviceBound();
    if (kind & 16)
        entry.boundary({"http://c.example", "dvb://9.9.9.9"});
    if (kind & 32)
        entry.recording(choices_.byte(), {"x"}, {1});
    if ((kind & 192) == 192)
        entry.profiles({{1, 1, 1, 1}}).usage(1);
    if ((kind & 192) == 64)
        entry.withoutApplicationDescriptor();
    return entry.priority(choices_.below(3)).location("index.html");
}

void Driver::sendSection()
{
    AITSection section;
    const uint8_t version = choices_.byte();
    section.version(version % 4);
    if (version & 0x80)
        section.number(choices_.below(2), choices_.below(2));
    for (uint8_t left = choices_.below(4); left > 0; --left)
        section.add(entry());
    send(E_AIT_SECTION, aitRecord(section, choices_.flag() ? &foreignPlace : nullptr));
}

/// Any bytes, in a block of exactly the size that they claim.
void Driver::sendRawSection()
{
    const size_t length = choices_.byte();
    HBBTV_EventData* const record = noSectionRecord(0);
    auto* const bytes = static_cast<unsigned char*>(countedMalloc(3 + length));
    bytes[0] = choices_.below(8) == 7 ? choices_.byte() : 0x74;
    bytes[1] = choices_.byte() & 0xF0;
    bytes[2] = static_cast<unsigned char>(length);
    for (size_t i = 3; i < 3 + length; ++i)
        bytes[i] = choices_.byte();
    record->ait.section = bytes;
    send(E_AIT_SECTION, record);
}

/// A table that the integration made of an XML document.
void Driver::queueXMLTable()
{
    ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue();
    if (!queue)
        return;
    const ref_ptr<AIT> table(choices_.below(8) == 7 ? nullptr : new AIT);
    for (uint8_t left = table ? choices_.below(3) : 0; left > 0; --left) {
        auto* const application = new AITApplication(table.get());
        if (!application->parse(entry().exactBlock().get())) {
            delete application;
            continue;
        }
        table->insertAITApplication(application);
    }
    queue->add(new TAVOAITEvent(static_cast<Window*>(window()), table));
}

void Driver::browserEvent()
{
    TavoVestaEventData data = {};
    data.url = choices_.of(urls);
    data.second_url = choices_.of(urls);
    data.request_id = load();
    data.load_status = choices_.below(4);
    data.http_status = choices_.flag() ? 404 : 200;
    int result = 0;
    const uint8_t missing = choices_.byte();
    vesta_hbbtv_handle_notification(FakeBrowser::instance().handle(), tavoWindow(choices_),
                                    choices_.of(browserEvents), missing == 255 ? nullptr : &data,
                                    missing == 254 ? nullptr : &result);
}

void Driver::keyPress()
{
    TAVO_KeyboardEvent event = {choices_.below(3),
                                static_cast<TAVO_VIRTUAL_KEY>(choices_.of(keys))};
    vesta_hbbtv_key_input(tavoWindow(choices_), choices_.below(32) == 31 ? nullptr : &event);
}

/// A window, one that was released, or anything else.
void* Driver::window()
{
    const uint8_t choice = choices_.byte();
    if (choice == 254)
        return &foreignPlace;
    if (choice == 255 || windows_.empty())
        return nullptr;
    return windows_[choice % windows_.size()];
}

void Driver::changeWindows()
{
    switch (choices_.below(8)) {
    case 0:
        if (windows_.size() < 16)
            windows_.push_back(vesta_hbbtv_create_window());
        break;
    case 1:
        vesta_hbbtv_release_window(window());
        break;
    case 2:
    case 3:
        vesta_hbbtv_set_broadcast_window(window());
        break;
    case 4:
        vesta_hbbtv_set_time_shifted(window(), choices_.below(2));
        break;
    case 5:
        send(choices_.flag() ? E_HTTP_AVAILABLE : E_HTTP_UNAVAILABLE, nullptr);
        break;
    case 6:
        send(E_CHANNEL_CHANGE, nullptr);
        break;
    default:
        askAboutWindows();
        break;
    }
}

void Driver::askAboutWindows()
{
    vesta_hbbtv_get_broadcast_window();
    vesta_hbbtv_get_tavo_window(window());
    vesta_hbbtv_get_window_identifier(tavoWindow(choices_));
    vesta_hbbtv_is_hbbtv_window(tavoWindow(choices_));
    // This one trusts its handle.
    void* const handle = window();
    if (WindowManager::getInstance()->windowExists(static_cast<Window*>(handle)))
        vesta_hbbtv_is_within_boundaries(handle, choices_.of(urls));
}

void Driver::changeAnswers()
{
    RecordingListener& listener = RecordingListener::instance();
    switch (choices_.below(7)) {
    case 0:
        listener.startAction = choices_.below(4);
        break;
    case 1:
        listener.reactivateAIT = choices_.below(2);
        break;
    case 2:
        listener.trusted = choices_.below(2);
        break;
    case 3:
        listener.refuseWindows = choices_.flag();
        break;
    case 4:
        listener.nextWindows = {windowId(choices_)};
        break;
    case 5:
        changePlatform();
        break;
    default:
        changeBrowser();
        break;
    }
}

void Driver::changePlatform()
{
    FakePlatform::File& file = FakePlatform::instance().files["1.2.3.4/index.html"];
    file.getFileResult = choices_.below(5);
    file.mimeTypeResult = choices_.below(8) == 7;
    file.mimeType = choices_.flag() ? std::optional<std::string>("text/html") : std::nullopt;
    file.readSize = choices_.below(3);
    file.failReadAfter = choices_.below(8) == 7 ? 2 : 100;
    const uint8_t keySets = choices_.byte();
    FakePlatform::instance().supportedKeySets = keySets;
    const bool isBig = (keySets & 0x80) != 0;
    file.bytes = isBig ? std::string(bigFileSize, 'x') : "bytes";
    if (isBig)
        file.readSize *= bigFileSize - 1;
}

void Driver::changeBrowser()
{
    FakeBrowser& browser = FakeBrowser::instance();
    browser.resolveToNull = choices_.flag();
    browser.results["ve_resolve_relative_url"] = choices_.below(2);
    browser.results["ve_get_loading_url"] = choices_.below(2);
    browser.loadingURL = choices_.flag() ? "http://a.example/index.html" : "";
}

void Driver::restart()
{
    const uint8_t choice = choices_.byte();
    if (choice < 200)
        return;
    if (choice < 240) {
        vesta_hbbtv_shutdown();
        listening_ = false;
        return;
    }
    vesta_hbbtv_init(FakeBrowser::instance().handle());
    if (!listening_)
        listening_ = vesta_hbbtv_add_notification_listener(listen);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Driver(data, size).run();
    return 0;
}
