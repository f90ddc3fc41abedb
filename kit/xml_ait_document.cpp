#include "kit/xml_ait_document.h"

#include <string>
#include <utility>
#include <vector>

#include "kit/xml_ait_application.h"
#include "kit/xml_element.h"
#include "kit/xml_parser.h"

namespace VestaHbbTV {

namespace {

constexpr std::string_view instanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";
constexpr std::string_view whiteSpace = " \t\r\n";

constexpr std::string_view noElement;
constexpr std::string_view rootName = "ServiceDiscovery";
constexpr std::string_view applicationName = "Application";

/// An element that counts, by its name and that of its parent.
struct KnownElement {
    std::string_view parent;
    std::string_view name;
    bool hasText = false;
};

// ETSI TS 102 809, 5.4.4: what of the schema a table can hold, and what decides on it.
constexpr KnownElement knownElements[] = {
    {noElement, rootName},
    {rootName, "ApplicationDiscovery"},
    {"ApplicationDiscovery", "ApplicationList"},
    {"ApplicationList", applicationName},
    {applicationName, "appName", true},
    {applicationName, "applicationIdentifier"},
    {"applicationIdentifier", "orgId", true},
    {"applicationIdentifier", "appId", true},
    {applicationName, "applicationDescriptor"},
    {"applicationDescriptor", "type"},
    {"type", "OtherApp", true},
    {"type", "DvbApp", true},
    {"applicationDescriptor", "controlCode", true},
    {"applicationDescriptor", "visibility", true},
    {"applicationDescriptor", "serviceBound", true},
    {"applicationDescriptor", "priority", true},
    {"applicationDescriptor", "version", true},
    {"applicationDescriptor", "mhpVersion"},
    {"mhpVersion", "profile", true},
    {"mhpVersion", "versionMajor", true},
    {"mhpVersion", "versionMinor", true},
    {"mhpVersion", "versionMicro", true},
    {applicationName, "applicationUsageDescriptor"},
    {"applicationUsageDescriptor", "ApplicationUsage", true},
    {applicationName, "applicationBoundary"},
    {"applicationBoundary", "BoundaryExtension", true},
    {applicationName, "applicationTransport"},
    {"applicationTransport", "URLBase", true},
    {"applicationTransport", "DvbTriplet"},
    {"applicationTransport", "ComponentTag", true},
    {applicationName, "applicationLocation", true},
};

constexpr std::string_view typeAttribute = "type";  // of the schema's instances
constexpr std::string_view ownAttributes[] = {"OrigNetId", "TSId", "ServiceId", "ComponentTag"};

const KnownElement* findKnown(std::string_view parent, std::string_view name)
{
    for (const KnownElement& known : knownElements)
        if (known.name == name && known.parent == parent)
            return &known;
    return nullptr;
}

/// The static name of an attribute that counts; empty for all others.
std::string_view knownAttribute(const XMLName& name)
{
    if (name.space == instanceNamespace && name.local == typeAttribute)
        return typeAttribute;
    if (name.space.empty())
        for (const std::string_view own : ownAttributes)
            if (own == name.local)
                return own;
    return {};
}

std::string_view trimmed(std::string_view text)
{
    const size_t begin = text.find_first_not_of(whiteSpace);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(whiteSpace) - begin + 1);
}

std::string limitText(std::string_view what, size_t limit)
{
    return "expected at most " + std::to_string(limit) + " " + std::string(what);
}

class DocumentReader : public XMLContent {
public:
    DocumentReader(std::string_view documentUrl, XMLFault& fault)
        : documentUrl_(documentUrl), fault_(fault)
    {
    }

    void startElement(const XMLName& name, const XMLAttributes& attributes,
                      const XMLPlace& place) override;
    void endElement() override;
    void addText(std::string_view text) override;

    /// After the document.
    ref_ptr<AIT> takeTable();

private:
    const KnownElement* recognise(const XMLName& name) const;
    void beginApplication(const XMLPlace& place);
    void keep(const KnownElement& known, const XMLAttributes& attributes, const XMLPlace& place);
    void keepAttributes(const XMLAttributes& attributes);
    void finishApplication();

