#include "kit/xml_ait_application.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "foundation/text.h"
#include "foundation/url_prefixes.h"
#include "kit/url_reference.h"

namespace VestaHbbTV {

namespace {

constexpr std::string_view namespacePrefix = "urn:dvb:mhp:";
constexpr size_t yearDigits = 4;

constexpr std::string_view hbbtvType = "application/vnd.hbbtv.xhtml+xml";
constexpr std::string_view hbbtvTypes = "application/vnd.hbbtv";
constexpr std::string_view httpTransport = "HTTPTransportType";
constexpr std::string_view carouselTransport = "OCTransportType";
constexpr std::string_view digitalTextUsage = ":digitalText";

struct NamedValue {
    std::string_view name;
    int value;
};

constexpr NamedValue controlCodes[] = {
    {"AUTOSTART", AITApplication::AUTOSTART}, {"PRESENT", AITApplication::PRESENT},
    {"DESTROY", AITApplication::DESTROY},     {"KILL", AITApplication::KILL},
    {"PREFETCH", AITApplication::PREFETCH},   {"REMOTE", AITApplication::REMOTE},
    {"DISABLED", AITApplication::DISABLED},   {"PLAYBACK_AUTOSTART", 8}};

// As the application descriptor of a section codes them; 2 is reserved.
constexpr int visibleToAll = 3;
constexpr NamedValue visibilities[] = {
    {"NOT_VISIBLE_ALL", 0}, {"NOT_VISIBLE_USERS", 1}, {"VISIBLE_ALL", visibleToAll}};

constexpr NamedValue booleans[] = {{"true", 1}, {"false", 0}, {"1", 1}, {"0", 0}};

/// Those after it stand for all applications of an organisation: ETSI TS 102 809, 5.2.1.
constexpr uint16_t lastApplicationId = 0xFFFD;

constexpr std::string_view webSchemes[] = {"http", "https"};
constexpr std::string_view boundarySchemes[] = {"http", "https", "dvb"};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isYear(std::string_view text)
{
    return text.size() == yearDigits && std::all_of(text.begin(), text.end(), isDigit);
}

char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isSameButForCase(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char l, char r) { return lowerCase(l) == lowerCase(r); });
}

/// MIME types have no case, and parameters do not make another type of them.
bool isHbbTVType(std::string_view type)
{
    return isSameButForCase(type.substr(0, type.find_first_of("; \t")), hbbtvType);
}

/// Of which there is one only.
bool isLikeHbbTVType(std::string_view type)
{
    return isSameButForCase(type.substr(0, hbbtvTypes.size()), hbbtvTypes);
}

/// A URL of the usage types of HbbTV: the table's own namespace, with the usage at its end.
bool isDigitalText(std::string_view usage)
{
    if (usage.size() < digitalTextUsage.size())
        return false;
    const size_t end = usage.size() - digitalTextUsage.size();
    return usage.substr(end) == digitalTextUsage && isXMLAITName(usage.substr(0, end));
}

bool isLikeDigitalText(std::string_view usage)
{
    const size_t end = usage.rfind(digitalTextUsage.front());
    return end != std::string_view::npos && isSameButForCase(usage.substr(end), digitalTextUsage) &&
           isSameButForCase(usage.substr(0, std::min(end, namespacePrefix.size())),
                            namespacePrefix);
}

template <size_t count>
std::string namesOf(const NamedValue (&values)[count])
{
    std::string names;
    for (const NamedValue& value : values)
        names.append(names.empty() ? "" : ", ").append(value.name);
    return names;
}

/// Reads an element step by step. The first fault is kept, and what is read after it is of no use.
class ApplicationReader {
public:
    ApplicationReader(const XMLElement& element, std::string_view documentUrl, XMLFault& fault,
                      XMLAITNotes* notes)
        : element_(element), documentUrl_(documentUrl), fault_(fault), notes_(notes)
    {
    }

