// SPDX-License-Identifier: Apache-2.0
// `orvex execute [DEVICE] FEATURE`: runs a command feature.
#include "tools/Command.h"
#include "tools/Nodes.h"

namespace OrvexTools {
namespace {

struct Options {
  FeaturePlace place;
  std::vector<std::string> words;
};

void RunExecute(Options& options) {
  const std::string name =
      SplitWords(options.words, 1, "execute [DEVICE] FEATURE", options.place).front();
  Library library(options.place.search.unicast);
  const FoundCamera found = library.Find(options.place.search.device, options.place.search.Wait());
  Camera camera(library, found, options.place.IsCamera() ? Access::Control : Access::Read);
  ExecuteFeature(NodesOf(library, camera, found, options.place.module), name);
}

}  // namespace

void AddExecuteCommand(CLI::App& program, Output&) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("execute", "Run a command feature: orvex execute [DEVICE] FEATURE");
  pCommand
      ->add_option("FEATURE", pOptions->words,
                   "DEVICE, when there are several cameras, and the name of the command")
      ->required();
  AddModuleOption(*pCommand, pOptions->place);
  pCommand->callback([pOptions] { RunExecute(*pOptions); });
}

}  // namespace OrvexTools
