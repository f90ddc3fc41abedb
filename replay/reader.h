/// Reads the fields of calls and records from the members of a JSON object: recorder::Writer's
/// counterpart.
#ifndef VESTA_REPLAY_READER_H
#define VESTA_REPLAY_READER_H

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <pthread.h>
#include <string>
#include <type_traits>

#include "recorder/boundary/choices.h"
#include "recorder/boundary/handles.h"
#include "replay/arena.h"
#include "replay/listeners.h"
#include "replay/names.h"
#include "replay/pieces.h"
#include "replay/queries.h"
#include "replay/record.h"

namespace replay {

/// What members stand for in this process.
struct Meaning {
    explicit Meaning(const Bodies& allBodies) : bodies(allBodies) {}

    const Bodies& bodies;
    Names names;
    Queries queries;
    Listeners listeners;
    Pieces pieces;
    Arena arena;  ///< of the integrator's call at hand
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

/// The bytes that a JSON string stands for: one a character.
/// @return nothing for other characters, and for a NUL
std::optional<std::string> bytesOf(const std::string& utf8);

/// The `fields` that read. What is not there, or does not fit, is a problem, and leaves the field
/// as it was.
class Reader {
public:
    Reader(const Json& members, Meaning& meaning) : members_(members), meaning_(meaning) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// The first problem, for people; empty if there was none.
    const std::string& problem() const { return problem_; }

    /// Whether a body was read whose bytes the record does not have.
    bool hasReadLeftOutBody() const { return hasReadLeftOutBody_; }

    template <typename Pointer>
    void handle(const char* member, recorder::Handle kind, Pointer*& value)
    {
        const auto name = nameIn(member, kind);
        if (!name)
            value = nullptr;
        else if constexpr (std::is_same_v<Pointer, pthread_cond_t>)
            value = &meaning_.condition;
        else if constexpr (std::is_same_v<Pointer, pthread_mutex_t>)
            value = &meaning_.mutex;
        else
            value = reinterpret_cast<Pointer*>(valueOf(kind, *name));
    }

    /// Stays as it was in records that do not have it.
    template <typename Pointer>
    void laterHandle(const char* member, recorder::Handle kind, Pointer*& value)
    {
        if (members_.contains(member))
            handle(member, kind, value);
    }

    template <typename Pointer>
    void newHandle(const char* member, recorder::Handle kind, Pointer*& value)
    {
        handle(member, kind, value);
    }

    void listener(const char* member, VestaHbbTV::HBBTV_NotificationListener& value)
    {
        const auto name = nameIn(member, recorder::Handle::listener);
        value =
            name ? found(member, meaning_.listeners.notification(*name, meaning_.names)) : nullptr;
    }

    void callback(const char* member, VestaHbbTV::HBBTV_StreamEventCallback& value)
    {
        const auto name = nameIn(member, recorder::Handle::callback);
        value =
            name ? found(member, meaning_.listeners.streamEvent(*name, meaning_.names)) : nullptr;
    }

    template <typename Function>
    void plugin(const char* member, Function*& value)
    {
        value = nameIn(member, recorder::Handle::plugin) ? Listeners::plugin<Function*>() : nullptr;
    }

    template <typename Value>
    void number(const char* member, Value& value)
    {
        if (const Json* const found = find(member); found && !assign(*found, value))
            fail(member, "is no number that fits");
    }

    void numberInPointer(const char* member, void*& value)
    {
        uintptr_t inside = 0;
        number(member, inside);
        value = reinterpret_cast<void*>(inside);
    }

    template <typename Enumeration, size_t count>
    void choice(const char* member, Enumeration& value,
                const recorder::Choice<Enumeration> (&choices)[count])
    {
        const Json* const found = find(member);
        if (!found)
            return;
        for (const recorder::Choice<Enumeration>& each : choices) {
            if (*found == each.name) {
                value = each.value;
                return;
            }
        }
        number(member, value);
    }

    /// The text lives as long as the arena.
    void text(const char* member, const char*& value)
    {
        const auto bytes = textIn(member, recorder::partsOfText);
        value = bytes ? meaning_.arena.keep(*bytes) : nullptr;
    }

    /// The text is malloc'ed.
    void text(const char* member, char*& value)
    {
        const auto bytes = textIn(member, recorder::partsOfText);
        value = bytes ? malloced(*bytes) : nullptr;
    }

