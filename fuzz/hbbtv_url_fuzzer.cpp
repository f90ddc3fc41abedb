/// Any text as a URL: splitting, decoding, resolving against another text, and the ids of a
/// current-AIT address. What decoding gives is compared with sscanf() at every escape.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "signalling/hbbtv_url.h"
#include "tests/support/fake_browser.h"

using namespace VestaHbbTV;
using vesta::test::FakeBrowser;

namespace {

void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

/// The browser refuses, gives nothing or gives what it makes of the two, as the input wants it.
void setUpBrowser(size_t choice)
{
    FakeBrowser& browser = FakeBrowser::instance();
    browser.journalling = false;
    browser.results["ve_resolve_relative_url"] = choice % 3 == 0 ? -1 : 0;
    browser.resolveToNull = choice % 3 == 1;
}

/// Decoding as it is defined, one character after the other.
std::string decodedByModel(const std::string& text)
{
    std::string decoded;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        const std::string digits = text.substr(at + 1, 2);
        unsigned value = 0;
        if (std::sscanf(digits.c_str(), "%x", &value) == 1)
            decoded += static_cast<char>(static_cast<unsigned char>(value));
        at += digits.size();
    }
    return decoded;
}

void checkSplit(const std::string& text, const HbbTVURL& url)
{
    const std::string address =
        text.substr(0, text.find_first_of(text.find('?') != std::string::npos ? "?" : "#"));
    require(url.getURL() == decodedByModel(address), "the address is decoded");
    require(url.getType() == HbbTVURL::getURLType(url.getURL()), "the type is the address's");
    const std::string full = url.getFullUrl();
    require(full.compare(0, url.getURL().size(), url.getURL()) == 0, "the full URL begins so");
    require(url.getURL().find(url.getHostName()) != std::string::npos, "the host is in the URL");
}

void checkCurrentAIT(const std::string& text)
{
    const HbbTVCurrentAITDVBURL url(text);
    require(url.getType() == HbbTVURL::currentAITDVBURL, "the type is forced");
    require(url.isValid() || (url.getOrganisationId() | url.getApplicationId()) == 0,
            "an invalid URL has no ids");
    char ids[64];
    std::snprintf(ids, sizeof ids, "dvb://current.ait/%x.%x", url.getOrganisationId(),
                  url.getApplicationId());
    const HbbTVCurrentAITDVBURL again((std::string(ids)));
    require(again.isValid() && again.getOrganisationId() == url.getOrganisationId() &&
                again.getApplicationId() == url.getApplicationId(),
            "ids survive being written");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Spare capacity would hide one byte too many.
    std::string text(reinterpret_cast<const char*>(data), size);
    text.shrink_to_fit();

    HbbTVURL url(text);
    checkSplit(text, url);
    checkCurrentAIT(text);

    // A line feed, if there is one, separates the URL from its base.
    const size_t line = text.find('\n');
    const HbbTVURL base(line == std::string::npos ? "dvb://1.2.3/a/b" : text.substr(line + 1));
    HbbTVDVBURL dvb(text.substr(0, line));
    require(dvb.resolveRelativeUrl(base), "resolving a dvb: URL cannot fail");
    require(dvb.resolveRelativeUrl(dvb), "resolving against itself cannot fail");
    setUpBrowser(size);
    const std::string before = url.getURL();
    require(url.resolveRelativeUrl(base) || url.getURL() == before, "a failure changes nothing");
    url.addParameters(base.getParameters());
    url.addAnchor(base.getAnchor(), size % 2 == 0);
    require(url.getFullUrl().size() >= url.getURL().size(), "joined after adding");
    return 0;
}
