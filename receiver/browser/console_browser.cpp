#include "receiver/browser/console_browser.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/browser/page.h"
#include "receiver/console/key_names.h"
#include "receiver/integration/xml_tables.h"
#include "receiver/text/mime_type.h"

namespace receiver {

namespace {

const unsigned short httpOK = 200;
const unsigned short httpNotFound = 404;
const int loadOK = 0;

bool beginsWith(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

std::string quantity(size_t bytes)
{
    return withSeparators(bytes) + (bytes == 1 ? " byte" : " bytes");
}

std::string windowName(const TAVO_VestaWindow* window)
{
    return "window " + std::to_string(window->id);
}

/// Of a page, which may be long, and of its resources, which may be many.
constexpr size_t mostBeginning = size_t(256) << 10;
constexpr size_t mostResources = 1000;

void keepBeginning(PageSource& source, const std::string& bytes, const std::string& type)
{
    source.type = type;
    source.size = bytes.size();
    source.beginning = bytes.substr(0, mostBeginning);
}

void keepResource(PageSource& source, PageSource::Resource resource)
{
    if (source.resources.size() < mostResources)
        source.resources.push_back(std::move(resource));
}

}  // namespace

ConsoleBrowser::ConsoleBrowser(EventLog& log, std::vector<Site> sites)
    : log_(log), sites_(std::move(sites))
{
}

bool ConsoleBrowser::runTask()
{
    if (tasks_.empty())
        return false;
    const Task task = std::move(tasks_.front());
    tasks_.pop_front();
    task();
    return true;
}

/// Queues a task that is dropped when its window is closed, or opens another page, before.
void ConsoleBrowser::later(ConsoleWindow* window, Task task)
{
    const long id = window->id;
    const unsigned page = window->pages;
    tasks_.push_back([this, id, page, task = std::move(task)] {
        const auto found = windows_.find(id);
        if (found != windows_.end() && found->second->pages == page)
            task();
    });
}

std::vector<const TAVO_VestaWindow*> ConsoleBrowser::windows() const
{
    std::vector<const TAVO_VestaWindow*> list;
    for (const auto& entry : windows_)
        list.push_back(entry.second.get());
    return list;
}

TAVO_VestaWindow* ConsoleBrowser::createWindow()
{
    auto window = std::make_unique<ConsoleWindow>();
    window->id = nextId_++;
    report("window-opened", windowName(window.get()) + " opened", {{"window", window->id}});
    return windows_.emplace(window->id, std::move(window)).first->second.get();
}

void ConsoleBrowser::closeWindow(TAVO_VestaWindow* closed)
{
    ConsoleWindow* const window = findOpen(closed);
    if (!window)
        return;
    report("window-closed", windowName(window) + " closed", {{"window", window->id}});
    if (focused_ == window)
        focused_ = nullptr;
    cancelLoads(window);
    windows_.erase(window->id);
}

/// Loads that are still open are cancelled, as a browser does it; their answers go nowhere.
void ConsoleBrowser::cancelLoads(const ConsoleWindow* window)
{
    for (auto load = loads_.begin(); load != loads_.end();) {
        if (load->second.window != window) {
            ++load;
            continue;
        }
        tasks_.push_back([this, id = load->first] { cancel(id); });
        load = loads_.erase(load);
    }
}

/// The application manager knows a load, a finished one too, until it hears that it is over.
void ConsoleBrowser::reportStopped(void* id)
{
    TavoVestaEventData data = {};
    data.request_id = id;
    int result = 0;
    notify(nullptr, TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP, data, &result);
}

void ConsoleBrowser::cancel(void* id)
{
    reportStopped(id);
    // A load that is stopped between two calls is forgotten without a word to the platform.
    dsmcc_close_file(id);
}

/// Offers an event to the application manager. @return whether it consumed the event
unsigned int ConsoleBrowser::notify(ConsoleWindow* window, TAVO_VESTA_EVENT event,
                                    TavoVestaEventData& data, int* result)
{
    return VestaHbbTV::vesta_hbbtv_handle_notification(handle(), window, event, &data, result);
}

void ConsoleBrowser::setVisible(TAVO_VestaWindow* changed, bool visible)
{
    ConsoleWindow* const window = findOpen(changed);
    if (!window)
        return;
    window->visible = visible;
    if (visible)
        focused_ = window;
    else if (focused_ == window)
        focused_ = nullptr;
    report(visible ? "window-shown" : "window-hidden",
           windowName(window) + (visible ? " shown" : " hidden"), {{"window", window->id}});
}

int ConsoleBrowser::openURL(TAVO_VestaWindow* where, const std::string& url)
{
    ConsoleWindow* const window = findOpen(where);
    if (!window)
        return 1;
    cancelLoads(window);
    window->url = url;
    window->resources.clear();
    window->source = {};
    window->source.url = url;
    window->loaded = false;
    window->openLoads = 0;
    ++window->pages;
    report("open", windowName(window) + " opens " + url, {{"window", window->id}, {"url", url}});
    later(window, [this, window] { openPage(window); });
    return 0;
}

void ConsoleBrowser::openPage(ConsoleWindow* window)
{
    TavoVestaEventData data = {};
    data.url = window->url.c_str();
    notify(window, TAVO_VESTA_EVT_URL_CHANGED, data);
    if (beginsWith(window->url, "dvb:"))
        startLoad(window, window->url, true);
    else
        openSitePage(window);
}

void ConsoleBrowser::startLoad(ConsoleWindow* window, const std::string& url, bool isPage)
{
    // Never the same number twice: an answer that is still under way must find its own load.
    void* const id = reinterpret_cast<void*>(++lastLoad_);
    loads_[id] = {window, url, isPage, "", ""};
    ++window->openLoads;
    TavoVestaEventData data = {};
    data.url = url.c_str();
    data.request_id = id;
    int result = 0;
    if (notify(window, TAVO_VESTA_EVT_PROTOCOL_LOADING_START, data, &result) == 0 || result != 0)
        fail(id, httpNotFound);
}

void ConsoleBrowser::openSitePage(ConsoleWindow* window)
{
    const auto path = fileOfURL(sites_, window->url);
    window->loaded = true;
    if (!path) {
        reportLoadFailed(window, window->url, 0, "no connection (no --site answers for it)");
        return reportFinished(window, TAVO_LOAD_CONNECTION_FAILED, 0);
    }
    std::ifstream file;
    std::error_code problem;  // the URL comes from the air: a name may be too long for a file
    if (std::filesystem::is_regular_file(*path, problem))
        file.open(*path, std::ios::binary);
    if (!file.is_open()) {
        reportLoadFailed(window, window->url, httpNotFound, std::to_string(httpNotFound));
        return reportFinished(window, loadOK, httpNotFound);
    }
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (isXMLTable(window->url, mimeTypeOf(path->string()))) {
        if (!takeXMLTable(log_, window, bytes, window->url))
            reportFailed(window);
        return;  // no page: the application manager hears nothing more of it
    }
    keepBeginning(window->source, bytes, mimeTypeOf(path->string()));
    reportLoaded(window, window->url, bytes.size(), mimeTypeOf(path->string()), httpOK);
    reportFinished(window, loadOK, httpOK);
}

void ConsoleBrowser::reportLoaded(ConsoleWindow* window, const std::string& url, size_t size,
                                  const std::string& mimeType, int status)
{
    window->resources.insert(url);
    keepResource(window->source, {url, size, mimeType, status});
    report("loaded", url + ": " + quantity(size) + (mimeType.empty() ? "" : ", " + mimeType),
           {{"url", url}, {"size", size}, {"type", mimeType}, {"status", status}});
}

/// @param status 0: no connection
void ConsoleBrowser::reportLoadFailed(ConsoleWindow* window, const std::string& url, int status,
                                      const std::string& reason)
{
    keepResource(window->source, {url, 0, "", status});
    EventLog::Details details = {{"url", url}, {"status", nullptr}};
    if (status != 0)
        details["status"] = status;
    report("load-failed", url + ": " + reason, details);
}

const PageSource* ConsoleBrowser::sourceOf(long window) const
{
    const auto found = windows_.find(window);
    return found == windows_.end() ? nullptr : &found->second->source;
}

void ConsoleBrowser::reportFinished(ConsoleWindow* window, int loadStatus,
                                    unsigned short httpStatus)
{
    TavoVestaEventData data = {};
    data.url = window->url.c_str();
    data.load_status = loadStatus;
    data.http_status = httpStatus;
    notify(window, TAVO_VESTA_EVT_LOADING_FINISHED, data);
}

void ConsoleBrowser::reportFailed(ConsoleWindow* window)
{
    TavoVestaEventData data = {};
    data.url = window->url.c_str();
    notify(window, TAVO_VESTA_EVT_LOADING_FAILED, data);
}

int ConsoleBrowser::setMimeType(void* load, const std::string& type)
{
    Load* const found = findLoad(load);
    if (!found)
        return 1;
    found->mimeType = type;
    return 0;
}

int ConsoleBrowser::write(void* load, const char* bytes, size_t count)
{
    Load* const found = findLoad(load);
    if (!found)
        return 1;
    found->bytes.append(bytes, count);
    return 0;
}

int ConsoleBrowser::finish(void* id, int status)
{
    const std::optional<Load> load = takeLoad(id);
    if (!load)
        return 1;
    reportLoaded(load->window, load->url, load->bytes.size(), load->mimeType, status);
    ConsoleWindow* const window = load->window;
    if (load->isPage) {
        keepBeginning(window->source, load->bytes, load->mimeType);
        if (isPage(load->url, load->mimeType))
            loadSubresources(*load);
        later(window, [this, window] { reportFinished(window, loadOK, httpOK); });
    }
    endLoad(window);
    return 0;
}

void ConsoleBrowser::loadSubresources(const Load& page)
{
    const auto references = subresources(page.bytes);
    if (!references)
        return report("page-too-long",
                      page.url + ": too long to be looked through for what it needs",
                      {{"url", page.url}, {"size", page.bytes.size()}});
    for (const std::string& reference : *references)
        loadResource(page.window, reference);
}

bool ConsoleBrowser::loadResource(TAVO_VestaWindow* page, const std::string& reference)
{
    ConsoleWindow* const window = findOpen(page);
    if (!window)
        return false;
    const std::string url = resolveURL(window->url, reference);
    if (!beginsWith(url, "dvb:"))
        return false;
    window->loaded = false;
    ++window->openLoads;
    later(window, [this, window, url] {
        startLoad(window, url, false);
        endLoad(window);
    });
    return true;
}

bool ConsoleBrowser::hasLoaded(const TAVO_VestaWindow& window, const std::string& url) const
{
    const ConsoleWindow* const open = findOpen(&window);
    return open && (open->resources.count(url) != 0 ||
                    open->resources.count(resolveURL(open->url, url)) != 0);
}

int ConsoleBrowser::fail(void* id, int status)
{
    const std::optional<Load> load = takeLoad(id);
    if (!load)
        return 1;  // a load can be answered with a failure twice
    ConsoleWindow* const window = load->window;
    reportLoadFailed(window, load->url, status, std::to_string(status));
    if (load->isPage)
        later(window, [this, window] { reportFailed(window); });
    endLoad(window);
    return 0;
}

void ConsoleBrowser::endLoad(ConsoleWindow* window)
{
    if (--window->openLoads == 0)
        window->loaded = true;
}

/// Takes out a load that has been answered, and has done with it towards the application manager.
std::optional<ConsoleBrowser::Load> ConsoleBrowser::takeLoad(void* id)
{
    auto found = loads_.extract(id);
    if (!found)
        return std::nullopt;
    tasks_.push_back([this, id] { reportStopped(id); });
    return std::move(found.mapped());
}

ConsoleBrowser::Load* ConsoleBrowser::findLoad(void* id)
{
    const auto found = loads_.find(id);
    return found == loads_.end() ? nullptr : &found->second;
}

ConsoleWindow* ConsoleBrowser::findOpen(const TAVO_VestaWindow* window) const
{
    const auto found = std::find_if(windows_.begin(), windows_.end(), [window](const auto& entry) {
        return entry.second.get() == window;
    });
    return found == windows_.end() ? nullptr : found->second.get();
}

int ConsoleBrowser::clearHistory(TAVO_VestaWindow* window)
{
    return findOpen(window) ? 0 : 1;
}

TAVO_VestaWindow* ConsoleBrowser::findWindow(long id)
{
    const auto found = windows_.find(id);
    return found == windows_.end() ? nullptr : found->second.get();
}

long ConsoleBrowser::identifierOf(TAVO_VestaWindow* window)
{
    return findOpen(window) ? window->id : 0;
}

const char* ConsoleBrowser::loadingURL(TAVO_VestaWindow* window)
{
    return findOpen(window) ? window->url.c_str() : nullptr;
}

const char* ConsoleBrowser::resolve(const std::string& base, const std::string& url)
{
    answer_ = resolveURL(base, url);
    return answer_.empty() ? nullptr : answer_.c_str();
}

int ConsoleBrowser::setUserAgentExtension(const std::string& extension)
{
    report("user-agent", "user agent: " + extension, {{"extension", extension}});
    return 0;
}

int ConsoleBrowser::deliverKey(const TAVO_KeyboardEvent& event)
{
    const bool isDown = event.type == TAVO_KEY_DOWN;
    const std::string name = keyName(event.key_code);
    report("key", "key " + name + (isDown ? " down" : " up") + " delivered",
           {{"key", name}, {"down", isDown}});
    return 0;
}

void ConsoleBrowser::report(const std::string& event, const std::string& text,
                            const EventLog::Details& details)
{
    log_.report(Source::Browser, event, text, details);
}

}  // namespace receiver
