// How an ObjectCarousel finds what it has received: references, paths and listings.
#include <algorithm>
#include <deque>
#include <set>
#include <utility>

#include "receiver/carousel/object_carousel.h"

namespace receiver {

namespace {

// Longer paths are not listed; nobody could open such a file.
constexpr size_t longestListedPath = 4096;

bool isDirectory(const BiopObject& object)
{
    return object.kind == ObjectKind::Directory || object.kind == ObjectKind::ServiceGateway;
}

FileView viewOf(const CarouselModule& module, const BiopObject& object)
{
    FileView view;
    view.owner = module.content();
    view.size = object.contentSize;
    view.contentType = object.contentType;
    if (view.size != 0)
        view.data = view.owner.get() + object.contentOffset;
    return view;
}

/// What a directory answers: its names, in the order in which it has them.
FileView listingOf(const BiopObject& directory)
{
    std::string names;
    for (const Binding& binding : directory.bindings)
        names += (names.empty() ? "" : ",") + binding.name;
    FileView view;
    view.contentType = "text/plain";
    view.size = names.size();
    if (names.empty())
        return view;
    const std::shared_ptr<unsigned char[]> bytes(new unsigned char[names.size()]);
    std::copy(names.begin(), names.end(), bytes.get());
    view.owner = bytes;
    view.data = view.owner.get();
    return view;
}

std::string nameOf(const CarouselModule& module)
{
    return "module " + std::to_string(module.announcement().moduleId);
}

}  // namespace

// Module and object when ready, else only the reason.
struct ObjectCarousel::Resolution {
    Lookup::Result result = Lookup::Result::Error;
    std::string reason;
    const CarouselModule* module = nullptr;
    const BiopObject* object = nullptr;

    static Resolution pending(const std::string& reason)
    {
        return {Lookup::Result::Pending, reason, nullptr, nullptr};
    }
    static Resolution error(const std::string& reason)
    {
        return {Lookup::Result::Error, reason, nullptr, nullptr};
    }
};

// A directory on the way, with its name in the one above: whole paths of all of them would take
// more than the carousel.
struct ObjectCarousel::Place {
    const Place* above;
    const std::string* name;
    size_t depth;
    const BiopObject* directory;

