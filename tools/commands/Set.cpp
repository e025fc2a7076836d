// SPDX-License-Identifier: Apache-2.0
// `orvex set [DEVICE] FEATURE VALUE`: writes one value and shows what the feature then holds.
#include <ostream>

#include "tools/Command.h"
#include "tools/FeatureText.h"
#include "tools/Nodes.h"

namespace OrvexTools {
namespace {

struct Options {
  FeaturePlace place;
  std::vector<std::string> words;
};

void RunSet(Options& options, const Output& output) {
  const std::vector<std::string> words =
      SplitWords(options.words, 2, "set [DEVICE] FEATURE VALUE", options.place);
  Library library(options.place.search.unicast);
  const FoundCamera found = library.Find(options.place.search.device, options.place.search.Wait());
  Camera camera(library, found, options.place.IsCamera() ? Access::Control : Access::Read);
  GenApi::INodeMap& nodes = NodesOf(library, camera, found, options.place.module);
  WriteFeature(nodes, words[0], words[1]);
  const Record feature = DescribeFeature(NodeOf(nodes, words[0]));
  if (output.json) return PrintRecord(output, feature, {});
  const bool readable = feature.contains("value");
  output.out << words[0] << " = " << (readable ? FeatureValueText(feature) : words[1]) << '\n';
}

}  // namespace

void AddSetCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("set", "Write a feature: orvex set [DEVICE] FEATURE VALUE");
  AddJsonFlag(*pCommand, output);
  pCommand
      ->add_option(
          "FEATURE", pOptions->words,
          "DEVICE, when there are several cameras, then the name of the feature and its new value")
      ->required();
  AddModuleOption(*pCommand, pOptions->place);
  pCommand->callback([pOptions, &output] { RunSet(*pOptions, output); });
}

}  // namespace OrvexTools
