/// Reads fields off the wire into a tree, and knows where in the section it is.
#ifndef VESTA_INSPECTOR_DECODE_FIELD_READER_H
#define VESTA_INSPECTOR_DECODE_FIELD_READER_H

#include <string>

#include "foundation/byte_reader.h"
#include "inspector/decode/node.h"

namespace inspector {

/// A read that does not fit gives 0 or nothing and turns ok() false for good, as with ByteReader.
class FieldReader {
public:
    /// @param place of the first byte, in the section
    FieldReader(VestaHbbTV::ByteReader bytes, size_t place)
        : bytes_(bytes), end_(place + bytes.remaining())
    {
    }

    bool ok() const { return bytes_.ok(); }
    bool empty() const { return bytes_.empty(); }
    size_t remaining() const { return bytes_.remaining(); }
    size_t place() const { return end_ - bytes_.remaining(); }

    /// @name Values that are not fields of their own
    /// @{
    uint8_t u8() { return bytes_.u8(); }
    uint16_t u16() { return bytes_.u16(); }
    uint32_t u24();
    uint32_t u32() { return bytes_.u32(); }
    uint16_t length12() { return bytes_.length12(); }
    void skip(size_t count) { bytes_.skip(count); }
    std::string raw(size_t count) { return bytes_.text(count); }
    /// @}

    /// The next bytes as a reader of their own; one that is not ok() where they are not there.
    FieldReader take(size_t count);

    /// What did not fit into a part does not fit into the whole.
    void require(const FieldReader& part)
    {
        if (!part.ok())
            bytes_.skip(bytes_.remaining() + 1);
    }

    /// @name Fields
    /// @param size in bytes, 1 to 4 @return the value
    /// @{
    uint32_t number(Node& into, const char* name, unsigned size);
    uint32_t hexadecimal(Node& into, const char* name, unsigned size);
    /// Text as an AIT writes it.
    std::string text(Node& into, const char* name, size_t length);
    /// Text after its length of one byte.
    std::string text8(Node& into, const char* name) { return text(into, name, u8()); }
    /// All that is left, unless that is nothing.
    void rest(Node& into, const char* name);
    /// @}

private:
    uint32_t value(unsigned size);

    VestaHbbTV::ByteReader bytes_;
    size_t end_;
};

/// Text of an AIT: UTF-8, but where its first byte selects a table of ETSI EN 300 468, annex A.
std::string readableText(const std::string& bytes);

}  // namespace inspector

#endif
