#include "kit/xml_parser.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <expat.h>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

namespace VestaHbbTV {

namespace {

static_assert(std::is_same_v<XML_Char, char>, "expat is to hand out UTF-8");

/// Between a namespace and a local name; the latter cannot hold it.
constexpr char separator = '\n';

/// What the parser may have for each byte of the document: it keeps a copy of the document in a
/// block up to twice that size, and every name that occurs.
constexpr size_t memoryFactor = 3;
/// Whatever it parses.
constexpr size_t memoryBase = size_t{64} * 1024;

/// What the parser may still allocate. Its allocator knows neither parser nor document, so the
/// budget is that of the thread, on which one document is parsed at a time.
struct MemoryBudget {
    size_t left;
    bool isExceeded;
    bool hasFailed;  ///< there was less than the budget
};
thread_local MemoryBudget budget;

/// Stands before each block of the parser.
struct alignas(std::max_align_t) BlockHeader {
    size_t size;  ///< without this header
};

/// Of each block: the header, and as much for what the allocator needs itself.
constexpr size_t blockOverhead = 2 * sizeof(BlockHeader);

BlockHeader* headerOf(void* block)
{
    return static_cast<BlockHeader*>(block) - 1;
}

void* allocateBlock(size_t size)
{
    if (budget.left < blockOverhead || size > budget.left - blockOverhead) {
        budget.isExceeded = true;
        return nullptr;
    }
    void* const memory = std::malloc(sizeof(BlockHeader) + size);
    if (!memory) {
        budget.hasFailed = true;
        return nullptr;
    }
    budget.left -= size + blockOverhead;
    return new (memory) BlockHeader{size} + 1;
}

void freeBlock(void* block)
{
    if (!block)
        return;
    budget.left += headerOf(block)->size + blockOverhead;
    std::free(headerOf(block));
}

void* resizeBlock(void* block, size_t size)
{
    void* const resized = allocateBlock(size);
    if (!resized || !block)
        return resized;
    std::memcpy(resized, block, std::min(headerOf(block)->size, size));
    freeBlock(block);
    return resized;
}

XMLName splitName(std::string_view name)
{
    const size_t end = name.rfind(separator);
    if (end == std::string_view::npos)
        return {{}, name};
    return {name.substr(0, end), name.substr(end + 1)};
}

/// Drives the parser for one document.
class Parser {
public:
    Parser(XMLContent& content, XMLFault& fault);
    void parse(std::string_view document);

private:
    struct Free {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    static void onStartElement(void* self, const char* name, const char** attributes);
    static void onEndElement(void* self, const char* name);
    static void onText(void* self, const char* text, int length);
    static void onBeginPrefix(void* self, const char* prefix, const char* space);
    static void onEndPrefix(void* self, const char* prefix);
    static void onDocumentType(void* self, const char* name, const char* systemId,
                               const char* publicId, int hasDeclarations);

