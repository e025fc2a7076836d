// SPDX-License-Identifier: Apache-2.0
#include "simulator/Streamer.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <algorithm>

#include "simulator/Limits.h"

namespace OrvexSim {

using GigEVision::PayloadType;

namespace {

constexpr int64_t sk_timerSource = 1;     // Timer0End of TriggerSource
constexpr uint32_t sk_maxRefusals = 256;  // header-only answers to one request

Clock::duration Microseconds(double us) {
  return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double, std::micro>(us));
}

}  // namespace

Streamer::Streamer(CameraCore& camera, TcpChannel& tcp)
    : m_camera(camera),
      m_tcp(tcp),
      m_sender(camera.network.ip, camera.network.mtu, camera.Options().pathLimit) {
  const size_t count =
      std::clamp<size_t>(camera.Options().framesKept, sk_minFramesKept, sk_maxFramesKept);
  for (size_t i = 0; i < count; ++i) m_ring.push_back(std::make_unique<Frame>());
}

Streamer::~Streamer() {
  Stop();
}

void Streamer::Start() {
  m_stop = false;
  m_thread = std::thread(&Streamer::Run, this);
}

void Streamer::Stop() {
  {
    const std::lock_guard lock(m_camera.Mutex());
    m_stop = true;
  }
  m_camera.Changed().notify_all();
  m_tcp.Close();  // a sender may be waiting for the host
  if (m_thread.joinable()) m_thread.join();
}

void Streamer::Run() {
  pthread_setname_np(pthread_self(), "camera-stream");
  ::prctl(PR_SET_TIMERSLACK, 1000, 0, 0, 0);  // paces packets, so wakes must not be rounded
  std::unique_lock lock(m_camera.Mutex());
  while (WaitForFrame(lock)) TakeFrame(lock);
}

Route Streamer::TakeRoute() const {
  const StreamState& stream = m_camera.stream;
  Route route;
  route.destination = {stream.address, static_cast<uint16_t>(stream.port)};
  route.packetSize = stream.packetSize;
  route.doNotFragment = stream.doNotFragment;
  route.packetDelayNs = stream.packetDelay;
  route.segmentation = m_camera.F("SimSegmentationOffload").Bool();
  if (m_camera.F("DeviceLinkThroughputLimitMode").Bool()) {
    route.bytesPerSecond = static_cast<uint64_t>(m_camera.F("DeviceLinkThroughputLimit").Int());
  }
  return route;
}

// The shortest time from frame to frame that the settings allow.
Clock::duration Streamer::Period(const Route& route) const {
  Clock::duration period = Microseconds(m_camera.F("ExposureTime").Real());
  if (route.bytesPerSecond != 0) {
    const double seconds =
        static_cast<double>(m_camera.PayloadSize()) / static_cast<double>(route.bytesPerSecond);
    period = std::max(period, Microseconds(seconds * 1e6));
  }
  if (m_camera.F("TriggerMode").Bool() && m_camera.F("TriggerSource").Int() == sk_timerSource) {
    period = std::max(period, Microseconds(m_camera.F("TimerDuration").Real()));
  } else if (const double own = m_camera.TheModel().PeriodUs(m_frameNumber); own > 0) {
    period = Microseconds(own);
  } else if (m_camera.F("AcquisitionFrameRateEnable").Bool()) {
    period = std::max(period, Microseconds(1e6 / m_camera.F("AcquisitionFrameRate").Real()));
  }
  return period;
}

// Returns with the lock held when a frame is to be taken (m_start tells when its exposure begins),
// or false to end.
bool Streamer::WaitForFrame(std::unique_lock<std::mutex>& lock) {
  for (;;) {
    if (m_stop) return false;
    AcquisitionState& acquisition = m_camera.acquisition;
    if (!acquisition.active) {
      m_camera.Changed().wait(lock);
      continue;
    }
    if (m_session != acquisition.session) {
      m_session = acquisition.session;
      m_frameNumber = 0;
      m_nextStart = Clock::now();
    }
    if (m_camera.F("TriggerMode").Bool() && m_camera.F("TriggerSource").Int() != sk_timerSource) {
      if (acquisition.triggers.empty()) {
        m_camera.Changed().wait(lock);
        continue;
      }
      m_start =
          std::max(acquisition.triggers.front() + Microseconds(m_camera.F("TriggerDelay").Real()),
                   m_nextStart);
    } else {
      m_start = m_nextStart;
    }
    if (Clock::now() < m_start) {
      m_camera.Changed().wait_until(lock, m_start);
      continue;
    }
    if (!acquisition.triggers.empty()) acquisition.triggers.pop_front();
    return true;
  }
}

