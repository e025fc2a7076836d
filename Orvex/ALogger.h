#pragma once
// SPDX-License-Identifier: Apache-2.0
// The library's log. Records are JSON texts that the log transport carries to other processes and
// back to this one, where up to three sinks write them: console, JSON file and text file, each on
// a thread of its own. What runs is said by the file "tavik_log.conf" in the current directory;
// without it nothing is logged. Owned by the system; a process that ends without destroying it
// still gets its last records written. The level operations may be called from any thread and never
// wait for a reader; when no logger lives they do nothing.
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "IDevice.h"
#include "TavikLog/ITavikLog.h"

namespace Orvex {

class ALogger : public TavikLog::ILogSink, public TavikLog::IFilter, public TavikLog::IFilterOut {
 public:
  // Reads the configuration and starts what it asks for. Never throws: logging is off instead.
  ALogger();
  ALogger(const ALogger&) = delete;
  ALogger& operator=(const ALogger&) = delete;
  ~ALogger() override;

  // A record of each level; `userId` is the serial number of the camera concerned. The forms with a
  // device take it from there.
  static void Fatal(const std::string& message);
  static void Fatal(const std::string& userId, const std::string& message);
  static void Fatal(IDevice* pDevice, const std::string& message);
  static void Error(const std::string& message);
  static void Error(const std::string& userId, const std::string& message);
  static void Error(IDevice* pDevice, const std::string& message);
  static void Warn(const std::string& message);
  static void Warn(const std::string& userId, const std::string& message);
  static void Warn(IDevice* pDevice, const std::string& message);
  static void Info(const std::string& message);
  static void Info(const std::string& userId, const std::string& message);
  static void Info(IDevice* pDevice, const std::string& message);
  static void Debug(const std::string& message);
  static void Debug(const std::string& userId, const std::string& message);
  static void Debug(IDevice* pDevice, const std::string& message);
  static void Verbose(const std::string& message);
  static void Verbose(const std::string& userId, const std::string& message);
  static void Verbose(IDevice* pDevice, const std::string& message);

  // Completes the record with module and time and sends it.
  static void Log(nlohmann::json& record);
  // 1 when the transport took the record, 0 when logging is off.
  static int SendLog(const nlohmann::json& record);

  // Called by the transport.
  void OnLog(const std::string& text) override;
  int OnFilter(const std::string& text) override;
  int OnFilterOut(const std::string& text) override;

 private:
  void Configure(const nlohmann::json& configuration);

  uint16_t m_portOrvexIn = 0;
  uint16_t m_portOrvexOut = 0;
  int32_t m_levelOut = 400;
};

}  // namespace Orvex
