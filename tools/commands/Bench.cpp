// SPDX-License-Identifier: Apache-2.0
// `orvex bench [DEVICE]`: what this host and this camera can do together.
#include <fmt/format.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Images.h"
#include "tools/Nodes.h"
#include "tools/RateMeter.h"
#include "tools/Stop.h"
#include "tools/StreamFacts.h"

namespace OrvexTools {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::int64_t sk_packetSizes[] = {1500, 4000, 9000};
constexpr Milliseconds sk_patience{3000};
constexpr Milliseconds sk_triggerPatience{1000};
constexpr std::size_t sk_mostTriggers = 1000;

// Shares of the time. The rest goes into opening and starting.
constexpr double sk_registerShare = 0.08;
constexpr double sk_streamShare = 0.2;  // of each packet size
constexpr double sk_triggerShare = 0.1;
constexpr double sk_conversionShare = 0.1;

struct Options {
  Search search;
  double seconds = 60;
};

constexpr Field sk_columns[] = {
    {"figure", "FIGURE"}, {"value", "VALUE"}, {"unit", "UNIT"}, {"note", "NOTE"}};

double CpuSeconds() {
  rusage usage = {};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Times of many repetitions, in microseconds.
class Times {
 public:
  void Add(Clock::duration time) {
    m_values.push_back(std::chrono::duration<double, std::micro>(time).count());
  }
  std::size_t Count() const { return m_values.size(); }
  // `share` of them are not longer.
  double Share(double share) {
    const auto at = static_cast<std::ptrdiff_t>(share * static_cast<double>(m_values.size() - 1));
    std::nth_element(m_values.begin(), m_values.begin() + at, m_values.end());
    return m_values[static_cast<std::size_t>(at)];
  }

 private:
  std::vector<double> m_values;
};

class Bench {
 public:
  Bench(const Options& options, const Output& output, Camera& camera)
      : m_options(options), m_output(output), m_camera(camera) {}

  void Run() {
    Progress("registers");
    Registers();
    {
      std::optional<Setting> rate;
      SetFullRate(rate);
      for (const std::int64_t size : sk_packetSizes) Streaming(size);
    }
    Progress("triggers");
    Triggers();
    Progress("conversion");
    Conversion();
    if (m_output.terminal && !m_output.json) m_output.out << "\r\x1b[K";
    PrintTable(m_output, m_rows, sk_columns, "");
    if (StopRequested()) throw Failure("interrupted; the figures so far are above");
  }

 private:
  void Progress(const std::string& what) {
    if (m_output.terminal && !m_output.json)
      m_output.out << "\rmeasuring " << what << "\x1b[K" << std::flush;
  }

  void Row(const std::string& figure, double value, const char* pUnit, std::string note = "") {
    m_rows.push_back({{"figure", figure}, {"value", value}, {"unit", pUnit}, {"note", note}});
  }

  // The camera's own rate is what an application uses; here it shall send what it can.
  void SetFullRate(std::optional<Setting>& setting) {
    GenApi::INode* pNode = m_camera.Nodes().GetNode("AcquisitionFrameRate");
    auto* pRate = dynamic_cast<GenApi::IFloat*>(pNode);
    if (pRate == nullptr || !GenApi::IsWritable(pRate)) return;
    setting.emplace(m_camera, "AcquisitionFrameRate", fmt::format("{}", pRate->GetMax()));
  }

  void Registers() {
    auto* pValue = dynamic_cast<GenApi::IInteger*>(m_camera.Nodes().GetNode("PayloadSize"));
    if (pValue == nullptr || !GenApi::IsReadable(pValue)) return;
    Times times;
    const auto end = Clock::now() + Seconds(m_options.seconds * sk_registerShare);
    while (!StopRequested() && Clock::now() < end) {
      const auto begin = Clock::now();
      pValue->GetValue(false, true);
      times.Add(Clock::now() - begin);
    }
    if (times.Count() == 0) return;
    Row("feature read from the camera", times.Share(0.5), "us",
        fmt::format("99 % within {:.0f} us", times.Share(0.99)));
  }

  // A size that camera or host do not take is left out.
  void Streaming(std::int64_t packetSize) {
    if (StopRequested()) return;
    const std::string name = fmt::format("packets of {} bytes", packetSize);
    Progress(name);
    try {
      const Setting size(m_camera, "GevSCPSPacketSize", std::to_string(packetSize));
      StreamFor(name, m_options.seconds * sk_streamShare);
    } catch (const Failure& failure) {
      if (!m_camera.Answers()) throw;
      Row(name, 0, "", failure.what());
    } catch (const GenICam::GenericException& error) {
      if (!m_camera.Answers()) throw;
      Row(name, 0, "", PlainLine(std::string_view(error.GetDescription())));
    }
  }

  void StreamFor(const std::string& name, double seconds) {
    RateMeter meter;
    Times gaps;
    Record facts;
    const Setting mode(m_camera, "AcquisitionMode", "Continuous");
    double cpu = 0;
    double time = 0;
    {
      Stream stream(m_camera);
      const double cpuBefore = CpuSeconds();
      const auto begin = Clock::now();
      auto last = begin;
      while (!StopRequested() && Clock::now() - begin < Seconds(seconds)) {
        const Frame frame = NextFrame(m_camera, stream, sk_patience);
        if (!frame) break;
        const auto now = Clock::now();
        if (meter.Frames() > 0) gaps.Add(now - last);
        last = now;
        meter.AddFrame(now, frame->GetSizeFilled(), frame->GetFrameId(), frame->IsIncomplete());
      }
      cpu = CpuSeconds() - cpuBefore;
      time = std::chrono::duration<double>(Clock::now() - begin).count();
      ReadStreamFacts(m_camera.Device().GetTLStreamNodeMap(), facts);
      stream.Stop();
    }
    const Rates rates = meter.Total();
    Row(name + ": rate", rates.framesPerSecond, "frames/s",
        fmt::format("{:.1f} MB/s, engine {}", rates.megabytesPerSecond,
                    facts.contains("engine") ? ValueText(facts["engine"]) : "unknown"));
    Row(name + ": losses",
        static_cast<double>(meter.Incomplete() + meter.Missing()) +
            static_cast<double>(FactOf(facts, "lost_frames")),
        "frames",
        fmt::format("of {}; {} packets lost, {} resent, {} dropped by the socket", meter.Frames(),
                    FactOf(facts, "lost_packets"), FactOf(facts, "resent_packets"),
                    FactOf(facts, "socket_drops")));
    const double gigabytes = static_cast<double>(meter.Bytes()) / 1e9;
    Row(name + ": processor", 100 * cpu / std::max(time, 1e-9), "%",
        gigabytes > 0 ? fmt::format("{:.2f} s for each GB", cpu / gigabytes) : "");
    if (gaps.Count() > 0) {
      Row(name + ": time between frames", gaps.Share(0.5), "us",
          fmt::format("99 % within {:.0f} us, longest {:.0f} us", gaps.Share(0.99), gaps.Share(1)));
    }
  }

  // From the command to the frame in hand: exposure, transfer, and all that software adds.
  void Triggers() {
    if (StopRequested() || m_camera.Nodes().GetNode("TriggerSoftware") == nullptr) return;
    try {
      const Setting selector(m_camera, "TriggerSelector", "FrameStart");
      const Setting source(m_camera, "TriggerSource", "Software");
      const Setting trigger(m_camera, "TriggerMode", "On");
      Times times;
      Stream stream(m_camera);
      const auto end = Clock::now() + Seconds(m_options.seconds * sk_triggerShare);
      while (!StopRequested() && times.Count() < sk_mostTriggers && Clock::now() < end) {
        const auto begin = Clock::now();
        ExecuteFeature(m_camera.Nodes(), "TriggerSoftware");
        const Frame frame = stream.Next(sk_triggerPatience);
        if (!frame) break;
        times.Add(Clock::now() - begin);
      }
      stream.Stop();
      if (times.Count() == 0) return;
      const std::string exposure = TryRead(&m_camera.Nodes(), "ExposureTime").value_or("");
      Row("software trigger to frame", times.Share(0.5), "us",
          fmt::format("99 % within {:.0f} us{}", times.Share(0.99),
                      exposure.empty() ? "" : "; exposure of " + exposure + " us included"));
    } catch (const std::exception& error) {
      Row("software trigger to frame", 0, "", PlainLine(std::current_exception()));
    }
  }

  void Conversion() {
    if (StopRequested()) return;
    Stream stream(m_camera);
    const Frame frame = NextFrame(m_camera, stream, sk_patience);
    Orvex::IImage* pImage = frame ? frame->AsImage() : nullptr;
    if (pImage == nullptr) return;
    const std::string from = FormatName(pImage->GetPixelFormat());
    for (const std::uint64_t format : {Orvex::Mono8, Orvex::RGB8}) {
      if (pImage->GetPixelFormat() == format) continue;
      const std::string name = fmt::format("conversion {} to {}", from, FormatName(format));
      try {
        std::size_t count = 0;
        const auto begin = Clock::now();
        const auto end = begin + Seconds(m_options.seconds * sk_conversionShare / 2);
        while (!StopRequested() && (count == 0 || Clock::now() < end)) {
          const OwnedImage converted(Orvex::ImageFactory::Convert(pImage, format));
          ++count;
        }
        const double each = std::chrono::duration<double>(Clock::now() - begin).count() /
                            static_cast<double>(count);
        Row(name, 1 / each, "frames/s",
            fmt::format(
                "{:.0f} megapixels/s",
                static_cast<double>(pImage->GetWidth() * pImage->GetHeight()) / each / 1e6));
      } catch (const GenICam::GenericException&) {
        continue;  // no conversion leads there
      }
    }
  }

  const Options& m_options;
  const Output& m_output;
  Camera& m_camera;
  Record m_rows = Record::array();
};

void RunBench(const Options& options, const Output& output) {
  Library library(options.search.unicast);
  Camera camera(library, library.Find(options.search.device, options.search.Wait()),
                Access::Control);
  Bench(options, output, camera).Run();
}

}  // namespace

void AddBenchCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("bench", "Measure what this host and a camera can do together");
  AddJsonFlag(*pCommand, output);
  AddDeviceArgument(*pCommand, pOptions->search);
  pCommand->add_option("--seconds", pOptions->seconds, "How long to measure in all")
      ->check(CLI::Range(1.0, 3600.0))
      ->capture_default_str();
  pCommand->callback([pOptions, &output] { RunBench(*pOptions, output); });
}

}  // namespace OrvexTools
