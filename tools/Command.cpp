// SPDX-License-Identifier: Apache-2.0
#include "tools/Command.h"

#include <fmt/format.h>

#include "tools/Failure.h"
#include "tools/Limits.h"

namespace OrvexTools {

void AddJsonFlag(CLI::App& command, Output& output) {
  command.add_flag("--json", output.json, "Write the result as JSON");
}

void AddSearchOptions(CLI::App& command, Search& search) {
  command.add_option("--wait", search.waitMs, "Milliseconds to listen for cameras")
      ->check(CLI::Range(1U, sk_maxWaitMs))
      ->capture_default_str();
  command.add_option(
      "--unicast", search.unicast,
      "Also ask this IPv4 address, for a camera behind a router; may be given several times");
}

void AddDeviceArgument(CLI::App& command, Search& search) {
  command.add_option("DEVICE", search.device, sk_deviceHelp);
  AddSearchOptions(command, search);
}

void AddModuleOption(CLI::App& command, FeaturePlace& place) {
  command
      .add_option("--module", place.module,
                  "Whose features: the camera's, or those of the host's transport layer (device, "
                  "stream, interface, "
                  "system)")
      ->check(CLI::IsMember({"camera", "device", "stream", "interface", "system"}))
      ->capture_default_str();
  AddSearchOptions(command, place.search);
}

GenApi::INodeMap& NodesOf(Library& library, Camera& camera, const FoundCamera& found,
                          const std::string& module) {
  if (module == "camera") return camera.Nodes();
  GenApi::INodeMap* pNodes = nullptr;
  if (module == "device") pNodes = camera.Device().GetTLDeviceNodeMap();
  if (module == "stream") pNodes = camera.Device().GetTLStreamNodeMap();
  if (module == "interface") pNodes = library.System().GetTLInterfaceNodeMap(found.info);
  if (module == "system") pNodes = library.System().GetTLSystemNodeMap();
  if (pNodes == nullptr)
    throw Failure(fmt::format("the producer describes no features of its {} module", module));
  return *pNodes;
}

std::vector<std::string> SplitWords(const std::vector<std::string>& words, std::size_t count,
                                    const char* pUsage, FeaturePlace& place) {
  if (words.size() != count && words.size() != count + 1)
    throw Misuse(fmt::format("usage: orvex {}", pUsage));
  const std::size_t first = words.size() - count;
  if (first == 1) place.search.device = words.front();
  std::vector<std::string> names(words.begin() + static_cast<std::ptrdiff_t>(first), words.end());
  for (std::string& name : names) {
    if (name.starts_with(sk_shield)) name.erase(0, 1);
  }
  return names;
}

}  // namespace OrvexTools
