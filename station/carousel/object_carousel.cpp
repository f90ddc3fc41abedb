#include "station/carousel/object_carousel.h"

#include <algorithm>
#include <set>
#include <utility>
#include <zlib.h>

#include "station/carousel/biop_messages.h"
#include "station/carousel/download_sections.h"
#include "station/carousel/file_tree.h"

namespace station {

namespace {

constexpr unsigned directoryModule = 1;
constexpr size_t mostModules = 0xFFFF;

std::string parentOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::string nameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

/// Gives each object its place, then writes the directories that lead there.
class CarouselBuilder {
public:
    explicit CarouselBuilder(const Carousel& carousel)
        : carousel_(carousel), identity_{carousel.id, carousel.componentTag}
    {
        folders_[""] = {ObjectKind::ServiceGateway, directoryModule, nextKey_++, transactionOf(1)};
        modules_.emplace_back();  // of the directories
    }

    void addFile(const std::string& path, const Bytes& content)
    {
        const std::string type = carousel_.contentTypes ? contentTypeOf(path) : "";
        const uint32_t key = nextKey_++;
        const Bytes message = makeFile(key, content, type);
        if (modules_.size() == directoryModule ||
            modules_.back().size() + message.size() > carousel_.moduleSize)
            modules_.emplace_back();
        modules_.back().insert(modules_.back().end(), message.begin(), message.end());
        const unsigned module = checkedSize(modules_.size(), mostModules);
        const ObjectPlace place = {ObjectKind::File, module, key, transactionOf(module)};
        bind(path, {nameOf(path), place, content.size(), type});
    }

    void addStreamEvents(const StreamEventObject& object)
    {
        const uint32_t key = nextKey_++;
        addToDirectories(makeStreamEvents(key, object));
        const ObjectPlace place = {ObjectKind::StreamEvent, directoryModule, key, transactionOf(1)};
        bind(object.path, {nameOf(object.path), place, 0, ""});
    }

    CarouselSections finish()
    {
        for (const auto& [path, place] : folders_)
            addToDirectories(makeDirectory(place.kind, place.key, identity_, entries_[path]));
        const std::vector<Module> modules = pack();
        CarouselSections sections;
        sections.modules = modules.size();
        sections.control = makeControl(modules);
        for (const Module& module : modules) {
            for (Bytes& block : makeDataBlocks(identity_, module))
                sections.blocks.push_back(std::move(block));
        }
        return sections;
    }

private:
    uint32_t transactionOf(unsigned moduleId) const
    {
        return listTransactionId((moduleId - 1) / modulesPerList, carousel_.moduleVersion);
    }

    void addToDirectories(const Bytes& message)
    {
        Bytes& module = modules_.front();
        module.insert(module.end(), message.begin(), message.end());
    }

    void bind(const std::string& path, DirectoryEntry entry)
    {
        const std::string parent = parentOf(path);
        addFolder(parent);
        entries_[parent].push_back(std::move(entry));
    }

    /// The folder and those above it, which list it.
    void addFolder(const std::string& path)
    {
        if (folders_.count(path) != 0)
            return;
        const ObjectPlace place = {ObjectKind::Directory, directoryModule, nextKey_++,
                                   transactionOf(1)};
        folders_[path] = place;
        bind(path, {nameOf(path), place, 0, ""});
    }

    std::vector<Module> pack() const
    {
        std::vector<Module> modules;
        for (const Bytes& bytes : modules_) {
            Module module;
            module.id = static_cast<unsigned>(modules.size() + 1);
            module.version = carousel_.moduleVersion;
            module.bytes = carousel_.compress ? deflated(bytes) : bytes;
            if (module.bytes.size() < bytes.size())
                module.originalSize = static_cast<uint32_t>(bytes.size());
            else
                module.bytes = bytes;
            modules.push_back(std::move(module));
        }
        return modules;
    }

    std::vector<Bytes> makeControl(const std::vector<Module>& modules) const
    {
        std::vector<Bytes> sections;
        sections.push_back(makeServerInitiate(identity_, folders_.at("")));
        for (size_t first = 0; first < modules.size(); first += modulesPerList) {
            const size_t last = std::min(first + modulesPerList, modules.size());
            const std::vector<Module> list(modules.begin() + std::ptrdiff_t(first),
                                           modules.begin() + std::ptrdiff_t(last));
            const uint32_t transaction = transactionOf(list.front().id);
            sections.push_back(makeInfoIndication(identity_, transaction, list));
        }
        return sections;
    }

    const Carousel& carousel_;
    CarouselIdentity identity_;
    uint32_t nextKey_ = 1;
    std::vector<Bytes> modules_;  // their objects, not packed yet
    std::map<std::string, ObjectPlace> folders_;
    std::map<std::string, std::vector<DirectoryEntry>> entries_;
};

}  // namespace

CarouselSections makeCarousel(const Carousel& carousel, const std::map<std::string, Bytes>& files)
{
    CarouselBuilder builder(carousel);
    for (const auto& [path, content] : files)
        builder.addFile(path, content);
    for (const StreamEventObject& object : carousel.streamEvents)
        builder.addStreamEvents(object);
    CarouselSections sections = builder.finish();
    sections.files = files.size();
    return sections;
}

Bytes deflated(const Bytes& bytes)
{
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    Bytes packed(size);
    compress2(packed.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()),
              Z_BEST_COMPRESSION);
    packed.resize(size);
    return packed;
}

}  // namespace station
