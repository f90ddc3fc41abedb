/// What was decoded, as a tree of named fields: the one form that all printers and checks read.
#ifndef VESTA_INSPECTOR_DECODE_NODE_H
#define VESTA_INSPECTOR_DECODE_NODE_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>

namespace inspector {

/// A field, an object of fields, or a list of what has no name of its own. Names are spelled as the
/// standards spell them, and are the keys of the JSON.
struct Node {
    enum class Kind {
        Object,
        List,
        Number,
        Hexadecimal,  ///< a number that people read in hexadecimal
        Flag,
        Text,  ///< UTF-8
        Bytes,
        Unknown  ///< a value that there is none of
    };

    Kind kind = Kind::Object;
    std::string name;             ///< empty in a list
    std::string title;            ///< of an object, for people; of a number, what it means
    uint64_t number = 0;          ///< of a number or flag
    std::string text;             ///< of a text, or the bytes
    std::optional<size_t> place;  ///< in its section, from table_id
    bool isQuiet = false;         ///< says nothing to people that is not said elsewhere
    std::list<Node> children;     ///< of an object or list; adding to it moves none

    /// @name Adding a child, which is returned
    /// @{
    Node& addObject(std::string childName, std::string childTitle = "");
    Node& addList(std::string childName);
    Node& addNumber(std::string childName, uint64_t value, std::string meaning = "");
    Node& addHexadecimal(std::string childName, uint64_t value, std::string meaning = "");
    Node& addFlag(std::string childName, bool value);
    Node& addText(std::string childName, std::string value);
    Node& addBytes(std::string childName, std::string value);
    Node& addUnknown(std::string childName);
    /// @}

    /// Leaves it to programs. @return itself
    Node& quiet()
    {
        isQuiet = true;
        return *this;
    }

    /// @name Asking
    /// The first child of a name counts.
    /// @{
    const Node* find(std::string_view childName) const;
    /// 0 and empty where there is no such child.
    uint64_t numberOf(std::string_view childName) const;
    bool isSet(std::string_view childName) const { return numberOf(childName) != 0; }
    std::string textOf(std::string_view childName) const;
    /// The children of a child; none where it is not there.
    const std::list<Node>& listOf(std::string_view childName) const;
    /// @}

    bool isContainer() const { return kind == Kind::Object || kind == Kind::List; }

private:
    Node& add(Kind childKind, std::string childName);
};

/// "0x1f", with so many digits at the least.
std::string hexadecimal(uint64_t value, int digits = 1);

/// Two digits for each byte. @param separator between them
std::string hexadecimalOf(const std::string& bytes, const char* separator = "");

/// "1 module", "2 modules"
std::string counted(uint64_t count, const std::string& thing);

}  // namespace inspector

#endif