    // With a "/" at the end, unless it is the root.
    std::string path() const { return above ? above->path() + *name + "/" : ""; }
};

// Sets the result when there is no such module. A reference without a transaction id leaves open
// which of the stream's DIIs announces the module.
const CarouselModule* ObjectCarousel::findModule(const ObjectReference& reference,
                                                 Resolution& result) const
{
    const uint16_t tag = streamOf(reference.associationTag);
    const std::string name = "module " + std::to_string(reference.moduleId);
    bool indicationKnown = false;
    for (auto entry = indications_.lower_bound({tag, 0});
         entry != indications_.end() && entry->first.first == tag; ++entry) {
        const bool named = reference.transactionId.has_value();
        if (named && entry->first.second != (*reference.transactionId & 0xFFFE))
            continue;
        indicationKnown = indicationKnown || named;
        const auto found = entry->second.modules.find(reference.moduleId);
        if (found != entry->second.modules.end())
            return found->second.get();
    }
    result = indicationKnown ? Resolution::error(name + " is not announced")
                             : Resolution::pending(name + " is not yet announced");
    return nullptr;
}

ObjectCarousel::Resolution ObjectCarousel::resolve(const ObjectReference& reference) const
{
    if (!reference.isResolvable())
        return Resolution::error(reference.unresolvableReason);
    Resolution result;
    const CarouselModule* module = findModule(reference, result);
    if (!module)
        return result;
    if (module->state() == CarouselModule::State::Refused)
        return Resolution::error(nameOf(*module) + " was refused: " + module->problem());
    if (module->state() == CarouselModule::State::Incomplete)
        return Resolution::pending(nameOf(*module) + " has " +
                                   std::to_string(module->blocksReceived()) + " of " +
                                   std::to_string(module->blocksNeeded()) + " blocks");
    const BiopObject* object = module->findObject(reference.objectKey);
    if (!object)
        return Resolution::error(nameOf(*module) + " does not hold the object");
    return {Lookup::Result::Ready, "", module, object};
}

ObjectCarousel::Resolution ObjectCarousel::walk(const std::string& path) const
{
    if (!gateway_)
        return Resolution::pending("the service gateway is not yet announced");
    Resolution place = resolve(*gateway_);
    for (size_t start = 0; place.object && start <= path.size();) {
        const size_t end = std::min(path.find('/', start), path.size());
        const std::string name = path.substr(start, end - start);
        if (!isDirectory(*place.object))
            return Resolution::error("\"" + path.substr(0, start) + "\" is not a directory");
        const Binding* binding = place.object->findBinding(name);
        if (!binding)
            return Resolution::error("the directory does not list \"" + name + "\"");
        place = resolve(binding->target);
        start = end + 1;
    }
    return place;
}

/// The root is the gateway, which has no name.
ObjectCarousel::Resolution ObjectCarousel::walkToDirectory(const std::string& path) const
{
    if (!path.empty())
        return walk(path.substr(0, path.size() - 1));
    return gateway_ ? resolve(*gateway_)
                    : Resolution::pending("the service gateway is not yet announced");
}

Lookup ObjectCarousel::find(const std::string& path) const
{
    Lookup lookup;
    const bool namesDirectory = path.empty() || path.back() == '/';
    const Resolution place = namesDirectory ? walkToDirectory(path) : walk(path);
    lookup.result = place.result;
    lookup.reason = place.reason;
    if (!place.object)
        return lookup;
    if (namesDirectory && isDirectory(*place.object)) {
        lookup.file = listingOf(*place.object);
    } else if (!namesDirectory && place.object->kind == ObjectKind::File) {
        lookup.file = viewOf(*place.module, *place.object);
    } else {
        lookup.result = Lookup::Result::Error;
        lookup.reason = namesDirectory               ? "it is no directory"
                        : isDirectory(*place.object) ? "it is a directory"
                                                     : "it is not a file";
    }
    return lookup;
}

StreamEventLookup ObjectCarousel::findStreamEvents(const std::string& path) const
{
    StreamEventLookup lookup;
    const Resolution place = walk(path);
    lookup.result = place.result;
    lookup.reason = place.reason;
    if (!place.object)
        return lookup;
    if (place.object->kind == ObjectKind::StreamEvent) {
        lookup.events = place.object->events;
        lookup.taps = place.object->taps;
    } else {
        lookup.result = Lookup::Result::Error;
        lookup.reason = "it is no stream-event object";
    }
    return lookup;
}

// Every directory is entered once, so that neither loops nor directories bound again and again
// make the way endless.
CarouselListing ObjectCarousel::list() const
{
    CarouselListing listing;
    const Resolution root = gateway_ ? resolve(*gateway_) : Resolution();
    if (!root.object)
        return listing;
    std::set<const BiopObject*> entered = {root.object};
    std::deque<Place> places = {{nullptr, nullptr, 0, root.object}};  // they stay where they are
    std::vector<const Place*> toDo = {&places.front()};
    while (!toDo.empty()) {
        const Place& place = *toDo.back();
        toDo.pop_back();
        const std::string placePath = place.path();
        std::vector<const Place*> below;
        for (const Binding& binding : place.directory->bindings) {
            const std::string path = placePath + binding.name;
            const Resolution found = resolve(binding.target);
            const size_t listed = listing.files.size() + listing.missing.size() +
                                  listing.boundTwice.size() + places.size() - 1;
            const bool isPlace = found.object && isDirectory(*found.object);
            if (path.size() > longestListedPath || listed >= limits_.listedFiles ||
                (isPlace && place.depth >= limits_.directoryDepth))
                ++listing.leftOut;
            else if (!found.object)
                listing.missing.push_back(missingFile(path, binding.target, found.reason));
            else if (!isPlace)
                listObject(path, found, listing);
            else if (entered.insert(found.object).second)
                below.push_back(&places.emplace_back(
                    Place{&place, &binding.name, place.depth + 1, found.object}));
            else
                listing.boundTwice.push_back(path);
        }
        toDo.insert(toDo.end(), below.rbegin(), below.rend());
    }
    return listing;
}

std::set<const BiopObject*> ObjectCarousel::reachedObjects() const
{
    std::set<const BiopObject*> reached;
    std::vector<const BiopObject*> toDo;
    const auto reach = [&](const ObjectReference& reference) {
        const BiopObject* const object = resolve(reference).object;
        if (object && reached.insert(object).second && isDirectory(*object))
            toDo.push_back(object);
    };
    if (gateway_)
        reach(*gateway_);
    while (!toDo.empty()) {
        const BiopObject* const directory = toDo.back();
        toDo.pop_back();
        for (const Binding& binding : directory->bindings)
            reach(binding.target);
    }
    return reached;
}

std::vector<CarouselModuleStatus> ObjectCarousel::modules() const
{
    const std::set<const BiopObject*> reached = reachedObjects();
    std::vector<CarouselModuleStatus> list;
    for (const auto& [key, indication] : indications_) {
        for (const auto& [id, module] : indication.modules) {
            CarouselModuleStatus status;
            status.stream = key.first;
            status.downloadId = module->downloadId();
            status.announcement = module->announcement();
            status.state = module->state();
            status.blocksNeeded = module->blocksNeeded();
            status.blocksReceived = module->blocksReceived();
            status.problem = module->problem();
            for (const auto& [objectKey, object] : module->objects()) {
                if (object.kind != ObjectKind::File)
                    continue;
                ++status.files;
                status.unreachedFiles += reached.count(&object) == 0 ? 1U : 0U;
            }
            list.push_back(std::move(status));
        }
    }
    return list;
}

void ObjectCarousel::listObject(const std::string& path, const Resolution& found,
                                CarouselListing& listing) const
{
    const BiopObject& object = *found.object;
    const ModuleAnnouncement& module = found.module->announcement();
    if (object.kind == ObjectKind::File)
        listing.files.push_back(
            {path, viewOf(*found.module, object), module.moduleId, module.version});
    else if (object.kind == ObjectKind::StreamEvent &&
             listing.streamEvents.size() < limits_.listedFiles)
        listing.streamEvents.push_back({path, object.events, object.taps});
}

MissingFile ObjectCarousel::missingFile(const std::string& path, const ObjectReference& target,
                                        const std::string& reason) const
{
    MissingFile missing = {path, reason, {}, {}};
    if (!target.isResolvable())
        return missing;
    missing.moduleId = target.moduleId;
    Resolution ignored;
    if (const CarouselModule* const module = findModule(target, ignored))
        missing.moduleVersion = module->announcement().version;
    return missing;
}

void ObjectCarousel::noteReference(const ObjectReference& reference)
{
    if (reference.isResolvable())
        noteReference(reference.associationTag);
}

void ObjectCarousel::noteReference(uint16_t associationTag)
{
    if (references_[associationTag])
        return;
    references_[associationTag] = true;
    newReferences_.push_back(associationTag);
}

void ObjectCarousel::noteReferences(const CarouselModule& module)
{
    for (const auto& [key, object] : module.objects()) {
        for (const Binding& binding : object.bindings)
            noteReference(binding.target);
    }
}

std::vector<uint16_t> ObjectCarousel::takeNewReferences()
{
    std::vector<uint16_t> streams;
    for (const uint16_t tag : std::exchange(newReferences_, {}))
        streams.push_back(streamOf(tag));
    return streams;
}

std::set<uint16_t> ObjectCarousel::wantedAssociationTags() const
{
    std::set<uint16_t> wanted;
    for (size_t index = 0; index < references_.size(); ++index) {
        const auto tag = static_cast<uint16_t>(index);
        if (references_[tag] && fedTags_.count(streamOf(tag)) == 0)
            wanted.insert(tag);
    }
    return wanted;
}

}  // namespace receiver