Frame& Streamer::NextSlot() {
  const std::lock_guard lock(m_ringMutex);
  m_slot = (m_slot + 1) % m_ring.size();
  m_ring[m_slot]->blockId = 0;  // no longer to be sent again
  return *m_ring[m_slot];
}

void Streamer::FillLeaderAndTrailer(Frame& frame, uint32_t chunkLayout) {
  GigEVision::Leader leader;
  leader.payloadType = frame.payloadType;
  leader.timestamp = frame.timestamp;
  leader.image = frame.image;
  leader.payloadSize = frame.size;
  frame.leaderSize = EncodeLeader(frame.leader, leader);
  GigEVision::Trailer trailer;
  trailer.payloadType = frame.payloadType;
  trailer.sizeY = frame.image.sizeY;
  trailer.chunkLength = static_cast<uint32_t>(frame.size);
  trailer.chunkLayoutId = chunkLayout;
  frame.trailerSize = EncodeTrailer(frame.trailer, trailer);
}

// Frames whose time passed while the connection was full: they are never begun, their ids are
// consumed.
uint64_t Streamer::SkipMissed(Clock::duration period) {
  const bool paced =
      !m_camera.F("TriggerMode").Bool() && (m_camera.F("AcquisitionFrameRateEnable").Bool() ||
                                            m_camera.TheModel().PeriodUs(m_frameNumber) > 0);
  const Clock::duration late = Clock::now() - m_start;
  if (!std::exchange(m_tcpWaited, false) || !paced || late <= period) return 0;
  const auto missed = static_cast<uint64_t>(late / period);
  m_start += static_cast<int64_t>(missed) * period;
  m_blockId += missed;
  m_frameNumber += missed;
  uint64_t& left = m_camera.acquisition.framesLeft;
  if (left != 0) left -= std::min(missed, left - 1);
  return missed;
}

// In batches, so that a limit of the throughput spreads them over the time of the frame.
void Streamer::SendOverTcp(TcpConnection& tcp, const Frame& frame, const Route& route,
                           bool previousDropped) {
  constexpr uint32_t sk_batch = 16;
  Clock::time_point next = Clock::now();
  for (uint32_t first = 0; first <= frame.TrailerId() && !m_stop; first += sk_batch) {
    PacketSender::Wait(route, next);
    const uint32_t last = std::min(first + sk_batch - 1, frame.TrailerId());
    if (!tcp.SendRecords(frame, first, last, previousDropped, m_tcpWaited)) return;
    if (route.bytesPerSecond != 0) {
      next += std::chrono::nanoseconds(frame.dataPerPacket * sk_batch * 1'000'000'000 /
                                       route.bytesPerSecond);
    }
  }
}

