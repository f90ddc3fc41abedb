/// The conversation of the library with browser, integrator and platform, in order.
///
/// The fakes write one line a call or notification. Log lines are not part of it (CapturedLog).
#ifndef VESTA_TESTS_SUPPORT_JOURNAL_H
#define VESTA_TESTS_SUPPORT_JOURNAL_H

#include <sstream>
#include <string>
#include <vector>

namespace vesta::test {

class Journal {
public:
    static Journal& instance()
    {
        static Journal journal;
        return journal;
    }

    template <typename... Parts>
    void write(const Parts&... parts)
    {
        std::ostringstream line;
        (line << ... << parts);
        lines_.push_back(line.str());
    }

    const std::vector<std::string>& lines() const { return lines_; }

    /// The lines so far; the journal starts anew.
    std::vector<std::string> take()
    {
        std::vector<std::string> taken;
        taken.swap(lines_);
        return taken;
    }

    void clear() { lines_.clear(); }

private:
    std::vector<std::string> lines_;
};

}  // namespace vesta::test

#endif
