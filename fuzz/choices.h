/// An input as a sequence of choices, and what there is to choose from.
#ifndef VESTA_FUZZ_CHOICES_H
#define VESTA_FUZZ_CHOICES_H

#include <cstddef>
#include <cstdint>

#include "lifecycle/application.h"
#include "tests/support/fake_browser.h"

namespace vesta::fuzz {

/// What is left of the input. Behind its end everything is 0.
class Choices {
public:
    Choices(const uint8_t* data, size_t size) : data_(data), left_(size) {}

    bool empty() const { return left_ == 0; }

    uint8_t byte()
    {
        if (left_ == 0)
            return 0;
        --left_;
        return *data_++;
    }

    /// 0 to count - 1.
    uint8_t below(int count) { return static_cast<uint8_t>(byte() % count); }
    bool flag() { return (byte() & 1) != 0; }

    template <typename Value, size_t count>
    const Value& of(const Value (&values)[count])
    {
        return values[below(static_cast<int>(count))];
    }

private:
    const uint8_t* data_;
    size_t left_;
};

inline const char* const urls[] = {"http://a.example/index.html",
                                   "http://b.example/",
                                   "https://a.example/x?y#z",
                                   "dvb://1.2.3.4/index.html",
                                   "dvb:/relative",
                                   "dvb://current.ait/1.1",
                                   "dvb://current.ait/1.2?q#f",
                                   "dvb://current.ait/1.10001",
                                   "dvb://current.ait/x",
                                   "relative.html",
                                   "http://a.example/list.aitx",
                                   "dvb://9.9.9.9/",
                                   "%",
                                   "",
                                   nullptr};

/// An address that is nobody's.
inline char foreignPlace;

inline TAVO_VestaWindow* tavoWindow(Choices& choices)
{
    const uint8_t choice = choices.byte();
    return choice == 255 ? reinterpret_cast<TAVO_VestaWindow*>(&foreignPlace)
                         : vesta::test::FakeBrowser::instance().window(choice % 5);
}

/// An application of the last few, or none.
inline void* applicationId(Choices& choices)
{
    const uint8_t choice = choices.byte();
    if (choice >= 254)
        return reinterpret_cast<void*>(uintptr_t{choice} - 254);
    return reinterpret_cast<void*>(
        static_cast<uintptr_t>(VestaHbbTV::Application::next_id - choice % 4));
}

inline long windowId(Choices& choices)
{
    return choices.below(5);
}

}  // namespace vesta::fuzz

#endif