void Streamer::TakeFrame(std::unique_lock<std::mutex>& lock) {
  const Route route = TakeRoute();
  const std::shared_ptr<TcpConnection> tcp = m_tcp.Connection();
  const bool extendedIds = m_camera.stream.extendedIds || tcp;
  const uint64_t session = m_session;
  if (m_openCount != m_camera.stream.openCount) {
    m_openCount = m_camera.stream.openCount;
    m_blockId = 0;
  }
  const Clock::duration period = Period(route);
  const bool previousDropped = tcp && SkipMissed(period) != 0;
  const Clock::time_point exposed = m_start + Microseconds(m_camera.F("ExposureTime").Real());
  // A frame that came late does not make the following ones hurry.
  m_nextStart = std::max(m_start + period, Clock::now() - period);
  m_camera.TheModel().TakeSettings();
  const ChunkPlan chunks = TakeChunkPlan(m_camera.Features());
  const FaultSettings faults = TakeFaults(m_camera.Features());
  m_blockId = GigEVision::NextBlockId(m_blockId, extendedIds);
  const uint64_t timestamp = m_camera.ToDeviceTime(m_start);
  m_camera.exposing = true;
  m_camera.Notify(EventKind::ExposureStart, m_blockId, timestamp);
  lock.unlock();

  Frame& frame = NextSlot();
  m_camera.TheModel().Paint(m_frameNumber++, frame);
  frame.size = frame.imageBytes;
  frame.timestamp = timestamp;
  frame.extendedIds = extendedIds;
  frame.dataPerPacket = tcp ? GigEVision::sk_tcpUsualContent
                            : GigEVision::DataPerPacket(route.packetSize, extendedIds);
  frame.sentPackets = 0;
  {
    const std::lock_guard ring(m_ringMutex);
    frame.blockId = m_blockId;
    FillLeaderAndTrailer(frame, chunks.active ? AppendChunks(chunks, frame) : 0);
  }

  lock.lock();
  const auto over = [&] {
    return m_stop || !m_camera.acquisition.active || m_camera.acquisition.session != session;
  };
  m_camera.Changed().wait_until(lock, exposed, over);
  m_camera.exposing = false;
  if (over()) return;
  m_camera.Notify(EventKind::ExposureEnd, frame.blockId, m_camera.ToDeviceTime(exposed));
  m_camera.Notify(EventKind::FrameStart, frame.blockId, m_camera.Now());
  const bool channelOpen =
      tcp || (route.destination.port != 0 && m_camera.stream.port == route.destination.port);
  const bool open = channelOpen && frame.size != 0 && Clock::now() >= m_camera.silentUntil;
  lock.unlock();
  if (open && tcp) {
    SendOverTcp(*tcp, frame, route, previousDropped);
  } else if (open && faults.AnyOnSending()) {
    m_sender.SendFaulty(frame, route, faults, m_stop);
  } else if (open) {
    m_sender.SendFrame(frame, route, m_stop);
  }
  lock.lock();
  if (open) ++m_camera.framesSent;
  m_camera.Notify(EventKind::FrameEnd, frame.blockId, m_camera.Now());
  if (m_camera.acquisition.session == session) FinishFrame();
}

void Streamer::FinishFrame() {
  AcquisitionState& acquisition = m_camera.acquisition;
  const uint64_t limit = m_camera.TheModel().FrameLimit();
  if (limit != 0 && m_frameNumber >= limit) return m_camera.StopAcquisition();
  if (acquisition.framesLeft == 0) return;
  if (--acquisition.framesLeft == 0) m_camera.StopAcquisition();
}

void Streamer::Resend(const GigEVision::PacketResend& request, const Route& route,
                      bool extendedStatus, const FaultSettings& faults) {
  if (m_tcp.Accepted()) return;  // nothing of the channel goes over UDP
  ++m_camera.resendRequests;
  FaultDice dice(faults, ++m_resends);
  const std::lock_guard lock(m_ringMutex);
  const auto it = std::find_if(m_ring.begin(), m_ring.end(), [&](const auto& frame) {
    return frame->blockId == request.blockId;
  });
  if (it == m_ring.end() || faults.refuseResends) {
    const Status status =
        extendedStatus ? Status::PacketAndPreviousRemoved : Status::PacketUnavailable;
    const bool toEnd = request.lastPacket == GigEVision::sk_toLastPacketExtended;
    const uint32_t last =
        toEnd ? request.firstPacket
              : std::min(request.lastPacket, request.firstPacket + sk_maxRefusals - 1);
    for (uint32_t packet = request.firstPacket; packet <= last; ++packet) {
      m_sender.SendRefusal(request.blockId, packet, request.extendedIds, route, status);
    }
    return;
  }
  const Frame& frame = **it;
  const uint32_t last = std::min(request.lastPacket, frame.TrailerId());
  if (request.firstPacket > last) {
    if (request.extendedIds) {
      m_sender.SendRefusal(request.blockId, request.firstPacket, true, route,
                           Status::PacketUnavailable, true);
    }
    return;
  }
  const Status status =
      frame.extendedIds || !extendedStatus ? Status::Success : Status::PacketResend;
  size_t sent = 0;
  for (uint32_t packet = request.firstPacket; packet <= last && sent < sk_maxResendPackets;
       ++packet, ++sent) {
    if (packet >= frame.sentPackets.load(std::memory_order_acquire)) {
      if (extendedStatus) {
        m_sender.SendRefusal(request.blockId, packet, frame.extendedIds, route,
                             Status::PacketNotYetAvailable);
      }
      break;
    }
    ++m_camera.packetsResent;
    if (!dice.Hit(faults.dropResent)) m_sender.SendPacket(frame, packet, route, status, true);
  }
}

}  // namespace OrvexSim
