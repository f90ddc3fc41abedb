/// Prints a tree: for people, and for programs.
#ifndef VESTA_INSPECTOR_DUMP_PRINTERS_H
#define VESTA_INSPECTOR_DUMP_PRINTERS_H

#include <iosfwd>

#include "inspector/decode/node.h"

namespace inspector {

/// Indented lines. Texts from the air come without anything that a terminal would obey; what is
/// empty is left out.
void printText(const Node& root, std::ostream& out);

/// One JSON object. Numbers with a meaning have it beside them, under their key and "_name"; places
/// in sections are "offset"; bytes are hexadecimal text, and what is unknown is null.
void printJson(const Node& root, std::ostream& out);

}  // namespace inspector

#endif
