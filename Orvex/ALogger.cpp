// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ALogger.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <iterator>
#include <mutex>
#include <nlohmann/json.hpp>

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
  } catch (const std::exception&) {  // a text that is no UTF-8 cannot be logged
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
  m_portOrvexIn = ports.at("orvex_in").get<uint16_t>();
  m_portOrvexOut = ports.at("orvex_out").get<uint16_t>();
  m_levelOut = configuration.at("levels").at("orvex").get<int32_t>();
  const uint16_t portQxIn = ports.at("qx_in").get<uint16_t>();

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
    TavikLog::ITavikLog* pInstance = nullptr;
    {
      const std::lock_guard lock(g_instanceMutex);
      std::swap(pInstance, g_pInstance);
    }
    if (pInstance != nullptr) {
      pInstance->UnregisterInPort(m_portOrvexIn);
      pInstance->UnregisterOutPort(m_portOrvexOut);
      TavikLog::Deinit();
    }
    for (const auto& row : sk_sinkKeys) StopLogSink(row.kind);
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
  const std::string text = record.dump();
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

const char* LevelName(int level) {
  constexpr const char* sk_names[] = {"FATAL", "ERROR", "WARNING", "INFO", "DEBUG", "VERBOSE"};
  const bool known = level % 100 == 0 && level >= 100 && level <= 600;
  return known ? sk_names[level / 100 - 1] : "NOLOG";
}

std::string RecordText(const std::string& record) {
  const json fields = json::parse(record);
  const int64_t milliseconds = std::stoll(fields.at("timestamp").get<std::string>());
  const std::time_t seconds = milliseconds / 1000;
  std::tm local{};
  ::localtime_r(&seconds, &local);
  char time[40];
  std::snprintf(time, sizeof(time), "[ %02d:%02d:%02d.%03d", local.tm_hour, local.tm_min,
                local.tm_sec, static_cast<int>(milliseconds % 1000));
  const auto padded = [](const std::string& text, size_t width) {
    return text.size() < width ? std::string(width - text.size(), '.') + text : text;
  };
  std::string text = time;
  text += " ] :: [ " + padded(LevelName(fields.at("level").get<int>()), 7);
  text += " ] :: [ " + padded(fields.at("module").get<std::string>(), 9) + " ] ||>  ";
  const std::string userId = fields.at("userid").get<std::string>();
  if (!userId.empty()) text += "(" + userId + ") ";
  return text + fields.at("message").get<std::string>() + "\n";
}

}  // namespace Orvex
