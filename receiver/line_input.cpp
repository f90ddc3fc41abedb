#include "receiver/line_input.h"

#include <cstdlib>
#include <editline/readline.h>
#include <poll.h>
#include <string>
#include <unistd.h>

#include "receiver/commands.h"
#include "receiver/session.h"

namespace receiver {

namespace {

// The editor calls back without a context; there is one terminal.
Session* lineTarget = nullptr;

void takeLine(char* line)
{
    if (!lineTarget)
        return;
    if (!line) {
        lineTarget->endOfInput();
        return;
    }
    if (*line)
        add_history(line);
    lineTarget->postLine(line);
    std::free(line);
}

/// Waits for input on standard input. @return false when the pipe says to stop
bool waitForInput(int stopPipe)
{
    pollfd waiting[] = {{STDIN_FILENO, POLLIN, 0}, {stopPipe, POLLIN, 0}};
    while (::poll(waiting, 2, -1) < 0) {
    }
    return waiting[1].revents == 0;
}

}  // namespace

LineInput::LineInput(Session& session) : session_(session)
{
    if (::pipe(stopPipe_) != 0) {
        stopPipe_[0] = stopPipe_[1] = -1;
        session_.endOfInput();
        return;
    }
    thread_ = std::thread([this] {
        if (::isatty(STDIN_FILENO))
            readTerminal();
        else
            readLines();
    });
}

LineInput::~LineInput()
{
    if (!thread_.joinable())
        return;
    const char stop = 's';
    if (::write(stopPipe_[1], &stop, 1) == 1)
        thread_.join();
    else
        thread_.detach();
    ::close(stopPipe_[0]);
    ::close(stopPipe_[1]);
}

void LineInput::readTerminal()
{
    lineTarget = &session_;
    rl_callback_handler_install("> ", takeLine);
    while (waitForInput(stopPipe_[0]))
        rl_callback_read_char();
    rl_callback_handler_remove();
    lineTarget = nullptr;
}

void LineInput::readLines()
{
    std::string line;
    while (waitForInput(stopPipe_[0])) {
        char character = 0;
        if (::read(STDIN_FILENO, &character, 1) != 1) {
            if (!line.empty())
                session_.postLine(line);
            session_.endOfInput();
            return;
        }
        if (character != '\n') {
            line += character;
            continue;
        }
        session_.postLine(line);
        line.clear();
    }
}

}  // namespace receiver
