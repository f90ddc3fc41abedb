#include "receiver/browser/page.h"

#include <libxml/HTMLparser.h>
#include <libxml/uri.h>
#include <memory>
#include <unordered_set>
#include <utility>

namespace receiver {

namespace {

struct XmlFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    void operator()(htmlParserCtxt* parser) const { htmlFreeParserCtxt(parser); }
};

using XmlText = std::unique_ptr<xmlChar, XmlFree>;
using XmlParser = std::unique_ptr<htmlParserCtxt, XmlFree>;
using XmlDocument = std::unique_ptr<xmlDoc, XmlFree>;

const xmlChar* asXml(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

/// Strings in the order in which they came, each once.
class References {
public:
    void add(const std::string& reference)
    {
        if (known_.insert(reference).second)
            list_.push_back(reference);
    }
    std::vector<std::string> take() { return std::move(list_); }

private:
    std::unordered_set<std::string> known_;
    std::vector<std::string> list_;
};

void addReference(const xmlNode& element, const char* attribute, References& found)
{
    const XmlText value(xmlGetProp(&element, asXml(attribute)));
    if (!value || static_cast<size_t>(xmlStrlen(value.get())) > mostReferenceBytes)
        return;
    const std::string reference(reinterpret_cast<const char*>(value.get()));
    if (!reference.empty() && reference[0] != '#')
        found.add(reference);
}

/// A page on its way to the parser.
struct Reading {
    const std::string& page;
    const htmlParserCtxt& parser;
    size_t at = 0;

    /// Whether a tag had too many attributes. The parser's table has two places for each, and it
    /// never gets smaller.
    bool hasEndlessTag() const
    {
        return parser.maxatts > 0 && static_cast<size_t>(parser.maxatts) > 4 * mostAttributes;
    }
};

/// Called for the next bytes of a page. @return how many; none after a tag that has no end
int readPage(void* context, char* buffer, int size)
{
    Reading& reading = *static_cast<Reading*>(context);
    if (reading.hasEndlessTag())
        return 0;
    const size_t count = reading.page.copy(buffer, static_cast<size_t>(size), reading.at);
    reading.at += count;
    return static_cast<int>(count);
}

/// @return null for a page with too many attributes in a tag
XmlDocument parse(const std::string& page)
{
    const XmlParser parser(htmlNewParserCtxt());
    if (!parser)
        return nullptr;
    const int options =
        HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;
    Reading reading = {page, *parser};
    XmlDocument document(
        htmlCtxtReadIO(parser.get(), readPage, nullptr, &reading, nullptr, nullptr, options));
    return reading.hasEndlessTag() ? nullptr : std::move(document);
}

/// The node after `node` in the order of the page.
const xmlNode* next(const xmlNode* node, const xmlNode* root)
{
    if (node->children)
        return node->children;
    while (node != root && !node->next)
        node = node->parent;
    return node == root ? nullptr : node->next;
}

}  // namespace

std::string resolveURL(const std::string& base, const std::string& url)
{
    // Everything that a URL may hold, escapes included, stays as it is.
    const xmlChar* const allowed = asXml("%:/?#[]@!$&'()*+,;=");
    XmlText result(xmlBuildURI(asXml(url.c_str()), asXml(base.c_str())));
    if (!result) {
        const XmlText escapedURL(xmlURIEscapeStr(asXml(url.c_str()), allowed));
        const XmlText escapedBase(xmlURIEscapeStr(asXml(base.c_str()), allowed));
        result.reset(xmlBuildURI(escapedURL.get(), escapedBase.get()));
    }
    return result ? reinterpret_cast<const char*>(result.get()) : "";
}

std::optional<std::vector<std::string>> subresources(const std::string& page)
{
    if (page.size() > mostPageBytes)
        return std::nullopt;
    References found;
    const XmlDocument document = parse(page);
    if (!document && !page.empty())
        return std::nullopt;
    const xmlNode* const root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    for (const xmlNode* node = root; node; node = next(node, root)) {
        if (node->type != XML_ELEMENT_NODE)
            continue;
        addReference(*node, "src", found);
        if (xmlStrcasecmp(node->name, asXml("link")) == 0)
            addReference(*node, "href", found);
    }
    return found.take();
}

}  // namespace receiver
