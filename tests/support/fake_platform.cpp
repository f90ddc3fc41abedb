#include "tests/support/fake_platform.h"

#include <algorithm>

#include "vesta_hbbtv_appman.h"

#include "tests/support/counted_memory.h"
#include "tests/support/journal.h"

namespace vesta::test {

namespace {

std::string quoted(const char* text)
{
    return text ? text : "(null)";
}

std::string list(std::initializer_list<const void*> values)
{
    std::ostringstream text;
    for (const void* value : values)
        text << ", " << reinterpret_cast<uintptr_t>(value);
    return text.str();
}

}  // namespace

FakePlatform& FakePlatform::instance()
{
    static FakePlatform platform;
    return platform;
}

void FakePlatform::reset()
{
    *this = FakePlatform();
}

unsigned int FakePlatform::call(const char* hook, const std::string& line)
{
    if (journalling)
        Journal::instance().write(hook, "(", line, ")");
    return answer(hook);
}

unsigned int FakePlatform::answer(const char* hook)
{
    if (whileIn.empty() && results.empty())
        return 0;
    const auto action = whileIn.find(hook);
    if (action != whileIn.end())
        std::function<void()>(action->second)();
    const auto result = results.find(hook);
    return result == results.end() ? 0 : result->second;
}

unsigned int FakePlatform::callForLoad(const char* hook, void* id, const std::string& line)
{
    if (journalling)
        ids.push_back(id);
    return call(hook, line);
}

FakePlatform::File* FakePlatform::fileOf(void* id)
{
    const auto opened = open.find(id);
    if (opened == open.end())
        return nullptr;
    const auto file = files.find(opened->second.path);
    return file == files.end() ? nullptr : &file->second;
}

}  // namespace vesta::test

using namespace vesta::test;

extern "C" {

int hbbtv_keyset_get_supported_values(void)
{
    FakePlatform::instance().answer("hbbtv_keyset_get_supported_values");
    return FakePlatform::instance().supportedKeySets;
}

void dsmcc_start(void)
{
    FakePlatform::instance().call("dsmcc_start", "");
}

void dsmcc_stop(void)
{
    FakePlatform::instance().call("dsmcc_stop", "");
}

unsigned int dsmcc_get_file(const char* path, void* id)
{
    FakePlatform& platform = FakePlatform::instance();
    platform.callForLoad("dsmcc_get_file", id, quoted(path));
    platform.open[id] = {path, 0, nullptr};
    const FakePlatform::File* const file = platform.fileOf(id);
    return file ? file->getFileResult : static_cast<unsigned int>(DSMCC_ERROR);
}

unsigned int dsmcc_get_mime_type(void* id, char** mimeType)
{
    FakePlatform& platform = FakePlatform::instance();
    platform.callForLoad("dsmcc_get_mime_type", id, "");
    const FakePlatform::File* const file = platform.fileOf(id);
    if (!file)
        return DSMCC_UNKNOWN_ID;
    if (file->mimeType)
        *mimeType = countedString(file->mimeType->c_str());
    return file->mimeTypeResult;
}

unsigned int dsmcc_read(void* id, char** buffer, unsigned int* length)
{
    FakePlatform& platform = FakePlatform::instance();
    platform.callForLoad("dsmcc_read", id, "");
    platform.readsBeginEmpty = platform.readsBeginEmpty && !*buffer && *length == 0;
    const FakePlatform::File* const file = platform.fileOf(id);
    if (!file)
        return DSMCC_UNKNOWN_ID;
    if (file->readResult)
        return *file->readResult;
    FakePlatform::OpenFile& opened = platform.open[id];
    opened.lent.reset();
    if (opened.position >= file->failReadAfter)
        return DSMCC_ERROR;
    opened.position = std::min(opened.position, file->bytes.size());
    const size_t left = file->bytes.size() - opened.position;
    const size_t count = file->readSize ? std::min(left, file->readSize) : left;
    if (count == 0 && file->endsUntouched)
        return DSMCC_OK;
    *buffer = const_cast<char*>(file->bytes.data()) + opened.position;
    if (platform.copiesReads) {
        opened.lent.reset(new char[count]);
        std::copy_n(*buffer, count, opened.lent.get());
        *buffer = opened.lent.get();
    }
    if (file->lendsNothing)
        *buffer = nullptr;
    opened.position += count;
    *length = static_cast<unsigned int>(count);
    return DSMCC_OK;
}

unsigned int dsmcc_close_file(void* id)
{
    FakePlatform& platform = FakePlatform::instance();
    platform.open.erase(id);
    return platform.callForLoad("dsmcc_close_file", id, "");
}

unsigned int dsmcc_clear_cache(void)
{
    return FakePlatform::instance().call("dsmcc_clear_cache", "");
}

unsigned int dsmcc_stream_event_subscribe(const char* path, void* p1, void* p2, void* p3, void* p4)
{
    return FakePlatform::instance().call("dsmcc_stream_event_subscribe",
                                         quoted(path) + list({p1, p2, p3, p4}));
}

unsigned int dsmcc_xml_stream_event_subscribe(void* x1, void* x2, unsigned short d1,
                                              unsigned short serviceId, unsigned short d2, void* x3,
                                              void* x4, void* x5)
{
    std::ostringstream numbers;
    numbers << ", " << d1 << ", " << serviceId << ", " << d2;
    return FakePlatform::instance().call("dsmcc_xml_stream_event_subscribe",
                                         list({x1, x2}).substr(2) + numbers.str() +
                                             list({x3, x4, x5}));
}

unsigned int dsmcc_stream_event_unsubscribe(const char* target, void* p1, void* p2, void* p3,
                                            void* p4, long windowId)
{
    return FakePlatform::instance().call("dsmcc_stream_event_unsubscribe",
                                         quoted(target) + list({p1, p2, p3, p4}) + ", " +
                                             std::to_string(windowId));
}

unsigned int dsmcc_stream_event_unsubscribe_all(void* p1, long windowId)
{
    return FakePlatform::instance().call("dsmcc_stream_event_unsubscribe_all",
                                         list({p1}).substr(2) + ", " + std::to_string(windowId));
}

unsigned int dsmcc_same_carousel(const char* first, const char* second, bool*)
{
    return FakePlatform::instance().call("dsmcc_same_carousel",
                                         quoted(first) + ", " + quoted(second));
}

void hbbtv_ait_start(void)
{
    FakePlatform::instance().call("hbbtv_ait_start", "");
}

void hbbtv_ait_stop(void)
{
    FakePlatform::instance().call("hbbtv_ait_stop", "");
}

void hbbtv_ait_invalidate(void)
{
    FakePlatform::instance().call("hbbtv_ait_invalidate", "");
}

void hbbtv_ait_completed(unsigned char version)
{
    FakePlatform::instance().call("hbbtv_ait_completed", std::to_string(version));
}

}  // extern "C"
