#pragma once
// SPDX-License-Identifier: Apache-2.0
// A running stream: what DataStream starts for one acquisition and stops again, whatever the
// transport. Start and Stop belong to the caller's thread, the statistics may be read from any.

#include <mutex>
#include <thread>

#include "producer/FrameAssembler.h"
#include "producer/PacketSource.h"

namespace OrvexGev {

struct ReceiverSettings {
  Engine engine = Engine::Automatic;
  bool negotiatePacketSize = true;
  size_t frameBytes = 0;  // of the largest buffer
  double frameRate = 0;   // 1/s, 0 = not known
  uint64_t resendWindow = 0;
  bool resend = true;
  int resendTries = 10;
  std::chrono::milliseconds retention{200};
  int threadPriority = 0;  // of SCHED_FIFO, 0 = none
  int threadCore = -1;     // -1 = any
};

class Receiver {
 public:
  explicit Receiver(const ReceiverSettings& settings) : m_settings(settings) {}
  virtual ~Receiver() = default;

  // Opens the camera's stream channel and starts receiving.
  virtual void Start() = 0;
  // Finishes the frames that are begun, or drops what they lack at once.
  virtual void Stop(bool kill) = 0;
  virtual Engine UsedEngine() const = 0;
  virtual size_t PacketSize() const { return 0; }  // 0 where packets have no size
  virtual size_t BufferWanted() const { return 0; }
  virtual size_t BufferGranted() const { return 0; }

  AssemblerStatistics Statistics() const {
    const std::lock_guard lock(m_statisticsMutex);
    return m_statistics;
  }
  SourceStatistics SourceStats() const {
    const std::lock_guard lock(m_statisticsMutex);
    return m_sourceStatistics;
  }
  // False when the system did not grant the priority or the core that were asked for.
  bool ThreadAsAsked() const { return m_threadAsAsked; }

 protected:
  void Launch(void (*body)(Receiver&));
  void Publish(const AssemblerStatistics& frames, const SourceStatistics& source);

  const ReceiverSettings m_settings;
  std::thread m_thread;

 private:
  bool PlaceThread();

  bool m_threadAsAsked = true;
  mutable std::mutex m_statisticsMutex;
  AssemblerStatistics m_statistics;
  SourceStatistics m_sourceStatistics;
};

}  // namespace OrvexGev