    bool isHbbTVApplication();
    std::unique_ptr<AITApplication> read(AIT* table);

private:
    void readName(AITApplication& application);
    void readIdentifier(AITApplication& application);
    void readDescriptor(AITApplication& application);
    AITApplication::PlatformProfile readProfile(const XMLElement& descriptor);
    void readUsage(AITApplication& application);
    void readBoundary(AITApplication& application);
    void readTransports(AITApplication& application);
    ref_ptr<AITApplicationTransport> readTransport(const XMLElement& element,
                                                   const AITApplication& application);
    ref_ptr<AITApplicationTransport> readHTTP(const XMLElement& element,
                                              const AITApplication& application);
    ref_ptr<AITApplicationTransport> readObjectCarousel(const XMLElement& element);
    uint8_t readComponentTag(const XMLElement& transport);
    void readLocation(AITApplication& application);

    const XMLElement* find(const XMLElement& parent, std::string_view name);
    const XMLElement& need(const XMLElement& parent, std::string_view name);
    void limit(const XMLElement& parent, std::string_view name, size_t most);

    template <typename Number>
    Number decimal(const XMLElement& at, std::string_view name, std::string_view text,
                   Number least = 0, Number most = std::numeric_limits<Number>::max());
    uint16_t decimalAttribute(const XMLElement& element, std::string_view name);
    template <typename Number>
    Number hexadecimal(const XMLElement& at, std::string_view text);
    template <typename Number>
    Number hexadecimalChild(const XMLElement& parent, std::string_view name);
    template <size_t count>
    int named(const XMLElement& element, const NamedValue (&values)[count]);
    template <size_t count>
    std::string url(const XMLElement& element, const std::string_view (&schemes)[count],
                    const char* expected);

    void missing(const XMLElement& element, const std::string& expected)
    {
        fault_.set(HBBTV_KIT_XML_AIT_INVALID, element.place,
                   std::string(element.name) + ": expected " + expected);
    }
    void wrong(const XMLElement& at, std::string_view name, std::string_view text,
               const std::string& expected)
    {
        fault_.set(HBBTV_KIT_XML_AIT_INVALID, at.place,
                   std::string(name) + " " + quotation(text) + ": expected " + expected);
    }

    /// Takes down that something of the document is not in the table.
    void skip(const XMLElement& at, std::string_view what, std::string_view text)
    {
        if (notes_)
            notes_->skip(at.place, std::string(what) + " " + quotation(text));
    }

    const XMLElement& element_;
    const std::string_view documentUrl_;
    XMLFault& fault_;
    XMLAITNotes* const notes_;  // may be null
};

// Whether the type is one that another terminal understands is asked first: nothing is known of the
// other elements of such an application.
bool ApplicationReader::isHbbTVApplication()
{
    const XMLElement& type = need(need(element_, "applicationDescriptor"), "type");
    const XMLElement* const other = find(type, "OtherApp");
    if (!other && !find(type, "DvbApp"))
        missing(type, "OtherApp or DvbApp");
    if (other && isHbbTVType(other->text))
        return !fault_.isSet();
    if (other && isLikeHbbTVType(other->text))
        wrong(*other, other->name, other->text, std::string(hbbtvType));
    const XMLElement* const dvb = other ? nullptr : find(type, "DvbApp");
    skip(element_, "Application of type", other ? other->text : dvb ? dvb->text : "");
    return false;
}

std::unique_ptr<AITApplication> ApplicationReader::read(AIT* table)
{
    auto application = std::make_unique<AITApplication>(table);
    readName(*application);
    readIdentifier(*application);
    readDescriptor(*application);
    readUsage(*application);
    readBoundary(*application);
    readLocation(*application);
    readTransports(*application);
    return fault_.isSet() ? nullptr : std::move(application);
}

// Of several languages the first one counts, as it does in a section.
void ApplicationReader::readName(AITApplication& application)
{
    limit(element_, "appName", mostXMLAITNames);
    for (const XMLElement& child : element_.children) {
        if (child.name == "appName") {
            application.setApplicationName(child.text);
            return;
        }
    }
}

