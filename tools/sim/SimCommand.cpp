// SPDX-License-Identifier: Apache-2.0
// `orvex sim`: virtual cameras until Ctrl-C. The one place of the program that uses more than an
// installed SDK offers.
#include "simulator/VirtualCamera.h"

#include <fmt/format.h>

#include <cctype>
#include <cerrno>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <system_error>

#include "tools/Addresses.h"
#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Stop.h"
#include "tools/sim/ReplaySource.h"

namespace OrvexTools {
namespace {

constexpr unsigned sk_maxCameras = 64;
constexpr std::size_t sk_longestLine = 4096;

struct Options {
  unsigned count = 1;
  std::vector<std::string> settings;
  std::string recording;
  OrvexSim::CameraOptions camera;
};

constexpr Field sk_columns[] = {
    {"serial", "SERIAL"}, {"model", "MODEL"}, {"ip", "IP"}, {"user_name", "NAME"}};

std::string AddressAfter(const std::string& first, unsigned index) {
  const std::uint32_t ip = ParseIp(first) + index;
  return fmt::format("{}.{}.{}.{}", ip >> 24, (ip >> 16) & 255, (ip >> 8) & 255, ip & 255);
}

// The options of camera `index`: the next address, and a serial number and name of its own where
// they were given.
OrvexSim::CameraOptions OptionsOf(const Options& options, unsigned index) {
  OrvexSim::CameraOptions camera = options.camera;
  camera.address = AddressAfter(camera.address, index);
  if (!options.recording.empty()) camera.source = std::make_shared<ReplaySource>(options.recording);
  if (index == 0) return camera;
  if (!camera.serial.empty()) camera.serial += fmt::format("-{}", index + 1);
  if (!camera.stateFile.empty()) camera.stateFile += fmt::format("-{}", index + 1);
  if (!camera.userName.empty()) camera.userName += fmt::format("-{}", index + 1);
  return camera;
}

std::unique_ptr<OrvexSim::VirtualCamera> Started(const OrvexSim::CameraOptions& options) {
  try {
    auto pCamera = std::make_unique<OrvexSim::VirtualCamera>(options);
    pCamera->Start();
    return pCamera;
  } catch (const std::invalid_argument& error) {
    throw Misuse(error.what());
  } catch (const std::system_error& error) {
    const bool taken = error.code().value() == EADDRINUSE;
    throw Failure(fmt::format(
        "no virtual camera at {}: {}; {}", options.address, error.code().message(),
        taken ? "another camera has that address: choose one with --address"
              : "choose an address of this computer with --address, such as 127.0.0.2"));
  }
}

// One line of standard input: FEATURE=VALUE or a command's name, for all cameras or, with "IP: " or
// "SERIAL: " in front, for one.
void Obey(std::string line, std::span<const std::unique_ptr<OrvexSim::VirtualCamera>> cameras,
          const Output& output) {
  while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
  std::string which;
  if (const std::size_t colon = line.find(": "); colon != std::string::npos) {
    which = line.substr(0, colon);
    line.erase(0, colon + 2);
  }
  if (line.empty()) return;
  const std::size_t equals = line.find('=');
  bool meant = false;
  for (const auto& pCamera : cameras) {
    if (!which.empty() && which != pCamera->Address() && which != pCamera->Serial()) continue;
    meant = true;
    try {
      pCamera->Set(line.substr(0, equals),
                   equals == std::string::npos ? "" : line.substr(equals + 1));
    } catch (const std::invalid_argument& error) {
      output.err << pCamera->Serial() << ": " << error.what() << '\n';
    }
  }
  if (!meant) output.err << "no camera '" << which << "' here\n";
}

// Until Ctrl-C; standard input may end before that.
void ObeyUntilStop(std::span<const std::unique_ptr<OrvexSim::VirtualCamera>> cameras,
                   const Output& output) {
  std::string pending;
  char bytes[512];
  while (const std::size_t got = ReadInputUntilStop(bytes)) {
    pending.append(bytes, got);
    for (std::size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
      Obey(pending.substr(0, end), cameras, output);
      pending.erase(0, end + 1);
    }
    if (pending.size() > sk_longestLine) pending.clear();
  }
  WaitForStop();
}

void RunSim(Options& options, const Output& output) {
  for (const std::string& setting : options.settings) {
    const std::size_t equals = setting.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw Misuse(fmt::format("'{}' is no setting, such as Width=640", setting));
    }
    options.camera.settings.emplace_back(setting.substr(0, equals), setting.substr(equals + 1));
  }
  std::vector<std::unique_ptr<OrvexSim::VirtualCamera>> cameras;
  Record rows = Record::array();
  for (unsigned index = 0; index < options.count; ++index) {
    const OrvexSim::CameraOptions camera = OptionsOf(options, index);
    cameras.push_back(Started(camera));
    rows.push_back({{"serial", cameras.back()->Serial()},
                    {"model", cameras.back()->ModelName()},
                    {"ip", cameras.back()->Address()},
                    {"user_name", camera.userName}});
  }
  PrintTable(output, rows, sk_columns, "");
  if (!output.json) output.out << "ready; Ctrl-C ends\n";
  output.out.flush();
  ObeyUntilStop(cameras, output);
}

}  // namespace

void AddSimCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  OrvexSim::CameraOptions& camera = pOptions->camera;
  CLI::App* pCommand =
      program.add_subcommand("sim", "Start virtual cameras, which are found like real ones");
  AddJsonFlag(*pCommand, output);
  pCommand->add_option("--cameras", pOptions->count, "How many")
      ->check(CLI::Range(1U, sk_maxCameras))
      ->capture_default_str();
  pCommand->add_option("--model", camera.model, "What kind of camera")
      ->check(CLI::IsMember(OrvexSim::VirtualCamera::Models()))
      ->capture_default_str();
  pCommand
      ->add_option("--address", camera.address,
                   "IPv4 address of the first camera; the others follow")
      ->capture_default_str();
  pCommand->add_option("--serial", camera.serial,
                       "Serial number; the second camera gets -2 appended, and so on");
  pCommand->add_option("--name", camera.userName, "User-defined name, likewise");
  pCommand->add_option("--format", camera.pixelFormat, "Pixel format to start with");
  pCommand->add_option("--width", camera.width, "Width to start with")->check(CLI::PositiveNumber);
  pCommand->add_option("--height", camera.height, "Height to start with")
      ->check(CLI::PositiveNumber);
  pCommand->add_option("--frame-rate", camera.frameRate, "Frames a second to start with")
      ->check(CLI::Range(0.01, 100'000.0))
      ->capture_default_str();
  pCommand
      ->add_option("--throughput", camera.throughputLimit,
                   "Bytes a second that each camera sends at most")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  pCommand
      ->add_option("--max-packet-size", camera.maxPacketSize,
                   "Largest packet that a camera can send, in bytes")
      ->capture_default_str();
  pCommand
      ->add_option("--path-limit", camera.pathLimit,
                   "Packets larger than this vanish on the way; 0: none do")
      ->capture_default_str();
  pCommand->add_option("--replay", pOptions->recording,
                       "Send the frames of this recording of `orvex record`, again and again");
  pCommand->add_option("--pictures", camera.pictures,
                       "A folder of PNG or TIFF pictures to look at, one a frame, for the models "
                       "area and qoi");
  pCommand->add_option("--state", camera.stateFile,
                       "A file that keeps user sets, the name and the persistent address; of the "
                       "first camera, the others append -2, -3 to its name");
  pCommand->add_option(
      "--description", camera.descriptionFile,
      "Serve this description (.xml or .zip) of another camera; its registers are plain memory");
  pCommand->add_option("--set", pOptions->settings,
                       "FEATURE=VALUE to start with, also faults such as SimDropRate=1; may be "
                       "given several times");
  pCommand->callback([pOptions, &output] { RunSim(*pOptions, output); });
}

}  // namespace OrvexTools
