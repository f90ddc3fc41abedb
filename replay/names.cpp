#include "replay/names.h"

#include <cstring>
#include <sys/mman.h>

namespace replay {

namespace {

/// Nothing can be read or written there: whoever follows such an address crashes.
const size_t reservedBytes = size_t(1) << 23;
const size_t distance = 16;

/// Of these a program may have named one that the library made later.
bool isOfTheLibrary(recorder::Handle kind)
{
    return kind == recorder::Handle::window || kind == recorder::Handle::application ||
           kind == recorder::Handle::file;
}

}  // namespace

bool isNameOf(recorder::Handle kind, const std::string& name)
{
    const size_t colon = std::strlen(recorder::nameOf(kind));
    return name.size() > colon + 1 && name[colon] == ':' &&
           name.compare(0, colon, recorder::nameOf(kind)) == 0 &&
           name.find_first_not_of("0123456789", colon + 1) == std::string::npos;
}

Names::Names()
    : reserved_(mmap(nullptr, reservedBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
{
    if (reserved_ == MAP_FAILED)
        used_ = reservedBytes;
}

Names::~Names()
{
    if (reserved_ != MAP_FAILED)
        munmap(reserved_, reservedBytes);
}

std::optional<uintptr_t> Names::valueOf(recorder::Handle kind, const std::string& name)
{
    if (const auto found = values_.find(name); found != values_.end())
        return found->second.value;
    if (used_ + distance > reservedBytes)
        return std::nullopt;
    const uintptr_t value = reinterpret_cast<uintptr_t>(reserved_) + used_;
    used_ += distance;
    bind(kind, name, value);
    values_[name].isMadeUp = true;
    return value;
}

const uintptr_t* Names::boundTo(const std::string& name) const
{
    const auto found = values_.find(name);
    return found == values_.end() ? nullptr : &found->second.value;
}

void Names::bind(recorder::Handle kind, const std::string& name, uintptr_t value)
{
    values_[name] = {value, false};
    names_[{kind, value}] = name;
}

std::string Names::nameFor(recorder::Handle kind, uintptr_t value, bool isNew,
                           const std::string& expected)
{
    const auto known = names_.find({kind, value});
    if (known != names_.end() && !isNew)
        return known->second;
    const auto taken = values_.find(expected);
    const bool isFree = taken == values_.end() || (taken->second.isMadeUp && isOfTheLibrary(kind));
    if (!isNameOf(kind, expected) || !isFree)
        return std::string(recorder::nameOf(kind)) + ":?";
    bind(kind, expected, value);
    return expected;
}

}  // namespace replay
