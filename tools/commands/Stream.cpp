// SPDX-License-Identifier: Apache-2.0
// `orvex stream [DEVICE]`: streams without looking at the pixels and tells how well it goes.
#include <fmt/format.h>

#include <optional>
#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Nodes.h"
#include "tools/RateMeter.h"
#include "tools/RunOptions.h"
#include "tools/Stop.h"
#include "tools/StreamFacts.h"

namespace OrvexTools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds sk_lineTime{1};

struct Options {
  Search search;
  RunOptions run;
  std::size_t buffers = 0;
};

constexpr Field sk_fields[] = {
    {"camera", "Camera"},
    {"seconds", "Time", "s"},
    {"frames", "Frames"},
    {"frames_per_second", "Rate", "frames/s"},
    {"megabytes_per_second", "Data rate", "MB/s"},
    {"incomplete_frames", "Incomplete frames"},
    {"missing_frames", "Missing frames"},
    {"lost_frames", "Frames without a buffer"},
    {"resent_packets", "Resent packets"},
    {"lost_packets", "Lost packets"},
    {"socket_drops", "Dropped by the socket"},
    {"packet_size", "Packet size", "bytes"},
    {"socket_buffer", "Socket buffer", "bytes"},
    {"engine", "Receive engine"},
};

Record Summary(const Camera& camera, const RateMeter& meter) {
  const Rates total = meter.Total();
  Record record;
  record["camera"] = camera.Facts().serial;
  record["ip"] = camera.Facts().ip;
  record["seconds"] = total.seconds;
  record["frames"] = meter.Frames();
  record["bytes"] = meter.Bytes();
  record["frames_per_second"] = total.framesPerSecond;
  record["megabytes_per_second"] = total.megabytesPerSecond;
  record["incomplete_frames"] = meter.Incomplete();
  record["missing_frames"] = meter.Missing();
  return record;
}

// The line that a terminal shows in place and a file gets once a second.
void PrintLiveLine(Camera& camera, RateMeter& meter, const Output& output) {
  const Rates rates = meter.TakeInterval(Clock::now());
  Record counters;
  ReadStreamFacts(camera.Device().GetTLStreamNodeMap(), counters);
  std::string line = fmt::format("{:8.1f} frames/s {:8.1f} MB/s {:8} frames {:5} incomplete",
                                 rates.framesPerSecond, rates.megabytesPerSecond, meter.Frames(),
                                 meter.Incomplete());
  if (counters.contains("resent_packets"))
    line += fmt::format(" {:>6} resent", ValueText(counters["resent_packets"]));
  if (output.terminal) {
    output.out << '\r' << line << "\x1b[K" << std::flush;
  } else {
    output.out << line << std::endl;
  }
}

// A socket buffer smaller than the producer wanted loses packets whenever this computer is busy for
// a moment.
void PrintSocketAdvice(Camera& camera, const Output& output) {
  const std::string advice =
      TryRead(camera.Device().GetTLStreamNodeMap(), "StreamSocketBufferAdvice").value_or("");
  if (!advice.empty()) output.err << "orvex: note: " << advice << '\n';
}

void RunStream(const Options& options, const Output& output) {
  Library library(options.search.unicast);
  Camera camera(library, library.Find(options.search.device, options.search.Wait()),
                Access::Control);
  std::optional<Setting> format;
  if (!options.run.format.empty()) format.emplace(camera, "PixelFormat", options.run.format);
  const Setting mode(camera, "AcquisitionMode", "Continuous");

  RateMeter meter;
  Record counters;
  std::optional<Failure> lost;
  {
    Stream stream(camera, options.buffers);
    PrintSocketAdvice(camera, output);
    const auto begin = Clock::now();
    auto nextLine = begin + sk_lineTime;
    try {
      while (!StopRequested()) {
        const Frame frame = NextFrame(camera, stream, options.run.Patience());
        const auto now = Clock::now();
        if (frame)
          meter.AddFrame(now, frame->GetSizeFilled(), frame->GetFrameId(), frame->IsIncomplete());
        if (options.run.AreOver(now - begin, meter.Frames())) break;
        if (now < nextLine || output.json) continue;
        PrintLiveLine(camera, meter, output);
        nextLine = now + sk_lineTime;
      }
      ReadStreamFacts(camera.Device().GetTLStreamNodeMap(), counters);
    } catch (const Failure& failure) {
      lost = failure;
    }
    if (!lost) stream.Stop();
  }
  if (output.terminal && !output.json) output.out << "\r\x1b[K";
  if (lost) throw Failure(fmt::format("{} (after {} frames)", lost->what(), meter.Frames()));
  Record summary = Summary(camera, meter);
  summary.update(counters);
  PrintRecord(output, summary, sk_fields);
}

}  // namespace

void AddStreamCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("stream", "Stream and show rates and losses until Ctrl-C");
  AddJsonFlag(*pCommand, output);
  AddDeviceArgument(*pCommand, pOptions->search);
  pCommand
      ->add_option("--buffers", pOptions->buffers,
                   "Buffers to use; chosen from the camera's data rate if not given")
      ->check(CLI::Range(std::size_t{1}, std::size_t{100'000}));
  AddRunOptions(*pCommand, pOptions->run);
  pCommand->callback([pOptions, &output] { RunStream(*pOptions, output); });
}

}  // namespace OrvexTools
