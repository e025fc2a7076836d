// SPDX-License-Identifier: Apache-2.0
// Streams from a virtual camera to the whole library, each in a process of its own: rates against
// bare sockets on loopback, what they cost, how late frames are, and what a bad network does to
// them. ORVEX_BENCH_FRAMES (5000) sets the frames of each bad network, ORVEX_BENCH_SOAK (600) the
// seconds of the last run, ORVEX_BENCH_CASE one bad network by name instead of all.
#include <cstdlib>
#include <string>

#include "bench/BareSockets.h"
#include "bench/Rows.h"
#include "tests/network/Cases.h"

namespace {

using namespace NetworkLab;
using Bench::BareOutcome;
using Bench::Rows;

constexpr uint32_t sk_width = 2560, sk_height = 2048;  // 5.2 MB
constexpr double sk_frameBytes = double{sk_width} * sk_height;
constexpr const char* sk_camera = "127.7.0.2";
constexpr OrvexGev::Endpoint sk_bareTo{0x7F070001, 47001}, sk_bareFrom{0x7F070003, 0};
constexpr double sk_measured = 2;  // seconds of each rate

double Setting(const char* name, double usual) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::atof(text) : usual;
}

Outcome StreamAt(double bytesPerSecond, Plan plan) {
  const double rate = bytesPerSecond / sk_frameBytes;
  OrvexSim::CameraOptions options = PatternCamera(sk_camera, sk_width, sk_height, rate);
  options.framesKept = 2;
  const Child camera = StartCameras(-1, {options});
  plan.buffers = 8;
  plan.address = sk_camera;
  plan.frames = static_cast<unsigned>(rate * sk_measured) + 1;
  plan.warmUp = 20;
  return ReceiveAway(-1, plan);
}

bool Whole(const Outcome& outcome) {
  return !outcome.failed && outcome.incomplete == 0 && outcome.timeouts == 0 &&
         outcome.missedFrames == 0 && outcome.lostFrames == 0 && outcome.frames != 0;
}
double Rate(const Outcome& outcome) {
  return static_cast<double>(outcome.bytes) / outcome.seconds;
}
double Ratio(double limit, double value) {
  return value > 0 ? limit / value : 1e6;
}

double Ceiling(size_t packetSize) {
  const size_t bytes = packetSize - 28;
  const BareOutcome outcome = [&] {
    Child receiver(-1, [](Child::Link& link) {
      const BareOutcome taken = Bench::TakeTrains(sk_bareTo, sk_measured);
      link.tell(&taken, sizeof taken);
    });
    Child sender(-1,
                 [bytes](Child::Link&) { Bench::SendBare(sk_bareFrom, sk_bareTo, bytes, 0, 0); });
    BareOutcome heard;
    receiver.Hear(&heard, sizeof heard);
    sender.Kill();
    return heard;
  }();
  return static_cast<double>(outcome.bytes) / outcome.seconds *
         (static_cast<double>(bytes - 8) / static_cast<double>(bytes));
}

// The highest rate at which not a frame is lost, from above.
double HighestRate(double top, const std::function<Outcome(double)>& stream) {
  for (double rate = top; rate > top / 20; rate *= 0.9) {
    const Outcome outcome = stream(rate);
    if (Whole(outcome)) return Rate(outcome);
  }
  return 0;
}

void Rates(Rows& rows) {
  for (const int packetSize : {1500, 9000}) {
    const double ceiling = Ceiling(static_cast<size_t>(packetSize));
    const std::string size = std::to_string(packetSize) + "-byte packets";
    rows.Add("loopback, bare sockets, " + size, ceiling / 1e9, "GB/s");
    Plan plan;
    plan.packetSize = packetSize;
    const double rate =
        HighestRate(ceiling, [&plan](double wanted) { return StreamAt(wanted, plan); });
    rows.Add("loopback, no frame lost, " + size, rate / 1e9, "GB/s", "bare sockets", rate / ceiling,
             0.5);
    rows.Add("the same", rate / 1e9, "GB/s", "1.5 GB/s", rate / 1.5e9, 1);
  }
}

void LineRate(Rows& rows) {
  Plan plan;
  plan.packetSize = 9000;
  const Outcome outcome = StreamAt(1.2e9, plan);
  const double rate = Rate(outcome);
  rows.Add("asked for 1.2 GB/s, no frame lost", rate / 1e9, "GB/s", "1.2 GB/s",
           Whole(outcome) ? rate / 1.19e9 : 0.01, 1);
  // Per byte, so that a machine that cannot send as fast tells the same.
  const double cores = outcome.cpuSeconds / static_cast<double>(outcome.bytes) * 1.2e9;
  rows.Add("receiving process at 1.2 GB/s", cores, "cores", "0.5", Ratio(0.5, cores), 1);
}

