// SPDX-License-Identifier: Apache-2.0
#include "Orvex/LogSinks.h"
#include "Orvex/Limits.h"

#include <pthread.h>

#include <condition_variable>
#include <ctime>
#include <deque>
#include <exception>
#include <fstream>
#include <iostream>
#include <mutex>
#include <nlohmann/json.hpp>
#include <thread>

#include "TavikLog/LogRecord.h"

namespace Orvex {
namespace {

struct Sink {
  std::deque<std::string> queue;  // by mutex
  size_t bytes = 0;               // in the queue, by mutex
  std::mutex mutex;
  std::condition_variable changed;
  bool kill = false;  // by mutex
  std::thread thread;

  std::string Take() {
    std::string record = std::move(queue.front());
    queue.pop_front();
    bytes -= record.size();
    return record;
  }
  bool IsFullFor(const std::string& record) const {
    return queue.size() >= sk_maxQueuedRecords || bytes + record.size() > sk_maxQueuedBytes;
  }
};

// Never destroyed, so that records may come while the process ends.
Sink& SinkOf(LogSinkKind kind) {
  static auto* sk_pSinks = new Sink[3];
  return sk_pSinks[static_cast<size_t>(kind)];
}

// Local time as YYYYMMDDhhmmss.
std::string StartTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char text[16];
  return {text, std::strftime(text, sizeof(text), "%Y%m%d%H%M%S", &local)};
}

// Hands every record to `write` until the sink is stopped.
template <typename Write>
void Serve(Sink& sink, Write write) {
  for (bool kill = false; !kill;) {
    std::unique_lock lock(sink.mutex);
    sink.changed.wait(lock, [&sink] { return !sink.queue.empty() || sink.kill; });
    while (!sink.queue.empty()) {
      const std::string record = sink.Take();
      lock.unlock();
      if (!record.empty()) write(record);
      lock.lock();
    }
    kill = sink.kill;
  }
}

void WriteText(std::ostream& stream, const std::string& text) {
  const auto record = TavikLog::ParseRecord(text);  // anyone on this machine may send what is none
  if (record) stream << TavikLog::RecordText(*record) << std::flush;
}

void ServeConsole(Sink& sink) {
  Serve(sink, [](const std::string& record) { WriteText(std::cout, record); });
}

void ServeFile(Sink& sink) {
  std::ofstream file("orvex_" + StartTime() + ".log", std::ios::trunc);
  Serve(sink, [&file](const std::string& record) { WriteText(file, record); });
}

void ServeJson(Sink& sink) {
  std::ofstream file("orvex_" + StartTime() + ".log.json", std::ios::trunc);
  file << "[\n";
  bool first = true;
  Serve(sink, [&](const std::string& record) {
    if (!nlohmann::json::accept(record)) return;
    if (!first) file << ",\n";
    first = false;
    file << '\t' << record << std::flush;
  });
  file << "\n]";
}

struct SinkRow {
  const char* threadName;
  void (*serve)(Sink&);
};
constexpr SinkRow sk_sinks[] = {
    // index: LogSinkKind
    {"orvex-log-con", &ServeConsole},
    {"orvex-log-json", &ServeJson},
    {"orvex-log-file", &ServeFile},
};

}  // namespace

void PushToLogSink(LogSinkKind kind, const std::string& record) {
  Sink& sink = SinkOf(kind);
  {
    const std::lock_guard lock(sink.mutex);
    while (!sink.queue.empty() && sink.IsFullFor(record)) sink.Take();
    sink.queue.push_back(record);
    sink.bytes += record.size();
  }
  sink.changed.notify_one();
}

void StartLogSink(LogSinkKind kind) {
  Sink& sink = SinkOf(kind);
  if (sink.thread.joinable()) return;
  {
    const std::lock_guard lock(sink.mutex);
    sink.kill = false;
  }
  const SinkRow& row = sk_sinks[static_cast<size_t>(kind)];
  sink.thread = std::thread(row.serve, std::ref(sink));
  ::pthread_setname_np(sink.thread.native_handle(), row.threadName);
}

void StopLogSink(LogSinkKind kind) {
  Sink& sink = SinkOf(kind);
  {
    const std::lock_guard lock(sink.mutex);
    sink.kill = true;
  }
  sink.changed.notify_one();
  if (sink.thread.joinable()) sink.thread.join();
}

}  // namespace Orvex
