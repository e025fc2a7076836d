// SPDX-License-Identifier: Apache-2.0
// Acknowledges of the control channel and commands of the message channel, as a camera may send
// them. Whatever decodes is read to its last byte.
#include <cstdlib>

#include "gigevision/Event.h"
#include "gigevision/Gvcp.h"

using namespace GigEVision;

namespace {

uint64_t g_sum;  // keeps the reads

void ReadAll(std::span<const uint8_t> bytes) {
  for (const uint8_t byte : bytes) g_sum += byte;
}

void OnAck(const AckPacket& ack) {
  const auto payload = ack.payload;
  if (const auto words = DecodeReadRegAck(payload)) {
    for (size_t i = 0; i < words->size(); ++i) g_sum += (*words)[i];
  }
  if (const auto memory = DecodeReadMemAck(payload)) ReadAll(memory->data);
  g_sum += DecodeIndexAck(payload).value_or(0) + DecodePendingAck(payload).value_or(0);
  g_sum += StatusName(ack.header.status).size();
}

void OnCommand(const CommandPacket& command) {
  EventWalker walker(command);
  size_t total = 0;
  while (const auto item = walker.Next()) {
    ReadAll(item->data);
    total += item->data.size();
  }
  if (total > command.payload.size()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> datagram(data, size);
  if (const auto ack = DecodeAck(datagram)) OnAck(*ack);
  if (const auto command = DecodeCommand(datagram)) OnCommand(*command);
  return 0;
}
