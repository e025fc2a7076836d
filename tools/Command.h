#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the commands share on the command line. Each command is one file under commands/ with one
// function, which adds a subcommand whose callback does the work; Program.cpp lists them.

#include <CLI/CLI.hpp>
#include <string>

#include "tools/Report.h"
#include "tools/Session.h"

namespace OrvexTools {

void AddListCommand(CLI::App& program, Output& output);
void AddInfoCommand(CLI::App& program, Output& output);
void AddFeaturesCommand(CLI::App& program, Output& output);
void AddGetCommand(CLI::App& program, Output& output);
void AddSetCommand(CLI::App& program, Output& output);
void AddExecuteCommand(CLI::App& program, Output& output);
void AddGrabCommand(CLI::App& program, Output& output);
void AddStreamCommand(CLI::App& program, Output& output);
void AddSaveCommand(CLI::App& program, Output& output);
void AddLoadCommand(CLI::App& program, Output& output);
void AddConvertCommand(CLI::App& program, Output& output);
void AddLutCommand(CLI::App& program, Output& output);
void AddSelectBitsCommand(CLI::App& program, Output& output);
void AddDeinterleaveCommand(CLI::App& program, Output& output);
void AddDecompressCommand(CLI::App& program, Output& output);
void AddActionCommand(CLI::App& program, Output& output);
void AddForceIpCommand(CLI::App& program, Output& output);
void AddChunksCommand(CLI::App& program, Output& output);
void AddEventsCommand(CLI::App& program, Output& output);
void AddUnicastCommand(CLI::App& program, Output& output);
void AddLogCommand(CLI::App& program, Output& output);
void AddSendCommand(CLI::App& program, Output& output);
void AddReceiveCommand(CLI::App& program, Output& output);
void AddDoctorCommand(CLI::App& program, Output& output);
void AddBenchCommand(CLI::App& program, Output& output);
void AddRecordCommand(CLI::App& program, Output& output);
void AddReplayCommand(CLI::App& program, Output& output);
void AddSimCommand(CLI::App& program, Output& output);

inline constexpr const char* sk_deviceHelp =
    "Serial number, user-defined name, IP or MAC address of the camera, or a part of one that fits "
    "no other; may be left "
    "out when there is one camera";

// Options of every command that looks for a camera.
struct Search {
  std::string device;
  unsigned waitMs = static_cast<unsigned>(sk_discoveryTime.count());
  std::vector<std::string> unicast;

  Milliseconds Wait() const { return Milliseconds(waitMs); }
};

// `--json`
void AddJsonFlag(CLI::App& command, Output& output);

// `--wait MS` and `--unicast IP`
void AddSearchOptions(CLI::App& command, Search& search);

// `DEVICE` and the search options
void AddDeviceArgument(CLI::App& command, Search& search);

// The module whose features a command works on: `--module camera|device|stream|interface|system`,
// and DEVICE.
struct FeaturePlace {
  Search search;
  std::string module = "camera";

  bool IsCamera() const { return module == "camera"; }
};
void AddModuleOption(CLI::App& command, FeaturePlace& place);

// The node map of that module, never null; throws Failure when the producer has none.
GenApi::INodeMap& NodesOf(Library& library, Camera& camera, const FoundCamera& found,
                          const std::string& module);

// Stands before a word that would otherwise pass for an option; no person types it.
inline constexpr char sk_shield = '\x1f';

// Splits "[DEVICE] NAMES..." into place.search.device and exactly `count` names. Throws Misuse when
// the number of words is neither `count` nor one more.
std::vector<std::string> SplitWords(const std::vector<std::string>& words, std::size_t count,
                                    const char* pUsage, FeaturePlace& place);

}  // namespace OrvexTools
