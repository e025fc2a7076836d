// SPDX-License-Identifier: Apache-2.0
// `orvex record [DEVICE] -o FILE`: frames to disk as they come.
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Images.h"
#include "tools/Nodes.h"
#include "tools/RateMeter.h"
#include "tools/RunOptions.h"
#include "tools/Stop.h"
#include "tools/StreamFacts.h"
#include "tools/recording/RecordingWriter.h"

namespace OrvexTools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds sk_lineTime{1};
constexpr std::size_t sk_megabyte = std::size_t{1} << 20;

struct Options {
  Search search;
  std::string file;
  RunOptions run;
  std::size_t ringMegabytes = 256;
};

constexpr Field sk_fields[] = {
    {"file", "File"},
    {"camera", "Camera"},
    {"frames", "Frames recorded"},
    {"seconds", "Time", "s"},
    {"frames_per_second", "Rate", "frames/s"},
    {"megabytes_per_second", "Data rate", "MB/s"},
    {"bytes", "File size", "bytes"},
    {"dropped_frames", "Dropped, disk too slow"},
    {"lost_frames", "Dropped, no buffer"},
    {"missing_frames", "Missing frames"},
    {"incomplete_frames", "Incomplete frames"},
    {"ring_used", "Ring used at most", "%"},
};

// Settings that are of use to whoever looks at the frames later.
constexpr const char* sk_recordedFeatures[] = {
    "DeviceFirmwareVersion", "Width",          "Height", "OffsetX",      "OffsetY",
    "PixelFormat",           "Gain",           "Gamma",  "ExposureTime", "AcquisitionFrameRate",
    "BinningHorizontal",     "BinningVertical"};

std::string DescribeForFile(Camera& camera) {
  const CameraFacts& facts = camera.Facts();
  Record record{{"vendor", facts.vendor},      {"model", facts.model}, {"serial", facts.serial},
                {"user_name", facts.userName}, {"ip", facts.ip},       {"mac", facts.mac}};
  Record features = Record::object();
  for (const char* pName : sk_recordedFeatures) {
    if (const auto value = TryRead(&camera.Nodes(), pName)) features[pName] = *value;
  }
  record["features"] = std::move(features);
  return record.dump(2, ' ', false, Record::error_handler_t::replace);
}

FrameFacts FactsOf(Orvex::IBuffer& frame) {
  FrameFacts facts;
  facts.incomplete = frame.IsIncomplete();
  facts.frameId = frame.GetFrameId();
  facts.payloadType = frame.GetPayloadType();
  facts.imageBytes = frame.GetSizeFilled();
  Orvex::IImage* pImage = frame.AsImage();
  if (pImage == nullptr) return facts;
  facts.timestampNs = pImage->GetTimestampNs();
  facts.pixelFormat = pImage->GetPixelFormat();
  facts.width = static_cast<std::uint32_t>(pImage->GetWidth());
  facts.height = static_cast<std::uint32_t>(pImage->GetHeight());
  facts.offsetX = static_cast<std::uint32_t>(pImage->GetOffsetX());
  facts.offsetY = static_cast<std::uint32_t>(pImage->GetOffsetY());
  facts.paddingX = static_cast<std::uint32_t>(pImage->GetPaddingX());
  facts.paddingY = static_cast<std::uint32_t>(pImage->GetPaddingY());
  const std::uint64_t line =
      (std::uint64_t{facts.width} * pImage->GetBitsPerPixel() + 7) / 8 + facts.paddingX;
  facts.imageBytes = std::min(facts.imageBytes, line * facts.height + facts.paddingY);
  return facts;
}

class Recorder {
 public:
  Recorder(const Options& options, const Output& output, Camera& camera)
      : m_options(options),
        m_output(output),
        m_camera(camera),
        m_writer(NewRecordingFile(options.file), options.file, DescribeForFile(camera),
                 options.ringMegabytes * sk_megabyte) {}

  void Run() {
    try {
      Stream stream(m_camera);
      Loop(stream);
      ReadStreamFacts(m_camera.Device().GetTLStreamNodeMap(), m_counters);
      stream.Stop();
    } catch (const Failure& failure) {
      Finish();
      if (m_writer.Frames() == 0) throw;
      throw Failure(fmt::format("{} (what came before is recorded)", failure.what()));
    } catch (...) {
      Finish();
      throw;
    }
    Finish();
  }