void ApplicationReader::readIdentifier(AITApplication& application)
{
    const XMLElement& identifier = need(element_, "applicationIdentifier");
    const XMLElement& organisation = need(identifier, "orgId");
    const XMLElement& id = need(identifier, "appId");
    application.setOrganisationId(
        decimal<uint32_t>(organisation, organisation.name, organisation.text, 1));
    application.setApplicationId(decimal<uint16_t>(id, id.name, id.text, 1, lastApplicationId));
}

void ApplicationReader::readDescriptor(AITApplication& application)
{
    const XMLElement& element = need(element_, "applicationDescriptor");
    application.setControlCode(static_cast<AITApplication::ControlCode>(
        named(need(element, "controlCode"), controlCodes)));
    AITApplication::ApplicationDescriptor descriptor;
    const XMLElement* const visibility = find(element, "visibility");
    descriptor.setVisibility(visibility ? named(*visibility, visibilities) : visibleToAll);
    // Without a word an application is bound to no service: it did not come with one.
    const XMLElement* const serviceBound = find(element, "serviceBound");
    descriptor.setServiceBound(serviceBound && named(*serviceBound, booleans) != 0);
    if (find(element, "priority"))
        descriptor.setApplicationPriority(hexadecimalChild<uint8_t>(element, "priority"));
    if (find(element, "version"))
        hexadecimalChild<uint8_t>(element, "version");  // a table has no place for it
    descriptor.addPlatformProfile(readProfile(element));
    application.setApplicationDescriptor(std::move(descriptor));
}

// Where none is named any terminal will do.
AITApplication::PlatformProfile ApplicationReader::readProfile(const XMLElement& descriptor)
{
    const XMLElement* const version = find(descriptor, "mhpVersion");
    if (!version)
        return {};
    return {hexadecimalChild<uint16_t>(*version, "profile"),
            hexadecimalChild<uint8_t>(*version, "versionMajor"),
            hexadecimalChild<uint8_t>(*version, "versionMinor"),
            hexadecimalChild<uint8_t>(*version, "versionMicro")};
}

void ApplicationReader::readUsage(AITApplication& application)
{
    const XMLElement* const descriptor = find(element_, "applicationUsageDescriptor");
    const XMLElement* const usage = descriptor ? &need(*descriptor, "ApplicationUsage") : nullptr;
    if (!usage)
        return;
    if (isDigitalText(usage->text))
        application.setUsageType(AITApplication::DIGITAL_TELETEXT);
    else if (isLikeDigitalText(usage->text))
        wrong(*usage, usage->name, usage->text, "urn:dvb:mhp:2009:digitalText");
    else
        skip(*usage, usage->name, usage->text);
}

void ApplicationReader::readBoundary(AITApplication& application)
{
    const XMLElement* const boundary = find(element_, "applicationBoundary");
    if (!boundary)
        return;
    limit(*boundary, "BoundaryExtension", mostXMLAITBoundaries);
    for (const XMLElement& extension : boundary->children) {
        const std::string origin = url(extension, boundarySchemes, "an http:, https: or dvb: URL");
        if (!application.getApplicationDomain()->addBoundaryExtension(origin))
            wrong(extension, extension.name, extension.text, "the web host of those before it");
    }
    application.getApplicationDomain()->releaseSpareMemory();
}

void ApplicationReader::readTransports(AITApplication& application)
{
    limit(element_, "applicationTransport", mostXMLAITTransports);
    for (const XMLElement& child : element_.children)
        if (child.name == "applicationTransport")
            application.addTransport(readTransport(child, application));
    if (application.getNumTransports() == 0)
        missing(element_, "an applicationTransport of HTTPTransportType or OCTransportType");
}

