/// How tests hand over tables that do not come from sections.
#ifndef VESTA_TESTS_SUPPORT_XML_TABLES_H
#define VESTA_TESTS_SUPPORT_XML_TABLES_H

#include "foundation/ref_ptr.h"
#include "signalling/ait.h"

namespace VestaHbbTV {
class Window;
}

namespace vesta::test {

/// Queues a table for a window. A program of tests has it as it is; the one whose stories are
/// recorded writes it as a document, and the kit reads that: tests/replay/support/.
void queueXMLTable(VestaHbbTV::Window* window, const VestaHbbTV::ref_ptr<VestaHbbTV::AIT>& table);

}  // namespace vesta::test

#endif
