/// Calls in either direction, whatever their functions: those of recorder/boundary/.
#ifndef VESTA_REPLAY_CALLS_H
#define VESTA_REPLAY_CALLS_H

#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "recorder/boundary/writer.h"
#include "replay/reader.h"

namespace replay {

/// What the integrator calls.
class CallIn {
public:
    CallIn() = default;
    CallIn(const CallIn&) = delete;
    CallIn& operator=(const CallIn&) = delete;
    virtual ~CallIn() = default;

    virtual const char* symbol() const = 0;

    /// Takes the arguments.
    virtual void read(Reader& reader) = 0;

    /// @param function of that symbol
    virtual void perform(void* function) = 0;

    /// What the call brought, as JSON.
    virtual std::string answer(recorder::Stand& stand) = 0;
};

/// @return null for an unknown function
std::unique_ptr<CallIn> makeCallIn(const std::string& name);

/// What the library calls.
class CallOut {
public:
    CallOut() = default;
    CallOut(const CallOut&) = delete;
    CallOut& operator=(const CallOut&) = delete;
    virtual ~CallOut() = default;

    virtual const char* name() const = 0;

    /// What it says, as JSON.
    virtual std::string question(recorder::Stand& stand) = 0;

    /// Gives the answer to the library.
    virtual void answer(Reader& reader) = 0;
};

/// Plays the record's answer to a call of the library's. Where no replay is under way, nothing is
/// answered, which is success.
void answer(CallOut& call);

/// The fields of a record, as references.
template <size_t count, typename Record>
auto fieldsOf(Record& record)
{
    static_assert(count <= 9);
    if constexpr (count == 0) {
        return std::tie();
    } else if constexpr (count == 1) {
        auto& [a] = record;
        return std::tie(a);
    } else if constexpr (count == 2) {
        auto& [a, b] = record;
        return std::tie(a, b);
    } else if constexpr (count == 3) {
        auto& [a, b, c] = record;
        return std::tie(a, b, c);
    } else if constexpr (count == 4) {
        auto& [a, b, c, d] = record;
        return std::tie(a, b, c, d);
    } else if constexpr (count == 5) {
        auto& [a, b, c, d, e] = record;
        return std::tie(a, b, c, d, e);
    } else if constexpr (count == 6) {
        auto& [a, b, c, d, e, f] = record;
        return std::tie(a, b, c, d, e, f);
    } else if constexpr (count == 7) {
        auto& [a, b, c, d, e, f, g] = record;
        return std::tie(a, b, c, d, e, f, g);
    } else if constexpr (count == 8) {
        auto& [a, b, c, d, e, f, g, h] = record;
        return std::tie(a, b, c, d, e, f, g, h);
    } else {
        auto& [a, b, c, d, e, f, g, h, i] = record;
        return std::tie(a, b, c, d, e, f, g, h, i);
    }
}

template <typename Call, typename = void>
struct HasResult : std::false_type {
};
template <typename Call>
struct HasResult<Call, std::void_t<decltype(std::declval<Call>().result)>> : std::true_type {
};

/// The function that the library calls: `Call` is of recorder/boundary/calls_out.h.
template <typename Call, typename... Arguments>
auto answerTo(Arguments... arguments)
{
    class Typed : public CallOut {
    public:
        Call call = {};

        const char* name() const override { return Call::name; }
        std::string question(recorder::Stand& stand) override { return askedText(call, stand); }
        void answer(Reader& reader) override { call.answered(reader); }
    };
    Typed typed;
    constexpr size_t results = HasResult<Call>::value ? 1 : 0;
    auto fields = fieldsOf<sizeof...(Arguments) + results>(typed.call);
    if constexpr (results == 0)
        fields = std::tie(arguments...);
    else
        fields = std::tuple_cat(std::tie(arguments...), std::tie(typed.call.result));
    answer(typed);
    if constexpr (results != 0)
        return typed.call.result;
}

}  // namespace replay

#endif
