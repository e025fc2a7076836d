// SPDX-License-Identifier: Apache-2.0
#include "gigevision/Event.h"

namespace GigEVision {
namespace {

size_t ItemSize(bool extended) {
  return extended ? sk_extendedEventSize : sk_eventSize;
}

void WriteItem(ByteWriter& writer, bool extended, bool withData, const EventItem& item) {
  const size_t size = withData && extended ? sk_extendedEventSize + item.data.size() : 0;
  writer.U16(static_cast<uint16_t>(size));
  writer.U16(item.id);
  writer.U16(item.channel);
  if (extended) {
    writer.U16(0);
    writer.U64(item.blockId);
  } else {
    writer.U16(static_cast<uint16_t>(item.blockId));
  }
  writer.U64(item.timestamp);
  if (withData) writer.Bytes(item.data);
}

size_t Encode(std::span<uint8_t> out, Command command, uint16_t requestId, bool extended,
              bool ackRequired, std::span<const EventItem> items) {
  if (requestId == 0 || items.empty()) return 0;
  const bool withData = command == Command::EventData;
  size_t length = 0;
  for (const EventItem& item : items)
    length += ItemSize(extended) + (withData ? item.data.size() : 0);
  if (length > sk_gvcpMaxPayload) return 0;
  ByteWriter writer(out);
  writer.U8(sk_gvcpKey);
  writer.U8(static_cast<uint8_t>((ackRequired ? sk_flagAckRequired : 0) |
                                 (extended ? sk_flagExtendedIds : 0)));
  writer.U16(static_cast<uint16_t>(command));
  writer.U16(static_cast<uint16_t>(length));
  writer.U16(requestId);
  for (const EventItem& item : items) WriteItem(writer, extended, withData, item);
  return writer.Size();
}

}  // namespace

EventWalker::EventWalker(const CommandPacket& packet) {
  const bool known =
      packet.header.command == Command::Event || packet.header.command == Command::EventData;
  m_extended = (packet.header.flags & sk_flagExtendedIds) != 0;
  m_withData = packet.header.command == Command::EventData;
  if (known) {
    m_rest = packet.payload;
  } else {
    m_valid = false;
  }
}

std::optional<EventItem> EventWalker::Next() {
  if (m_rest.empty()) return std::nullopt;
  ByteReader reader(m_rest);
  EventItem item;
  size_t size = reader.U16();
  item.id = reader.U16();
  item.channel = reader.U16();
  item.blockId = reader.U16();
  if (m_extended) item.blockId = reader.U64();
  item.timestamp = reader.U64();
  if (!reader.Ok()) {
    m_valid = false;
    m_rest = {};
    return std::nullopt;
  }
  const size_t headSize = ItemSize(m_extended);
  // Without a size (standard layout, older devices) the data reaches to the end of the payload.
  if (!m_withData) {
    size = headSize;
  } else if (!m_extended || size == 0) {
    size = m_rest.size();
  }
  if (size < headSize || size > m_rest.size()) {
    m_valid = false;
    m_rest = {};
    return std::nullopt;
  }
  item.data = m_rest.subspan(headSize, size - headSize);
  m_rest = m_rest.subspan(size);
  return item;
}

size_t EncodeEvents(std::span<uint8_t> out, uint16_t requestId, bool extendedIds, bool ackRequired,
                    std::span<const EventItem> items) {
  return Encode(out, Command::Event, requestId, extendedIds, ackRequired, items);
}

size_t EncodeEventData(std::span<uint8_t> out, uint16_t requestId, bool extendedIds,
                       bool ackRequired, const EventItem& item) {
  return Encode(out, Command::EventData, requestId, extendedIds, ackRequired, {&item, 1});
}

}  // namespace GigEVision
