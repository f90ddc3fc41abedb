// The rule of a domain, read word by word, against the class, for many strings that are no URLs.

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "security/application_domain.h"

namespace VestaHbbTV {
namespace {

using Entries = std::vector<std::string>;

size_t startOfHost(const std::string& url)
{
    if (url.find("http://") != std::string::npos)
        return 7;
    if (url.find("https://") != std::string::npos)
        return 8;
    return url.find("dvb://") != std::string::npos ? 6 : 0;
}

bool isDVBOrigin(const std::string& url)
{
    return url.find("http://") == std::string::npos && url.find("https://") == std::string::npos &&
           url.find("dvb://") != std::string::npos;
}

std::string hostOf(const std::string& url)
{
    const size_t start = startOfHost(url);
    const std::string host = url.substr(start, url.find('/', start) - start);
    return host.substr(0, host.find(':'));
}

std::string originOf(const std::string& url)
{
    const size_t start = startOfHost(url);
    return start == 0 ? url : url.substr(0, url.find('/', start));
}

/// Every entry is asked.
bool addTo(Entries& entries, const std::string& url)
{
    if (url.rfind("dvb:", 0) != 0) {
        for (const std::string& entry : entries)
            if (hostOf(entry) != hostOf(url) && !isDVBOrigin(entry))
                return false;
    }
    entries.push_back(originOf(url));
    return true;
}

class Strings {
public:
    std::string next()
    {
        static const char* const parts[] = {
            "http://", "https://", "dvb://", "dvb:", "http:", "/", "//",
            ":",       "a",        "b",      "dvb",  "x.y",   "?", "ttp://"};
        std::string text;
        for (size_t count = below(5); count > 0; --count)
            text += parts[below(std::size(parts))];
        return text;
    }

    size_t below(size_t end) { return generator_() % end; }

private:
    std::minstd_rand generator_{20261121};
};

TEST(ApplicationDomainModel, AdmitsWhatTheRuleAdmitsForAnyStrings)
{
    Strings strings;
    size_t refused = 0;
    for (int round = 0; round < 20000; ++round) {
        ApplicationDomain domain;
        Entries expected;
        for (size_t count = strings.below(8); count > 0; --count) {
            const std::string url = strings.next();
            const bool added = addTo(expected, url);
            ASSERT_EQ(domain.addBoundaryExtension(url), added) << url << " in round " << round;
            ASSERT_EQ(domain.getEntries(), expected) << url << " in round " << round;
            refused += added ? 0u : 1u;
        }
    }
    EXPECT_GT(refused, 1000u);
}

TEST(ApplicationDomainModel, ADomainThatIsExtendedAdmitsWhatTheRuleAdmits)
{
    Strings strings;
    for (int round = 0; round < 5000; ++round) {
        ApplicationDomain domain;
        ApplicationDomain other;
        Entries expected;
        for (int count = 0; count < 4; ++count) {
            const std::string url = strings.next();
            domain.addBoundaryExtension(url);
            addTo(expected, url);
            other.addBoundaryExtension(strings.next());
        }
        ApplicationDomain copy = domain;
        size_t added = 0;
        for (const std::string& entry : other.getEntries())
            added += addTo(expected, entry) ? 1u : 0u;
        ASSERT_EQ(copy.extendDomain(other), added > 0) << round;
        ASSERT_EQ(copy.getEntries(), expected) << round;
    }
}

}  // namespace
}  // namespace VestaHbbTV