    const std::string_view documentUrl_;
    XMLFault& fault_;
    const ref_ptr<AIT> table_{new AIT};
    XMLPlace rootPlace_;
    /// Those that are open, from the root on.
    std::vector<const KnownElement*> path_;
    size_t skippedDepth_ = 0;  ///< of open elements that do not count, inside those of the path
    size_t applications_ = 0;
    XMLElement application_;  ///< while one is open
    /// The application and those inside it that are open. Only the innermost one gets children, so
    /// that they stay where they are.
    std::vector<XMLElement*> open_;
    size_t elements_ = 0;  ///< of the application
};

void DocumentReader::startElement(const XMLName& name, const XMLAttributes& attributes,
                                  const XMLPlace& place)
{
    const KnownElement* const known = skippedDepth_ == 0 ? recognise(name) : nullptr;
    if (!known) {
        ++skippedDepth_;
        if (path_.empty())
            fault_.set(HBBTV_KIT_XML_AIT_INVALID, place,
                       "root " + quotation(name.local) +
                           ": expected ServiceDiscovery of the namespace urn:dvb:mhp:2009");
        return;
    }
    path_.push_back(known);
    if (known->name == rootName)
        rootPlace_ = place;
    else if (known->name == applicationName)
        beginApplication(place);
    else if (!open_.empty())
        keep(*known, attributes, place);
}

const KnownElement* DocumentReader::recognise(const XMLName& name) const
{
    if (!isXMLAITName(name.space))
        return nullptr;
    return findKnown(path_.empty() ? noElement : path_.back()->name, name.local);
}

void DocumentReader::beginApplication(const XMLPlace& place)
{
    if (++applications_ > mostXMLAITApplications) {
        fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, place,
                   limitText("applications", mostXMLAITApplications));
        return;
    }
    application_ = XMLElement(applicationName, place);
    elements_ = 0;
    open_.push_back(&application_);
}

void DocumentReader::keep(const KnownElement& known, const XMLAttributes& attributes,
                          const XMLPlace& place)
{
    if (++elements_ > mostXMLAITElements) {
        fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, place,
                   limitText("elements in an application", mostXMLAITElements));
        return;
    }
    open_.push_back(&open_.back()->children.emplace_back(known.name, place));
    keepAttributes(attributes);
}

void DocumentReader::keepAttributes(const XMLAttributes& attributes)
{
    XMLElement& element = *open_.back();
    const size_t count = attributes.size();
    for (size_t i = 0; i < count; ++i) {
        const std::string_view name = knownAttribute(attributes.nameOf(i));
        if (name.empty())
            continue;
        if (attributes.valueOf(i).size() > longestXMLAITText) {
            fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, element.place,
                       std::string(name) + ": " + limitText("bytes", longestXMLAITText));
            return;
        }
        element.attributes.push_back({name, std::string(trimmed(attributes.valueOf(i)))});
    }
}

void DocumentReader::addText(std::string_view text)
{
    if (skippedDepth_ > 0 || open_.empty() || !path_.back()->hasText)
        return;
    XMLElement& element = *open_.back();
    if (text.size() > longestXMLAITText - element.text.size())
        fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, element.place,
                   std::string(element.name) + ": " + limitText("bytes", longestXMLAITText));
    else
        element.text.append(text);
}

void DocumentReader::endElement()
{
    if (skippedDepth_ > 0) {
        --skippedDepth_;
        return;
    }
    path_.pop_back();
    if (open_.empty())
        return;
    XMLElement& element = *open_.back();
    element.text = std::string(trimmed(element.text));
    open_.pop_back();
    if (open_.empty())
        finishApplication();
}

void DocumentReader::finishApplication()
{
    auto application = readXMLAITApplication(application_, documentUrl_, table_.get(), fault_);
    if (application && !fault_.isSet())
        table_->insertAITApplication(application.release());
}

ref_ptr<AIT> DocumentReader::takeTable()
{
    if (table_->getNumApplications() == 0)
        fault_.set(HBBTV_KIT_XML_AIT_INVALID, rootPlace_,
                   "ServiceDiscovery: expected an Application of HbbTV's type");
    return fault_.isSet() ? ref_ptr<AIT>() : table_;
}

}  // namespace

ref_ptr<AIT> readXMLAIT(std::string_view document, std::string_view documentUrl, XMLFault& fault)
{
    if (document.size() > longestXMLAIT)
        fault.set(HBBTV_KIT_XML_AIT_TOO_LARGE, {}, limitText("bytes of a document", longestXMLAIT));
    if (documentUrl.size() > longestXMLAITUrl)
        fault.set(HBBTV_KIT_XML_AIT_TOO_LARGE, {},
                  limitText("bytes of a document's URL", longestXMLAITUrl));
    if (fault.isSet())
        return {};
    DocumentReader reader(documentUrl, fault);
    parseXML(document, reader, fault);
    return reader.takeTable();
}

}  // namespace VestaHbbTV
