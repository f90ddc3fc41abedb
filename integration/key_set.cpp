#include "integration/key_set.h"

#include "foundation/configuration_manager.h"
#include "integration/key_groups.h"

namespace VestaHbbTV {

KeySet::KeySet(int value) : value_(value)
{
}

int keyGroupOf(int key)
{
    switch (key) {
    case TAVO_VK_RED:
        return KeySet::RED;
    case TAVO_VK_GREEN:
        return KeySet::GREEN;
    case TAVO_VK_YELLOW:
        return KeySet::YELLOW;
    case TAVO_VK_BLUE:
        return KeySet::BLUE;
    case TAVO_VK_ENTER:
    case TAVO_VK_LEFT:
    case TAVO_VK_UP:
    case TAVO_VK_RIGHT:
    case TAVO_VK_DOWN:
    case TAVO_VK_BACK:
        return KeySet::NAVIGATION;
    case TAVO_VK_PAUSE:
    case TAVO_VK_REWIND:
    case TAVO_VK_STOP:
    case TAVO_VK_PLAY:
    case TAVO_VK_FAST_FORWARD:
    case TAVO_VK_PLAY_PAUSE:
        return KeySet::VCR;
    case TAVO_VK_PAGE_UP:
    case TAVO_VK_PAGE_DOWN:
        return KeySet::SCROLL;
    case TAVO_VK_INFO:
        return KeySet::INFO;
    default:
        break;
    }
    if (key >= TAVO_VK_0 && key <= TAVO_VK_9)
        return KeySet::NUMERIC;
    if (key >= TAVO_VK_A && key <= TAVO_VK_Z)
        return KeySet::ALPHA;
    return 0;
}

int KeySet::setValue(int value)
{
    value_ = value & ConfigurationManager::getInstance()->getSupportedKeySetValues();
    return value_;
}

bool KeySet::matchesKey(TAVO_VIRTUAL_KEY key) const
{
    return (value_ & keyGroupOf(key)) != 0;
}

}  // namespace VestaHbbTV
