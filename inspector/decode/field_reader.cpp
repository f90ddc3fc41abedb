#include "inspector/decode/field_reader.h"

#include "receiver/text/dvb_text.h"

namespace inspector {

uint32_t FieldReader::u24()
{
    const uint32_t upper = bytes_.u8();
    return (upper << 16) | bytes_.u16();
}

FieldReader FieldReader::take(size_t count)
{
    const size_t from = place();
    return FieldReader(bytes_.take(count), from);
}

uint32_t FieldReader::value(unsigned size)
{
    switch (size) {
    case 1:
        return u8();
    case 2:
        return u16();
    case 3:
        return u24();
    default:
        return u32();
    }
}

uint32_t FieldReader::number(Node& into, const char* name, unsigned size)
{
    const uint32_t read = value(size);
    into.addNumber(name, read);
    return read;
}

uint32_t FieldReader::hexadecimal(Node& into, const char* name, unsigned size)
{
    const uint32_t read = value(size);
    into.addHexadecimal(name, read);
    return read;
}

std::string FieldReader::text(Node& into, const char* name, size_t length)
{
    std::string bytes = raw(length);
    into.addText(name, readableText(bytes));
    return bytes;
}

void FieldReader::rest(Node& into, const char* name)
{
    if (!empty())
        into.addBytes(name, raw(remaining()));
}

std::string readableText(const std::string& bytes)
{
    constexpr unsigned char firstPrintable = 0x20;
    const bool selectsTable =
        !bytes.empty() && static_cast<unsigned char>(bytes[0]) < firstPrintable;
    return selectsTable ? receiver::decodeDvbText(bytes) : bytes;
}

}  // namespace inspector
