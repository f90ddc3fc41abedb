#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <unistd.h>

#include "recorder/boundary/json_text.h"

using namespace recorder;

namespace {

std::string stringOf(std::string_view bytes)
{
    std::string json;
    appendString(json, bytes);
    return json;
}

template <typename Value>
std::string numberOf(Value value)
{
    std::string json;
    appendNumber(json, value);
    return json;
}

enum Small : unsigned char { twoHundred = 200 };

/// A user's locale with a decimal point of its own, made here: few machines have one.
class UsersLocale {
public:
    /// @param decimalPoint as localedef takes it
    explicit UsersLocale(const std::string& decimalPoint)
    {
        std::filesystem::create_directories(folder_);
        std::ofstream(folder_ / "source")
            << "LC_NUMERIC\ndecimal_point \"" << decimalPoint
            << "\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n";
        const std::string place = folder_.string();
        // It warns of all that the source leaves out, and ends with 1 for that.
        const std::string command = "localedef -c -f UTF-8 -i '" + place + "/source' '" + place +
                                    "/users' >'" + place + "/said' 2>&1";
        std::system(command.c_str());
        setenv("LOCPATH", place.c_str(), 1);
        isSet_ = std::setlocale(LC_NUMERIC, "users") != nullptr;
    }

    ~UsersLocale()
    {
        std::setlocale(LC_NUMERIC, "C");
        unsetenv("LOCPATH");
        std::filesystem::remove_all(folder_);
    }

    bool isSet() const { return isSet_; }

private:
    const std::filesystem::path folder_ =
        std::filesystem::path(testing::TempDir()) / ("locale-" + std::to_string(getpid()));
    bool isSet_ = false;
};

}  // namespace

TEST(JsonText, EscapesAllThatIsNotPrintableASCII)
{
    EXPECT_EQ(stringOf("a \"b\" \\c/~"), R"("a \"b\" \\c/~")");
    EXPECT_EQ(stringOf(std::string_view("\0\x1F\x7F\x80\xFF", 5)),
              R"("\u0000\u001f\u007f\u0080\u00ff")");
}

TEST(JsonText, IsReadAsTheSameBytes)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    // Each byte stands for the character of its number, which UTF-8 writes with one or two.
    const std::string read = nlohmann::json::parse(stringOf(bytes)).get<std::string>();
    EXPECT_EQ(read.size(), 128u + 2 * 128u);
}

TEST(JsonText, HasWholeNumbersOfEveryWidth)
{
    EXPECT_EQ(numberOf(true), "true");
    EXPECT_EQ(numberOf(false), "false");
    EXPECT_EQ(numberOf(std::numeric_limits<int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(numberOf(std::numeric_limits<uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(numberOf(twoHundred), "200");
    EXPECT_EQ(numberOf(static_cast<short>(-1)), "-1");
}

TEST(JsonText, HasEnoughDigitsToReadTheSameNumberAgain)
{
    for (const double value :
         {0.0, 0.1, 1.0 / 3, -1e300, 5e-324, 4096.0, std::numeric_limits<double>::max()})
        EXPECT_EQ(nlohmann::json::parse(numberOf(value)).get<double>(), value);
    EXPECT_EQ(numberOf(std::numeric_limits<double>::quiet_NaN()), "\"nan\"");
    EXPECT_EQ(numberOf(std::numeric_limits<double>::infinity()), "\"inf\"");
    EXPECT_EQ(numberOf(-std::numeric_limits<double>::infinity()), "\"-inf\"");
}

TEST(JsonText, HasFullStopsWhateverTheUsersDecimalPoint)
{
    for (const char* const point : {"<U002C>", "<U066B>"}) {
        const UsersLocale locale(point);
        if (!locale.isSet())
            GTEST_SKIP() << "localedef and what it needs are not here";
        char digits[16];
        std::snprintf(digits, sizeof(digits), "%g", 0.5);
        ASSERT_NE(std::string(digits), "0.5");
        EXPECT_EQ(numberOf(-0.5), "-0.5");
        EXPECT_EQ(numberOf(1.5e22), "1.5e+22");
        EXPECT_EQ(numberOf(17.0), "17");
    }
}

TEST(JsonText, HasTwoHexadecimalDigitsAByte)
{
    const unsigned char bytes[] = {0x00, 0x0A, 0xF0, 0xFF};
    std::string json;
    appendHex(json, bytes, sizeof(bytes));
    EXPECT_EQ(json, "000af0ff");
}
