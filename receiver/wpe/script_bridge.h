/// Synchronous calls of the pages' scripts: a private socket to each web process.
#ifndef VESTA_RECEIVER_WPE_SCRIPT_BRIDGE_H
#define VESTA_RECEIVER_WPE_SCRIPT_BRIDGE_H

#include <cstdint>
#include <functional>
#include <gio/gio.h>
#include <memory>
#include <set>
#include <string>

namespace receiver {

/// Who calls: one document in one frame.
struct Caller {
    uint64_t page = 0;      ///< WebKit's number of the page
    uint64_t document = 0;  ///< counts up in each web process
    bool isMainFrame = false;
};

/// The host's end. While a call is answered its web process waits; nothing else does. Browser
/// thread.
class ScriptBridge {
public:
    using Handler = std::function<std::string(const Caller& caller, const std::string& call)>;

    explicit ScriptBridge(Handler handler);
    ~ScriptBridge();
    ScriptBridge(const ScriptBridge&) = delete;
    ScriptBridge& operator=(const ScriptBridge&) = delete;

    /// The socket's path, for the web processes; empty when there can be none.
    const std::string& path() const { return path_; }

private:
    struct Connection;

    static gboolean accept(GSocketService* service, GSocketConnection* connection, GObject* source,
                           gpointer bridge);
    static gboolean readable(GSocket* socket, GIOCondition condition, gpointer connection);
    bool read(Connection& connection);
    bool answer(Connection& connection);

    Handler handler_;
    std::string folder_;
    std::string path_;
    GSocketService* service_ = nullptr;
    std::set<std::unique_ptr<Connection>> connections_;
};

}  // namespace receiver

#endif
