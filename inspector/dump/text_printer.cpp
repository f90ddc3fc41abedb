#include <algorithm>
#include <ostream>

#include "inspector/dump/printers.h"
#include "receiver/text/printable.h"

namespace inspector {

namespace {

constexpr size_t longestLine = 100;

std::string numberOf(const Node& node, const std::string& digits)
{
    return node.title.empty() ? digits : digits + " (" + node.title + ")";
}

std::string valueOf(const Node& node)
{
    switch (node.kind) {
    case Node::Kind::Number:
        return numberOf(node, std::to_string(node.number));
    case Node::Kind::Hexadecimal:
        return numberOf(node, hexadecimal(node.number, 2));
    case Node::Kind::Flag:
        return node.number != 0 ? "yes" : "no";
    case Node::Kind::Text:
        return "\"" + receiver::printable(node.text) + "\"";
    case Node::Kind::Bytes:
        return hexadecimalOf(node.text, " ");
    default:
        return "unknown";
    }
}

bool isScalarList(const Node& node)
{
    return node.kind == Node::Kind::List &&
           std::none_of(node.children.begin(), node.children.end(),
                        [](const Node& child) { return child.isContainer(); });
}

/// "1, 2, 3"
std::string joined(const Node& list)
{
    std::string text;
    for (const Node& child : list.children)
        text += (text.empty() ? "" : ", ") + valueOf(child);
    return text;
}

/// A field in words; empty where it says nothing.
std::string fieldOf(const Node& node)
{
    if (node.isQuiet)
        return "";
    if (isScalarList(node))
        return node.children.empty() ? "" : node.name + " " + joined(node);
    const bool saysNothing = node.kind == Node::Kind::Text && node.text.empty();
    return node.isContainer() || saysNothing ? "" : node.name + " " + valueOf(node);
}

std::string headOf(const Node& node)
{
    std::string head = receiver::printable(node.title.empty() ? node.name : node.title);
    if (node.place)
        head += " @" + std::to_string(*node.place);
    return head;
}

/// The object's own fields after its head, in as many lines as they need.
void printFields(const Node& object, const std::string& indent, std::ostream& out)
{
    std::string line = indent + headOf(object);
    const char* separator = ": ";
    for (const Node& child : object.children) {
        const std::string field = fieldOf(child);
        if (field.empty())
            continue;
        if (line.size() + field.size() > longestLine) {
            out << line << (*separator == ':' ? ":" : ",") << "\n";
            line = indent + "    " + field;
        } else {
            line += separator + field;
        }
        separator = ", ";
    }
    out << line << "\n";
}

void print(const Node& node, const std::string& indent, std::ostream& out)
{
    if (node.isQuiet)
        return;
    if (node.kind == Node::Kind::Object)
        printFields(node, indent, out);
    const std::string inner = node.kind == Node::Kind::Object ? indent + "  " : indent;
    for (const Node& child : node.children) {
        if (child.isContainer() && !isScalarList(child))
            print(child, inner, out);
    }
}

}  // namespace

void printText(const Node& root, std::ostream& out)
{
    for (const Node& child : root.children) {
        const std::string field = fieldOf(child);
        if (!field.empty())
            out << field << "\n";
        else
            print(child, "", out);
    }
}

}  // namespace inspector