    void url(const char* member, const char*& value)
    {
        const auto bytes = textIn(member, recorder::partsOfUrl);
        value = bytes ? meaning_.arena.keep(*bytes) : nullptr;
    }

    void url(const char* member, char*& value)
    {
        const auto bytes = textIn(member, recorder::partsOfUrl);
        value = bytes ? malloced(*bytes) : nullptr;
    }

    /// A malloc'ed block of the section's own size.
    void section(const char* member, unsigned char*& section);

    template <typename Byte, typename Length>
    void body(const char* member, Byte*& bytes, Length& length)
    {
        bytes = nullptr;
        const Body* const found =
            bodyIn(member, [&length](const Json& stated) { return assign(stated, length); });
        if (found)
            bytes = const_cast<char*>(found->bytes.data());  // the library only reads them
    }

    template <typename Record>
    bool record(const char* member, Record*& record)
    {
        const auto found = members_.find(member);
        const bool isNone = found != members_.end() && found->is_null();
        record = isNone ? nullptr : meaning_.arena.make<Record>();
        return !isNone;
    }

    template <typename Record>
    bool mallocedRecord(const char* member, Record*& record)
    {
        static_assert(std::is_trivial_v<Record>);
        const auto found = members_.find(member);
        const bool isNone = found != members_.end() && found->is_null();
        record = isNone ? nullptr : static_cast<Record*>(std::calloc(1, sizeof(Record)));
        return record != nullptr;
    }

    template <typename Value>
    void room(const char* member, Value*& place)
    {
        record(member, place);
    }

private:
    const Json* find(const char* member);
    void fail(const char* member, const std::string& what);

    /// @return nothing for null, and for what is no such name
    std::optional<std::string> nameIn(const char* member, recorder::Handle kind);
    uintptr_t valueOf(recorder::Handle kind, const std::string& name);

    /// @return nothing for null, and for what is no text that a C string could be
    std::optional<std::string> textIn(const char* member);
    /// Likewise with the parts in it that were left out, where they are known.
    std::optional<std::string> textIn(const char* member, recorder::PartsOf partsOf);
    static char* malloced(const std::string& text);

    /// @param takeLength false if the length does not fit @return null where there are no bytes
    template <typename TakeLength>
    const Body* bodyIn(const char* member, TakeLength takeLength)
    {
        const Json* const found = find(member);
        if (!found)
            return nullptr;
        const auto length = found->find("length");
        if (!found->is_object() || length == found->end() || !takeLength(*length)) {
            fail(member, "is no body");
            return nullptr;
        }
        const auto hash = found->find("sha256");
        const bool isNull = hash == found->end() || hash->is_null();
        return isNull ? nullptr : bodyOf(member, *hash, *length);
    }
    const Body* bodyOf(const char* member, const Json& hash, const Json& length);

    template <typename Function>
    Function found(const char* member, Function function)
    {
        if (!function)
            fail(member,
                 "is one listener too many: " + std::to_string(Listeners::most) + " can be had");
        return function;
    }

    template <typename Value>
    static bool assign(const Json& json, Value& value)
    {
        if constexpr (std::is_enum_v<Value>) {
            std::underlying_type_t<Value> number = {};
            const bool fits = assign(json, number);
            if (fits)
                value = static_cast<Value>(number);
            return fits;
        } else if constexpr (std::is_same_v<Value, bool>) {
            if (!json.is_boolean())
                return false;
            value = json.get<bool>();
            return true;
        } else if constexpr (std::is_floating_point_v<Value>) {
            return assignDouble(json, value);
        } else {
            return assignInteger(json, value);
        }
    }

    template <typename Value>
    static bool assignInteger(const Json& json, Value& value)
    {
        if (!json.is_number_integer())
            return false;
        if (json.is_number_unsigned()) {
            const auto number = json.get<uint64_t>();
            if (number > static_cast<uint64_t>(std::numeric_limits<Value>::max()))
                return false;
            value = static_cast<Value>(number);
            return true;
        }
        const auto number = json.get<int64_t>();
        if (std::is_unsigned_v<Value> ||
            number < static_cast<int64_t>(std::numeric_limits<Value>::min()))
            return false;
        value = static_cast<Value>(number);
        return true;
    }

    static bool assignDouble(const Json& json, double& value);

    const Json& members_;
    Meaning& meaning_;
    std::string problem_;
    bool hasReadLeftOutBody_ = false;
};

}  // namespace replay

#endif