// Once from a camera whose port has 10 gigabits, once in bursts as fast as loopback takes them.
void Latency(Rows& rows) {
  for (const bool port : {true, false}) {
    Plan plan;
    plan.packetSize = 9000;
    plan.latency = true;
    if (port)
      plan.features = {{"DeviceLinkThroughputLimit", "1200000000"},
                       {"DeviceLinkThroughputLimitMode", "On"}};
    const Outcome outcome = StreamAt(200 * sk_frameBytes, plan);
    if (outcome.latencies == 0) {
      rows.Add("latency was not measured", 0, outcome.failure);
      return;
    }
    const std::string how = port ? "10 Gbit/s" : "bursts";
    rows.Add("last packet to GetImage, 200 frames/s, " + how + ", median", outcome.latencyMedian,
             "us", "100 us", Ratio(100, outcome.latencyMedian), 1);
    rows.Add("the same, 99th percentile", outcome.latencyHigh, "us", "500 us",
             Ratio(500, outcome.latencyHigh), 1);
  }
}

void Many(Rows& rows) {
  std::vector<OrvexSim::CameraOptions> cameras;
  std::vector<Plan> plans;
  for (int i = 1; i <= 16; ++i) {
    Plan plan;
    plan.address = "127.7.1." + std::to_string(i);
    plan.frames = 60 * 5;
    plans.push_back(plan);
    cameras.push_back(PatternCamera(plan.address, 640, 480, 60));
  }
  const Child child = StartCameras(-1, cameras);
  const Outcome outcome = Away<Outcome>(-1, [&plans] { return ReceiveMany(plans); });
  const double lost = 16 * 300.0 - outcome.frames + outcome.incomplete +
                      double(outcome.missedFrames + outcome.lostFrames);
  rows.Add("frames lost by 16 cameras at 60/s", lost, "frames", "none", lost == 0 ? 1 : 0.01, 1);
}

void Registers(Rows& rows) {
  const Child camera = StartCameras(-1, {PatternCamera(sk_camera, 64, 64, 1)});
  const double seconds = ReadRegisters(sk_camera, 1000);
  rows.Add("1,000 register reads", seconds * 1e3, "ms", "100 ms", Ratio(0.1, seconds), 1);
}

// Processor time for each packet of 1,500 bytes over a cable.
void PacketCosts(Rows& rows) {
  const Cable cable;
  const double rate = 50;
  const unsigned packets = 1600;
  const auto bare = [&] {
    Child receiver(cable.Host(), [](Child::Link& link) {
      const BareOutcome taken = Bench::TakeAndCopy({0x0A4D0001, 47001}, sk_measured);
      link.tell(&taken, sizeof taken);
    });
    Child sender(cable.Camera(), [&](Child::Link&) {
      Bench::SendBare({0x0A4D0002, 0}, {0x0A4D0001, 47001}, 1472, packets, rate);
    });
    BareOutcome heard;
    receiver.Hear(&heard, sizeof heard);
    sender.Kill();
    return heard.cpuSeconds / static_cast<double>(heard.packets) * 1e6;
  }();
  rows.Add("veth, bare recvmmsg with a copy, per packet", bare, "us");
  OrvexSim::CameraOptions camera =
      PatternCamera(Cable::sk_camera, packets, 1464, rate);  // as many packets
  camera.settings.emplace_back("SimSegmentationOffload", "0");
  const Child child = StartCameras(cable.Camera(), {camera});
  for (const char* engine : {"Ring", "Sockets"}) {
    Plan plan;
    plan.packetSize = 1500;
    plan.engine = engine;
    plan.frames = static_cast<unsigned>(rate * sk_measured);
    const Outcome outcome = ReceiveAway(cable.Host(), plan);
    const double cost = outcome.cpuSeconds / (double(outcome.frames) * (packets + 2)) * 1e6;
    const bool ring = engine == std::string("Ring");
    rows.Add(std::string("veth, engine ") + engine + ", per packet", cost, "us",
             ring ? "0.4 us" : "bare recvmmsg", ring ? Ratio(0.4, cost) : Ratio(bare, cost),
             ring ? 1 : 1 / 1.2);
  }
}

