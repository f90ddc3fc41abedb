/// The table of an XML AIT as a tree.
#ifndef VESTA_INSPECTOR_INPUT_XML_TREE_H
#define VESTA_INSPECTOR_INPUT_XML_TREE_H

#include "inspector/decode/node.h"
#include "signalling/ait.h"

namespace inspector {

/// An object with `applications`: what the application manager has of each.
Node treeOf(const VestaHbbTV::AIT& table);

}  // namespace inspector

#endif
