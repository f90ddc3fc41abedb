// The sinks of the library: standard output, a file, and lines of several threads.

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "foundation/logging.h"

using namespace VestaHbbTV;

namespace {

namespace fs = std::filesystem;

/// What a line holds behind its date.
std::string behindDate(const std::string& line)
{
    const size_t tag = line.find("   LOG ");
    return tag == std::string::npos ? line : line.substr(tag);
}

std::string contentOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

std::vector<std::string> linesOf(const fs::path& path)
{
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

long openFilesUnder(const fs::path& path)
{
    long count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        count += fs::read_symlink(entry.path(), gone) == path;
    }
    return count;
}

class LoggingOutputFileTest : public ::testing::Test {
protected:
    LoggingOutputFileTest()
    {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        directory_ = fs::temp_directory_path() /
                     ("vesta-" + std::to_string(::getpid()) + "-" + test->name());
        fs::create_directories(directory_);
    }

    ~LoggingOutputFileTest() override
    {
        delete Logging::getInstance();
        fs::remove_all(directory_);
    }

    LoggingOutputFile* add(LogLevel minimumLevel = DEBUG)
    {
        auto* const output = new LoggingOutputFile(minimumLevel);
        Logging::getInstance()->addOutput(output);
        return output;
    }

    fs::path directory_;
};

TEST_F(LoggingOutputFileTest, WritesEveryLineThroughAtOnce)
{
    const fs::path path = directory_ / "log";
    EXPECT_TRUE(add()->openFile(path.c_str()));
    std::string expected;
    for (const char* text : {"first", "second"}) {
        LogEntry entry(LOG, "Window");
        entry << text;
        entry.output();
        expected += entry.stream().str();
        EXPECT_EQ(contentOf(path), expected);
    }
    EXPECT_EQ(behindDate(expected.substr(0, expected.find('\n'))), "   LOG [      Window] first");
}

TEST_F(LoggingOutputFileTest, AppendsToWhatIsThere)
{
    const fs::path path = directory_ / "log";
    std::ofstream(path) << "kept\n";
    EXPECT_TRUE(add()->openFile(path.c_str()));
    LogEntry(LOG, "M") << "new";
    const auto lines = linesOf(path);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "kept");
    EXPECT_EQ(behindDate(lines[1]), "   LOG [           M] new");
}

TEST_F(LoggingOutputFileTest, DropsLinesBelowItsMinimumLevel)
{
    const fs::path path = directory_ / "log";
    EXPECT_TRUE(add(WARN)->openFile(path.c_str()));
    for (const int level : {-1, 0, 1, 2, 3, 4, 5})
        LogEntry(static_cast<LogLevel>(level), "M") << "level " << level;
    const auto lines = linesOf(path);
    ASSERT_EQ(lines.size(), 3u);
    for (size_t n = 0; n < lines.size(); ++n)
        EXPECT_NE(lines[n].find("level " + std::to_string(n + 3)), std::string::npos) << lines[n];
}

TEST_F(LoggingOutputFileTest, OpeningAgainReleasesTheFirstFile)
{
    const fs::path first = directory_ / "first";
    const fs::path second = directory_ / "second";
    LoggingOutputFile* const output = add();
    EXPECT_TRUE(output->openFile(first.c_str()));
    LogEntry(LOG, "M") << "one";
    EXPECT_EQ(openFilesUnder(first), 1);
    EXPECT_TRUE(output->openFile(second.c_str()));
    EXPECT_EQ(openFilesUnder(first), 0);
    LogEntry(LOG, "M") << "two";
    EXPECT_EQ(linesOf(first).size(), 1u);
    EXPECT_EQ(linesOf(second).size(), 1u);
    EXPECT_TRUE(output->openFile(first.c_str()));
    LogEntry(LOG, "M") << "three";
    EXPECT_EQ(linesOf(first).size(), 2u);
}

TEST_F(LoggingOutputFileTest, AFailedOpeningLosesLinesSilently)
{
    const fs::path path = directory_ / "log";
    LoggingOutputFile* const output = add();
    LogEntry(LOG, "M") << "before any file";
    EXPECT_FALSE(output->openFile(directory_.c_str())) << "a directory cannot be opened";
    EXPECT_FALSE(output->openFile((directory_ / "missing" / "log").c_str()));
    EXPECT_FALSE(output->openFile(""));
    EXPECT_FALSE(output->openFile(nullptr));
    LogEntry(LOG, "M") << "lost";

    EXPECT_TRUE(output->openFile(path.c_str()));
    LogEntry(LOG, "M") << "kept";
    EXPECT_EQ(linesOf(path).size(), 1u);
    EXPECT_FALSE(output->openFile(directory_.c_str()));
    LogEntry(LOG, "M") << "lost again";
    EXPECT_EQ(linesOf(path).size(), 1u) << "a failed opening replaces the open file";
}

TEST_F(LoggingOutputFileTest, ClosesTheFileWithTheLog)
{
    const fs::path path = directory_ / "log";
    EXPECT_TRUE(add()->openFile(path.c_str()));
    EXPECT_EQ(openFilesUnder(path), 1);
    delete Logging::getInstance();
    EXPECT_EQ(openFilesUnder(path), 0);
}

