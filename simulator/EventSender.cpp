// SPDX-License-Identifier: Apache-2.0
#include "simulator/EventSender.h"

#include <sys/socket.h>

#include "gigevision/Event.h"

namespace OrvexSim {

using GigEVision::Ack;

EventSender::Channel EventSender::TakeChannel() {
  const std::lock_guard lock(m_camera.Mutex());
  for (DeviceEvent& event : m_camera.TakeEvents()) m_events.push_back(std::move(event));
  const MessageState& message = m_camera.message;
  return {{message.address, static_cast<uint16_t>(message.port)},
          std::chrono::milliseconds(message.timeoutMs),
          message.retries,
          m_camera.stream.extendedIds};
}

EventSender::Pending EventSender::Encode(const DeviceEvent& event, const Channel& channel) {
  Pending pending;
  pending.id = m_lastId = GigEVision::NextRequestId(m_lastId);
  pending.retriesLeft = channel.retries;
  pending.deadline = Clock::now() + channel.timeout;
  GigEVision::EventItem item;
  item.id = event.id;
  item.channel = event.blockId == 0 ? GigEVision::sk_noStreamChannel : uint16_t{0};
  item.blockId = event.blockId;
  item.timestamp = event.timestamp;
  item.data = event.data;
  const bool ack = channel.timeout.count() != 0;
  pending.size = event.data.empty() ? GigEVision::EncodeEvents(pending.bytes, pending.id,
                                                               channel.extendedIds, ack, {&item, 1})
                                    : GigEVision::EncodeEventData(pending.bytes, pending.id,
                                                                  channel.extendedIds, ack, item);
  return pending;
}

void EventSender::SendTo(const Pending& event, const Endpoint& to) {
  const sockaddr_in address = SocketAddress(to.ip, to.port);
  ::sendto(m_socket.Get(), event.bytes.data(), event.size, 0,
           reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

void EventSender::Send() {
  const Channel channel = TakeChannel();
  if (channel.to.port == 0) {
    m_events.clear();
    m_pending.reset();
    return;
  }
  for (;;) {
    if (m_pending) {
      if (Clock::now() < m_pending->deadline) return;
      if (m_pending->retriesLeft == 0) {
        m_pending.reset();
      } else {
        --m_pending->retriesLeft;
        m_pending->deadline = Clock::now() + channel.timeout;
        SendTo(*m_pending, channel.to);
        return;
      }
    }
    if (m_events.empty()) return;
    const Pending next = Encode(m_events.front(), channel);
    m_events.pop_front();
    SendTo(next, channel.to);
    if (channel.timeout.count() != 0) m_pending = next;
  }
}

void EventSender::ReceiveAck() {
  uint8_t bytes[64];
  const ssize_t size = ::recv(m_socket.Get(), bytes, sizeof bytes, MSG_DONTWAIT);
  if (size <= 0) return;
  const auto ack = GigEVision::DecodeAck({bytes, static_cast<size_t>(size)});
  const bool event = ack && (ack->header.ack == Ack::Event || ack->header.ack == Ack::EventData);
  if (event && m_pending && ack->header.ackId == m_pending->id) m_pending.reset();
}

std::optional<Clock::time_point> EventSender::Deadline() const {
  return m_pending ? std::optional(m_pending->deadline) : std::nullopt;
}

}  // namespace OrvexSim
