#include "recorder/names.h"

namespace recorder {

std::string Names::nameOf(Handle kind, uintptr_t value, bool isNew)
{
    Kind& names = kinds_[static_cast<size_t>(kind)];
    const auto found = names.numbers.find(value);
    const bool isKnown = found != names.numbers.end() && !isNew;
    const uint64_t number = isKnown ? found->second : nextNumber(names, value);
    return std::string(recorder::nameOf(kind)) + ':' + std::to_string(number);
}

uint64_t Names::nextNumber(Kind& kind, uintptr_t value)
{
    if (kind.inOrder.size() == known) {
        const auto [oldest, number] = kind.inOrder.front();
        kind.inOrder.pop_front();
        const auto found = kind.numbers.find(oldest);
        if (found != kind.numbers.end() && found->second == number)
            kind.numbers.erase(found);
    }
    kind.numbers[value] = ++kind.last;
    kind.inOrder.emplace_back(value, kind.last);
    return kind.last;
}

}  // namespace recorder