TEST_F(LoggingOutputFileTest, ADeviceThatCannotBeWrittenDropsLines)
{
    if (::access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no /dev/full";
    EXPECT_TRUE(add()->openFile("/dev/full"));
    const fs::path path = directory_ / "log";
    EXPECT_TRUE(add()->openFile(path.c_str()));
    LogEntry(LOG, "M") << "text";
    LogEntry(LOG, "M") << "text";
    EXPECT_EQ(linesOf(path).size(), 2u) << "the other sink still gets its lines";
}

/// Makes writing to an open file fail as on a full device, until it dies.
class FullDevice {
public:
    explicit FullDevice(const fs::path& path)
    {
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            if (fs::read_symlink(entry.path(), gone) == path)
                file_ = std::stoi(entry.path().filename());
        }
        writable_ = ::dup(file_);
        const int full = ::open("/dev/full", O_WRONLY);
        ::dup2(full, file_);
        ::close(full);
    }
    FullDevice(const FullDevice&) = delete;
    FullDevice& operator=(const FullDevice&) = delete;
    ~FullDevice()
    {
        ::dup2(writable_, file_);
        ::close(writable_);
    }

private:
    int file_ = -1;
    int writable_ = -1;
};

TEST_F(LoggingOutputFileTest, WritesTheNextLineOnceThereIsSpaceAgain)
{
    if (::access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no /dev/full";
    const fs::path path = directory_ / "log";
    EXPECT_TRUE(add()->openFile(path.c_str()));
    LogEntry(LOG, "M") << "first";
    {
        const FullDevice full(path);
        LogEntry(LOG, "M") << "lost";
        LogEntry(LOG, "M") << "lost, too" << std::string(100000, '.');
    }
    LogEntry(LOG, "M") << "next";
    LogEntry(LOG, "M") << "last";
    std::vector<std::string> texts;
    for (const std::string& line : linesOf(path))
        texts.push_back(behindDate(line));
    EXPECT_EQ(texts,
              std::vector<std::string>({"   LOG [           M] first", "   LOG [           M] next",
                                        "   LOG [           M] last"}));
}

TEST_F(LoggingOutputFileTest, LinesOfSeveralThreadsStayWholeAndInOrder)
{
    const int threadCount = 3;
    const int lineCount = 1000;
    const fs::path path = directory_ / "log";
    EXPECT_TRUE(add()->openFile(path.c_str()));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([thread] {
            for (int line = 0; line < lineCount; ++line)
                LogEntry(LOG, "Thread") << thread << ' ' << line << std::hex << " end";
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    const auto lines = linesOf(path);
    ASSERT_EQ(lines.size(), static_cast<size_t>(threadCount * lineCount));
    std::vector<int> next(threadCount);
    for (const std::string& line : lines) {
        const std::string prefix = "   LOG [      Thread] ";
        const std::string text = behindDate(line);
        ASSERT_EQ(text.substr(0, prefix.size()), prefix) << line;
        const int thread = text[prefix.size()] - '0';
        ASSERT_TRUE(thread >= 0 && thread < threadCount) << line;
        int& number = next[static_cast<size_t>(thread)];
        ASSERT_EQ(text.substr(prefix.size() + 1), " " + std::to_string(number) + " end");
        ++number;
    }
}

/// Standard output on its way into a pipe.
class CaughtStdout {
public:
    CaughtStdout()
    {
        std::cout.flush();
        EXPECT_EQ(::pipe(ends_), 0);
        ::fcntl(ends_[0], F_SETFL, O_NONBLOCK);
        saved_ = ::dup(STDOUT_FILENO);
        ::dup2(ends_[1], STDOUT_FILENO);
    }
    CaughtStdout(const CaughtStdout&) = delete;
    CaughtStdout& operator=(const CaughtStdout&) = delete;

    ~CaughtStdout()
    {
        ::dup2(saved_, STDOUT_FILENO);
        for (const int file : {saved_, ends_[0], ends_[1]})
            ::close(file);
    }

    /// What arrived since the last call; flushes nothing.
    std::string arrived()
    {
        char buffer[4096];
        const ssize_t count = ::read(ends_[0], buffer, sizeof(buffer));
        return count > 0 ? std::string(buffer, static_cast<size_t>(count)) : std::string();
    }

private:
    int ends_[2] = {-1, -1};
    int saved_ = -1;
};

TEST(LoggingOutputStdoutTest, FlushesEveryLineAndDropsThoseBelowItsMinimum)
{
    Logging::getInstance()->addOutput(new LoggingOutputStdout(LOG));
    std::string first;
    std::string second;
    std::string dropped;
    std::string expected;
    {
        CaughtStdout caught;
        {
            LogEntry entry(LOG, "Window");
            entry << "text";
            entry.output();
            expected = entry.stream().str();
        }
        first = caught.arrived();
        LogEntry(DEBUG, "Window") << "dropped";
        dropped = caught.arrived();
        std::cout << std::setw(200);  // of the integrator's own output, not of this line
        LogEntry(LOG, "Window") << "text";
        second = caught.arrived();
        std::cout << std::setw(0);
    }
    EXPECT_EQ(first, expected);
    EXPECT_EQ(dropped, "");
    EXPECT_EQ(behindDate(second), behindDate(expected));
    EXPECT_LT(second.size(), 100u);
    delete Logging::getInstance();
}

}  // namespace
