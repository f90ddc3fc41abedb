/// Broadcast Inter-ORB Protocol: the objects inside a carousel's modules.
#ifndef VESTA_RECEIVER_CAROUSEL_BIOP_OBJECTS_H
#define VESTA_RECEIVER_CAROUSEL_BIOP_OBJECTS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/byte_reader.h"

namespace receiver {

/// A connection to a stream of the service (ISO/IEC 13818-6, 5.6.1).
struct Tap {
    uint16_t id = 0;
    uint16_t use = 0;
    uint16_t associationTag = 0;
    std::optional<uint32_t> transactionId;  ///< of the DII, when the selector names one
};

/// Taps' uses (ETSI TR 101 202, 4.7.2.5).
constexpr uint16_t deliveryParameterUse = 0x0016;  // BIOP_DELIVERY_PARA_USE: here is the DII
constexpr uint16_t objectUse = 0x0017;             // BIOP_OBJECT_USE: here are the module's blocks

/// @return the taps of a list that begins with its 8-bit count; the reader fails when it overruns
std::vector<Tap> readTaps(VestaHbbTV::ByteReader& reader);

enum class ObjectKind { ServiceGateway, Directory, File, Stream, StreamEvent, Other };

/// Where an object is to be found: an interoperable object reference (IOR) with a BIOP profile.
struct ObjectReference {
    /// False when no profile could be used: unresolvableReason says why, the rest is empty.
    bool isResolvable() const { return unresolvableReason.empty(); }

    std::string unresolvableReason;
    uint16_t associationTag = 0;            ///< of the stream with the DII
    std::optional<uint32_t> transactionId;  ///< of the DII
    uint32_t carouselId = 0;
    uint16_t moduleId = 0;
    std::string objectKey;
};

/// Reads an IOR. A profile that overruns is as good as none; an IOR that overruns fails the reader.
ObjectReference readObjectReference(VestaHbbTV::ByteReader& reader);

/// An entry of a directory.
struct Binding {
    std::string name;
    ObjectReference target;
};

struct NamedEvent {
    std::string name;
    uint16_t id = 0;
};

/// One object of a module. Which fields count depends on its kind.
struct BiopObject {
    /// @return a directory's entry of this name, or null; valid while the object is not changed
    const Binding* findBinding(const std::string& name) const;

    ObjectKind kind = ObjectKind::Other;
    std::string key;
    size_t contentOffset = 0;              ///< of a file, in the module's bytes
    size_t contentSize = 0;                ///< of a file
    std::string contentType;               ///< of a file, when signalled
    std::vector<Binding> bindings;         ///< of a directory or service gateway, in order
    std::vector<uint16_t> bindingsByName;  ///< their indices, in the order of their names
    std::vector<NamedEvent> events;        ///< of a stream-event object
    std::vector<Tap> taps;                 ///< of a stream or stream-event object
};

/// What came out of a module.
struct BiopModule {
    std::vector<BiopObject> objects;
    size_t memory = 0;    ///< bytes that the objects take, names and keys included
    std::string problem;  ///< why reading ended early; empty when all was read
    bool overBudget = false;
};

/// Reads all objects of a module (ETSI TR 101 202, 4.7.4). An object whose inner lengths leave it
/// is left out; a message whose size leaves the module ends the list, what was read before stays.
/// Directory entries without a name, or named like a path ("..", "a/b"), are left out: nobody can
/// ask for them, and they must not steer where files are written.
/// @param module borrowed for the call
/// @param budget most bytes that the objects may take; reading ends there, with overBudget set
BiopModule readBiopModule(const unsigned char* module, size_t size, size_t budget);

}  // namespace receiver

#endif
