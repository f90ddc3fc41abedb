#include "receiver/console/line_input.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <editline/readline.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include "receiver/session.h"

namespace receiver {

using VestaHbbTV::MutexLock;

namespace {

const char clearLine[] = "\r\033[K";

}  // namespace

// The editor calls back without a context.
LineInput* LineInput::current = nullptr;

LineInput::LineInput(Session& session, EventLog& log) : session_(session), log_(log)
{
    if (::pipe2(stopPipe_, O_CLOEXEC) != 0) {
        session_.endOfInput();
        return;
    }
    current = this;
    install();
    log_.setTypedLine(this);
    thread_ = std::thread([this] { run(); });
}

LineInput::~LineInput()
{
    if (!thread_.joinable())
        return;
    ::close(stopPipe_[1]);  // its other end becomes readable
    thread_.join();
    ::close(stopPipe_[0]);
    log_.setTypedLine(nullptr);
    rl_callback_handler_remove();
    hide();
    editor_.unlock();
    clear_history();
    current = nullptr;
}

void LineInput::install()
{
    rl_callback_handler_install("> ", [](char* line) { current->takeLine(line); });
}

void LineInput::run()
{
    pollfd waiting[] = {{STDIN_FILENO, POLLIN, 0}, {stopPipe_[0], POLLIN, 0}};
    while (!isAtEnd_) {
        const int ready = ::poll(waiting, 2, -1);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready < 0 || waiting[1].revents != 0)
            return;
        readCharacter();
    }
    session_.endOfInput();
}

void LineInput::readCharacter()
{
    std::optional<std::string> line;
    {
        const MutexLock lock(editor_);
        rl_callback_read_char();
        if (line_)
            install();  // after a line, the editor leaves the terminal to others
        line.swap(line_);
    }
    // The editor is free here: whoever the session wakes may write at once.
    if (line)
        session_.postLine(std::move(*line));
}

/// @param line malloc'ed; null at the end of the input
void LineInput::takeLine(char* line)
{
    isAtEnd_ = line == nullptr;
    if (isAtEnd_)
        return;
    if (*line)
        add_history(line);
    line_ = line;
    std::free(line);
}

void LineInput::hide()
{
    editor_.lock();
    std::fputs(clearLine, stdout);
}

void LineInput::show()
{
    rl_forced_update_display();
    std::fflush(stdout);
    editor_.unlock();
}

}  // namespace receiver
