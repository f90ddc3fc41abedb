#include "receiver/wpe/table_downloads.h"

#include <unistd.h>
#include <utility>

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
        webkit_download_cancel(download);
        ::unlink(known.path.c_str());
        g_object_unref(download);
    }
    ::rmdir(folder_.c_str());
}

void TableDownloads::started(WebKitDownload* download)
{
    const auto expected = expected_.find(webkit_download_get_web_view(download));
    if (expected == expected_.end() || folder_.empty())
        return webkit_download_cancel(download);
    g_object_ref(download);
    downloads_[download] = {expected->second, folder_ + "/" + std::to_string(++last_)};
    expected_.erase(expected);
    g_signal_connect(
        download, "decide-destination",
        G_CALLBACK(+[](WebKitDownload* which, const char* /*name*/, gpointer self) -> gboolean {
            const auto& downloads = static_cast<TableDownloads*>(self)->downloads_;
            webkit_download_set_destination(which, ("file://" + downloads.at(which).path).c_str());
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
}

/// Comes after a failure, too.
void TableDownloads::finished(WebKitDownload* download)
{
    const Download known = downloads_.at(download);
    downloads_.erase(download);
    const auto bytes = known.isWhole ? contentsOf(known.path) : std::nullopt;
    ::unlink(known.path.c_str());
    hear_(webkit_download_get_web_view(download), known.url, bytes);
    g_signal_handlers_disconnect_by_data(download, this);
    g_object_unref(download);
}

}  // namespace receiver
