#include "tests/support/library_test.h"

#include "foundation/configuration_manager.h"
#include "integration/external_event.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "signalling/ait.h"
#include "tests/support/counted_memory.h"
#include "tests/support/xml_tables.h"

using namespace VestaHbbTV;

namespace vesta::test {

namespace {

std::string leveledLine(LogEntry& entry)
{
    const char* const levels[] = {"?", "DEBUG", "LOG", "WARN", "ERR"};
    std::string line = entry.stream().str();
    if (!line.empty() && line.back() == '\n')
        line.pop_back();
    const size_t text = line.find("] ", line.find('['));
    return std::string(levels[entry.getLevel()]) + " " + entry.getModule() + ": " +
           (text == std::string::npos ? line : line.substr(text + 2));
}

/// Writes the chosen modules' log lines into the journal.
class JournalOutput : public LoggingOutput {
public:
    explicit JournalOutput(std::shared_ptr<std::set<std::string>> modules)
        : LoggingOutput(DEBUG), modules_(std::move(modules))
    {
    }

    void output(LogEntry& entry) override
    {
        if (modules_->count(entry.getModule()))
            Journal::instance().write(leveledLine(entry));
    }

private:
    std::shared_ptr<std::set<std::string>> modules_;
};

}  // namespace

LibraryTest::LibraryTest()
{
    browser().reset();
    platform().reset();
    listener().reset();
    veif_applicationManagerListener = nullptr;
    veif_applicationDestroyedListener = nullptr;
    Application::next_id = 1;
    log_ = std::make_unique<CapturedLog>();
    journalledModules_ = std::make_shared<std::set<std::string>>();
    Logging::getInstance()->addOutput(new JournalOutput(journalledModules_));
    vesta_hbbtv_init(browser().handle());
    window_ = static_cast<Window*>(vesta_hbbtv_create_window());
    vesta_hbbtv_set_broadcast_window(window_);
    vesta_hbbtv_add_notification_listener(RecordingListener::listen);
    log().clear();
    forgetJournal();
}

LibraryTest::~LibraryTest()
{
    shutdown();
    EXPECT_EQ(outstandingBlocks(), 0u) << "blocks that the library had to free";
    EXPECT_TRUE(listener().windowsInUse.empty()) << "browser windows that were not released";
    forgetJournal();
}

void LibraryTest::shutdown()
{
    vesta_hbbtv_shutdown();
    vesta_hbbtv_set_sendevent_condition(nullptr, nullptr);
    window_ = nullptr;
}

WindowManager* LibraryTest::manager()
{
    return WindowManager::getInstance();
}

Application* LibraryTest::running() const
{
    return window_->getRunningApplication();
}

std::string LibraryTest::runningURL() const
{
    return running() ? running()->getURL().getFullUrl() : "";
}

Lines LibraryTest::takeLog(const std::string& module)
{
    Lines taken;
    for (const std::string& line : log().leveledLines()) {
        if (line.find(" " + module + ": ") == line.find(' '))
            taken.push_back(line);
    }
    log().clear();
    return taken;
}

Window* LibraryTest::createWindow(const std::string& name)
{
    Window* const created = static_cast<Window*>(vesta_hbbtv_create_window());
    listener().windowNames[created] = name;
    return created;
}

void* LibraryTest::idOf(Application* application)
{
    return application ? reinterpret_cast<void*>(static_cast<uintptr_t>(application->getID()))
                       : nullptr;
}

void* LibraryTest::askForIdOf(Application* application)
{
    void* const id = idOf(application);
    void* asked = nullptr;
    if (application)
        native_AppManGetApplicationId(browser().idOf(application->getTavoWindow()), nullptr,
                                      &asked);
    return asked == id ? asked : id;
}

ref_ptr<AIT> LibraryTest::broadcastTable(const AITSection& section)
{
    const ref_ptr<AIT> table(new AIT(1, 2, 3, nullptr));
    EXPECT_TRUE(table->parse(section.exactBlock().get()));
    return table;
}

ref_ptr<AIT> LibraryTest::xmlTable(const std::vector<AITEntry>& entries)
{
    const ref_ptr<AIT> table(new AIT);
    for (const AITEntry& entry : entries) {
        auto application = std::make_unique<AITApplication>(table.get());
        EXPECT_TRUE(application->parse(entry.exactBlock().get()));
        table->insertAITApplication(application.release());
    }
    return table;
}

void LibraryTest::sendXMLAIT(const std::vector<AITEntry>& entries, Window* window)
{
    queueXMLTable(window ? window : window_, xmlTable(entries));
}

void LibraryTest::send(HBBTV_EventType type, HBBTV_EventData* data)
{
    vesta_hbbtv_send_event(type, data);
}

void LibraryTest::sendAIT(const AITSection& section, void* channelHandle)
{
    send(E_AIT_SECTION, aitRecord(section, channelHandle));
}

void LibraryTest::deliver(HBBTV_EventType type, HBBTV_EventData* data)
{
    if (ConfigurationManager::getCurrentQueue())
        send(type, data);
    else
        delete new ExternalEvent(type, data);
}

void LibraryTest::deliver(const AITSection& section)
{
    deliver(E_AIT_SECTION, aitRecord(section));
}

int LibraryTest::tickAll()
{
    const int endless = 100000;
    int ticks = 0;
    while (ticks < endless && vesta_hbbtv_tick())
        ++ticks;
    return ticks;
}

AITEntry LibraryTest::httpApplication(uint32_t organisationId, uint16_t applicationId,
                                      const std::string& page)
{
    return AITEntry(organisationId, applicationId).http(1, "http://a.example/").location(page);
}

void LibraryTest::startApplication(const AITEntry& entry, uint8_t version)
{
    sendAIT(AITSection().version(version).add(entry));
    tickAll();
    ASSERT_NE(running(), nullptr);
    log().clear();
    forgetJournal();
}

void LibraryTest::finishLoading(long windowId)
{
    TavoVestaEventData data = {};
    data.http_status = 200;
    notify(TAVO_VESTA_EVT_LOADING_FINISHED, windowId, data);
    tickAll();
}

int LibraryTest::failLoading(long windowId)
{
    TavoVestaEventData data = {};
    int result = 12345;
    notify(TAVO_VESTA_EVT_LOADING_FAILED, windowId, data, &result);
    return result;
}

unsigned int LibraryTest::notify(TAVO_VESTA_EVENT event, long windowId, TavoVestaEventData& data,
                                 int* result)
{
    return vesta_hbbtv_handle_notification(browser().handle(), browser().window(windowId), event,
                                           &data, result);
}

}  // namespace vesta::test
