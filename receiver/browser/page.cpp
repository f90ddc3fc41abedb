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
};

using XmlText = std::unique_ptr<xmlChar, XmlFree>;
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
    if (!value)
        return;
    const std::string reference(reinterpret_cast<const char*>(value.get()));
    if (!reference.empty() && reference[0] != '#')
        found.add(reference);
}

/// The node behind `node` in the order of the page.
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

std::vector<std::string> subresources(const std::string& page)
{
    if (page.size() > mostPageBytes)
        return {};
    References found;
    const int options =
        HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;
    const XmlDocument document(
        htmlReadMemory(page.data(), static_cast<int>(page.size()), nullptr, nullptr, options));
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
