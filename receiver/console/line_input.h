/// Lines that a person types, with editing and history (libedit).
#ifndef VESTA_RECEIVER_CONSOLE_LINE_INPUT_H
#define VESTA_RECEIVER_CONSOLE_LINE_INPUT_H

#include <optional>
#include <string>
#include <thread>

#include "foundation/mutex.h"
#include "receiver/console/event_log.h"

namespace receiver {

class Session;

/// Reads the terminal on a thread of its own and posts the lines to a session. There is one
/// terminal, so one of these.
class LineInput : private TypedLine {
public:
    /// @param session, log borrowed, must outlive this object
    LineInput(Session& session, EventLog& log);

    /// Ends the thread; a line that is being typed is lost.
    ~LineInput() override;
    LineInput(const LineInput&) = delete;
    LineInput& operator=(const LineInput&) = delete;

private:
    void hide() override VESTA_THREAD_SAFETY(acquire_capability(editor_));
    void show() override VESTA_THREAD_SAFETY(release_capability(editor_));
    static void install();
    void run();
    void readCharacter();
    void takeLine(char* line);

    Session& session_;
    EventLog& log_;
    int stopPipe_[2] = {-1, -1};
    VestaHbbTV::Mutex editor_;  // held while libedit is called, which knows nothing of threads
    std::optional<std::string> line_;
    bool isAtEnd_ = false;
    std::thread thread_;

    static LineInput* current;
};

}  // namespace receiver

#endif
