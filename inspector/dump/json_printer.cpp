#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>

#include "inspector/dump/printers.h"
#include "receiver/text/printable.h"

namespace inspector {

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const Node& node);

Json objectOf(const Node& node)
{
    Json object = Json::object();
    if (node.place)
        object["offset"] = *node.place;
    for (const Node& child : node.children) {
        object[child.name] = jsonOf(child);
        const bool isNumber =
            child.kind == Node::Kind::Number || child.kind == Node::Kind::Hexadecimal;
        if (isNumber && !child.title.empty())
            object[child.name + "_name"] = child.title;
    }
    return object;
}

Json jsonOf(const Node& node)
{
    switch (node.kind) {
    case Node::Kind::Object:
        return objectOf(node);
    case Node::Kind::List: {
        Json list = Json::array();
        for (const Node& child : node.children)
            list.push_back(jsonOf(child));
        return list;
    }
    case Node::Kind::Number:
    case Node::Kind::Hexadecimal:
        return node.number;
    case Node::Kind::Flag:
        return node.number != 0;
    case Node::Kind::Text:
        return node.text;
    case Node::Kind::Bytes:
        return hexadecimalOf(node.text);
    case Node::Kind::Unknown:
        break;
    }
    return nullptr;
}

}  // namespace

void printJson(const Node& root, std::ostream& out)
{
    // Texts of the air need not be UTF-8.
    std::istringstream lines(jsonOf(root).dump(2, ' ', false, Json::error_handler_t::replace));
    for (std::string line; std::getline(lines, line);)
        out << receiver::printableJson(line) << "\n";
}

}  // namespace inspector
