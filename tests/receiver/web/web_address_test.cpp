#include <gtest/gtest.h>

#include "receiver/web/web_address.h"

namespace receiver {
namespace {

TEST(WebAddress, APortAloneIsOfThisMachineAlone)
{
    const auto address = webAddressFrom("8080");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->host, "127.0.0.1");
    EXPECT_EQ(address->port, 8080);
    EXPECT_EQ(urlOf(*address), "http://127.0.0.1:8080/");
}

TEST(WebAddress, AddressesAreTakenAsTheyStand)
{
    const struct {
        const char* text;
        const char* url;
    } rows[] = {
        {"0", "http://127.0.0.1:0/"},
        {"0.0.0.0:80", "http://0.0.0.0:80/"},
        {"192.168.1.2:65535", "http://192.168.1.2:65535/"},
        {"localhost:1", "http://127.0.0.1:1/"},
        {"LocalHost:1", "http://127.0.0.1:1/"},
        {"[::1]:8080", "http://[::1]:8080/"},
        {"[::]:8080", "http://[::]:8080/"},
    };
    for (const auto& row : rows) {
        const auto address = webAddressFrom(row.text);
        ASSERT_TRUE(address) << row.text;
        EXPECT_EQ(urlOf(*address), row.url);
    }
}

TEST(WebAddress, AnythingElseIsNone)
{
    for (const char* const text : {"",
                                   "x",
                                   ":",
                                   ":80",
                                   "80:",
                                   "65536",
                                   "-1",
                                   "1.2.3:80",
                                   "1.2.3.4.5:80",
                                   "::1:80",
                                   "[::1]",
                                   "[::1]:",
                                   "[1.2.3.4]:80",
                                   "[]:80",
                                   "[:80",
                                   "example.org:80",
                                   "127.0.0.1:80:80",
                                   "127.0.0.1:http",
                                   "127.0.0.1:65536",
                                   "[::1%lo]:80",
                                   "127.0.0.1 :80"})
        EXPECT_FALSE(webAddressFrom(text)) << text;
}

TEST(WebAddress, OwnHostsAreAddressesAndLocalhostWithThePort)
{
    for (const char* const host : {"127.0.0.1:8080", "localhost:8080", "LOCALHOST:8080",
                                   "[::1]:8080", "192.168.1.2:8080", "10.0.0.1:8080"})
        EXPECT_TRUE(isOwnHost(host, 8080)) << host;
    EXPECT_TRUE(isOwnHost("localhost", 80));
    EXPECT_TRUE(isOwnHost("127.0.0.1", 80));
    for (const char* const host :
         {"", ":8080", "evil.example:8080", "127.0.0.1.evil.example:8080", "localhost.evil:8080",
          "127.0.0.1", "127.0.0.1:80", "127.0.0.1:", "[::1]", "::1:8080", "127.1:8080",
          "2130706433:8080", "0x7f000001:8080", "user@127.0.0.1:8080", "127.0.0.1:8080 ",
          "localhost:8080.evil"})
        EXPECT_FALSE(isOwnHost(host, 8080)) << host;
}

}  // namespace
}  // namespace receiver
