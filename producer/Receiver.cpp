// SPDX-License-Identifier: Apache-2.0
#include "producer/Receiver.h"

#include <pthread.h>
#include <sched.h>

namespace OrvexGev {

void Receiver::Launch(void (*body)(Receiver&)) {
  m_thread = std::thread([this, body] { body(*this); });
  pthread_setname_np(m_thread.native_handle(), "gev-stream");
  m_threadAsAsked = PlaceThread();
}

bool Receiver::PlaceThread() {
  bool granted = true;
  if (m_settings.threadPriority > 0) {
    const sched_param parameter{m_settings.threadPriority};
    granted = pthread_setschedparam(m_thread.native_handle(), SCHED_FIFO, &parameter) == 0;
  }
  if (m_settings.threadCore >= 0) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<size_t>(m_settings.threadCore), &cores);
    granted =
        pthread_setaffinity_np(m_thread.native_handle(), sizeof cores, &cores) == 0 && granted;
  }
  return granted;
}

void Receiver::Publish(const AssemblerStatistics& frames, const SourceStatistics& source) {
  const std::lock_guard lock(m_statisticsMutex);
  m_statistics = frames;
  m_sourceStatistics = source;
}

}  // namespace OrvexGev
