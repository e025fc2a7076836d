#pragma once
// SPDX-License-Identifier: Apache-2.0
// Items of the message channel: EVENT and EVENTDATA commands, which a device sends to the host,
// with standard and extended layout. Views point into the caller's bytes. Stateless but for the
// walker, which belongs to one thread.

#include <optional>
#include <span>

#include "gigevision/Gvcp.h"

namespace GigEVision {

inline constexpr uint16_t sk_noStreamChannel = 0xFFFF;
inline constexpr size_t sk_eventSize = 16;
inline constexpr size_t sk_extendedEventSize = 24;

// Identifiers of the standard; 0x8001 to 0x8FFF repeat a status, 0x9000 and above belong to the
// device.
enum class EventId : uint16_t {
  Trigger = 0x0002,
  ExposureStart = 0x0003,
  ExposureEnd = 0x0004,
  TransferStart = 0x0005,
  TransferEnd = 0x0006,
  PrimaryApplicationSwitch = 0x0007,
  LinkSpeedChange = 0x0008,
  ActionLate = 0x0009,
  FirstOfDevice = 0x9000,
};

struct EventItem {
  uint16_t id = 0;
  uint16_t channel = sk_noStreamChannel;
  uint64_t blockId = 0;  // 0 = none
  uint64_t timestamp = 0;
  std::span<const uint8_t> data;  // EVENTDATA only
};

// The items of one EVENT or EVENTDATA command, in order. Nothing for another command or a payload
// without a whole item.
class EventWalker {
 public:
  explicit EventWalker(const CommandPacket& packet);
  std::optional<EventItem> Next();
  bool Valid() const { return m_valid; }  // false once the payload proved malformed

 private:
  std::span<const uint8_t> m_rest;
  bool m_extended = false;
  bool m_withData = false;
  bool m_valid = true;
};

// EVENT with any number of items without data; the ack flag is set when the host's transmission
// timeout asks for it.
size_t EncodeEvents(std::span<uint8_t> out, uint16_t requestId, bool extendedIds, bool ackRequired,
                    std::span<const EventItem> items);
// EVENTDATA with one item.
size_t EncodeEventData(std::span<uint8_t> out, uint16_t requestId, bool extendedIds,
                       bool ackRequired, const EventItem& item);

}  // namespace GigEVision
