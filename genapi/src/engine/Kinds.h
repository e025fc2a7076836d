#pragma once
// SPDX-License-Identifier: Apache-2.0
// All kinds of nodes, and the one place that maps elements of the description to them.
#include <memory>

#include "engine/ConfRom.h"
#include "engine/Features.h"
#include "engine/FormulaNodes.h"
#include "engine/Numbers.h"
#include "engine/Port.h"
#include "engine/Registers.h"

namespace OrvexGenApi {

// Null for elements that are no nodes.
std::unique_ptr<Node> MakeNode(Element kind, NodeMap& map, pugi::xml_node element);

}  // namespace OrvexGenApi