/// @return null for a type that is not known, such as one that another standard adds
ref_ptr<AITApplicationTransport> ApplicationReader::readTransport(const XMLElement& element,
                                                                  const AITApplication& application)
{
    const std::string* const type = element.findAttribute("type");
    if (!type) {
        missing(element, "an xsi:type, HTTPTransportType or OCTransportType");
        return {};
    }
    if (*type == httpTransport)
        return readHTTP(element, application);
    if (*type == carouselTransport)
        return readObjectCarousel(element);
    if (isSameButForCase(*type, httpTransport) || isSameButForCase(*type, carouselTransport))
        wrong(element, "xsi:type", *type, "HTTPTransportType or OCTransportType");
    skip(element, "applicationTransport of type", *type);
    return {};
}

// URLExtension is skipped as it is in a section.
ref_ptr<AITApplicationTransport> ApplicationReader::readHTTP(const XMLElement& element,
                                                             const AITApplication& application)
{
    ref_ptr<AITApplicationTransport> transport(new AITApplicationTransport);
    transport->setProtocol(AITApplicationTransport::HTTP);
    std::string base = url(need(element, "URLBase"), webSchemes, "an http: or https: URL");
    // The location follows the base as it is: that of a base without a path would become part of
    // the host.
    const URLParts parts(base);
    const bool isOrigin = parts.path.empty() && parts.query.empty() && parts.fragment.empty();
    if (isOrigin && !startsWith(application.getApplicationLocation(), "/"))
        base += '/';
    transport->setURLBase(std::move(base));
    return transport;
}

// The table is that of no service, so a carousel has to say in which service it is.
ref_ptr<AITApplicationTransport> ApplicationReader::readObjectCarousel(const XMLElement& element)
{
    ref_ptr<AITApplicationTransport> transport(new AITApplicationTransport);
    transport->setProtocol(AITApplicationTransport::OBJECT_CAROUSEL);
    transport->setRemote(true);
    const XMLElement& triplet = need(element, "DvbTriplet");
    const uint16_t originalNetworkId = decimalAttribute(triplet, "OrigNetId");
    const uint16_t transportStreamId = decimalAttribute(triplet, "TSId");
    const uint16_t serviceId = decimalAttribute(triplet, "ServiceId");
    transport->setService(originalNetworkId, transportStreamId, serviceId);
    transport->setComponentTag(readComponentTag(element));
    return transport;
}

// The tag is an attribute of the element's own name; as its text it says the same.
uint8_t ApplicationReader::readComponentTag(const XMLElement& transport)
{
    const XMLElement& tag = need(transport, "ComponentTag");
    const std::string* const attribute = tag.findAttribute("ComponentTag");
    return hexadecimal<uint8_t>(tag, attribute ? *attribute : tag.text);
}

// It may be empty: the transport's base is the whole address then.
void ApplicationReader::readLocation(AITApplication& application)
{
    const XMLElement& location = need(element_, "applicationLocation");
    const URLParts parts(location.text);
    if (hasBlanks(location.text) || (!parts.scheme.empty() && parts.hasAuthority))
        wrong(location, location.name, location.text, "what follows the URLBase, without blanks");
    application.setApplicationLocation(location.text);
}

/// The only child of that name; null where there is none.
const XMLElement* ApplicationReader::find(const XMLElement& parent, std::string_view name)
{
    const XMLElement* found = nullptr;
    for (const XMLElement& child : parent.children) {
        if (child.name != name)
            continue;
        if (found)
            missing(child, "once in " + std::string(parent.name));
        else
            found = &child;
    }
    return found;
}

const XMLElement& ApplicationReader::need(const XMLElement& parent, std::string_view name)
{
    static const XMLElement none;
    const XMLElement* const found = find(parent, name);
    if (!found)
        missing(parent, std::string(name));
    return found ? *found : none;
}

void ApplicationReader::limit(const XMLElement& parent, std::string_view name, size_t most)
{
    size_t count = 0;
    for (const XMLElement& child : parent.children)
        if (child.name == name && ++count > most)
            fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, child.place,
                       std::string(name) + ": expected at most " + std::to_string(most) + " in " +
                           std::string(parent.name));
}

