#include "receiver/console/key_names.h"

#include <algorithm>
#include <cctype>

#include "vesta_browser.h"

namespace receiver {

namespace {

struct KeyName {
    const char* name;
    int code;
};

const KeyName namedKeys[] = {
    {"RED", TAVO_VK_RED},
    {"GREEN", TAVO_VK_GREEN},
    {"YELLOW", TAVO_VK_YELLOW},
    {"BLUE", TAVO_VK_BLUE},
    {"OK", TAVO_VK_ENTER},
    {"ENTER", TAVO_VK_ENTER},
    {"LEFT", TAVO_VK_LEFT},
    {"UP", TAVO_VK_UP},
    {"RIGHT", TAVO_VK_RIGHT},
    {"DOWN", TAVO_VK_DOWN},
    {"BACK", TAVO_VK_BACK},
    {"PLAY", TAVO_VK_PLAY},
    {"PAUSE", TAVO_VK_PAUSE},
    {"STOP", TAVO_VK_STOP},
    {"REWIND", TAVO_VK_REWIND},
    {"FORWARD", TAVO_VK_FAST_FORWARD},
    {"PLAYPAUSE", TAVO_VK_PLAY_PAUSE},
    {"PAGEUP", TAVO_VK_PAGE_UP},
    {"PAGEDOWN", TAVO_VK_PAGE_DOWN},
    {"INFO", TAVO_VK_INFO},
};

}  // namespace

std::string keyName(int code)
{
    for (const KeyName& key : namedKeys) {
        if (key.code == code)
            return key.name;
    }
    const bool isCharacter =
        (code >= TAVO_VK_0 && code <= TAVO_VK_9) || (code >= TAVO_VK_A && code <= TAVO_VK_Z);
    return isCharacter ? std::string(1, static_cast<char>(code)) : std::to_string(code);
}

std::vector<std::string> keyNames()
{
    std::vector<std::string> names;
    for (const KeyName& key : namedKeys) {
        if (keyName(key.code) == key.name)
            names.emplace_back(key.name);
    }
    for (char digit = '0'; digit <= '9'; ++digit)
        names.emplace_back(1, digit);
    for (char letter = 'A'; letter <= 'Z'; ++letter)
        names.emplace_back(1, letter);
    return names;
}

int keyCode(const std::string& name)
{
    std::string upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    for (const KeyName& key : namedKeys) {
        if (upper == key.name)
            return key.code;
    }
    const bool isCharacter =
        upper.size() == 1 && std::isalnum(static_cast<unsigned char>(upper[0]));
    return isCharacter ? static_cast<unsigned char>(upper[0]) : 0;
}

}  // namespace receiver
