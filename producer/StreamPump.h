#pragma once
// SPDX-License-Identifier: Apache-2.0
// Takes packets from a source to the assembler and lets the assembler judge what is missing, never
// by packets that wait unread: a receiver thread that comes late takes what came meanwhile for
// what it is. Belongs to the receiver thread.

#include "producer/FrameAssembler.h"
#include "producer/PacketSource.h"

namespace OrvexGev {

class StreamPump {
 public:
  StreamPump(PacketSource& source, FrameAssembler& assembler)
      : m_source(source), m_assembler(assembler) {}

  struct Served {
    bool any = false;    // there were packets
    bool timer = false;  // the assembler judged
  };
  // Reads what is there; `now` is taken before the call.
  Served Serve(Clock::time_point now);
  // When to be called again at the latest.
  Clock::time_point Next() const { return m_next; }

 private:
  PacketSource& m_source;
  FrameAssembler& m_assembler;
  Clock::time_point m_known{};  // what came before this has been read
  Clock::time_point m_next{};
};

}  // namespace OrvexGev
