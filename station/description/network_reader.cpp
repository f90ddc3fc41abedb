#include "station/description/part_readers.h"

namespace station {

namespace {

constexpr Range frequencyRange = {1, 99'999'999};
constexpr Range symbolRateRange = {1'000, 99'999'900};

const Choices systems = {{"terrestrial", unsigned(DeliverySystem::Terrestrial)},
                         {"satellite", unsigned(DeliverySystem::Satellite)},
                         {"cable", unsigned(DeliverySystem::Cable)}};
const Choices polarisations = {{"horizontal", 0}, {"vertical", 1}, {"left", 2}, {"right", 3}};
const Choices directions = {{"east", 1}, {"west", 0}};

Delivery readDelivery(ObjectReader& object)
{
    Delivery delivery;
    delivery.system = static_cast<DeliverySystem>(object.choice("system", systems));
    switch (delivery.system) {
    case DeliverySystem::Terrestrial:
        delivery.frequencyKhz = object.integer("frequency_khz", frequencyRange, 498'000);
        delivery.bandwidthMhz = object.number("bandwidth_mhz", {5, 8}, 8);
        break;
    case DeliverySystem::Satellite:
        delivery.frequencyKhz = object.integer("frequency_khz", frequencyRange, 11'739'000);
        delivery.symbolRate = object.integer("symbol_rate", symbolRateRange, 22'000'000);
        delivery.orbitalPosition = object.number("orbital_position_tenths", {0, 1800}, 192);
        delivery.isEast = object.choice("direction", directions, "east") == 1;
        delivery.polarisation = object.choice("polarisation", polarisations, "horizontal");
        break;
    case DeliverySystem::Cable:
        delivery.frequencyKhz = object.integer("frequency_khz", frequencyRange, 346'000);
        delivery.symbolRate = object.integer("symbol_rate", symbolRateRange, 6'900'000);
        delivery.cableModulation = object.choice(
            "modulation",
            {{"16qam", 16}, {"32qam", 32}, {"64qam", 64}, {"128qam", 128}, {"256qam", 256}},
            "64qam");
        break;
    }
    return delivery;
}

}  // namespace

Network readNetwork(ObjectReader& object)
{
    Network network;
    network.name = object.text("name");
    network.originalNetworkId = object.number("original_network_id", range16);
    network.networkId = object.number("network_id", range16, network.originalNetworkId);
    network.transportStreamId = object.number("transport_stream_id", range16);
    if (object.has("delivery"))
        object.object("delivery", [&network](ObjectReader& delivery) {
            network.delivery = readDelivery(delivery);
        });
    else
        network.delivery.frequencyKhz = 498'000;
    return network;
}

}  // namespace station
