#pragma once
// SPDX-License-Identifier: Apache-2.0
// Carries log records between processes of one machine, over UDP ports of the loopback address
// 127.0.0.1. One record is one datagram: its text and nothing else. A record that nobody reads, or
// not fast enough, is lost; nothing here ever waits for a reader. What this process sends to a port
// of its own takes no socket and is lost only when its sink falls megabytes behind.
//
// One instance in a process: Init makes it or returns the one there is, Deinit ends it. All
// operations may be called from any thread, but none of them from inside a callback. Nothing
// throws.
#include <cstdint>
#include <string>

#include "TavikLog/Limits.h"

namespace TavikLog {

// Told of every record that arrived and passed the filter. Called on the instance's thread.
class ILogSink {
 public:
  virtual ~ILogSink() = default;
  virtual void OnLog(const std::string& text) = 0;
};

// Decides on arriving records: 0 drops the record. Called on the instance's thread.
class IFilter {
 public:
  virtual ~IFilter() = default;
  virtual int OnFilter(const std::string& text) = 0;
};

// Decides on records to be sent: 0 keeps the record back. Called on the thread that sends.
class IFilterOut {
 public:
  virtual ~IFilterOut() = default;
  virtual int OnFilterOut(const std::string& text) = 0;
};

class ITavikLog {
 public:
  // The port that records leave from. Where it is taken, a free one is used instead.
  virtual void RegisterOutPort(uint16_t port) = 0;
  virtual void UnregisterOutPort(uint16_t port) = 0;

  // A port on which records are received. False when another process has it; records of this
  // process for that port still come to this process's sink, and to it alone.
  virtual bool RegisterInPort(uint16_t port) = 0;
  // What had arrived before is delivered when this returns.
  virtual void UnregisterInPort(uint16_t port) = 0;

  // A port that every record is sent to, whoever listens there; this process may.
  virtual void RegisterReader(uint16_t port) = 0;

  // Callbacks; the caller owns them and keeps them until they are replaced (null for none) or the
  // instance has ended. Replacing waits for a call in progress.
  virtual void RegisterLogSink(ILogSink* pSink) = 0;
  virtual void RegisterFilter(IFilter* pFilter) = 0;
  virtual void RegisterFilterOut(IFilterOut* pFilter) = 0;

  // Sends the record to every reader. True when it passed the filter and left for each of them.
  virtual bool Send(const std::string& text) = 0;

 protected:
  virtual ~ITavikLog() = default;
};

// The instance of this process, made on the first call. Null when the machine lets it have no
// socket.
ITavikLog* Init();

// Ends the instance: what had arrived is delivered, its thread has stopped and no callback runs any
// more when it returns. A process that ends without it loses what is on the way.
void Deinit();

}  // namespace TavikLog
