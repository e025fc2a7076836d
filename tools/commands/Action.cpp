// SPDX-License-Identifier: Apache-2.0
// `orvex action [DEVICE]`: an action command, by which cameras do something together.
#include <fmt/format.h>

#include <ostream>

#include "tools/Command.h"

namespace OrvexTools {
namespace {

struct Options {
  Search search;
  std::uint32_t deviceKey = 0;
  std::uint32_t groupKey = 0;
  std::uint32_t groupMask = 0xFFFF'FFFF;
  std::uint64_t time = 0;
};

void RunAction(const Options& options, const Output& output) {
  Library library(options.search.unicast);
  // Sending needs no control: whoever knows the keys may act.
  Camera camera(library, library.Find(options.search.device, options.search.Wait()), Access::Read);
  camera.Device().SendActionCommand(options.deviceKey, options.groupKey, options.groupMask,
                                    options.time);
  output.out << fmt::format(
      "sent: device key {:#x}, group key {:#x}, group mask {:#x}, {}\n", options.deviceKey,
      options.groupKey, options.groupMask,
      options.time == 0 ? "to act at once" : fmt::format("to act at {}", options.time));
}

}  // namespace

void AddActionCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "action", "Send an action command in the network through which a camera is reached");
  AddDeviceArgument(*pCommand, pOptions->search);
  pCommand
      ->add_option("--device-key", pOptions->deviceKey,
                   "ActionDeviceKey of the cameras that are to act")
      ->required();
  pCommand->add_option("--group-key", pOptions->groupKey, "ActionGroupKey of the action")
      ->required();
  pCommand
      ->add_option("--group-mask", pOptions->groupMask,
                   "Acts where it has a bit in common with ActionGroupMask")
      ->capture_default_str();
  pCommand->add_option("--at", pOptions->time,
                       "Camera time in ticks at which to act; at once if not given");
  pCommand->callback([pOptions, &output] { RunAction(*pOptions, output); });
}

}  // namespace OrvexTools
