// SPDX-License-Identifier: Apache-2.0
// The rows around lines, counters, timers and the sequencer.
#include "simulator/CameraCore.h"

namespace OrvexSim {
namespace {

enum Source : int64_t { Off, ExposureActive, FrameTriggerWait, AcquisitionActive };

}  // namespace

void CameraCore::AddInputFeatures() {
  FeatureTable& t = m_features;
  t.Category("DigitalIOControl", "Lines of the camera's connector: Line0 goes in, Line1 out.");
  t.Enumeration("LineSelector", {{"Line0", 0}, {"Line1", 1}})
      .Expert()
      .Selects({"LineMode", "LineInverter", "LineStatus", "LineSource", "LineFormat"})
      .Docu("Line that the following features are of.");
  t.Enumeration("LineMode", {{"Input", 0}, {"Output", 1}})
      .Expert()
      .ReadOnly()
      .SelectedBy("LineSelector", 2)
      .Docu("Direction of the line.")
      .Force(1, 1);
  t.Boolean("LineInverter")
      .Expert()
      .SelectedBy("LineSelector", 2)
      .Docu("Whether the line's level is turned round.");
  t.Boolean("LineStatus")
      .Expert()
      .ReadOnly()
      .Volatile()
      .Get([this] { return LineStatus() >> F("LineSelector").Int() & 1; })
      .Docu("Level of the selected line.");
  t.Integer("LineStatusAll")
      .Expert()
      .ReadOnly()
      .Volatile()
      .Representation("HexNumber")
      .Get([this] { return int64_t{LineStatus()}; })
      .Docu("Levels of all lines, Line0 first.");
  t.Enumeration("LineSource", {{"Off", Off},
                               {"ExposureActive", ExposureActive},
                               {"FrameTriggerWait", FrameTriggerWait},
                               {"AcquisitionActive", AcquisitionActive}})
      .Expert()
      .SelectedBy("LineSelector", 2)
      .Docu("What an output tells; without effect on an input.");
  t.Enumeration("LineFormat", {{"OptoCoupled", 5}})
      .Expert()
      .ReadOnly()
      .Docu("Electrical kind of the line.");

  t.Category("CounterAndTimerControl", "A counter and a timer.");
  t.Enumeration("CounterSelector", {{"Counter0", 0}})
      .Expert()
      .Selects({"CounterEventSource", "CounterValue", "CounterReset"})
      .Docu("Counter that is set.");
  std::vector<EnumEntry> sources = {{"Off", 0}};
  for (const EventRow& row : AllEvents())
    sources.push_back({row.name, static_cast<int64_t>(row.kind) + 1});
  t.Enumeration("CounterEventSource", sources).Expert().Docu("What is counted.");
  t.Integer("CounterValue")
      .Expert()
      .ReadOnly()
      .Volatile()
      .Get([this] { return int64_t{m_counter}; })
      .Docu("What was counted so far.");
  t.Command("CounterReset")
      .Expert()
      .OnSet([this](int64_t, size_t) { return m_counter = 0, Status::Success; })
      .Docu("Begins at 0 again.");
  t.Enumeration("TimerSelector", {{"Timer0", 0}})
      .Expert()
      .Selects({"TimerDuration"})
      .Docu("Timer that is set.");
  t.Float("TimerDuration")
      .Expert()
      .Unit("us")
      .RealRange(100, 1e8)
      .DefaultReal(100000)
      .Docu("The timer runs again and again; its end can trigger frames.");

  t.Category("SequencerControl", "The camera has no sets that could follow one another.");
  t.Enumeration("SequencerMode", {{"Off", 0}}).Expert().Docu("Always off.");
  t.Enumeration("SequencerConfigurationMode", {{"Off", 0}}).Expert().Docu("Always off.");
  t.Integer("SequencerSetActive").Expert().ReadOnly().Docu("Always 0.");
}

void CameraCore::SetLine(bool level) {
  if (level == m_line) return;
  m_line = level;
  const bool rises = level != F("LineInverter").Bool(0);
  const int64_t activation = F("TriggerActivation").Int();
  const bool meant = activation == 2 || (activation == 0) == rises;
  if (meant && F("TriggerSource").Int() == sk_lineTrigger) Trigger();
}

uint32_t CameraCore::LineStatus() const {
  const Feature& inverter = F("LineInverter");
  bool out = false;
  switch (F("LineSource").Int(1)) {
    case ExposureActive:
      out = exposing;
      break;
    case FrameTriggerWait:
      out = acquisition.active && F("TriggerMode").Bool() && !exposing;
      break;
    case AcquisitionActive:
      out = acquisition.active;
      break;
    default:
      break;
  }
  return (m_line != inverter.Bool(0) ? 1u : 0u) | (out != inverter.Bool(1) ? 2u : 0u);
}

}  // namespace OrvexSim