/// xsd:unsignedInt and xsd:unsignedShort.
/// @param name of the element or attribute that holds the text
template <typename Number>
Number ApplicationReader::decimal(const XMLElement& at, std::string_view name,
                                  std::string_view text, Number least, Number most)
{
    uint64_t value = 0;
    bool isNumber = !text.empty();
    for (const char c : text) {
        isNumber = isNumber && isDigit(c);
        if (isNumber && value <= most)
            value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    if (!isNumber || value < least || value > most)
        wrong(at, name, text,
              "a number from " + std::to_string(least) + " to " + std::to_string(most));
    return static_cast<Number>(value);
}

uint16_t ApplicationReader::decimalAttribute(const XMLElement& element, std::string_view name)
{
    const std::string* const text = element.findAttribute(name);
    if (!text)
        missing(element, "an attribute " + std::string(name));
    return text ? decimal<uint16_t>(element, name, *text) : uint16_t{0};
}

/// ipi:Hexadecimal8bit and ipi:Hexadecimal16bit of ETSI TS 102 034.
template <typename Number>
Number ApplicationReader::hexadecimal(const XMLElement& at, std::string_view text)
{
    constexpr size_t mostDigits = 2 * sizeof(Number);
    unsigned value = 0;
    bool isNumber = !text.empty() && text.size() <= mostDigits;
    for (size_t i = 0; i < text.size() && isNumber; ++i) {
        isNumber = hexadecimalDigit(text[i]) >= 0;
        value = value * 16 + static_cast<unsigned>(isNumber ? hexadecimalDigit(text[i]) : 0);
    }
    if (!isNumber)
        wrong(at, at.name, text, "1 to " + std::to_string(mostDigits) + " hexadecimal digits");
    return static_cast<Number>(value);
}

template <typename Number>
Number ApplicationReader::hexadecimalChild(const XMLElement& parent, std::string_view name)
{
    const XMLElement& child = need(parent, name);
    return hexadecimal<Number>(child, child.text);
}

template <size_t count>
int ApplicationReader::named(const XMLElement& element, const NamedValue (&values)[count])
{
    for (const NamedValue& value : values)
        if (value.name == element.text)
            return value.value;
    wrong(element, element.name, element.text, namesOf(values));
    return 0;
}

/// The absolute URL that an element names.
template <size_t count>
std::string ApplicationReader::url(const XMLElement& element,
                                   const std::string_view (&schemes)[count], const char* expected)
{
    const std::optional<std::string> absolute =
        element.text.empty() ? std::nullopt : resolveURL(documentUrl_, element.text);
    const URLParts parts(absolute ? std::string_view(*absolute) : std::string_view());
    const bool isExpected =
        std::find(std::begin(schemes), std::end(schemes), parts.scheme) != std::end(schemes);
    if (isExpected && !parts.host().empty() && !hasBlanks(*absolute))
        return *absolute;
    const bool lacksBase = documentUrl_.empty() && !element.text.empty() && !absolute;
    wrong(element, element.name, element.text,
          std::string(expected) +
              (lacksBase ? ", absolute since the document's URL is not known" : ""));
    return {};
}

}  // namespace

bool isXMLAITName(std::string_view space)
{
    return startsWith(space, namespacePrefix) && isYear(space.substr(namespacePrefix.size()));
}

std::unique_ptr<AITApplication> readXMLAITApplication(const XMLElement& element,
                                                      const XMLFault& mixed,
                                                      std::string_view documentUrl, AIT* table,
                                                      XMLFault& fault, XMLAITNotes* notes)
{
    ApplicationReader reader(element, documentUrl, fault, notes);
    if (!reader.isHbbTVApplication())
        return nullptr;
    if (mixed.isSet())
        fault.set(mixed.getStatus(), mixed.getPlace(), mixed.getText());
    return reader.read(table);
}

}  // namespace VestaHbbTV
