#include "receiver/console_browser.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/page.h"

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

/// The file of a site that answers for a URL; a path never leaves the site's folder.
std::filesystem::path fileOf(const Site& site, const std::string& url)
{
    std::string path = url.substr(site.prefix.size());
    path = path.substr(0, path.find_first_of("?#"));
    path.erase(0, path.find_first_not_of('/'));
    if (path.empty() || path.back() == '/')
        path += "index.html";
    const std::filesystem::path relative = std::filesystem::path(path).lexically_normal();
    if (relative.is_absolute() || beginsWith(relative.string(), ".."))
        return {};
    return std::filesystem::path(site.folder) / relative;
}

struct KeyName {
    const char* name;
    int code;
};

const KeyName keyNames[] = {
    {"RED", TAVO_VK_RED},
    {"GREEN", TAVO_VK_GREEN},
    {"YELLOW", TAVO_VK_YELLOW},
    {"BLUE", TAVO_VK_BLUE},
    {"OK", TAVO_VK_ENTER},
    {"ENTER", TAVO_VK_ENTER},
    {"LEFT", TAVO_VK_LEFT},
    {"UP", TAVO_VK_UP},
    {"RIGHT", TAVO_VK_RIGHT},
    {"DOWN", TAVO_VK_DOWN},
    {"BACK", TAVO_VK_BACK},
    {"PLAY", TAVO_VK_PLAY},
    {"PAUSE", TAVO_VK_PAUSE},
    {"STOP", TAVO_VK_STOP},
    {"REWIND", TAVO_VK_REWIND},
    {"FORWARD", TAVO_VK_FAST_FORWARD},
    {"PLAYPAUSE", TAVO_VK_PLAY_PAUSE},
    {"PAGEUP", TAVO_VK_PAGE_UP},
    {"PAGEDOWN", TAVO_VK_PAGE_DOWN},
    {"INFO", TAVO_VK_INFO},
};

}  // namespace

std::string keyName(int code)
{
    for (const KeyName& key : keyNames) {
        if (key.code == code)
            return key.name;
    }
    const bool isCharacter =
        (code >= TAVO_VK_0 && code <= TAVO_VK_9) || (code >= TAVO_VK_A && code <= TAVO_VK_Z);
    return isCharacter ? std::string(1, static_cast<char>(code)) : std::to_string(code);
}

int keyCode(const std::string& name)
{
    std::string upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    for (const KeyName& key : keyNames) {
        if (upper == key.name)
            return key.code;
    }
    const bool isCharacter =
        upper.size() == 1 && std::isalnum(static_cast<unsigned char>(upper[0]));
    return isCharacter ? static_cast<unsigned char>(upper[0]) : 0;
}

ConsoleBrowser::ConsoleBrowser(EventLog& log, std::vector<Site> sites)
    : log_(log), sites_(std::move(sites))
{
    current = this;
}

