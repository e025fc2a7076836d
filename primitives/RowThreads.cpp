// SPDX-License-Identifier: Apache-2.0
#include "primitives/RowThreads.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Orvex::Primitives {
namespace {

// Whether this thread is doing rows: what it calls then does its own rows alone.
thread_local bool t_inRows = false;

// Ranges are handed out by a counter, so that a thread that is slow to wake costs nothing: the
// others take its rows.
class RowPool {
 public:
  ~RowPool() {
    {
      std::lock_guard lock(m_mutex);
      m_stop = true;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads) thread.join();
  }

  void SetCount(unsigned count) {
    if (count == 0) count = std::max(1u, std::thread::hardware_concurrency());
    m_count = std::min(count, sk_maxRowThreads);
  }
  unsigned Count() const { return m_count; }

  void Run(size_t rows, size_t grain, size_t bytes, void (*work)(void*, size_t, size_t),
           void* context) {
    const unsigned threads = m_count;
    std::unique_lock user(m_user, std::defer_lock);
    if (rows == 0) return;
    if (threads < 2 || bytes < sk_minBytesToSplit || rows < 2 * grain || t_inRows ||
        !user.try_lock()) {
      work(context, 0, rows);
      return;
    }
    // Four ranges a thread even out differences in speed.
    const size_t ranges = size_t(threads) * 4;
    const size_t step = ((rows + ranges - 1) / ranges + grain - 1) / grain * grain;
    {
      std::lock_guard lock(m_mutex);
      while (m_threads.size() + 1 < threads)
        m_threads.emplace_back([this, id = m_threads.size() + 1] { Serve(id); });
      m_job = {rows, step, work, context, threads};
      m_next = 0;
      ++m_generation;
    }
    m_wake.notify_all();
    Work(m_job);
    std::unique_lock lock(m_mutex);
    m_done.wait(lock, [this] { return m_busy == 0; });
    m_job.rows = 0;
  }

 private:
  struct Job {
    size_t rows = 0;
    size_t step = 1;
    void (*work)(void*, size_t, size_t) = nullptr;
    void* context = nullptr;
    unsigned threads = 0;
  };

  void Work(const Job& job) {
    t_inRows = true;
    for (;;) {
      const size_t first = m_next.fetch_add(job.step, std::memory_order_relaxed);
      if (first >= job.rows) break;
      job.work(job.context, first, std::min(first + job.step, job.rows));
    }
    t_inRows = false;
  }

  void Serve(size_t id) {
    pthread_setname_np(pthread_self(), "orvex-rows");
    unsigned seen = 0;
    std::unique_lock lock(m_mutex);
    for (;;) {
      m_wake.wait(lock, [&] { return m_stop || m_generation != seen; });
      if (m_stop) return;
      seen = m_generation;
      const Job job = m_job;
      if (id >= job.threads || job.rows == 0) continue;
      ++m_busy;
      lock.unlock();
      Work(job);
      lock.lock();
      if (--m_busy == 0) m_done.notify_all();
    }
  }

  std::mutex m_user;   // held by the caller that is being helped; taken before m_mutex
  std::mutex m_mutex;  // guards everything below that is not atomic
  std::condition_variable m_wake, m_done;
  std::vector<std::thread> m_threads;
  Job m_job;
  unsigned m_generation = 0;
  unsigned m_busy = 0;
  bool m_stop = false;
  std::atomic<size_t> m_next{0};
  std::atomic<unsigned> m_count{
      std::clamp(std::thread::hardware_concurrency(), 1u, sk_maxRowThreads)};
};

// Ends the threads with the process that started them. A child of fork() has none to wait for, and
// leaves everything as it is.
struct OwnedPool {
  RowPool* const pPool = new RowPool;
  const pid_t process = getpid();
  ~OwnedPool() {
    if (getpid() == process) delete pPool;
  }
};

RowPool& Pool() {
  static const OwnedPool owned;
  return *owned.pPool;
}

}  // namespace

void SetRowThreads(unsigned count) {
  Pool().SetCount(count);
}
unsigned RowThreads() {
  return Pool().Count();
}

void ForRowRanges(size_t rows, size_t grain, size_t bytes, void (*work)(void*, size_t, size_t),
                  void* context) {
  Pool().Run(rows, grain, bytes, work, context);
}

}  // namespace Orvex::Primitives