    template <typename Body>
    void handle(Body&& body) noexcept;
    void startElement(const char* name, const char** attributes);
    XMLPlace place() const;

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> expat_;
    XMLContent& content_;
    XMLFault& fault_;
    size_t depth_ = 0;
    bool stopped_ = false;
    bool outOfMemory_ = false;
};

Parser::Parser(XMLContent& content, XMLFault& fault) : content_(content), fault_(fault)
{
    const XML_Memory_Handling_Suite memory = {allocateBlock, resizeBlock, freeBlock};
    const char separators[] = {separator, '\0'};
    expat_.reset(XML_ParserCreate_MM(nullptr, &memory, separators));
    if (!expat_)
        throw std::bad_alloc();
    XML_SetUserData(expat_.get(), this);
    XML_SetElementHandler(expat_.get(), onStartElement, onEndElement);
    XML_SetCharacterDataHandler(expat_.get(), onText);
    XML_SetNamespaceDeclHandler(expat_.get(), onBeginPrefix, onEndPrefix);
    XML_SetStartDoctypeDeclHandler(expat_.get(), onDocumentType);
}

void Parser::parse(std::string_view document)
{
    // In one piece: a parser that gets a long token in pieces may scan it again for each of them.
    const auto result = XML_Parse(expat_.get(), document.data(), static_cast<int>(document.size()),
                                  /*isFinal=*/1);
    // Where the parser gets no memory it may say that something else is wrong, or nothing at all.
    if (outOfMemory_ || budget.hasFailed)
        throw std::bad_alloc();
    if (budget.isExceeded)
        fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, place(),
                   "the document needs too much memory for its size");
    else if (result != XML_STATUS_OK)
        fault_.set(HBBTV_KIT_XML_AIT_NOT_WELL_FORMED, place(),
                   std::string("not well-formed XML: ") +
                       XML_ErrorString(XML_GetErrorCode(expat_.get())));
}

/// Runs what a callback does. No exception may pass through the parser, which is written in C; it
/// may call back once more after it was stopped.
template <typename Body>
void Parser::handle(Body&& body) noexcept
{
    if (stopped_)
        return;
    try {
        body();
    } catch (const std::bad_alloc&) {
        outOfMemory_ = true;
    }
    stopped_ = outOfMemory_ || fault_.isSet();
    if (stopped_)
        XML_StopParser(expat_.get(), XML_FALSE);
}

void Parser::onStartElement(void* self, const char* name, const char** attributes)
{
    auto* const parser = static_cast<Parser*>(self);
    parser->handle([=] { parser->startElement(name, attributes); });
}

void Parser::startElement(const char* name, const char** attributes)
{
    if (++depth_ > deepestXMLElement)
        fault_.set(HBBTV_KIT_XML_AIT_TOO_LARGE, place(),
                   "expected elements not deeper than " + std::to_string(deepestXMLElement));
    else
        content_.startElement(splitName(name), XMLAttributes(attributes), place());
}

void Parser::onEndElement(void* self, const char* /*name*/)
{
    auto* const parser = static_cast<Parser*>(self);
    parser->handle([parser] {
        --parser->depth_;
        parser->content_.endElement();
    });
}

void Parser::onText(void* self, const char* text, int length)
{
    auto* const parser = static_cast<Parser*>(self);
    parser->handle([=] {
        parser->content_.addText(std::string_view(text, static_cast<size_t>(length)),
                                 parser->place());
    });
}

// The default namespace has no prefix, and may be none.
void Parser::onBeginPrefix(void* self, const char* prefix, const char* space)
{
    auto* const parser = static_cast<Parser*>(self);
    parser->handle([=] { parser->content_.beginPrefix(prefix ? prefix : "", space ? space : ""); });
}

void Parser::onEndPrefix(void* self, const char* /*prefix*/)
{
    auto* const parser = static_cast<Parser*>(self);
    parser->handle([parser] { parser->content_.endPrefix(); });
}

// What a document declares of itself may grow without bound when it is used, and what it refers to
// is somebody else's.
void Parser::onDocumentType(void* self, const char* /*name*/, const char* systemId,
                            const char* /*publicId*/, int hasDeclarations)
{
    auto* const parser = static_cast<Parser*>(self);
    parser->handle([=] {
        if (systemId || hasDeclarations)
            parser->fault_.set(HBBTV_KIT_XML_AIT_NOT_WELL_FORMED, parser->place(),
                               "DOCTYPE: expected neither declarations nor a reference to them");
    });
}

XMLPlace Parser::place() const
{
    XML_Parser const expat = expat_.get();
#if XML_MAJOR_VERSION > 2 || (XML_MAJOR_VERSION == 2 && XML_MINOR_VERSION >= 9)
    // Which has the functions of before as deprecated.
    return {static_cast<unsigned>(XML_GetCurrentLineNumber64(expat)),
            static_cast<unsigned>(XML_GetCurrentColumnNumber64(expat) + 1)};
#else
    return {static_cast<unsigned>(XML_GetCurrentLineNumber(expat)),
            static_cast<unsigned>(XML_GetCurrentColumnNumber(expat) + 1)};
#endif
}

}  // namespace

size_t XMLAttributes::size() const
{
    size_t count = 0;
    while (pairs_[2 * count])
        ++count;
    return count;
}

XMLName XMLAttributes::nameOf(size_t index) const
{
    return splitName(pairs_[2 * index]);
}

void parseXML(std::string_view document, XMLContent& content, XMLFault& fault)
{
    budget = {memoryFactor * document.size() + memoryBase, false, false};
    Parser(content, fault).parse(document);
}

}  // namespace VestaHbbTV
