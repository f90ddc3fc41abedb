/// The findings in an XML AIT.
#ifndef VESTA_TESTS_INSPECTOR_SUPPORT_XML_H
#define VESTA_TESTS_INSPECTOR_SUPPORT_XML_H

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "inspector/check/checks.h"
#include "inspector/input/input_reader.h"
#include "tests/kit/xml_ait_text.h"

namespace inspector::test {

/// Reads it from a file, as the program does.
inline Findings checkXml(const std::string& document)
{
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test.test_suite_name()) + "-" + test.name() + ".xml";
    std::replace(name.begin(), name.end(), '/', '-');
    const std::string path = testing::TempDir() + "/" + std::to_string(::getpid()) + "-" + name;
    std::ofstream(path, std::ios::binary) << document;
    Survey survey;
    InputReader reader(survey, ReadingOptions());
    EXPECT_EQ(reader.read(path), "");
    reader.finish();
    std::filesystem::remove(path);
    return check(survey);
}

}  // namespace inspector::test

#endif
