// SPDX-License-Identifier: Apache-2.0
// Commands to a camera, foreign until parsed: the input is a run of datagrams, each with its length
// and its way (from the application in control or another one, by broadcast or not) in front. What
// must hold whatever comes: answers are whole acknowledges of the command asked, nobody who lacks
// control changes anything, and no register leads outside of its memory.
#include <cstdlib>
#include <memory>
#include <vector>

#include "gigevision/Bootstrap.h"
#include "simulator/CommandHandler.h"

namespace {

using namespace OrvexSim;
namespace B = GigEVision::Bootstrap;

constexpr Endpoint sk_owner{0x7F000001, 50000}, sk_other{0x7F000001, 50001};

CameraCore& Camera() {
  static CameraCore camera = [] {
    CameraOptions options;
    options.model = "area";
    return CameraCore(options);
  }();
  return camera;
}

void Require(bool condition) {
  if (!condition) std::abort();
}

void Check(std::span<const uint8_t> datagram, const CommandHandler::Outcome& outcome) {
  if (outcome.reply.size == 0) return;
  const auto header = GigEVision::PeekCommand(datagram);
  const auto ack = GigEVision::DecodeAck({outcome.reply.bytes.data(), outcome.reply.size});
  Require(header && header->AckRequired() && ack.has_value());
  Require(ack->header.ack == GigEVision::AckOf(header->command));
  Require(ack->header.ackId == header->requestId);
  Require(outcome.reply.size == GigEVision::sk_gvcpHeaderSize + ack->header.length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  CameraCore& camera = Camera();
  {
    const std::lock_guard lock(camera.Mutex());
    camera.ResetDevice();
    camera.silentUntil = {};
    camera.nextAddress.reset();
    camera.SetFeature("SimDenyRegisters", "");
    camera.SetFeature("SimSlowRegisters", "");
  }
  CommandHandler handler(camera);
  uint8_t take[] = {0x42, 0x01, 0x00, 0x82, 0, 8, 0xFF, 0xFF, 0, 0, 0x0A, 0, 0, 0, 0, 2};
  handler.Handle(take, sk_owner, false);
  for (size_t at = 0; at + 2 <= size;) {
    const size_t length = std::min<size_t>(pData[at] | (pData[at + 1] & 7) << 8, size - at - 2);
    const bool owner = (pData[at + 1] & 0x80) != 0, broadcast = (pData[at + 1] & 0x40) != 0;
    // An exact copy, so that the address sanitizer sees the first byte too many.
    const std::vector<uint8_t> datagram(pData + at + 2, pData + at + 2 + length);
    at += 2 + length;
    const bool held = camera.control.owner == sk_owner;
    const uint32_t before = camera.control.privilege;
    const Endpoint& from = owner ? sk_owner : sk_other;
    const CommandHandler::Outcome outcome = handler.Handle(datagram, from, broadcast);
    Check(datagram, outcome);
    const bool kept = camera.control.owner == sk_owner && camera.control.privilege == before;
    Require(owner || !held || kept || (before & B::sk_ccpSwitchover) != 0);
    handler.RunScheduledActions();
  }
  return 0;
}
