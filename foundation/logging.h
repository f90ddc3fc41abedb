/// @file
/// The process-wide log: lines are built as LogEntry and handed to the sinks that the integrator
/// registered. Without a sink a line of the library costs one load and a branch.
#ifndef VESTA_FOUNDATION_LOGGING_H
#define VESTA_FOUNDATION_LOGGING_H

#include <atomic>
#include <cstddef>
#include <ctime>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "foundation/mutex.h"
#include "foundation/visibility.h"

namespace VestaHbbTV {

// Many programs are compiled with -DDEBUG. The macro stays theirs: to log at that level they
// undefine it after this header, or write LogLevel(1).
#pragma push_macro("DEBUG")
#undef DEBUG

/// Severities; higher is more severe. @since 1.0
enum LogLevel : int {
    DEBUG = 1,  ///< each step, for whoever looks for a fault
    LOG = 2,    ///< what happens
    WARN = 3,   ///< something is odd; it goes on
    ERR = 4     ///< something could not be done
};

#pragma pop_macro("DEBUG")

/// One log line under construction; belongs to the thread that builds it.
///
/// `LogEntry(LOG, "Window") << "text";` writes a line: it is dispatched when the entry dies.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED LogEntry {
public:
    /// Writes the line's prefix: local date and time, level tag and module. The time zone is that
    /// of the latest tzset(); POSIX has no lock for it, so no other thread may change the zone (TZ
    /// with tzset() or whatever calls it) while lines are written: that is for the integrator to
    /// avoid.
    /// @param level a value outside the list loses only its tag
    /// @param module right-aligned in twelve columns; may be empty
    LogEntry(LogLevel level, std::string module);
    LogEntry(const LogEntry&) = delete;
    LogEntry& operator=(const LogEntry&) = delete;

    /// Ends the line as output() does. A line for which there is no memory is lost.
    ~LogEntry();

    /// The line so far: prefix and text. Its formatting is that of a new stream; the numbered slots
    /// of ios_base (iword, pword) are not to be used.
    std::ostringstream& stream() { return line_->text; }

    /// Writes to the line whatever a stream can write, manipulators too. @return this entry
    template <typename Value>
    LogEntry& operator<<(const Value& value)
    {
        stream() << value;
        return *this;
    }

    /// The same for std::endl and its like, which are templates themselves.
    LogEntry& operator<<(std::ostream& (*manipulator)(std::ostream&))
    {
        stream() << manipulator;
        return *this;
    }

    /// Ends the line and hands it to every sink; does nothing the second time.
    void output();

    /// As given to the constructor; sinks judge by it.
    LogLevel getLevel() const { return level_; }

    /// As given to the constructor. Borrowed while the entry lives.
    const std::string& getModule() const { return module_; }

private:
    friend class Logging;

    /// What a line is built in. Making a stream is most of a line's cost, so lines serve again.
    struct VESTA_HIDDEN Line {
        /// What tzset() stores of a time zone: its two names, its distance from UTC and whether it
        /// has a summer time. Asking for more than that would cost a conversion a line.
        using Zone = std::tuple<const char*, const char*, long, int>;

        std::ostringstream text;
        std::time_t second = -1;  ///< that `date` stands for
        Zone zone;                ///< likewise
        size_t dateLength = 0;
        char date[32] = "";

        std::string_view dateAndTime();
    };

    VESTA_HIDDEN static std::unique_ptr<Line> takeLine();
    VESTA_HIDDEN static void giveBack(std::unique_ptr<Line> line);
    VESTA_HIDDEN void writePrefix();

    /// The line that waits for the next entry; null while an entry has it. Entries that live at
    /// the same time make lines of their own.
    VESTA_HIDDEN static std::atomic<Line*> spareLine;

    LogLevel level_;
    std::string module_;
    std::unique_ptr<Line> line_;
    bool isOutput_ = false;
};

/// A sink. It gets every entry and judges the level itself. output() runs on the logging thread and
/// the destructor on that which deletes the log; both run under the log's mutex and must neither
/// log nor add sinks.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED LoggingOutput {
public:
    /// A sink of nobody yet: Logging::addOutput() registers it, and owns it from then on.
    /// @param minimumLevel lines below it are to be dropped
    explicit LoggingOutput(LogLevel minimumLevel);
    LoggingOutput(const LoggingOutput&) = delete;
    LoggingOutput& operator=(const LoggingOutput&) = delete;

    /// The log calls it for the sinks that it owns.
    virtual ~LoggingOutput();

    /// Takes a line, be it to write it or to drop it. It must not throw.
    /// @param entry the finished line, borrowed for the call
    virtual void output(LogEntry& entry) = 0;

