/// Writes the fields of calls and records as the members of a JSON object.
#ifndef VESTA_RECORDER_BOUNDARY_WRITER_H
#define VESTA_RECORDER_BOUNDARY_WRITER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "recorder/boundary/choices.h"
#include "recorder/boundary/handles.h"
#include "recorder/boundary/json_text.h"

namespace recorder {

/// What stands in a record in the place of an address, of bytes, of URLs and of texts. The recorder
/// gives names; the replay asks the record how it called what comes for the first time.
class Stand {
public:
    Stand() = default;
    Stand(const Stand&) = delete;
    Stand& operator=(const Stand&) = delete;
    virtual ~Stand() = default;

    /// @param member of which the handle is the value @param value never 0
    /// @param isNew the library has just made it: a name that the same value had is not its
    virtual std::string nameOf(const char* member, Handle kind, uintptr_t value, bool isNew) = 0;

    /// The hash by which a record has these bytes.
    virtual std::string hashOf(const void* bytes, size_t length) = 0;

    /// A URL as it is written down.
    virtual std::string urlFor(const char* member, std::string_view url) = 0;

    /// A text as it is written down, which may have URLs in it.
    virtual std::string textFor(const char* member, std::string_view text) = 0;
};

/// The `fields` that write. A member is written as soon as it is named.
class Writer {
public:
    /// @param json receives the object, from its brace on; end() closes it
    Writer(std::string& json, Stand& stand) : json_(json), stand_(stand) { json_ += '{'; }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void end() { json_ += '}'; }

    template <typename Pointer>
    void handle(const char* member, Handle kind, Pointer* const& value)
    {
        name(member, kind, reinterpret_cast<uintptr_t>(value), false);
    }

    /// A handle that records of the first recorders do not have.
    template <typename Pointer>
    void laterHandle(const char* member, Handle kind, Pointer* const& value)
    {
        handle(member, kind, value);
    }

    template <typename Pointer>
    void newHandle(const char* member, Handle kind, Pointer* const& value)
    {
        name(member, kind, reinterpret_cast<uintptr_t>(value), true);
    }

    template <typename Function>
    void listener(const char* member, Function* const& value)
    {
        name(member, Handle::listener, reinterpret_cast<uintptr_t>(value), false);
    }

    template <typename Function>
    void plugin(const char* member, Function* const& value)
    {
        name(member, Handle::plugin, reinterpret_cast<uintptr_t>(value), false);
    }

    template <typename Function>
    void callback(const char* member, Function* const& value)
    {
        name(member, Handle::callback, reinterpret_cast<uintptr_t>(value), false);
    }

    template <typename Value>
    void number(const char* member, const Value& value)
    {
        begin(member);
        appendNumber(json_, value);
    }

    /// A number that a pointer carries.
    void numberInPointer(const char* member, void* const& value)
    {
        number(member, reinterpret_cast<uintptr_t>(value));
    }

    /// An enumerator by its name; a value without one as a number.
    template <typename Enumeration, size_t count>
    void choice(const char* member, const Enumeration& value,
                const Choice<Enumeration> (&choices)[count])
    {
        for (const Choice<Enumeration>& each : choices) {
            if (each.value == value) {
                begin(member);
                appendString(json_, each.name);
                return;
            }
        }
        number(member, value);
    }

    void text(const char* member, const char* value)
    {
        begin(member);
        if (value)
            appendString(json_, stand_.textFor(member, value));
        else
            json_ += "null";
    }

    void url(const char* member, const char* value)
    {
        begin(member);
        if (value)
            appendString(json_, stand_.urlFor(member, value));
        else
            json_ += "null";
    }

    /// A whole section, by its own length.
    void section(const char* member, const unsigned char* section)
    {
        if (!section) {
            text(member, nullptr);
            return;
        }
        const size_t headerLength = 3;
        const size_t length = headerLength + ((section[1] & 0xFu) << 8 | section[2]);
        begin(member);
        json_ += '"';
        appendHex(json_, section, length);
        json_ += '"';
    }

    /// @param bytes may be null, whatever the length
    template <typename Length>
    void body(const char* member, const void* bytes, const Length& length)
    {
        begin(member);
        json_ += "{\"length\":";
        appendNumber(json_, length);
        json_ += ",\"sha256\":";
        if (bytes)
            appendString(json_, stand_.hashOf(bytes, length));
        else
            json_ += "null";
        json_ += '}';
    }

    /// A record whose fields follow, as members of this object. @return whether there is one
    template <typename Record>
    bool record(const char* member, Record* const& record)
    {
        if (!record)
            text(member, nullptr);
        return record != nullptr;
    }
    template <typename Record>
    bool mallocedRecord(const char* member, Record* const& record)
    {
        return this->record(member, record);
    }

    /// Room for a value that the answer brings: only its lack is written.
    template <typename Value>
    void room(const char* member, Value* const& place)
    {
        if (!place)
            text(member, nullptr);
    }

    /// @param visit called with a Writer of each element's own and its place
    template <typename Visit>
    void list(const char* member, unsigned int count, Visit visit)
    {
        begin(member);
        json_ += '[';
        for (unsigned int place = 0; place < count; ++place) {
            if (place > 0)
                json_ += ',';
            Writer element(json_, stand_);
            visit(element, place);
            element.end();
        }
        json_ += ']';
    }

private:
    void begin(const char* member)
    {
        if (json_.back() != '{')
            json_ += ',';
        appendString(json_, member);
        json_ += ':';
    }

    void name(const char* member, Handle kind, uintptr_t value, bool isNew)
    {
        begin(member);
        if (value == 0)
            json_ += "null";
        else
            appendString(json_, stand_.nameOf(member, kind, value, isNew));
    }

    std::string& json_;
    Stand& stand_;
};

/// What a call says, as a JSON object.
template <typename Call>
std::string askedText(Call& call, Stand& stand)
{
    std::string json;
    Writer fields(json, stand);
    call.asked(fields);
    fields.end();
    return json;
}

/// What a call got.
template <typename Call>
std::string answeredText(Call& call, Stand& stand)
{
    std::string json;
    Writer fields(json, stand);
    call.answered(fields);
    fields.end();
    return json;
}

}  // namespace recorder

#endif
