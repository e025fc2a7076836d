#pragma once
// SPDX-License-Identifier: Apache-2.0
// Operations on whole descriptions: merging a second one in, and cutting out what one node needs.
#include <memory>
#include <string>

#include "engine/Document.h"

namespace OrvexGenApi {

// A description with the nodes of both. Throws PropertyException for nodes that both have and none
// has priority.
std::shared_ptr<Document> Merge(const Document& target, const Document& inject);
// A description with the given node and all nodes that it refers to, directly or not. Throws
// InvalidArgumentException when there is no such node.
std::shared_ptr<Document> ExtractSubtree(const Document& source, const std::string& root,
                                         bool renameToRoot);

}  // namespace OrvexGenApi
