// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ALogger.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <limits>
#include <mutex>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "GenApiCustom.h"
#include "Orvex/LogSinks.h"

namespace Orvex {
namespace {

using nlohmann::json;

constexpr const char* sk_configurationFile = "tavik_log.conf";

constexpr struct {
  const char* key;
  LogSinkKind kind;
} sk_sinkKeys[] = {
    {"console", LogSinkKind::Console},
    {"json", LogSinkKind::Json},
    {"file", LogSinkKind::File},
};

std::mutex g_instanceMutex;
TavikLog::ITavikLog* g_pInstance = nullptr;  // by g_instanceMutex

// Records that are on their way are written, then the sinks stop.
void EndLogging() {
  {
    const std::lock_guard lock(g_instanceMutex);
    if (std::exchange(g_pInstance, nullptr) != nullptr) TavikLog::Deinit();
  }
  for (const auto& row : sk_sinkKeys) StopLogSink(row.kind);
}

// A process that ends without closing the library would lose its last records. A fork of it has
// none of the threads, so it is left alone.
void EndLoggingWithTheProcess() {
  static std::atomic<pid_t> s_process;
  s_process = ::getpid();
  static const int sk_registered = std::atexit([] {
    if (::getpid() == s_process) EndLogging();
  });
  static_cast<void>(sk_registered);
}

// Conversions of the JSON library fold numbers into the type; one that does not fit is a mistake.
template <typename Number>
Number NumberOf(const json& value) {
  if (!value.is_number_integer()) throw std::invalid_argument("no whole number");
  const auto number = value.get<double>();  // exact within the range of every type used here
  if (number < std::numeric_limits<Number>::min() || number > std::numeric_limits<Number>::max())
    throw std::out_of_range("number out of range");
  return static_cast<Number>(number);
}

// Null when there is no such file.
json ReadConfiguration() {
  std::ifstream file(sk_configurationFile);
  if (!file) return {};
  std::string text;
  for (std::string line; std::getline(file, line);) text += line;
  return json::parse(text);
}

void LogAt(int level, const std::string& userId, const std::string& message) {
  try {
    json record{{"userid", userId}, {"message", message}, {"level", level}};
    ALogger::Log(record);
  } catch (const std::exception&) {  // logging never fails whoever logs
  }
}

std::string SerialNumberOf(IDevice* pDevice) {
  try {
    if (pDevice == nullptr) return {};
    return GetNodeValue<GenICam::gcstring>(pDevice->GetNodeMap(), "DeviceSerialNumber").c_str();
  } catch (...) {
    return {};
  }
}

}  // namespace

ALogger::ALogger() {
  try {
    const json configuration = ReadConfiguration();
    TavikLog::ITavikLog* pInstance = TavikLog::Init();
    {
      const std::lock_guard lock(g_instanceMutex);
      g_pInstance = pInstance;
    }
    if (pInstance != nullptr) Configure(configuration);
  } catch (...) {
    {
      const std::lock_guard lock(g_instanceMutex);
      g_pInstance = nullptr;
    }
    TavikLog::Deinit();
  }
}

void ALogger::Configure(const json& configuration) {
  const json& ports = configuration.at("ports");
  m_portOrvexIn = NumberOf<uint16_t>(ports.at("orvex_in"));
  m_portOrvexOut = NumberOf<uint16_t>(ports.at("orvex_out"));
  m_levelOut = NumberOf<int32_t>(configuration.at("levels").at("orvex"));
  const auto portQxIn = NumberOf<uint16_t>(ports.at("qx_in"));
  EndLoggingWithTheProcess();

  TavikLog::ITavikLog& transport = *g_pInstance;
  transport.RegisterOutPort(m_portOrvexOut);
  static_cast<void>(transport.RegisterInPort(m_portOrvexIn));
  transport.RegisterReader(portQxIn);
  transport.RegisterReader(m_portOrvexIn);  // so that this process's records come back to its sinks
  transport.RegisterLogSink(this);
  transport.RegisterFilter(this);
  transport.RegisterFilterOut(this);

  const json& logging = configuration.at("logging");
  for (const auto& [key, kind] : sk_sinkKeys) {
    if (logging.at(key).get<bool>()) StartLogSink(kind);
  }
}

ALogger::~ALogger() {
  try {
    {
      const std::lock_guard lock(g_instanceMutex);
      if (g_pInstance != nullptr) {
        g_pInstance->UnregisterInPort(m_portOrvexIn);
        g_pInstance->UnregisterOutPort(m_portOrvexOut);
      }
    }
    EndLogging();
  } catch (...) {
  }
}

void ALogger::Log(json& record) {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  record["module"] = "Orvex";
  record["timestamp"] = std::to_string(duration_cast<milliseconds>(now).count());
  static_cast<void>(SendLog(record));
}

int ALogger::SendLog(const json& record) {
  // A text that is no UTF-8, such as a camera's, is mended rather than lost.
  const std::string text = record.dump(-1, ' ', false, json::error_handler_t::replace);
  const std::lock_guard lock(g_instanceMutex);
  if (g_pInstance == nullptr) return 0;
  static_cast<void>(g_pInstance->Send(text));
  return 1;
}

void ALogger::OnLog(const std::string& text) {
  PushToLogSink(LogSinkKind::Json, text);
  PushToLogSink(LogSinkKind::Console, text);
  PushToLogSink(LogSinkKind::File, text);
}

int ALogger::OnFilter(const std::string&) {
  return 1;
}

int ALogger::OnFilterOut(const std::string& text) {
  try {
    return json::parse(text).at("level").get<int>() <= m_levelOut ? 1 : 0;
  } catch (const std::exception&) {
    return 0;
  }
}

#define ORVEX_LEVEL(Name, level)                                              \
  void ALogger::Name(const std::string& message) {                            \
    LogAt(level, {}, message);                                                \
  }                                                                           \
  void ALogger::Name(const std::string& userId, const std::string& message) { \
    LogAt(level, userId, message);                                            \
  }                                                                           \
  void ALogger::Name(IDevice* pDevice, const std::string& message) {          \
    LogAt(level, SerialNumberOf(pDevice), message);                           \
  }
ORVEX_LEVEL(Fatal, 100)
ORVEX_LEVEL(Error, 200)
ORVEX_LEVEL(Warn, 300)
ORVEX_LEVEL(Info, 400)
ORVEX_LEVEL(Debug, 500)
ORVEX_LEVEL(Verbose, 600)
#undef ORVEX_LEVEL

}  // namespace Orvex
