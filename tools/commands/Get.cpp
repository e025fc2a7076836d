// SPDX-License-Identifier: Apache-2.0
// `orvex get [DEVICE] FEATURE`: one value.
#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/FeatureText.h"
#include "tools/Nodes.h"

namespace OrvexTools {
namespace {

struct Options {
  FeaturePlace place;
  std::vector<std::string> words;
  bool details = false;
};

void RunGet(Options& options, const Output& output) {
  const std::string name =
      SplitWords(options.words, 1, "get [DEVICE] FEATURE", options.place).front();
  Library library(options.place.search.unicast);
  const FoundCamera found = library.Find(options.place.search.device, options.place.search.Wait());
  Camera camera(library, found, Access::Read);
  const Record feature =
      DescribeFeature(NodeOf(NodesOf(library, camera, found, options.place.module), name));
  if (output.json || options.details) {
    return PrintRecord(output, feature, FeatureFields());
  }
  if (feature.contains("error"))
    throw Failure(name + " cannot be read: " + feature["error"].get<std::string>());
  if (!feature.contains("value")) throw Failure(WhyWithoutValue(feature));
  output.out << FeatureValueText(feature) << '\n';
}

}  // namespace

void AddGetCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand("get", "Read a feature: orvex get [DEVICE] FEATURE");
  AddJsonFlag(*pCommand, output);
  pCommand
      ->add_option("FEATURE", pOptions->words,
                   "DEVICE, when there are several cameras, and the name of the feature")
      ->required();
  pCommand->add_flag("--details", pOptions->details,
                     "Show type, range, choices and description too");
  AddModuleOption(*pCommand, pOptions->place);
  pCommand->callback([pOptions, &output] { RunGet(*pOptions, output); });
}

}  // namespace OrvexTools
