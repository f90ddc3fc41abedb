#include "receiver/console/words.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>

namespace receiver {

namespace {

const char decimalDigits[] = "0123456789";
const char hexadecimalDigits[] = "0123456789abcdefABCDEF";

/// Digits alone, and not too many for any number that is asked for.
bool isNumber(const std::string& digits, const char* allowed)
{
    const size_t most = 10;
    return !digits.empty() && digits.size() <= most &&
           digits.find_first_not_of(allowed) == std::string::npos;
}

}  // namespace

std::optional<Words> splitWords(const std::string& line)
{
    Words words;
    bool isQuoted = false;
    bool isInWord = false;
    for (const char character : line) {
        const bool isBlank = character == ' ' || character == '\t' || character == '\r';
        if (!isQuoted && !isInWord && character == '#')
            break;
        if (!isQuoted && isBlank) {
            isInWord = false;
            continue;
        }
        if (!isInWord)
            words.emplace_back();
        isInWord = true;
        if (character == '"')
            isQuoted = !isQuoted;
        else
            words.back() += character;
    }
    return isQuoted ? std::nullopt : std::optional<Words>(words);
}

std::optional<uint32_t> wholeNumber(const std::string& text, uint32_t most)
{
    const bool isHexadecimal = text.compare(0, 2, "0x") == 0;
    const std::string digits = text.substr(isHexadecimal ? 2 : 0);
    if (!isNumber(digits, isHexadecimal ? hexadecimalDigits : decimalDigits))
        return std::nullopt;
    const uint64_t number = std::strtoull(digits.c_str(), nullptr, isHexadecimal ? 16 : 10);
    return number <= most ? std::optional<uint32_t>(static_cast<uint32_t>(number)) : std::nullopt;
}

std::optional<double> positiveNumber(const std::string& text)
{
    if (text.empty() || text.find_first_not_of("0123456789.") != std::string::npos)
        return std::nullopt;
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    return *end == '\0' && number > 0 && number < 1e9 ? std::optional<double>(number)
                                                      : std::nullopt;
}

std::optional<Ids> idsFrom(const std::string& text)
{
    const size_t dot = text.find('.');
    if (dot == std::string::npos)
        return std::nullopt;
    const std::string organisation = text.substr(0, dot);
    const std::string application = text.substr(dot + 1);
    if (!isNumber(organisation, hexadecimalDigits) || !isNumber(application, hexadecimalDigits))
        return std::nullopt;
    const auto organisationId = wholeNumber("0x" + organisation);
    const auto applicationId = wholeNumber("0x" + application, 0xFFFF);
    if (!organisationId || !applicationId)
        return std::nullopt;
    return Ids{*organisationId, static_cast<uint16_t>(*applicationId)};
}

const std::vector<std::string>& keyGroups()
{
    static const std::vector<std::string> groups = {"RED",        "GREEN", "YELLOW", "BLUE",
                                                    "NAVIGATION", "VCR",   "SCROLL", "INFO",
                                                    "NUMERIC",    "ALPHA"};
    return groups;
}

std::optional<uint32_t> keySetFrom(const std::string& text)
{
    const uint32_t largestSigned = 0x7FFFFFFF;
    if (const auto number = wholeNumber(text, largestSigned))
        return number;
    uint32_t mask = 0;
    std::istringstream names(text);
    for (std::string name; std::getline(names, name, '+');) {
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        const auto group = std::find(keyGroups().begin(), keyGroups().end(), name);
        if (group == keyGroups().end())
            return std::nullopt;
        mask |= 1U << (group - keyGroups().begin());
    }
    return mask == 0 ? std::nullopt : std::optional<uint32_t>(mask);
}

std::optional<bool> switchFrom(const std::string& text)
{
    if (text == "on")
        return true;
    return text == "off" ? std::optional<bool>(false) : std::nullopt;
}

}  // namespace receiver