// The rates that an independent receiver held.
void CableRates(Rows& rows) {
  const struct {
    const char* engine;
    int packetSize;
    double mark;
  } marks[] = {{"Ring", 9000, 1.68e9},
               {"Ring", 1500, 0.394e9},
               {"Sockets", 9000, 0.84e9},
               {"Sockets", 1500, 0.315e9}};
  for (const auto& mark : marks) {
    const double best = HighestRate(mark.mark * 1.3, [&mark](double wanted) {
      const Cable cable;
      const double rate = wanted / sk_frameBytes;
      OrvexSim::CameraOptions camera = PatternCamera(Cable::sk_camera, sk_width, sk_height, rate);
      const Child child = StartCameras(cable.Camera(), {camera});
      Plan plan;
      plan.packetSize = mark.packetSize;
      plan.engine = mark.engine;
      plan.frames = static_cast<unsigned>(rate * sk_measured) + 1;
      plan.warmUp = 10;
      return ReceiveAway(cable.Host(), plan);
    });
    rows.Add(std::string("veth, engine ") + mark.engine + ", " + std::to_string(mark.packetSize) +
                 "-byte packets",
             best / 1e9, "GB/s", "an independent receiver", best / mark.mark, 1);
  }
}

void BadNetworks(Rows& rows) {
  const auto frames = static_cast<unsigned>(Setting("ORVEX_BENCH_FRAMES", 5000));
  const char* one = std::getenv("ORVEX_BENCH_CASE");
  if (one == nullptr) {
    const Cable cable;
    cable.Shape("1gbit");
    const Outcome outcome = RunSlowLink(cable, 250, true);
    const bool good = Whole(outcome) && outcome.firstId == 1;
    rows.Add("1 Gbit/s, stock socket limits", Rate(outcome) / 1e6, "MB/s", "no frame lost",
             good ? 1 : 0.01, 1);
  }
  for (const FaultCase& row : FaultCases()) {
    if (one != nullptr && std::string(one) != row.name) continue;
    const bool disorder = row.needlessRequests != 0;
    const Outcome outcome = RunFaultCase(row, disorder ? 400 : frames);
    rows.Add(std::string("complete: ") + row.name,
             100.0 * (outcome.frames - outcome.incomplete - outcome.wrong) /
                 (outcome.frames + double(outcome.missedFrames)),
             "%", "every frame", Whole(outcome) && outcome.wrong == 0 ? 1 : 0.01, 1);
    if (disorder)
      rows.Add(std::string("needless requests: ") + row.name, double(outcome.requests), "",
               "10 in 400 frames", Ratio(10, double(outcome.requests)), 1);
  }
  if (one != nullptr) return;
  const Pull pull = PullCable(10);
  rows.Add("cable pulled for 10 s: noticed after", pull.secondsToNotice, "s", "1.2 s",
           pull.whole ? Ratio(1.2, pull.secondsToNotice) : 0.01, 1);
  rows.Add("cable pulled for 10 s: torn down within", pull.secondsToTearDown, "s", "2 s",
           pull.whole ? Ratio(2, pull.secondsToTearDown) : 0.01, 1);
}

void Soak(Rows& rows) {
  const double seconds = Setting("ORVEX_BENCH_SOAK", 600);
  const Child camera = StartCameras(-1, {PatternCamera(sk_camera, 640, 480, 200)});
  Plan plan;
  plan.address = sk_camera;
  plan.frames = 1u << 30;
  plan.seconds = seconds;
  plan.growth = true;
  const Outcome outcome = ReceiveAway(-1, plan);
  rows.Add("memory gained in the second half of " + std::to_string(int(seconds)) + " s",
           outcome.memoryGrowth / 1024, "KiB", "256 KiB", Ratio(256 * 1024, outcome.memoryGrowth),
           1);
}

}  // namespace

int main(int argc, char** argv) {
  Rows rows("stream", argc > 1 ? argv[1] : nullptr);
  const std::string reason = Cable::Unavailable();
  const struct {
    const char* name;
    void (*run)(Rows&);
    bool needsCable;
  } groups[] = {
      {"rates", Rates, false},     {"line", LineRate, false},       {"latency", Latency, false},
      {"many", Many, false},       {"registers", Registers, false}, {"packets", PacketCosts, true},
      {"cable", CableRates, true}, {"network", BadNetworks, true},  {"soak", Soak, false}};
  for (const auto& group : groups) {
    if (argc > 2 && std::string(argv[2]) != group.name) continue;
    if (group.needsCable && !reason.empty()) {
      std::printf("%s: left out, since %s\n", group.name, reason.c_str());
      continue;
    }
    group.run(rows);
  }
}
