// SPDX-License-Identifier: Apache-2.0
// `orvex forceip MAC IP`: gives a camera that is in no reachable network an address until it is
// powered off.
#include <fmt/format.h>

#include <ostream>

#include "tools/Addresses.h"
#include "tools/Command.h"
#include "tools/Failure.h"

namespace OrvexTools {
namespace {

struct Options {
  Search search;
  std::string mac;
  std::string ip;
  std::string mask = "255.255.255.0";
  std::string gateway = "0.0.0.0";
};

void RunForceIp(const Options& options, const Output& output) {
  const std::uint64_t mac = ParseMac(options.mac);
  const std::uint32_t ip = ParseIp(options.ip);
  const std::uint32_t mask = ParseMask(options.mask);
  const std::uint32_t gateway = ParseIp(options.gateway);
  const std::uint32_t host = ip & ~mask;
  if (ip == 0 || (mask != ~std::uint32_t{0} && (host == 0 || host == ~mask))) {
    throw Misuse(fmt::format("{} is no address for a single camera in that subnet", options.ip));
  }
  Library library(options.search.unicast);
  library.System().ForceIp(mac, ip, mask, gateway);
  // The camera takes a moment; that it then answers at the address is the proof.
  for (int round = 0; round < 5; ++round) {
    for (const FoundCamera& camera : library.Discover(options.search.Wait())) {
      if (IsExactly(camera.facts, options.mac) && IsExactly(camera.facts, options.ip)) {
        output.out << Describe(camera.facts) << '\n';
        return;
      }
    }
  }
  throw Failure(
      fmt::format("no camera with the MAC address {} answers at {}; check the MAC address and that "
                  "no application "
                  "holds the camera",
                  options.mac, options.ip));
}

}  // namespace

void AddForceIpCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("forceip", "Give a camera an address until it is powered off");
  pCommand->add_option("MAC", pOptions->mac, "MAC address of the camera, as on its label")
      ->required();
  pCommand->add_option("IP", pOptions->ip, "The address it is to have")->required();
  pCommand->add_option("--mask", pOptions->mask, "Subnet mask, or number of its leading ones")
      ->capture_default_str();
  pCommand->add_option("--gateway", pOptions->gateway, "Gateway")->capture_default_str();
  AddSearchOptions(*pCommand, pOptions->search);
  pCommand->callback([pOptions, &output] { RunForceIp(*pOptions, output); });
}

}  // namespace OrvexTools
