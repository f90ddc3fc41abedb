/// Small descriptions for tests.
#ifndef VESTA_TESTS_STATION_SUPPORT_STATION_TEXT_H
#define VESTA_TESTS_STATION_SUPPORT_STATION_TEXT_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "station/bytes/byte_writer.h"
#include "station/description/description_reader.h"

namespace station {

/// A description with one service; its further keys come in the sixth line.
inline std::string withService(const std::string& keys)
{
    return "{\n"
           "  \"network\": {\"name\": \"N\", \"original_network_id\": \"0x20FA\",\n"
           "              \"transport_stream_id\": 1089},\n"
           "  \"services\": [\n"
           "    {\"id\": 1, \"name\": \"One\"" +
           std::string(keys.empty() ? "" : ",\n") + keys +
           "}\n"
           "  ]\n"
           "}\n";
}

/// @return the problems, each as a line for people
inline std::vector<std::string> problemsOf(const std::string& text,
                                           const std::filesystem::path& folder = VESTA_SAMPLES)
{
    Problems problems;
    readDescription(text, folder, problems);
    std::vector<std::string> lines;
    for (const Problem& problem : problems)
        lines.push_back(textOf(problem, "s.json"));
    return lines;
}

/// The description, which must have no problem.
inline Description descriptionOf(const std::string& text,
                                 const std::filesystem::path& folder = VESTA_SAMPLES)
{
    Problems problems;
    return readDescription(text, folder, problems).value();
}

inline Service serviceOf(const std::string& keys)
{
    return descriptionOf(withService(keys)).services.front();
}

/// Bytes that do not pack.
inline std::string noise(size_t size)
{
    std::string bytes;
    for (uint32_t state = 1; bytes.size() < size;) {
        state = state * 1664525 + 1013904223;
        bytes += static_cast<char>(state >> 24);
    }
    return bytes;
}

inline Bytes bytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

inline Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

}  // namespace station

#endif
