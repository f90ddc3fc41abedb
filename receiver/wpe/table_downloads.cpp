#include "receiver/wpe/table_downloads.h"

#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "receiver/integration/xml_tables.h"

namespace receiver {

namespace {

std::optional<std::string> contentsOf(const std::string& path)
{
    gchar* bytes = nullptr;
    gsize length = 0;
    if (!g_file_get_contents(path.c_str(), &bytes, &length, nullptr))
        return std::nullopt;
    std::string contents(bytes, length);
    g_free(bytes);
    return contents;
}

/// A download whose network process has gone is not reported as failed, nor as anything else.
const guint longestSilenceSeconds = 30;

/// What WebKit calls a file while it comes.
const char partEnding[] = ".wkdownload";

std::string fileURLOf(const std::string& path)
{
    gchar* const text = g_filename_to_uri(path.c_str(), nullptr, nullptr);
    const std::string url = text ? text : "";
    g_free(text);
    return url;
}

}  // namespace

TableDownloads::TableDownloads(WebKitWebContext* context, Listener hear)
    : context_(context), hear_(std::move(hear))
{
    gchar* const folder = g_dir_make_tmp("vesta-XXXXXX", nullptr);
    if (folder)
        folder_ = folder;
    g_free(folder);
    g_signal_connect(
        context_, "download-started",
        G_CALLBACK(+[](WebKitWebContext* /*context*/, WebKitDownload* download, gpointer self) {
            static_cast<TableDownloads*>(self)->started(download);
        }),
        this);
}

TableDownloads::~TableDownloads()
{
    g_signal_handlers_disconnect_by_data(context_, this);
    for (const auto& [download, known] : downloads_) {
        g_signal_handlers_disconnect_by_data(download, this);
        if (known.silence != 0)
            g_source_remove(known.silence);
        webkit_download_cancel(download);
        g_object_unref(download);
    }
    // Also what the engine's own process has begun, whatever became of it.
    std::error_code problem;
    if (!folder_.empty())
        std::filesystem::remove_all(folder_, problem);
}

void TableDownloads::forget(const WebKitWebView* view)
{
    expected_.erase(view);
    std::vector<WebKitDownload*> givenUp;
    for (auto& [download, known] : downloads_) {
        if (known.view != view || !known.isWanted)
            continue;
        known.isWanted = false;
        givenUp.push_back(download);
    }
    for (WebKitDownload* const download : givenUp)
        webkit_download_cancel(download);
}

/// Until it says something, for so long.
void TableDownloads::waitFor(WebKitDownload* download)
{
    struct Waiting {
        TableDownloads* downloads;
        WebKitDownload* download;
    };
    Download& known = downloads_.at(download);
    if (known.silence != 0)
        g_source_remove(known.silence);
    known.silence = g_timeout_add_seconds_full(
        G_PRIORITY_DEFAULT, longestSilenceSeconds,
        [](gpointer data) -> gboolean {
            const auto* const waiting = static_cast<const Waiting*>(data);
            Download& silent = waiting->downloads->downloads_.at(waiting->download);
            silent.silence = 0;
            silent.isWhole = false;
            WebKitDownload* const late = waiting->download;
            g_object_ref(late);
            waiting->downloads->finished(late);
            webkit_download_cancel(late);
            g_object_unref(late);
            return G_SOURCE_REMOVE;
        },
        new Waiting{this, download}, [](gpointer made) { delete static_cast<Waiting*>(made); });
}

void TableDownloads::removeFiles(const std::string& path) const
{
    ::unlink(path.c_str());
    ::unlink((path + partEnding).c_str());
}

void TableDownloads::started(WebKitDownload* download)
{
    const auto expected = expected_.find(webkit_download_get_web_view(download));
    const std::string url = webkit_uri_request_get_uri(webkit_download_get_request(download));
    if (expected == expected_.end() || expected->second != url || folder_.empty())
        return webkit_download_cancel(download);
    g_object_ref(download);
    Download& known = downloads_[download];
    known.url = url;
    known.view = expected->first;
    known.path = folder_ + "/" + std::to_string(++last_);
    expected_.erase(expected);
    waitFor(download);
    g_signal_connect(
        download, "decide-destination",
        G_CALLBACK(+[](WebKitDownload* which, const char* /*name*/, gpointer self) -> gboolean {
            const auto& downloads = static_cast<TableDownloads*>(self)->downloads_;
            webkit_download_set_destination(which, fileURLOf(downloads.at(which).path).c_str());
            return TRUE;
        }),
        this);
    g_signal_connect(download, "received-data",
                     G_CALLBACK(+[](WebKitDownload* which, guint64 /*length*/, gpointer self) {
                         static_cast<TableDownloads*>(self)->received(which);
                     }),
                     this);
    g_signal_connect(download, "failed",
                     G_CALLBACK(+[](WebKitDownload* which, GError* /*error*/, gpointer self) {
                         static_cast<TableDownloads*>(self)->downloads_.at(which).isWhole = false;
                     }),
                     this);
    g_signal_connect(download, "finished", G_CALLBACK(+[](WebKitDownload* which, gpointer self) {
                         static_cast<TableDownloads*>(self)->finished(which);
                     }),
                     this);
}

/// A server that goes on and on fills no disk.
void TableDownloads::received(WebKitDownload* download)
{
    if (webkit_download_get_received_data_length(download) > longestXMLTable)
        webkit_download_cancel(download);
    else
        waitFor(download);
}

/// Comes after a failure, too.
void TableDownloads::finished(WebKitDownload* download)
{
    const Download known = downloads_.at(download);
    downloads_.erase(download);
    if (known.silence != 0)
        g_source_remove(known.silence);
    g_signal_handlers_disconnect_by_data(download, this);
    const auto bytes = known.isWhole ? contentsOf(known.path) : std::nullopt;
    removeFiles(known.path);
    if (known.isWanted)
        hear_(webkit_download_get_web_view(download), known.url, bytes);
    g_object_unref(download);
}

}  // namespace receiver
