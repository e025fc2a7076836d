// SPDX-License-Identifier: Apache-2.0
#include "simulator/Events.h"

#include <cstdio>
#include <iterator>
#include <string>

#include "simulator/Feature.h"

namespace OrvexSim {
namespace {

// clang-format off
constexpr EventRow sk_events[] = {
    {EventKind::AcquisitionStart,   "AcquisitionStart",   0x9001, "An acquisition began."},
    {EventKind::AcquisitionEnd,     "AcquisitionEnd",     0x9002, "An acquisition ended."},
    {EventKind::FrameTrigger,       "FrameTrigger",       0x9003, "A trigger was accepted."},
    {EventKind::FrameTriggerMissed, "FrameTriggerMissed", 0x9004, "A trigger came when no more could be kept."},
    {EventKind::ExposureStart,      "ExposureStart",      0x9005, "The exposure of a frame began."},
    {EventKind::ExposureEnd,        "ExposureEnd",        0x9006, "The exposure of a frame ended."},
    {EventKind::FrameStart,         "FrameStart",         0x9007, "A frame began to be sent."},
    {EventKind::FrameEnd,           "FrameEnd",           0x9008, "A frame has been sent."},
};
// clang-format on
static_assert(std::size(sk_events) == static_cast<size_t>(EventKind::Count));

std::string Hex4(uint16_t id) {
  char text[5];
  std::snprintf(text, sizeof text, "%04X", id);
  return text;
}

struct EventNode {
  const char* suffix;
  const char* docu;
  const char* address;  // node that gives the address inside of the item, or a number
  int length;
};

// Items begin with their size and id; time and data lie behind a block id whose width depends on
// the id mode.
std::string NodesOf(const std::string& event, uint16_t id, const char* docu, bool withData) {
  const EventNode nodes[] = {
      {"", docu, "2", 2},
      {"Timestamp", "Time of the event, by the camera's clock.", "EventTimestampAddress", 8},
      {event == "Test" ? "Count" : "FrameID",
       event == "Test" ? "Number of test events so far." : "Block id of the frame.",
       "EventDataAddress", 8},
  };
  std::string xml;
  for (const EventNode& node : std::span(nodes).first(withData ? 3 : 2)) {
    const std::string name = "Event" + event + node.suffix;
    const bool fixed = node.address[0] >= '0' && node.address[0] <= '9';
    xml += "  <Integer Name=\"" + name + "\" NameSpace=\"Standard\">\n    <ToolTip>" + node.docu +
           "</ToolTip>\n    <Visibility>Expert</Visibility>\n    <EventID>" + Hex4(id) +
           "</EventID>\n    <ImposedAccessMode>RO</ImposedAccessMode>\n    <pValue>" + name +
           "_Reg</pValue>\n  </Integer>\n";
    xml += "  <IntReg Name=\"" + name +
           "_Reg\" NameSpace=\"Custom\">\n    <Visibility>Invisible</Visibility>\n" +
           (fixed ? "    <Address>" + std::string(node.address) + "</Address>\n"
                  : "    <pAddress>" + std::string(node.address) + "</pAddress>\n") +
           "    <Length>" + std::to_string(node.length) +
           "</Length>\n    <AccessMode>RO</AccessMode>\n    <pPort>Event" + event +
           "Port</pPort>\n    <Cachable>NoCache</Cachable>\n    <Sign>Unsigned</Sign>\n" +
           "    <Endianess>BigEndian</Endianess>\n  </IntReg>\n";
  }
  xml += "  <Port Name=\"Event" + event +
         "Port\" NameSpace=\"Custom\">\n    <Visibility>Invisible</Visibility>\n    <EventID>" +
         Hex4(id) + "</EventID>\n  </Port>\n";
  return xml;
}

void AddEvent(FeatureTable& t, const std::string& event, uint16_t id, const char* docu,
              bool withData) {
  t.Category("Event" + event + "Data", docu, "EventControl");
  t.Node("Event" + event, NodesOf(event, id, docu, withData));
  t.Node("Event" + event + "Timestamp", "");
  if (withData) t.Node("Event" + event + (event == "Test" ? "Count" : "FrameID"), "");
}

std::string AddressNode(const char* name, int standard, int extended) {
  return "  <IntSwissKnife Name=\"" + std::string(name) +
         "\" NameSpace=\"Custom\">\n    <Visibility>Invisible</Visibility>\n"
         "    <pVariable Name=\"EXTENDED\">GevGVSPExtendedIDMode</pVariable>\n    "
         "<Formula>EXTENDED ? " +
         std::to_string(extended) + " : " + std::to_string(standard) +
         "</Formula>\n  </IntSwissKnife>\n";
}

}  // namespace

std::span<const EventRow> AllEvents() {
  return sk_events;
}

void AddEventFeatures(FeatureTable& t) {
  t.Category("EventControl", "What the camera tells of its own accord.");
  std::vector<EnumEntry> entries;
  for (const EventRow& row : sk_events)
    entries.push_back({row.name, static_cast<int64_t>(row.kind)});
  t.Enumeration("EventSelector", entries)
      .Transient()
      .Selects({"EventNotification"})
      .Docu("Event that EventNotification is for.");
  t.Enumeration("EventNotification", {{"Off", 0}, {"On", 1}})
      .SelectedBy("EventSelector", std::size(sk_events))
      .Docu("Whether the selected event is told.");
  t.Node("", AddressNode("EventTimestampAddress", 8, 16));
  t.Node("", AddressNode("EventDataAddress", 16, 24));
  for (const EventRow& row : sk_events) AddEvent(t, row.name, row.id, row.docu, true);
  AddEvent(t, "Test", sk_testEventId, "The test event, made by TestEventGenerate.", true);
  AddEvent(t, "ActionLate", sk_actionLateEventId, "An action came after its time.", false);
  AddEvent(t, "PrimaryApplicationSwitch", sk_switchEventId, "Another application took control.",
           false);
}

}  // namespace OrvexSim
