// SPDX-License-Identifier: Apache-2.0
// `orvex events [DEVICE]`: what a camera tells while it works.
#include <fmt/format.h>

#include <chrono>
#include <optional>
#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/FeatureText.h"
#include "tools/Nodes.h"
#include "tools/Stop.h"
#include "tools/Switches.h"

namespace OrvexTools {
namespace {

using Clock = std::chrono::steady_clock;

// How often a wait for an event looks up to see whether to stop, and whether the camera is still
// there.
constexpr Milliseconds sk_waitStep{100};
constexpr std::chrono::seconds sk_silenceBeforeAsking{1};

struct Options {
  Search search;
  std::vector<std::string> events;
  std::uint64_t count = 0;
  double seconds = 0;
  bool quiet = false;
};

// Collects the nodes that an event changes; their callbacks run inside WaitOnEvent, on this thread.
class EventNodes {
 public:
  explicit EventNodes(GenApi::INodeMap& nodes) {
    GenApi::NodeList_t all;
    nodes.GetNodes(all);
    for (GenApi::INode* pNode : all) {
      if (pNode->GetEventID().empty() || !pNode->IsFeature()) continue;
      m_handles.push_back(GenApi::Register(pNode, *this, &EventNodes::OnChange));
    }
  }
  ~EventNodes() {
    for (const GenApi::CallbackHandleType handle : m_handles) GenApi::Deregister(handle);
  }
  EventNodes(const EventNodes&) = delete;
  EventNodes& operator=(const EventNodes&) = delete;

  void OnChange(GenApi::INode* pNode) { m_changed.push_back(pNode); }

  // The values that the last event brought, by name.
  Record TakeValues() {
    Record values = Record::object();
    for (GenApi::INode* pNode : m_changed) {
      const Record feature = DescribeFeature(*pNode);
      if (feature.contains("value")) values[pNode->GetName().c_str()] = feature["value"];
    }
    m_changed.clear();
    return values;
  }

 private:
  std::vector<GenApi::CallbackHandleType> m_handles;
  std::vector<GenApi::INode*> m_changed;
};

// Keeps frames flowing while events are waited for: the library takes each back after the call.
class DroppedFrames : public Orvex::IImageCallback {
 public:
  explicit DroppedFrames(Camera& camera) : m_camera(camera) {
    m_camera.Device().RegisterImageCallback(this);
  }
  ~DroppedFrames() override {
    try {
      m_camera.Device().DeregisterImageCallback(this);
    } catch (...) {
      // Deregistering fails only for a callback that is not registered.
    }
  }
  void OnImage(Orvex::IImage*) override {}

 private:
  Camera& m_camera;
};

// The event channel, open while this lives.
class EventChannel {
 public:
  explicit EventChannel(Orvex::IDevice& device) : m_device(device) { m_device.InitializeEvents(); }
  ~EventChannel() {
    try {
      m_device.DeinitializeEvents();
    } catch (...) {
      // The camera may have gone.
    }
  }
  EventChannel(const EventChannel&) = delete;
  EventChannel& operator=(const EventChannel&) = delete;

  bool Wait(Milliseconds timeout) {
    try {
      m_device.WaitOnEvent(static_cast<std::uint64_t>(timeout.count()));
      return true;
    } catch (const GenICam::TimeoutException&) {
      return false;
    }
  }

 private:
  Orvex::IDevice& m_device;
};

// The choice of EventSelector whose nodes these are: the longest that fits, as FrameStart and
// FrameStartWait may both be.
std::string EventOf(const Record& values, const std::vector<std::string>& events) {
  std::string found;
  for (const auto& [name, value] : values.items()) {
    for (const std::string& event : events) {
      if (name.starts_with("Event" + event) && event.size() > found.size()) found = event;
    }
  }
  return found;
}

void PrintEvent(const Output& output, const Record& row) {
  if (output.json) {
    output.out << row.dump(-1, ' ', false, Record::error_handler_t::replace) << std::endl;
    return;
  }
  output.out << row["event"].get<std::string>();
  for (const auto& [name, value] : row["values"].items())
    output.out << "  " << name << " = " << ValueText(value);
  output.out << std::endl;
}

void RunEvents(const Options& options, const Output& output) {
  Library library(options.search.unicast);
  Camera camera(library, library.Find(options.search.device, options.search.Wait()),
                Access::Control);
  EventChannel channel(camera.Device());
  const Switches enabled(camera, sk_eventSwitches, options.events);
  EventNodes nodes(camera.Nodes());
  std::optional<DroppedFrames> frames;
  std::optional<Stream> stream;
  if (!options.quiet) {
    frames.emplace(camera);
    stream.emplace(camera);
  }

  nodes.TakeValues();  // starting changes nodes too
  const auto begin = Clock::now();
  auto nextQuestion = begin + sk_silenceBeforeAsking;
  std::uint64_t count = 0;
  while (!StopRequested() && (options.count == 0 || count < options.count)) {
    const auto now = Clock::now();
    if (options.seconds > 0 &&
        std::chrono::duration<double>(now - begin).count() >= options.seconds)
      break;
    if (channel.Wait(sk_waitStep)) {
      const Record values = nodes.TakeValues();
      PrintEvent(output, {{"event", EventOf(values, enabled.On())}, {"values", values}});
      ++count;
      nextQuestion = Clock::now() + sk_silenceBeforeAsking;
    } else if (now >= nextQuestion) {
      if (!camera.Answers()) throw LostCamera(camera.Facts());
      nextQuestion = Clock::now() + sk_silenceBeforeAsking;
    }
  }
  if (stream) stream->Stop();
}

}  // namespace

void AddEventsCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("events", "Show what the camera tells while it works, until Ctrl-C");
  pCommand->add_flag("--json", output.json, "Write each event as one line of JSON");
  AddDeviceArgument(*pCommand, pOptions->search);
  pCommand->add_option("--event", pOptions->events,
                       "Only this event, as EventSelector names it; may be given several times");
  pCommand->add_option("-n,--count", pOptions->count, "Stop after so many events")
      ->check(CLI::PositiveNumber);
  pCommand->add_option("--seconds", pOptions->seconds, "Stop after so many seconds")
      ->check(CLI::Range(0.1, 1e7));
  pCommand->add_flag("--no-stream", pOptions->quiet, "Do not stream meanwhile");
  pCommand->callback([pOptions, &output] { RunEvents(*pOptions, output); });
}

}  // namespace OrvexTools