ConsoleBrowser::~ConsoleBrowser()
{
    current = nullptr;
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

/// Queues a task that is dropped when its window is closed before.
void ConsoleBrowser::later(TAVO_VestaWindow* window, Task task)
{
    const long id = window->id;
    tasks_.push_back([this, id, task = std::move(task)] {
        if (windows_.count(id) != 0)
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
    auto window = std::make_unique<TAVO_VestaWindow>();
    window->id = nextId_++;
    report("window-opened", windowName(window.get()) + " opened", {{"window", window->id}});
    return windows_.emplace(window->id, std::move(window)).first->second.get();
}

void ConsoleBrowser::closeWindow(TAVO_VestaWindow* window)
{
    if (!isOpen(window))
        return;
    report("window-closed", windowName(window) + " closed", {{"window", window->id}});
    if (focused_ == window)
        focused_ = nullptr;
    // Loads that are still open are cancelled, as a browser does it; their answers go nowhere.
    for (auto load = loads_.begin(); load != loads_.end();) {
        const bool isOfWindow = load->second->window == window;
        if (isOfWindow) {
            void* const id = load->first;
            tasks_.push_back([id, dead = std::shared_ptr<Load>(std::move(load->second))] {
                TavoVestaEventData data = {};
                data.request_id = id;
                VestaHbbTV::vesta_hbbtv_handle_notification(
                    nullptr, nullptr, TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP, &data, nullptr);
            });
        }
        load = isOfWindow ? loads_.erase(load) : std::next(load);
    }
    windows_.erase(window->id);
}

void ConsoleBrowser::setVisible(TAVO_VestaWindow* window, bool visible)
{
    if (!isOpen(window))
        return;
    window->visible = visible;
    if (visible)
        focused_ = window;
    else if (focused_ == window)
        focused_ = nullptr;
    report(visible ? "window-shown" : "window-hidden",
           windowName(window) + (visible ? " shown" : " hidden"), {{"window", window->id}});
}

int ConsoleBrowser::openURL(TAVO_VestaWindow* window, const std::string& url)
{
    if (!isOpen(window))
        return 1;
    window->url = url;
    window->loaded = false;
    report("open", windowName(window) + " opens " + url, {{"window", window->id}, {"url", url}});
    later(window, [this, window] { openPage(window); });
    return 0;
}

void ConsoleBrowser::openPage(TAVO_VestaWindow* window)
{
    TavoVestaEventData data = {};
    data.url = window->url.c_str();
    VestaHbbTV::vesta_hbbtv_handle_notification(nullptr, window, TAVO_VESTA_EVT_URL_CHANGED, &data,
                                                nullptr);
    if (beginsWith(window->url, "dvb:"))
        startLoad(window, window->url, true);
    else
        openSitePage(window);
}

void ConsoleBrowser::startLoad(TAVO_VestaWindow* window, const std::string& url, bool isPage)
{
    auto load = std::make_unique<Load>(Load{window, url, isPage, "", ""});
    void* const id = load.get();
    loads_.emplace(id, std::move(load));
    ++window->openLoads;
    TavoVestaEventData data = {};
    data.url = url.c_str();
    data.request_id = id;
    int result = 0;
    const unsigned int consumed = VestaHbbTV::vesta_hbbtv_handle_notification(
        nullptr, window, TAVO_VESTA_EVT_PROTOCOL_LOADING_START, &data, &result);
    if (consumed == 0 || result != 0)
        fail(id, httpNotFound);
}

void ConsoleBrowser::openSitePage(TAVO_VestaWindow* window)
{
    const Site* best = nullptr;
    for (const Site& site : sites_) {
        if (beginsWith(window->url, site.prefix) &&
            (!best || site.prefix.size() > best->prefix.size()))
            best = &site;
    }
    window->loaded = true;
    if (!best) {
        report("load-failed", window->url + ": no connection (no --site answers for it)",
               {{"url", window->url}, {"status", nullptr}});
        reportFinished(window, TAVO_LOAD_CONNECTION_FAILED, 0);
        return;
    }
    const std::filesystem::path path = fileOf(*best, window->url);
    std::ifstream file(path, std::ios::binary);
    if (path.empty() || std::filesystem::is_directory(path) || !file) {
        report("load-failed", window->url + ": 404",
               {{"url", window->url}, {"status", httpNotFound}});
        reportFinished(window, loadOK, httpNotFound);
        return;
    }
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    loaded_[window->url] = bytes.size();
    report("loaded", window->url + ": " + quantity(bytes.size()),
           {{"url", window->url}, {"size", bytes.size()}, {"status", httpOK}});
    reportFinished(window, loadOK, httpOK);
}

void ConsoleBrowser::reportFinished(TAVO_VestaWindow* window, int loadStatus,
                                    unsigned short httpStatus)
{
    TavoVestaEventData data = {};
    data.url = window->url.c_str();
    data.load_status = loadStatus;
    data.http_status = httpStatus;
    VestaHbbTV::vesta_hbbtv_handle_notification(nullptr, window, TAVO_VESTA_EVT_LOADING_FINISHED,
                                                &data, nullptr);
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
    const std::unique_ptr<Load> load = takeLoad(id);
    if (!load)
        return 1;
    loaded_[load->url] = load->bytes.size();
    report("loaded",
           load->url + ": " + quantity(load->bytes.size()) +
               (load->mimeType.empty() ? "" : ", " + load->mimeType),
           {{"url", load->url},
            {"size", load->bytes.size()},
            {"type", load->mimeType},
            {"status", status}});
    TAVO_VestaWindow* const window = load->window;
    if (load->isPage) {
        if (isPage(load->url, load->mimeType))
            loadSubresources(*load);
        later(window, [this, window] { reportFinished(window, loadOK, httpOK); });
    }
    endLoad(window);
    return 0;
}

void ConsoleBrowser::loadSubresources(const Load& page)
{
    for (const std::string& reference : subresources(page.bytes))
        loadResource(page.window, reference);
}

void ConsoleBrowser::loadResource(TAVO_VestaWindow* window, const std::string& reference)
{
    const std::string url = resolveURL(window->url, reference);
    if (!beginsWith(url, "dvb:"))
        return;
    window->loaded = false;
    ++window->openLoads;
    later(window, [this, window, url] {
        startLoad(window, url, false);
        endLoad(window);
    });
}

int ConsoleBrowser::fail(void* id, int status)
{
    const std::unique_ptr<Load> load = takeLoad(id);
    if (!load)
        return 1;  // a load can be answered with a failure twice
    report("load-failed", load->url + ": " + std::to_string(status),
           {{"url", load->url}, {"status", status}});
    TAVO_VestaWindow* const window = load->window;
    if (load->isPage)
        later(window, [window] {
            TavoVestaEventData data = {};
            data.url = window->url.c_str();
            VestaHbbTV::vesta_hbbtv_handle_notification(
                nullptr, window, TAVO_VESTA_EVT_LOADING_FAILED, &data, nullptr);
        });
    endLoad(window);
    return 0;
}

void ConsoleBrowser::endLoad(TAVO_VestaWindow* window)
{
    if (--window->openLoads == 0)
        window->loaded = true;
}

std::unique_ptr<ConsoleBrowser::Load> ConsoleBrowser::takeLoad(void* id)
{
    const auto found = loads_.find(id);
    if (found == loads_.end())
        return nullptr;
    std::unique_ptr<Load> load = std::move(found->second);
    loads_.erase(found);
    return load;
}

ConsoleBrowser::Load* ConsoleBrowser::findLoad(void* id)
{
    const auto found = loads_.find(id);
    return found == loads_.end() ? nullptr : found->second.get();
}

bool ConsoleBrowser::isOpen(const TAVO_VestaWindow* window) const
{
    return std::any_of(windows_.begin(), windows_.end(),
                       [window](const auto& entry) { return entry.second.get() == window; });
}

int ConsoleBrowser::clearHistory(TAVO_VestaWindow* window)
{
    return isOpen(window) ? 0 : 1;
}

TAVO_VestaWindow* ConsoleBrowser::findWindow(long id)
{
    const auto found = windows_.find(id);
    return found == windows_.end() ? nullptr : found->second.get();
}

long ConsoleBrowser::identifierOf(TAVO_VestaWindow* window)
{
    return isOpen(window) ? window->id : 0;
}

const char* ConsoleBrowser::loadingURL(TAVO_VestaWindow* window)
{
    return isOpen(window) ? window->url.c_str() : nullptr;
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
