// SPDX-License-Identifier: Apache-2.0
// `orvex features [DEVICE]`: the features of a camera or of the transport layer, as a tree.
#include <ostream>

#include "tools/Command.h"
#include "tools/FeatureText.h"
#include "tools/Nodes.h"

namespace OrvexTools {
namespace {

struct Options {
  FeaturePlace place;
  std::string category = "Root";
  std::string visibility = "Expert";
};

void PrintTree(const Output& output, const std::vector<ListedFeature>& features) {
  for (const ListedFeature& feature : features) {
    const std::string indent(static_cast<std::size_t>(feature.depth) * 2, ' ');
    if (feature.isCategory) {
      output.out << indent << feature.pNode->GetName().c_str() << '\n';
    } else {
      output.out << indent << FeatureLine(DescribeFeature(*feature.pNode)) << '\n';
    }
  }
}

void RunFeatures(const Options& options, const Output& output) {
  GenApi::EVisibility visibility = GenApi::Expert;
  GenApi::EVisibilityClass::FromString(options.visibility.c_str(), &visibility);
  Library library(options.place.search.unicast);
  const FoundCamera found = library.Find(options.place.search.device, options.place.search.Wait());
  Camera camera(library, found, Access::Read);
  GenApi::INodeMap& nodes = NodesOf(library, camera, found, options.place.module);
  const std::vector<ListedFeature> features = WalkFeatures(nodes, options.category, visibility);
  if (!output.json) return PrintTree(output, features);
  Record rows = Record::array();
  for (const ListedFeature& feature : features) {
    if (feature.isCategory) continue;
    Record row = DescribeFeature(*feature.pNode);
    row["category"] = feature.category;
    rows.push_back(std::move(row));
  }
  PrintTable(output, rows, {}, "");
}

}  // namespace

void AddFeaturesCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand("features", "List features with their values");
  AddJsonFlag(*pCommand, output);
  pCommand->add_option("DEVICE", pOptions->place.search.device, sk_deviceHelp);
  pCommand->add_option("--category", pOptions->category, "Only what lies below this category");
  pCommand->add_option("--visibility", pOptions->visibility, "Up to this level")
      ->check(CLI::IsMember({"Beginner", "Expert", "Guru", "Invisible"}, CLI::ignore_case))
      ->capture_default_str();
  AddModuleOption(*pCommand, pOptions->place);
  pCommand->callback([pOptions, &output] { RunFeatures(*pOptions, output); });
}

}  // namespace OrvexTools
