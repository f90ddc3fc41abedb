#include "receiver/carousel/biop_objects.h"

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

#include "foundation/descriptor.h"

namespace receiver {

using VestaHbbTV::ByteReader;

namespace {

constexpr uint32_t biopMagic = 0x42494F50;  // "BIOP"
constexpr uint32_t biopProfileTag = 0x49534F06;
constexpr uint32_t liteOptionsProfileTag = 0x49534F05;
constexpr uint32_t objectLocationTag = 0x49534F50;
constexpr uint32_t connectionBinderTag = 0x49534F40;
constexpr uint16_t messageSelector = 0x0001;
constexpr uint8_t contentTypeTag = 0x72;
constexpr size_t contentSizeField = 8;
constexpr size_t streamInfoSizeAfterDescription = 9;  // duration of 4 + 2 bytes, three flags

std::string withoutTrailingZeros(std::string text)
{
    while (!text.empty() && text.back() == '\0')
        text.pop_back();
    return text;
}

ObjectKind objectKindNamed(const std::string& name)
{
    constexpr std::pair<const char*, ObjectKind> names[] = {
        {"srg", ObjectKind::ServiceGateway},
        {"DSM::ServiceGateway", ObjectKind::ServiceGateway},
        {"dir", ObjectKind::Directory},
        {"DSM::Directory", ObjectKind::Directory},
        {"fil", ObjectKind::File},
        {"DSM::File", ObjectKind::File},
        {"str", ObjectKind::Stream},
        {"DSM::Stream", ObjectKind::Stream},
        {"ste", ObjectKind::StreamEvent},
        {"BIOP::StreamEvent", ObjectKind::StreamEvent},
        {"DSM::StreamEvent", ObjectKind::StreamEvent},
    };
    for (const auto& [known, kind] : names) {
        if (name == known)
            return kind;
    }
    return ObjectKind::Other;
}

bool canBeAskedFor(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

Tap readTap(ByteReader& reader)
{
    Tap tap;
    tap.id = reader.u16();
    tap.use = reader.u16();
    tap.associationTag = reader.u16();
    ByteReader selector = reader.take(reader.u8());
    if (selector.remaining() >= 6 && selector.u16() == messageSelector)
        tap.transactionId = selector.u32();
    return tap;
}

bool readObjectLocation(ByteReader component, ObjectReference& reference)
{
    reference.carouselId = component.u32();
    reference.moduleId = component.u16();
    component.skip(2);  // version
    reference.objectKey = component.text(component.u8());
    return component.ok();
}

bool readConnectionBinder(ByteReader component, ObjectReference& reference)
{
    for (const Tap& tap : readTaps(component)) {
        if (!component.ok() || tap.use != deliveryParameterUse)
            continue;
        reference.associationTag = tap.associationTag;
        reference.transactionId = tap.transactionId;
        return true;
    }
    return false;
}

// BIOP::ProfileBody: ETSI TR 101 202, 4.7.3.2.
std::optional<ObjectReference> readBiopProfile(ByteReader profile)
{
    ObjectReference reference;
    bool located = false;
    bool connected = false;
    const uint8_t byteOrder = profile.u8();
    for (unsigned count = profile.u8(); count > 0 && profile.ok(); --count) {
        const uint32_t tag = profile.u32();
        const ByteReader component = profile.take(profile.u8());
        if (tag == objectLocationTag && !located)
            located = readObjectLocation(component, reference);
        else if (tag == connectionBinderTag && !connected)
            connected = readConnectionBinder(component, reference);
    }
    if (byteOrder != 0 || !located || !connected || !profile.ok())
        return std::nullopt;
    return reference;
}

// Counts what the objects take, so that many small entries cannot exhaust the memory.
class ObjectBudget {
public:
    explicit ObjectBudget(size_t bytes) : left_(bytes) {}

    bool spend(size_t bytes)
    {
        if (bytes > left_) {
            exceeded_ = true;
            return false;
        }
        left_ -= bytes;
        return true;
    }
    size_t left() const { return left_; }
    bool exceeded() const { return exceeded_; }

private:
    size_t left_;
    bool exceeded_ = false;
};

std::string readContentType(ByteReader descriptors)
{
    std::string type;
    const auto readFirst = [&type](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        if (tag == contentTypeTag)
            type = withoutTrailingZeros(payload.text(payload.remaining()));
        return tag != contentTypeTag;
    };
    VestaHbbTV::forEachDescriptor(descriptors, readFirst);
    return type;
}

bool readFile(ByteReader info, ByteReader body, const unsigned char* module, BiopObject& object)
{
    info.skip(contentSizeField);  // the body says it again
    if (info.ok())
        object.contentType = readContentType(info);
    const ByteReader content = body.take(body.u32());
    if (!body.ok())
        return false;
    object.contentSize = content.remaining();
    if (object.contentSize != 0)
        object.contentOffset = static_cast<size_t>(content.data() - module);
    return true;
}

// Deliberate: names of several components are skipped, as broadcasts have one component.
std::string readBindingName(ByteReader& body)
{
    std::string name;
    const unsigned components = body.u8();
    for (unsigned i = 0; i < components && body.ok(); ++i) {
        name = withoutTrailingZeros(body.text(body.u8()));
        body.skip(body.u8());  // kind
    }
    return components == 1 ? name : "";
}

void indexByName(BiopObject& directory)
{
    const std::vector<Binding>& bindings = directory.bindings;
    directory.bindingsByName.resize(bindings.size());
    std::iota(directory.bindingsByName.begin(), directory.bindingsByName.end(), uint16_t(0));
    std::sort(directory.bindingsByName.begin(), directory.bindingsByName.end(),
              [&bindings](uint16_t left, uint16_t right) {
                  return bindings[left].name < bindings[right].name;
              });
}

// Of entries with equal names the first counts.
bool readDirectory(ByteReader body, ObjectBudget& budget, BiopObject& object)
{
    std::set<std::string> names;
    for (unsigned count = body.u16(); count > 0; --count) {
        Binding binding;
        binding.name = readBindingName(body);
        body.skip(1);  // bindingType: the target itself tells what it is
        binding.target = readObjectReference(body);
        body.skip(body.u16());  // objectInfo
        if (!body.ok())
            return false;
        if (!canBeAskedFor(binding.name) || !names.insert(binding.name).second)
            continue;
        const size_t memory = 2 * sizeof(Binding) + sizeof(uint16_t) + binding.name.size() +
                              binding.target.objectKey.size() +
                              binding.target.unresolvableReason.size();
        if (!budget.spend(memory))
            return false;
        object.bindings.push_back(std::move(binding));
    }
    indexByName(object);
    return true;
}

// The list of names when the stream's info has this size. It fails where the list does not fit.
ByteReader eventNamesAfter(ByteReader info, size_t streamInfoSize)
{
    info.skip(info.u8());  // a description
    info.skip(streamInfoSize);
    return info;
}

// Whether there are so many names and the lengths of all fit.
bool areEventNames(ByteReader names, unsigned wanted)
{
    const unsigned count = names.u16();
    for (unsigned i = 0; i < count && names.ok(); ++i)
        names.skip(names.u8());
    return names.ok() && count == wanted;
}

// The document prints a duration with 16 bits of microseconds, encoders write 32: the reading
// counts that has as many names as there are ids. Where neither does, it is the document's.
ByteReader chooseEventNames(ByteReader info, unsigned ids)
{
    const ByteReader printed = eventNamesAfter(info, streamInfoSizeAfterDescription);
    const ByteReader broadcast = eventNamesAfter(info, streamInfoSizeAfterDescription + 2);
    return !areEventNames(printed, ids) && areEventNames(broadcast, ids) ? broadcast : printed;
}

// DSM::Event::EventList_T in the object's info, the ids in its body: TR 101 202, 4.7.4.5.
bool readStreamEvents(ByteReader info, ByteReader body, ObjectBudget& budget, BiopObject& object)
{
    object.taps = readTaps(body);
    if (!body.ok() || !budget.spend(object.taps.size() * 2 * sizeof(Tap)))
        return false;
    if (object.kind == ObjectKind::Stream)
        return true;
    const unsigned ids = body.u8();
    ByteReader names = chooseEventNames(info, ids);
    const unsigned count = names.u16();
    for (unsigned i = 0; i < count && i < ids; ++i) {
        NamedEvent event;
        event.name = withoutTrailingZeros(names.text(names.u8()));
        event.id = body.u16();
        if (!names.ok() || !body.ok() || !budget.spend(2 * sizeof(NamedEvent) + event.name.size()))
            return false;
        object.events.push_back(std::move(event));
    }
    return true;
}

bool readObject(ByteReader message, const unsigned char* module, ObjectBudget& budget,
                BiopObject& object)
{
    object.key = message.text(message.u8());
    object.kind = objectKindNamed(withoutTrailingZeros(message.text(message.u32())));
    const ByteReader info = message.take(message.u16());
    for (unsigned contexts = message.u8(); contexts > 0 && message.ok(); --contexts) {
        message.skip(4);  // context_id
        message.skip(message.u16());
    }
    const ByteReader body = message.take(message.u32());
    if (!message.ok() || !budget.spend(2 * sizeof(BiopObject) + object.key.size()))
        return false;
    switch (object.kind) {
    case ObjectKind::File:
        return readFile(info, body, module, object) && budget.spend(object.contentType.size());
    case ObjectKind::Directory:
    case ObjectKind::ServiceGateway:
        return readDirectory(body, budget, object);
    case ObjectKind::Stream:
    case ObjectKind::StreamEvent:
        return readStreamEvents(info, body, budget, object);
    case ObjectKind::Other:
        break;
    }
    return false;
}

// BIOP::MessageHeader: ISO/IEC 13818-6, 11.3.2. An empty reader that is not ok() when it is none.
ByteReader takeMessage(ByteReader& module)
{
    const uint32_t magic = module.u32();
    const uint8_t majorVersion = module.u8();
    module.skip(1);  // minor version
    const uint8_t byteOrder = module.u8();
    const uint8_t messageType = module.u8();
    if (magic != biopMagic || majorVersion != 1 || byteOrder != 0 || messageType != 0) {
        module.skip(module.remaining() + 1);
        return module;
    }
    return module.take(module.u32());
}

}  // namespace

const Binding* BiopObject::findBinding(const std::string& name) const
{
    const auto found = std::lower_bound(bindingsByName.begin(), bindingsByName.end(), name,
                                        [this](uint16_t index, const std::string& wanted) {
                                            return bindings[index].name < wanted;
                                        });
    return found == bindingsByName.end() || bindings[*found].name != name ? nullptr
                                                                          : &bindings[*found];
}

std::vector<Tap> readTaps(ByteReader& reader)
{
    std::vector<Tap> taps;
    for (unsigned count = reader.u8(); count > 0 && reader.ok(); --count)
        taps.push_back(readTap(reader));
    return taps;
}

ObjectReference readObjectReference(ByteReader& reader)
{
    const uint32_t typeLength = reader.u32();
    reader.skip(typeLength);
    if (typeLength % 4 != 0)
        reader.skip(4 - typeLength % 4);  // the profiles begin at a multiple of four

    ObjectReference unresolvable;
    unresolvable.unresolvableReason = "the reference has no profile that this receiver knows";
    std::optional<ObjectReference> resolved;
    const uint32_t profiles = reader.u32();
    for (uint32_t i = 0; i < profiles && reader.ok(); ++i) {
        const uint32_t tag = reader.u32();
        const ByteReader profile = reader.take(reader.u32());
        if (tag == biopProfileTag && !resolved)
            resolved = readBiopProfile(profile);
        else if (tag == liteOptionsProfileTag)
            unresolvable.unresolvableReason =
                "the reference leads to another carousel (Lite Options profile)";
    }
    return resolved && reader.ok() ? *resolved : unresolvable;
}

BiopModule readBiopModule(const unsigned char* module, size_t size, size_t budgetBytes)
{
    BiopModule result;
    ObjectBudget budget(budgetBytes);
    ByteReader reader(module, size);
    while (!reader.empty() && !budget.exceeded()) {
        const ByteReader message = takeMessage(reader);
        if (!reader.ok()) {
            result.problem = "it holds something else than whole BIOP messages";
            break;
        }
        BiopObject object;
        if (readObject(message, module, budget, object))
            result.objects.push_back(std::move(object));
    }
    result.memory = budgetBytes - budget.left();
    result.overBudget = budget.exceeded();
    return result;
}

}  // namespace receiver
