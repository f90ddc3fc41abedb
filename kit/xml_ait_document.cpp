#include "kit/xml_ait_document.h"

#include <algorithm>
#include <iterator>
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

/// Of no use to a table, and in every document.
constexpr std::string_view usualAttributes[] = {"Language", "DomainName", "Version"};

bool isUsual(const XMLName& attribute)
{
    return !attribute.space.empty() ||
           std::find(std::begin(usualAttributes), std::end(usualAttributes), attribute.local) !=
               std::end(usualAttributes);
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
    DocumentReader(std::string_view documentUrl, XMLFault& fault, XMLAITNotes* notes)
        : documentUrl_(documentUrl), fault_(fault), notes_(notes)
    {
    }

    void startElement(const XMLName& name, const XMLAttributes& attributes,
                      const XMLPlace& place) override;
    void endElement() override;
    void addText(std::string_view text, const XMLPlace& place) override;
    void beginPrefix(std::string_view prefix, std::string_view space) override;
    void endPrefix() override { prefixes_.pop_back(); }

    /// After the document.
    ref_ptr<AIT> takeTable();

private:
    /// Of a namespace.
    struct Prefix {
        std::string text;
        bool isOfXMLAITs;
    };

    const KnownElement* recognise(const XMLName& name) const;
    void skipElement(const XMLName& name, const XMLPlace& place);
    void expectNoText(std::string_view text, const XMLPlace& place);
    XMLFault& faultOfContent() { return open_.empty() ? fault_ : mixed_; }
    std::string_view typeIn(std::string_view qualifiedName) const;
    void beginApplication(const XMLPlace& place);
    void keep(const KnownElement& known, const XMLAttributes& attributes, const XMLPlace& place);
    void keepAttributes(const XMLAttributes& attributes);
    void noteAttribute(const XMLName& attribute);
    void finishApplication();
    void insert(std::unique_ptr<AITApplication> application);

    const std::string_view documentUrl_;
    XMLFault& fault_;
    XMLAITNotes* const notes_;  // may be null
    const ref_ptr<AIT> table_{new AIT};
    std::vector<Prefix> prefixes_;  ///< in force, the innermost at the end
    XMLPlace rootPlace_;
    /// Those that are open, from the root on.
    std::vector<const KnownElement*> path_;
    size_t skippedDepth_ = 0;  ///< of open elements that do not count, inside those of the path
    size_t applications_ = 0;
    XMLElement application_;  ///< while one is open
    /// Of its content. It may be of another type than HbbTV's, and then nobody minds.
    XMLFault mixed_;
    /// The application and those inside it that are open. Only the innermost one gets children, so
    /// that they stay where they are.
    std::vector<XMLElement*> open_;
    size_t elements_ = 0;  ///< of the application
};

void DocumentReader::startElement(const XMLName& name, const XMLAttributes& attributes,
                                  const XMLPlace& place)
{
    const KnownElement* const known = skippedDepth_ == 0 ? recognise(name) : nullptr;
    if (!known)
        return skipElement(name, place);
    path_.push_back(known);
    if (known->name == rootName)
        rootPlace_ = place;
    else if (known->name == applicationName)
        beginApplication(place);
    else if (!open_.empty())
        keep(*known, attributes, place);
}

void DocumentReader::skipElement(const XMLName& name, const XMLPlace& place)
{
    if (++skippedDepth_ > 1)
        return;
    if (path_.empty())
        fault_.set(HBBTV_KIT_XML_AIT_INVALID, place,
                   "root " + quotation(name.local) +
                       ": expected ServiceDiscovery of the namespace urn:dvb:mhp:2009");
    else if (path_.back()->hasText)
        faultOfContent().set(HBBTV_KIT_XML_AIT_INVALID, place,
                             std::string(path_.back()->name) + ": expected text and no element " +
                                 quotation(name.local));
    else if (notes_)
        notes_->skip(place, quotation(name.local) + " in " + std::string(path_.back()->name));
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
    mixed_ = XMLFault();
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
        if (name.empty()) {
            noteAttribute(attributes.nameOf(i));
            continue;
        }
        if (attributes.valueOf(i).size() > longestXMLAITText) {
            fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, element.place,
                       std::string(name) + ": " + limitText("bytes", longestXMLAITText));
            return;
        }
        const std::string_view value = trimmed(attributes.valueOf(i));
        element.attributes.push_back(
            {name, std::string(name == typeAttribute ? typeIn(value) : value)});
    }
}

