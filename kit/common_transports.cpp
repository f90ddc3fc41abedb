#include "kit/common_transports.h"

#include <utility>

#include "foundation/descriptor.h"

namespace VestaHbbTV {

namespace {

CommonTransports transportsOf(const WholeTable& table)
{
    CommonTransports transports;
    for (const Section& section : table) {
        ByteReader reader(section.data(), section.size());
        reader.skip(AITLayout::commonLength);
        const size_t length = reader.length12();
        forEachDescriptor(reader.take(length), [&](uint8_t tag, ByteReader payload, ByteReader) {
            ByteReader label = payload;
            label.skip(2);  // protocol_id
            const uint8_t number = label.u8();
            if (tag == transportProtocolTag && !payload.empty())
                transports.emplace(number,
                                   Section(payload.data(), payload.data() + payload.remaining()));
            return true;
        });
    }
    return transports;
}

}  // namespace

bool addCommonTransports(const WholeTable& table, CommonTransports& transports)
{
    for (auto& [label, payload] : transportsOf(table)) {
        const auto [known, isNew] = transports.try_emplace(label, payload);
        if (!isNew && known->second != payload)
            return false;
    }
    return true;
}

}  // namespace VestaHbbTV
