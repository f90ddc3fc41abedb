#include "inspector/decode/node.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace inspector {

Node& Node::add(Kind childKind, std::string childName)
{
    Node& child = children.emplace_back();
    child.kind = childKind;
    child.name = std::move(childName);
    return child;
}

Node& Node::addObject(std::string childName, std::string childTitle)
{
    Node& child = add(Kind::Object, std::move(childName));
    child.title = std::move(childTitle);
    return child;
}

Node& Node::addList(std::string childName)
{
    return add(Kind::List, std::move(childName));
}

Node& Node::addNumber(std::string childName, uint64_t value, std::string meaning)
{
    Node& child = add(Kind::Number, std::move(childName));
    child.number = value;
    child.title = std::move(meaning);
    return child;
}

Node& Node::addHexadecimal(std::string childName, uint64_t value, std::string meaning)
{
    Node& child = addNumber(std::move(childName), value, std::move(meaning));
    child.kind = Kind::Hexadecimal;
    return child;
}

Node& Node::addFlag(std::string childName, bool value)
{
    Node& child = add(Kind::Flag, std::move(childName));
    child.number = value ? 1 : 0;
    return child;
}

Node& Node::addText(std::string childName, std::string value)
{
    Node& child = add(Kind::Text, std::move(childName));
    child.text = std::move(value);
    return child;
}

Node& Node::addBytes(std::string childName, std::string value)
{
    Node& child = add(Kind::Bytes, std::move(childName));
    child.text = std::move(value);
    return child;
}

Node& Node::addUnknown(std::string childName)
{
    return add(Kind::Unknown, std::move(childName));
}

const Node* Node::find(std::string_view childName) const
{
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const Node& child) { return child.name == childName; });
    return found == children.end() ? nullptr : &*found;
}

uint64_t Node::numberOf(std::string_view childName) const
{
    const Node* const child = find(childName);
    return child ? child->number : 0;
}

std::string Node::textOf(std::string_view childName) const
{
    const Node* const child = find(childName);
    return child ? child->text : "";
}

const std::list<Node>& Node::listOf(std::string_view childName) const
{
    static const std::list<Node> none;
    const Node* const child = find(childName);
    return child ? child->children : none;
}

std::string hexadecimal(uint64_t value, int digits)
{
    char text[24];
    std::snprintf(text, sizeof(text), "0x%0*llx", digits, static_cast<unsigned long long>(value));
    return text;
}

std::string hexadecimalOf(const std::string& bytes, const char* separator)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (!text.empty())
            text += separator;
        text += digits[value >> 4];
        text += digits[value & 0xF];
    }
    return text;
}

std::string counted(uint64_t count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

}  // namespace inspector
