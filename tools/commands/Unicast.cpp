// SPDX-License-Identifier: Apache-2.0
// `orvex unicast IP...`: asks cameras directly that hear no broadcast, and tells who answered.
#include <arpa/inet.h>
#include <fmt/format.h>

#include <algorithm>
#include <ostream>

#include "tools/Addresses.h"
#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Limits.h"

namespace OrvexTools {
namespace {

struct Options {
  std::vector<std::string> addresses;
  unsigned waitMs = static_cast<unsigned>(sk_discoveryTime.count());
};

constexpr Field sk_columns[] = {
    {"ip", "IP"}, {"answer", "ANSWER"}, {"serial", "SERIAL"}, {"model", "MODEL"}, {"mac", "MAC"},
};

// Has the interface that routes to it ask that address; false when there is none.
bool Ask(Library& library, const std::string& address) {
  try {
    library.System().AddUnicastDiscoveryDevice(address.c_str());
  } catch (const GenICam::RuntimeException&) {  // the system knows no route
    return false;
  }
  const std::vector<std::uint32_t> asked = library.System().GetUnicastDiscoveryDevices();
  return std::find(asked.begin(), asked.end(), htonl(ParseIp(address))) != asked.end();
}

void Fill(Record& row, const std::vector<FoundCamera>& cameras) {
  const std::uint32_t ip = ParseIp(row["ip"]);
  for (const FoundCamera& camera : cameras) {
    if (ParseIp(camera.facts.ip) != ip) continue;
    row["answer"] = "yes";
    row["serial"] = camera.facts.serial;
    row["model"] = camera.facts.model;
    row["mac"] = camera.facts.mac;
  }
}

void RunUnicast(const Options& options, const Output& output) {
  for (const std::string& address : options.addresses) {
    const std::uint32_t ip = ParseIp(address);
    if (ip == 0 || ip == ~std::uint32_t{0})
      throw Misuse(fmt::format("{} is no address of a single camera", address));
  }
  Library library;
  Record rows = Record::array();
  for (const std::string& address : options.addresses)
    rows.push_back({{"ip", address}, {"answer", Ask(library, address) ? "no" : "no route"}});
  const std::vector<FoundCamera> cameras = library.Discover(Milliseconds(options.waitMs));
  for (Record& row : rows) Fill(row, cameras);
  PrintTable(output, rows, sk_columns, "");
  const auto silent = std::count_if(rows.begin(), rows.end(),
                                    [](const Record& row) { return row["answer"] != "yes"; });
  if (silent > 0) {
    throw Failure(
        fmt::format("no camera answered at {} of {} addresses; check the addresses, the "
                    "route there and that nothing on the way blocks UDP port 3956",
                    silent, rows.size()));
  }
}

}  // namespace

void AddUnicastCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "unicast", "Ask cameras directly, by address, that no broadcast reaches");
  AddJsonFlag(*pCommand, output);
  pCommand
      ->add_option("IP", pOptions->addresses,
                   "IPv4 addresses to ask; the other commands do the same with --unicast IP")
      ->required();
  pCommand->add_option("--wait", pOptions->waitMs, "Milliseconds to listen for answers")
      ->check(CLI::Range(1U, sk_maxWaitMs))
      ->capture_default_str();
  pCommand->callback([pOptions, &output] { RunUnicast(*pOptions, output); });
}

}  // namespace OrvexTools
