// SPDX-License-Identifier: Apache-2.0
// `orvex action [DEVICE]`: an action command, by which cameras do something together.
#include <fmt/format.h>

#include <cstring>
#include <ostream>
#include <utility>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Nodes.h"

namespace OrvexTools {
namespace {

struct Options {
  Search search;
  std::uint32_t deviceKey = 0;
  std::uint32_t groupKey = 0;
  std::uint32_t groupMask = 0xFFFF'FFFF;
  std::uint64_t time = 0;
  bool all = false;
};

// One packet to all cameras behind the interface; none is asked to acknowledge.
void SendToAll(Camera& camera, const Options& options) {
  GenApi::INodeMap* pInterface = camera.Device().GetTLInterfaceNodeMap();
  if (pInterface == nullptr || pInterface->GetNode("ActionCommand") == nullptr)
    throw Failure("the loaded producer cannot send action commands to all cameras");
  for (const auto& [feature, value] :
       {std::pair{"ActionDeviceKey", std::uint64_t{options.deviceKey}},
        {"ActionGroupKey", std::uint64_t{options.groupKey}},
        {"ActionGroupMask", std::uint64_t{options.groupMask}},
        {"ActionScheduledTime", options.time},
        {"ActionScheduledTimeEnable", options.time == 0 ? 0U : 1U}})
    WriteFeature(*pInterface, feature, std::to_string(value));
  Orvex::ExecuteNode(pInterface, "ActionCommand");
}

void SendToOne(Camera& camera, const Options& options) {
  try {
    camera.Device().SendActionCommand(options.deviceKey, options.groupKey, options.groupMask,
                                      options.time);
  } catch (const GenICam::GenericException& error) {
    // The camera is silent when the action is not meant for it.
    const bool silent = std::strstr(error.GetDescription(), "Code:-1010") != nullptr;
    if (!silent || !camera.Answers()) throw;
    throw Failure(fmt::format(
        "camera {} did not obey: its ActionDeviceKey or ActionGroupKey is another, or its "
        "ActionGroupMask has no bit in common",
        Describe(camera.Facts())));
  }
}

void RunAction(const Options& options, const Output& output) {
  Library library(options.search.unicast);
  // Sending needs no control: whoever knows the keys may act.
  Camera camera(library, library.Find(options.search.device, options.search.Wait()), Access::Read);
  if (options.all) {
    SendToAll(camera, options);
  } else {
    SendToOne(camera, options);
  }
  output.out << fmt::format(
      "sent: device key {:#x}, group key {:#x}, group mask {:#x}, {}\n", options.deviceKey,
      options.groupKey, options.groupMask,
      options.time == 0 ? "to act at once" : fmt::format("to act at {}", options.time));
}

}  // namespace

void AddActionCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "action", "Send an action command to a camera, or to all in its network at once");
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
  pCommand->add_flag("--all", pOptions->all,
                     "To all cameras that are reached through the same interface");
  pCommand->add_option("--at", pOptions->time,
                       "Camera time in ticks at which to act; at once if not given");
  pCommand->callback([pOptions, &output] { RunAction(*pOptions, output); });
}

}  // namespace OrvexTools
