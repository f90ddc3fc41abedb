/// Runs the recorded program, with the recorder or without it.
#ifndef VESTA_TESTS_RECORDER_RECORDED_RUN_H
#define VESTA_TESTS_RECORDER_RECORDED_RUN_H

#include <map>
#include <string>
#include <vector>

namespace vesta::test {

/// A folder that lives as long as this.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

struct ProgramResult {
    std::string output;      ///< on the standard output
    std::string complaints;  ///< on the standard error output
    int exitCode = 0;        ///< negative: the signal that ended it
};

/// How the program is linked, and so how the recorder comes before the library: "lazy", "now",
/// "no_pie" have it preloaded, "linked" was linked with it, and "local" is a plugin of a program
/// that has it preloaded.
extern const std::vector<std::string> ways;

/// @param recorderVariables VESTA_RECORD and what else; none: it runs without the recorder, or with
///        one that has nothing to do
ProgramResult runProgram(const std::string& way, const std::string& story,
                         const std::map<std::string, std::string>& recorderVariables = {});

/// A file's lines; none where there is no file.
std::vector<std::string> linesOf(const std::string& path);

void writeLines(const std::string& path, const std::vector<std::string>& lines);

/// A record's lines without what differs from run to run: the times, and the width of pointers.
std::vector<std::string> timelessLinesOf(const std::string& path);

/// The record of one story, which was told in that way. @param variables besides VESTA_RECORD
std::vector<std::string> recordOf(const std::string& way, const std::string& story,
                                  const std::map<std::string, std::string>& variables = {});

}  // namespace vesta::test

#endif
