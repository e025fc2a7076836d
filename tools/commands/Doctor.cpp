// SPDX-License-Identifier: Apache-2.0
// `orvex doctor [DEVICE]`: looks at what makes real installations fail, and mends it on request.
#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <istream>
#include <ostream>

#include "tools/Addresses.h"
#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Nodes.h"
#include "tools/Stop.h"
#include "tools/doctor/Measure.h"

namespace OrvexTools {
namespace {

struct Options {
  Search search;
  double seconds = 10;
  bool fix = false;
};

// The address of the interface that found the camera tells which one it is.
std::optional<HostLink> LinkOf(Library& library, const FoundCamera& found, const Host& host) {
  std::string address;
  try {
    GenApi::INodeMap* pNodes = library.System().GetTLInterfaceNodeMap(found.info);
    address = TryRead(pNodes, "GevInterfaceSubnetIPAddress").value_or("");
  } catch (const GenICam::GenericException&) {
    // A producer without interface features; the subnet then has to tell.
  }
  const std::uint32_t ip = ParseIp(found.facts.ip);
  std::optional<HostLink> containing;
  for (HostLink& link : host.Links()) {
    if (IpText(link.ip) == address || std::to_string(link.ip) == address) return link;
    if (link.Contains(ip) && !containing) containing = link;
  }
  return containing;
}

std::optional<std::int64_t> ReadInteger(Camera& camera, const char* pFeature) {
  const std::optional<std::string> text = TryRead(&camera.Nodes(), pFeature);
  if (!text || text->empty()) return std::nullopt;
  return std::atoll(text->c_str());
}

void Measure(Library& library, const FoundCamera& found, double seconds, Situation& situation) {
  try {
    Camera camera(library, found, Access::Control);
    situation.heartbeatMs = ReadInteger(camera, "GevHeartbeatTimeout");
    situation.packetSize = ReadInteger(camera, "GevSCPSPacketSize");
    if (!situation.link) return;
    situation.probed = ProbePath(camera, *situation.link);
    situation.stream = RunTestStream(camera, situation.host, situation.link->name, seconds);
  } catch (...) {
    situation.trouble = PlainLine(std::current_exception());
  }
}

Situation LookAround(const Options& options, const Output& output, const Host& host) {
  Situation situation{host, {}, {}, {}, "", {}, {}, {}, {}};
  Library library(options.search.unicast);
  std::optional<FoundCamera> found;
  try {
    found = library.Find(options.search.device, options.search.Wait());
  } catch (const Failure& failure) {
    // Which is what the doctor is called for.
    if (!options.search.device.empty()) situation.trouble = failure.what();
  }
  for (FoundCamera& camera : library.Discover(options.search.Wait()))
    situation.cameras.push_back(std::move(camera.facts));
  if (!found) return situation;
  situation.camera = found->facts;
  situation.link = LinkOf(library, *found, host);
  if (!output.json)
    output.err << fmt::format("orvex: testing {} for {} s\n", Describe(found->facts),
                              options.seconds);
  Measure(library, *found, options.seconds, situation);
  return situation;
}

// As a person who is not the administrator has to type it.
std::string Typed(const std::string& command) {
  const bool needsRights = ::geteuid() != 0 && !command.starts_with("orvex ");
  return (needsRights ? "sudo " : "") + command;
}

void PrintFindings(const Output& output, const std::vector<Finding>& findings) {
  if (output.json) {
    Record rows = Record::array();
    for (const Finding& finding : findings) rows.push_back(DescribeFinding(finding));
    return PrintTable(output, rows, {}, "");
  }
  std::size_t width = 0;
  for (const Finding& finding : findings)
    width = std::max(width, DisplayWidth(finding.pCheck->title));
  for (const auto& [pCheck, outcome] : findings) {
    output.out << fmt::format("{:<7}  {:<{}}  {}\n", LevelName(outcome.level), pCheck->title, width,
                              outcome.measured);
    if (outcome.level == Level::Ok) continue;
    output.out << "           why:  " << pCheck->why << '\n';
    for (const std::string& command : outcome.commands)
      output.out << "           mend: " << Typed(command) << '\n';
    if (!outcome.advice.empty()) output.out << "           note: " << outcome.advice << '\n';
  }
}

// Runs a command after a yes; anything else, and the end of the input, is a no.
void Offer(const Output& output, const std::string& command) {
  output.out << "run `" << command << "`? [y/N] " << std::flush;
  std::string answer;
  if (!std::getline(std::cin, answer)) output.out << '\n';
  if (answer != "y" && answer != "yes") return;
  output.out.flush();
  // With this program's own name its own copy is meant, which need not be on the path.
  std::string line = command;
  if (line.starts_with("orvex "))
    line.replace(0, 5, "/proc/" + std::to_string(::getpid()) + "/exe");
  const int status = std::system(line.c_str());
  if (status != 0) output.err << "orvex: that did not work: " << command << '\n';
}

void RunDoctor(const Options& options, const Output& output) {
  if (options.fix && output.json)
    throw Misuse("--fix asks before it changes anything, so it goes without --json");
  const LinuxHost host;
  const std::vector<Finding> findings = Examine(LookAround(options, output, host));
  PrintFindings(output, findings);
  std::size_t problems = 0;
  for (const auto& [pCheck, outcome] : findings) {
    problems += outcome.level == Level::Problem ? 1 : 0;
    if (!options.fix || StopRequested()) continue;
    for (const std::string& command : outcome.commands) Offer(output, Typed(command));
  }
  if (options.fix) output.out << "run `orvex doctor` again to see what has come of it\n";
  if (problems > 0 && !options.fix)
    throw Failure(fmt::format("{} found; see the lines that begin with problem",
                              problems == 1 ? "1 problem" : fmt::format("{} problems", problems)));
}

}  // namespace

void AddDoctorCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "doctor", "Look for what makes cameras vanish and frames incomplete, and tell what mends it");
  AddJsonFlag(*pCommand, output);
  AddDeviceArgument(*pCommand, pOptions->search);
  pCommand->add_option("--seconds", pOptions->seconds, "How long to stream for the test")
      ->check(CLI::Range(0.5, 3600.0))
      ->capture_default_str();
  pCommand->add_flag("--fix", pOptions->fix,
                     "Offer each mending command and run it after a yes; nothing is changed "
                     "otherwise");
  pCommand->callback([pOptions, &output] { RunDoctor(*pOptions, output); });
}

}  // namespace OrvexTools
