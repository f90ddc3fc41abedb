/// Files that WebKit is to keep its hands off: an XML AIT comes as bytes, and nothing else at all.
#ifndef VESTA_RECEIVER_WPE_TABLE_DOWNLOADS_H
#define VESTA_RECEIVER_WPE_TABLE_DOWNLOADS_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <wpe/webkit.h>

namespace receiver {

/// WebKit calls it a download whatever no page is made of. A television keeps no files: only those
/// that were expected come, and go when they have been read. Browser thread, in whose default main
/// context WebKit calls back.
class TableDownloads {
public:
    /// Hears what came, or nothing where the file did not come whole.
    /// @param view in which it was opened; null where it is gone
    using Listener = std::function<void(WebKitWebView* view, const std::string& url,
                                        const std::optional<std::string>& bytes)>;

    /// @param context borrowed, and outlived by this object's last use of it
    TableDownloads(WebKitWebContext* context, Listener hear);
    ~TableDownloads();
    TableDownloads(const TableDownloads&) = delete;
    TableDownloads& operator=(const TableDownloads&) = delete;

    /// What the view has begun to load is to come. @param url its own, after all redirections
    void expect(const WebKitWebView* view, const std::string& url) { expected_[view] = url; }

    /// The view goes on to something else, or goes away: nothing more is heard of what it loads.
    void forget(const WebKitWebView* view);

private:
    struct Download {
        std::string url;
        const WebKitWebView* view = nullptr;  ///< compared alone
        std::string path;
        unsigned silence = 0;  ///< a timer's source, while nothing comes
        bool isWhole = true;
        bool isWanted = true;
    };

    void started(WebKitDownload* download);
    void received(WebKitDownload* download);
    void finished(WebKitDownload* download);
    void waitFor(WebKitDownload* download);
    void removeFiles(const std::string& path) const;

    WebKitWebContext* const context_;
    const Listener hear_;
    std::string folder_;
    std::map<const WebKitWebView*, std::string> expected_;
    std::map<WebKitDownload*, Download> downloads_;
    unsigned long last_ = 0;
};

}  // namespace receiver

#endif
