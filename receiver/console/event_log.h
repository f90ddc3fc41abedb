/// What a person sees: one line a happening, in time order; and the same as JSON lines.
#ifndef VESTA_RECEIVER_CONSOLE_EVENT_LOG_H
#define VESTA_RECEIVER_CONSOLE_EVENT_LOG_H

#include <chrono>
#include <fstream>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "foundation/mutex.h"

namespace receiver {

/// Who made it happen.
enum class Source {
    Air,       ///< it came with the transport stream
    Library,   ///< the application manager reported or asked it
    Browser,   ///< the browser was made to do it
    Platform,  ///< a hook of the platform was called
    Script,    ///< a page's script asked for it
    User,      ///< a command
    Receiver,  ///< the receiver itself
    Decision,  ///< the application manager says why
    Log        ///< a log line of the application manager
};

/// A line that is being typed below the happenings. Called with the log locked.
class TypedLine {
public:
    virtual ~TypedLine() = default;
    virtual void hide() = 0;
    virtual void show() = 0;
};

/// Something that happened; borrowed for a call.
struct Happening {
    double time;  ///< seconds since the start
    Source source;
    const std::string& event;               ///< a short name that does not change, for programs
    const std::string& text;                ///< for people, a line, as it came
    const nlohmann::ordered_json& details;  ///< null when there is nothing more to know
};

/// {"time": seconds, "source": "air", "event": "ait", "text": "...", "details": {...}} in a line;
/// of what a terminal would obey nothing is left unescaped.
std::string jsonOf(const Happening& happening);

/// Somebody who hears of every happening. Called with the log locked, on any thread.
class Witness {
public:
    virtual ~Witness() = default;
    virtual void see(const Happening& happening) = 0;
};

/// Callable from any thread. The terminal gets every text, whoever wrote it, as printable() makes
/// it; the trace has it as it is.
class EventLog {
public:
    using Details = nlohmann::ordered_json;

    /// @param out borrowed @param colour whether to use the terminal's colours
    EventLog(std::ostream& out, bool colour);

    /// Writes every happening to a file too, one jsonOf() a line.
    /// @return whether the file could be opened
    bool openTrace(const std::string& path);

    /// @param event a short name that does not change, for programs
    /// @param text for people, a line
    /// @param details what a program may want to know; null when there is nothing
    void report(Source source, const std::string& event, const std::string& text,
                const Details& details = nullptr);

    /// For the trace and the witnesses alone.
    void trace(Source source, const std::string& event, const std::string& text,
               const Details& details);

    /// For the witnesses alone.
    void mention(Source source, const std::string& event, const std::string& text,
                 const Details& details = nullptr);

    /// Shows how far a long stream has been read; replaced by the next line. Terminals only.
    void progress(const std::string& text);

    /// Lines without time and source: answers to commands.
    void print(const std::vector<std::string>& lines);

    /// Those lines go there instead. @param lines borrowed; null: to everybody again
    void setAnswers(std::vector<std::string>* lines);

    /// Which output cannot be written any more, and why, for people; empty while all can.
    std::string problem() const;

    /// Hides a line while others are written. @param line borrowed; null for none
    void setTypedLine(TypedLine* line);

    /// @param witness borrowed until it is removed
    void addWitness(Witness* witness);
    void removeWitness(Witness* witness);

    double secondsSinceStart() const;

private:
    void write(const std::string& text) VESTA_REQUIRES(mutex_);
    void writeTrace(const Happening& happening) VESTA_REQUIRES(mutex_);
    void tellWitnesses(const Happening& happening) VESTA_REQUIRES(mutex_);
    void check(const std::ostream& stream, const std::string& name) VESTA_REQUIRES(mutex_);

    mutable VestaHbbTV::Mutex mutex_;
    std::ostream& out_ VESTA_GUARDED_BY(mutex_);
    const bool colour_;
    bool hasProgress_ VESTA_GUARDED_BY(mutex_) = false;
    TypedLine* typedLine_ VESTA_GUARDED_BY(mutex_) = nullptr;
    std::set<Witness*> witnesses_ VESTA_GUARDED_BY(mutex_);
    std::vector<std::string>* answers_ VESTA_GUARDED_BY(mutex_) = nullptr;
    std::ofstream trace_ VESTA_GUARDED_BY(mutex_);
    std::string tracePath_ VESTA_GUARDED_BY(mutex_);
    std::string problem_ VESTA_GUARDED_BY(mutex_);
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// "a 300,000-byte file" is easier to read than 300000.
std::string withSeparators(size_t number);

}  // namespace receiver

#endif
