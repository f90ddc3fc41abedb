#include "tests/recorder/recorded_run.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vesta::test {

const std::vector<std::string> ways = {"lazy", "now", "no_pie", "linked", "local"};

namespace {

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> emulator()
{
    std::istringstream words(VESTA_EMULATOR);
    return {std::istream_iterator<std::string>(words), {}};
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(&text[0]);
    pointers.push_back(nullptr);
    return pointers;
}

/// The environment of this process without what is said to the recorder and the linker.
std::vector<std::string> plainEnvironment()
{
    std::vector<std::string> variables;
    for (char** variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        if (text.rfind("VESTA_RECORD", 0) != 0 && text.rfind("LD_PRELOAD=", 0) != 0)
            variables.push_back(text);
    }
    return variables;
}

}  // namespace

TemporaryFolder::TemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "recorderXXXXXX").string();
    EXPECT_NE(mkdtemp(&pattern[0]), nullptr);
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ProgramResult runProgram(const std::string& way, const std::string& story,
                         const std::map<std::string, std::string>& recorderVariables)
{
    const TemporaryFolder folder;
    std::vector<std::string> arguments = emulator();
    std::vector<std::string> variables = plainEnvironment();
    for (const auto& [name, value] : recorderVariables)
        variables.push_back(name + "=" + value);
    if (!recorderVariables.empty() && way != "linked") {
        const std::string preload = "LD_PRELOAD=" VESTA_RECORDER;
        if (arguments.empty())
            variables.push_back(preload);
        else  // the program's, and not the emulator's
            arguments.insert(arguments.end(), {"-E", preload});
    }
    arguments.push_back(VESTA_PROGRAMS "/vesta_recorded_" + way);
    arguments.push_back(story);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    const std::string output = folder / "output";
    const std::string complaints = folder / "complaints";
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), flags, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, complaints.c_str(), flags, 0600);
    pid_t child = 0;
    const int failed = posix_spawnp(&child, arguments[0].c_str(), &actions, nullptr,
                                    pointersTo(arguments).data(), pointersTo(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(failed, 0) << arguments[0];

    ProgramResult result;
    int status = 0;
    if (failed == 0)
        waitpid(child, &status, 0);
    result.exitCode = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    result.output = contentOf(output);
    result.complaints = contentOf(complaints);
    return result;
}

std::vector<std::string> linesOf(const std::string& path)
{
    std::istringstream content(contentOf(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(content, line);)
        lines.push_back(line);
    return lines;
}

void writeLines(const std::string& path, const std::vector<std::string>& lines)
{
    std::ofstream file(path, std::ios::binary);
    for (const std::string& line : lines)
        file << line << '\n';
}

std::vector<std::string> timelessLinesOf(const std::string& path)
{
    const std::regex time("\"at\":-?[0-9]+,|\"started\":\"[^\"]*\",|\"pointer_bits\":[0-9]+,");
    std::vector<std::string> lines;
    for (const std::string& line : linesOf(path))
        lines.push_back(std::regex_replace(line, time, ""));
    return lines;
}

std::vector<std::string> recordOf(const std::string& way, const std::string& story,
                                  const std::map<std::string, std::string>& variables)
{
    const TemporaryFolder folder;
    std::map<std::string, std::string> all = variables;
    all["VESTA_RECORD"] = folder / "record";
    EXPECT_EQ(runProgram(way, story, all).exitCode, 0) << story;
    return timelessLinesOf(folder / "record");
}

}  // namespace vesta::test
