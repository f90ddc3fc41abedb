/// Calls the program as a shell would.
#ifndef VESTA_TESTS_INSPECTOR_SUPPORT_CALL_H
#define VESTA_TESTS_INSPECTOR_SUPPORT_CALL_H

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "inspector/program.h"
#include "tests/inspector/support/signal.h"

namespace inspector::test {

struct Answer {
    int code;
    std::string output;
    std::string errors;
};

inline Answer call(const std::vector<std::string>& arguments)
{
    std::ostringstream output, errors;
    const int code = run(arguments, output, errors);
    return {code, output.str(), errors.str()};
}

/// A folder of the test's own, which goes with it.
class InFolder : public testing::Test {
protected:
    InFolder()
        : folder_(std::filesystem::path(testing::TempDir()) /
                  (std::string("inspector-") + std::to_string(::getpid()) + "-" +
                   testing::UnitTest::GetInstance()->current_test_info()->name()))
    {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    ~InFolder() override { std::filesystem::remove_all(folder_); }

    /// @return the file's path
    std::string write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(folder_ / name, std::ios::binary) << bytes;
        return (folder_ / name).string();
    }
    std::string write(const std::string& name, const Bytes& bytes) const
    {
        return write(name, std::string(bytes.begin(), bytes.end()));
    }

    const std::filesystem::path folder_;
};

}  // namespace inspector::test

#endif
