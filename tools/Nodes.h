#pragma once
// SPDX-License-Identifier: Apache-2.0
// Features of a node map as texts: reading, writing, executing, and records that describe them.
// Messages say what a feature takes, so that a person need not look it up. Uses the published node
// interfaces; used by one thread.

#include <GenApi/GenApi.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/Report.h"

namespace OrvexTools {

// The feature's value as text, or nothing when the map is null or the feature missing, unreadable
// or failing.
std::optional<std::string> TryRead(GenApi::INodeMap* pNodes, const char* pName) noexcept;

// The node of that name. Throws Failure naming the likeliest meant one when the map has none.
GenApi::INode& NodeOf(GenApi::INodeMap& nodes, const std::string& name);

// Name, type, access, value, unit, range, increment and entries, as far as the feature has them. A
// value that cannot be read because reading fails is given as "error".
Record DescribeFeature(GenApi::INode& node);

// Sets from text. Throws Failure that tells what the feature takes when the text does not fit, and
// why it cannot be written when that is so.
void WriteFeature(GenApi::INodeMap& nodes, const std::string& name, const std::string& text);

// Executes a command and waits until it is done, at most a few seconds.
void ExecuteFeature(GenApi::INodeMap& nodes, const std::string& name);

// One feature found by walking categories.
struct ListedFeature {
  GenApi::INode* pNode = nullptr;
  std::string category;  // name of the category that holds it
  int depth = 0;         // 0: directly in the category that the walk began with
  bool isCategory = false;
};

// The features below a category in the order of the description, categories first in their place,
// each feature once. Features that are not implemented or above `visibility` are left out, and so
// are categories without any feature.
std::vector<ListedFeature> WalkFeatures(GenApi::INodeMap& nodes, const std::string& category,
                                        GenApi::EVisibility visibility);

// Of the given names the one closest to `wanted`, or empty when none is close. Letter case does not
// count.
std::string ClosestName(std::string_view wanted, const std::vector<std::string>& names);

}  // namespace OrvexTools
