#include <gtest/gtest.h>
#include <utility>

#include "receiver/stream/network_address.h"

namespace receiver {
namespace {

/// The address and what kind it is; else the problem.
std::string read(const std::string& url)
{
    std::string problem;
    const auto address = NetworkAddress::fromUrl(url, problem);
    return address ? (address->isGroup() ? "group " : "") + address->text() : problem;
}

TEST(NetworkAddress, AddressesOfBothKindsAreRead)
{
    const std::pair<const char*, const char*> cases[] = {
        {"udp://127.0.0.1:1234", "127.0.0.1:1234"},
        {"rtp://@127.0.0.1:1234", "127.0.0.1:1234"},
        {"udp://@:65535", "0.0.0.0:65535"},
        {"udp://:0", "0.0.0.0:0"},
        {"udp://@239.255.1.2:5004", "group 239.255.1.2:5004"},
        {"udp://224.0.0.0:1", "group 224.0.0.0:1"},
        {"udp://223.255.255.255:1", "223.255.255.255:1"},
        {"udp://240.0.0.0:1", "240.0.0.0:1"},
        {"udp://239.1.1.1:1?interface=lo", "group 239.1.1.1:1"},
        {"udp://239.1.1.1:1?interface=127.0.0.1", "group 239.1.1.1:1"},
        {"udp://[::1]:1234", "[::1]:1234"},
        {"udp://@[ff02:0::1]:1234", "group [ff02::1]:1234"},
        {"udp://[ff02::1]:1234?interface=lo", "group [ff02::1]:1234"},
    };
    for (const auto& [url, text] : cases)
        EXPECT_EQ(read(url), text) << url;
}

TEST(NetworkAddress, WhatIsNoneIsSaid)
{
    const char* const form =
        ": expected udp://[@]ADDRESS:PORT, with an IP address (IPv6 in brackets)";
    const char* const port = ": expected a port from 0 to 65535 after the address";
    const std::pair<const char*, std::string> cases[] = {
        {"udp://", form},
        {"udp://@", form},
        {"udp://127.0.0.1", form},
        {"udp://localhost:1", form},
        {"udp://10.0.0.1@239.1.1.1:1", form},
        {"udp://::1:1234", form},
        {"udp://[::1]", form},
        {"udp://[]:1", form},
        {"udp://[127.0.0.1]:1", form},
        {"udp://127.0.0.1:", port},
        {"udp://127.0.0.1:65536", port},
        {"udp://127.0.0.1:-1", port},
        {"udp://127.0.0.1:1/", port},
        {"udp://127.0.0.1:1?interface=lo", ": interface= is for multicast groups"},
        {"udp://239.1.1.1:1?interface=nowhere9", ": no such interface: nowhere9"},
        {"udp://[ff02::1]:1?interface=127.0.0.1", ": no such interface: 127.0.0.1"},
        {"udp://239.1.1.1:1?", ": expected interface=NAME after the question mark, not "},
        {"udp://239.1.1.1:1?interface=",
         ": expected interface=NAME after the question mark, not interface="},
        {"udp://239.1.1.1:1?ttl=3", ": expected interface=NAME after the question mark, not ttl=3"},
    };
    for (const auto& [url, problem] : cases)
        EXPECT_EQ(read(url), url + problem);
}

}  // namespace
}  // namespace receiver
