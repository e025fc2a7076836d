#pragma once
// SPDX-License-Identifier: Apache-2.0
// Events that a camera can tell its host over the message channel. Rows of one table make
// EventControl and the event nodes of the description.

#include <cstdint>
#include <span>

namespace OrvexSim {

class FeatureTable;

enum class EventKind : uint8_t {
  AcquisitionStart,
  AcquisitionEnd,
  FrameTrigger,
  FrameTriggerMissed,
  ExposureStart,
  ExposureEnd,
  FrameStart,
  FrameEnd,
  Count,
};

struct EventRow {
  EventKind kind;
  const char* name;
  uint16_t id;
  const char* docu;
};
std::span<const EventRow> AllEvents();

inline constexpr uint16_t sk_testEventId = 0x9FFF;    // always enabled
inline constexpr uint16_t sk_switchEventId = 0x0007;  // the standard's own ones
inline constexpr uint16_t sk_actionLateEventId = 0x0009;

// The rows of EventControl. Every event carries eight bytes of data, the frame's block id (0 when
// there is none); the test event a count instead.
void AddEventFeatures(FeatureTable& table);

}  // namespace OrvexSim
