#include "receiver/web/report.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "receiver/web/chronicle.h"
#include "receiver/web/page_files.h"
#include "receiver/web/state_document.h"

namespace receiver {

namespace {

using Json = nlohmann::ordered_json;

/// No text of the record may end its element: "<" stands as an escape of JSON.
std::string withoutMarkup(const std::string& json)
{
    std::string safe;
    safe.reserve(json.size());
    for (const char character : json) {
        if (character == '<')
            safe += "\\u003c";
        else
            safe += character;
    }
    return safe;
}

std::string recordOf(const Chronicle& chronicle, const ReportHead& head)
{
    const Json about = {{"version", VESTA_VERSION},
                        {"input", head.input},
                        {"duration", head.seconds},
                        {"run", chronicle.run()},
                        {"omitted", chronicle.omitted()}};
    std::string record = textOf(about);
    record.back() = ',';
    record += "\"happenings\":[";
    const char* separator = "\n";
    for (const Chronicle::Entry& entry : chronicle.after(0)) {
        record += separator + entry.json;
        separator = ",\n";
    }
    record += "],\"state\":" + (head.state.empty() ? "null" : head.state) + "}";
    return withoutMarkup(record);
}

/// @param names of files, with blanks between
std::string scriptsOf(const std::string& names)
{
    std::string scripts;
    std::istringstream list(names);
    for (std::string name; list >> name;)
        scripts += std::string(pageFile(name));
    return scripts;
}

/// What stands for a line of the template.
std::string expanded(const std::string& line, const std::string& record)
{
    const std::string scripts = "<!-- SCRIPTS ";
    const std::string end = " -->";
    const size_t begin = line.find(scripts);
    if (line.find("<!-- STYLE -->") != std::string::npos)
        return "<style>\n" + std::string(pageFile("style.css")) + "</style>";
    if (line.find("<!-- RECORD -->") != std::string::npos)
        return "<script type=\"application/json\" id=\"record\">" + record + "</script>";
    if (begin == std::string::npos)
        return line;
    const size_t first = begin + scripts.size();
    return "<script>\n" + scriptsOf(line.substr(first, line.find(end, first) - first)) +
           "</script>";
}

}  // namespace

std::string reportOf(const Chronicle& chronicle, const ReportHead& head)
{
    const std::string record = recordOf(chronicle, head);
    std::istringstream page{std::string(pageFile("report.html"))};
    std::string document;
    for (std::string line; std::getline(page, line);)
        document += expanded(line, record) + "\n";
    return document;
}

}  // namespace receiver