 private:
  void Loop(Stream& stream) {
    const auto begin = Clock::now();
    auto nextLine = begin + sk_lineTime;
    while (!StopRequested() && !m_writer.HasFailed()) {
      const Frame frame = NextFrame(m_camera, stream, m_options.run.Patience());
      const auto now = Clock::now();
      if (frame) {
        m_meter.AddFrame(now, frame->GetSizeFilled(), frame->GetFrameId(), frame->IsIncomplete());
        m_writer.Add(FactsOf(*frame), {frame->GetData(), frame->GetSizeFilled()});
      }
      if (m_options.run.AreOver(now - begin, m_writer.Frames())) break;
      if (now < nextLine || m_output.json || !m_output.terminal) continue;
      PrintLine(now);
      nextLine = now + sk_lineTime;
    }
  }

  // A file without a frame would only be in the way of the next attempt.
  void Finish() {
    if (m_output.terminal && !m_output.json) m_output.out << "\r\x1b[K";
    m_writer.Close();
    if (m_writer.Frames() > 0) return Report();
    std::error_code ignored;
    if (std::filesystem::is_regular_file(std::filesystem::symlink_status(m_options.file)))
      std::filesystem::remove(m_options.file, ignored);
  }

  void PrintLine(TimePoint now) {
    const Rates rates = m_meter.TakeInterval(now);
    m_output.out << fmt::format("\r{:8.1f} frames/s {:8.1f} MB/s {:8} frames {:5} dropped\x1b[K",
                                rates.framesPerSecond, rates.megabytesPerSecond, m_writer.Frames(),
                                m_writer.Dropped())
                 << std::flush;
  }

  void Report() {
    const Rates total = m_meter.Total();
    Record record{
        {"file", m_options.file},
        {"camera", m_camera.Facts().serial},
        {"frames", m_writer.Frames()},
        {"seconds", total.seconds},
        {"frames_per_second", total.framesPerSecond},
        {"megabytes_per_second", total.megabytesPerSecond},
        {"bytes", m_writer.Bytes()},
        {"dropped_frames", m_writer.Dropped()},
        {"missing_frames", m_meter.Missing()},
        {"incomplete_frames", m_meter.Incomplete()},
        {"ring_used", m_writer.HighestFill() * 100 /
                          std::max<std::size_t>(m_options.ringMegabytes * sk_megabyte, 1)}};
    record.update(m_counters);
    PrintRecord(m_output, record, sk_fields);
    if (m_writer.Dropped() > 0) {
      m_output.err << fmt::format(
          "orvex: {} frames were dropped because the disk was too slow; record fewer bytes a "
          "second, "
          "use a faster disk, or bridge short pauses with a larger --ring\n",
          m_writer.Dropped());
    }
  }

  const Options& m_options;
  const Output& m_output;
  Camera& m_camera;
  RecordingWriter m_writer;
  RateMeter m_meter;
  Record m_counters;
};

void RunRecord(const Options& options, const Output& output) {
  Library library(options.search.unicast);
  Camera camera(library, library.Find(options.search.device, options.search.Wait()),
                Access::Control);
  std::optional<Setting> format;
  if (!options.run.format.empty()) format.emplace(camera, "PixelFormat", options.run.format);
  const Setting mode(camera, "AcquisitionMode", "Continuous");
  Recorder(options, output, camera).Run();
}

}  // namespace

void AddRecordCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "record", "Record frames to a file as they come, until Ctrl-C or for a while");
  AddJsonFlag(*pCommand, output);
  AddDeviceArgument(*pCommand, pOptions->search);
  pCommand
      ->add_option("-o,--output", pOptions->file,
                   "The recording, a new file; `orvex replay` and `orvex sim --replay` read it")
      ->required();
  pCommand
      ->add_option("--ring", pOptions->ringMegabytes,
                   "Megabytes of memory that bridge pauses of the disk; frames that find it full "
                   "are dropped and counted")
      ->check(CLI::Range(std::size_t{4}, std::size_t{1} << 20))
      ->capture_default_str();
  AddRunOptions(*pCommand, pOptions->run);
  pCommand->callback([pOptions, &output] { RunRecord(*pOptions, output); });
}

}  // namespace OrvexTools
