/// What an input holds, by its first bytes.
#ifndef VESTA_INSPECTOR_INPUT_INPUT_KIND_H
#define VESTA_INSPECTOR_INPUT_INPUT_KIND_H

#include <string>
#include <string_view>

namespace inspector {

enum class InputKind { TransportStream, Sections, HexadecimalText, Xml };

/// "transport stream", "sections", "hexadecimal text", "XML AIT"
std::string nameOf(InputKind kind);

/// So many bytes decide, or all where there are fewer.
constexpr size_t decidingBytes = 4096;

/// @param head the first bytes @param isWhole whether there are no others
InputKind kindOf(std::string_view head, bool isWhole);

}  // namespace inspector

#endif