void DocumentReader::noteAttribute(const XMLName& attribute)
{
    if (notes_ && !isUsual(attribute))
        notes_->skip(open_.back()->place, "attribute " + quotation(attribute.local) + " of " +
                                              std::string(open_.back()->name));
}

void DocumentReader::beginPrefix(std::string_view prefix, std::string_view space)
{
    if (prefixes_.size() == mostXMLAITPrefixes)
        fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, {}, limitText("prefixes", mostXMLAITPrefixes));
    prefixes_.push_back({std::string(prefix), isXMLAITName(space)});
}

/// The name of a type without the prefix of the namespace of XML AITs. That of another namespace
/// stays, and makes another type of it. Deliberate: one that stands for no namespace is what people
/// forget, and is taken for ours.
std::string_view DocumentReader::typeIn(std::string_view qualifiedName) const
{
    const size_t colon = qualifiedName.rfind(':');
    if (colon == std::string_view::npos)
        return qualifiedName;
    const std::string_view prefix = qualifiedName.substr(0, colon);
    const auto declared = std::find_if(prefixes_.rbegin(), prefixes_.rend(),
                                       [prefix](const Prefix& p) { return p.text == prefix; });
    const bool isOurs = declared == prefixes_.rend() || declared->isOfXMLAITs;
    return isOurs ? qualifiedName.substr(colon + 1) : qualifiedName;
}

/// Where elements are expected.
void DocumentReader::expectNoText(std::string_view text, const XMLPlace& place)
{
    const size_t begin = text.find_first_not_of(whiteSpace);
    if (begin == std::string_view::npos)
        return;
    const bool isOnFirstLine = text.substr(0, begin).find('\n') == std::string_view::npos;
    const auto indent = static_cast<unsigned>(isOnFirstLine ? begin : 0);
    faultOfContent().set(HBBTV_KIT_XML_AIT_INVALID, {place.line, place.column + indent},
                         std::string(path_.back()->name) + ": expected elements and no text " +
                             quotation(trimmed(text)));
}

void DocumentReader::addText(std::string_view text, const XMLPlace& place)
{
    if (skippedDepth_ > 0 || path_.empty())
        return;
    if (!path_.back()->hasText)
        return expectNoText(text, place);
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
    auto application =
        readXMLAITApplication(application_, mixed_, documentUrl_, table_.get(), fault_, notes_);
    if (application && !fault_.isSet())
        insert(std::move(application));
}

void DocumentReader::insert(std::unique_ptr<AITApplication> application)
{
    for (unsigned i = 0; i < table_->getNumApplications(); ++i) {
        if (application->sameAITApplication(table_->getAITApplication(i)))
            fault_.set(HBBTV_KIT_XML_AIT_INVALID, application_.place,
                       "Application: expected once with orgId " +
                           std::to_string(application->getOrganisationId()) + " and appId " +
                           std::to_string(application->getApplicationId()));
    }
    if (notes_)
        notes_->applications.push_back({application->getOrganisationId(),
                                        application->getApplicationId(), application_.place});
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

ref_ptr<AIT> readXMLAIT(std::string_view document, std::string_view documentUrl, XMLFault& fault,
                        XMLAITNotes* notes)
{
    if (document.size() > longestXMLAIT)
        fault.set(HBBTV_KIT_XML_AIT_TOO_LARGE, {}, limitText("bytes of a document", longestXMLAIT));
    if (documentUrl.size() > longestXMLAITUrl)
        fault.set(HBBTV_KIT_XML_AIT_TOO_LARGE, {},
                  limitText("bytes of a document's URL", longestXMLAITUrl));
    if (fault.isSet())
        return {};
    DocumentReader reader(documentUrl, fault, notes);
    parseXML(document, reader, fault);
    return reader.takeTable();
}

}  // namespace VestaHbbTV