protected:
    /// Whether the line is severe enough for this sink.
    bool accepts(const LogEntry& entry) const { return entry.getLevel() >= minimumLevel_; }

private:
    LogLevel minimumLevel_;
};

/// Writes to standard output, flushing every line.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED LoggingOutputStdout : public LoggingOutput {
public:
    /// Writes as soon as it is registered.
    /// @param minimumLevel the least severe level that is written
    explicit LoggingOutputStdout(LogLevel minimumLevel);

    /// Writes the line, if it is severe enough.
    void output(LogEntry& entry) override;
};

/// Appends to a file, flushing every line. Lines are lost while no file is open.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED LoggingOutputFile : public LoggingOutput {
public:
    /// Without a file yet.
    /// @param minimumLevel the least severe level that is written
    explicit LoggingOutputFile(LogLevel minimumLevel);

    /// Opens a file for appending in place of the one open before. To be called before the sink is
    /// registered, or while no other thread logs.
    /// @param path borrowed for the call; null opens none
    /// @return whether it is open
    bool openFile(const char* path);

    /// Appends the line, if a file is open and the line is severe enough. One that cannot be
    /// written is lost, but not those after it.
    void output(LogEntry& entry) override;

private:
    std::unique_ptr<std::ofstream> file_;
};

/// The dispatcher. It is created without a lock, by vesta_hbbtv_init() at the latest; any thread
/// may log from then on.
/// @thread{any} @since 1.0
class VESTA_EXPORTED Logging {
public:
    /// The one instance, created on first use (without a lock): no other thread may log until the
    /// first call has returned. Never null.
    static Logging* getInstance();

    Logging(const Logging&) = delete;
    Logging& operator=(const Logging&) = delete;

    /// Deletes the registered sinks; a later getInstance() starts anew. No other thread may log
    /// meanwhile.
    ~Logging();

    /// Appends a sink.
    /// @param output ownership passes to the log, so that none is added twice; null is skipped at
    ///        output
    void addOutput(LoggingOutput* output);

    /// Hands an entry to every sink in order of addition, one entry at a time: other threads wait.
    void output(LogEntry& entry);

    /// Whether any sink is registered. A thread that sees one also sees the instance.
    static bool hasOutputs() { return outputCount.load(std::memory_order_acquire) != 0; }

    /// What getInstance() made: null before its first call, and after the end. Not to be set.
    static Logging* instance;

private:
    Logging();

    static std::atomic<unsigned> outputCount;

    Mutex mutex_;
    std::vector<LoggingOutput*> outputs_ VESTA_GUARDED_BY(mutex_);
};

/// Writes one line, which log() calls with its parts: what is done about a want of memory is no
/// caller's, who may be compiled without exceptions. A line for which there is none is lost.
/// @param module as LogEntry takes it; borrowed for the call, not null
/// @param write writes the parts to the line's stream
/// @param parts for `write` alone; borrowed for the call
/// @thread{any} @since 1.0
VESTA_EXPORTED void logLine(LogLevel level, const char* module,
                            void (*write)(std::ostream& line, const void* parts),
                            const void* parts);

/// A part of a line as it is handed on: a text by its address, so that its length makes no type of
/// its own, numbers as they are, and everything else by reference. @since 1.0
template <typename Part, typename Value = std::decay_t<const Part&>>
using BorrowedPart = std::conditional_t<std::is_scalar_v<Value>, Value, const Part&>;

/// log() for parts of these types, which all lines that consist of such share: out of line, or
/// a large part of the library would be its log. Does not ask for sinks.
/// @param module as LogEntry takes it; borrowed for the call, not null
/// @param parts as BorrowedPart makes them
/// @thread{any} @since 1.0
template <typename... Borrowed>
[[gnu::noinline]] void logParts(LogLevel level, const char* module, Borrowed... parts)
{
    const auto write = [&parts...](std::ostream& line) {
        static_cast<void>((line << ... << parts));
    };
    using Write = decltype(write);
    logLine(
        level, module,
        [](std::ostream& line, const void* borrowed) {
            (*static_cast<const Write*>(borrowed))(line);
        },
        &write);
}

/// Writes one line of the library's own, made of the parts in their order. A line for which there
/// is no memory is lost; without a sink nothing is made.
/// @param module as LogEntry takes it; borrowed for the call, not null
/// @param parts whatever a stream can write, manipulators too
/// @thread{any} @since 1.0
template <typename... Parts>
inline void log(LogLevel level, const char* module, const Parts&... parts)
{
    if (Logging::hasOutputs())
        logParts<BorrowedPart<Parts>...>(level, module, parts...);
}

}  // namespace VestaHbbTV

#endif
