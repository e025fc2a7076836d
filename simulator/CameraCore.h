#pragma once
// SPDX-License-Identifier: Apache-2.0
// The inside of one virtual camera: features and registers, who controls it, what it acquires. The
// control server and the streamer, each on its own thread, meet here. Everything is guarded by
// Mutex() unless said otherwise; functions that need it held say so by taking a Lock.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "simulator/CameraOptions.h"
#include "simulator/Chunks.h"
#include "simulator/Events.h"
#include "simulator/Faults.h"
#include "simulator/Feature.h"
#include "simulator/FileStore.h"
#include "simulator/Model.h"

namespace OrvexSim {

class ForeignDescription;

using Clock = std::chrono::steady_clock;

struct Endpoint {
  uint32_t ip = 0;  // host order
  uint16_t port = 0;
  bool operator==(const Endpoint&) const = default;
};

// Bootstrap state of the network interface. Addresses are in host order.
struct NetworkState {
  uint64_t mac = 0;
  uint32_t ip = 0, mask = 0, gateway = 0, broadcast = 0;
  uint32_t mtu = 1500;
  uint32_t configuration = 0;
  uint32_t persistentIp = 0, persistentMask = 0, persistentGateway = 0;
};

struct ControlState {
  std::optional<Endpoint> owner;
  uint32_t privilege = 0;  // low bits of the CCP register
  uint32_t switchoverKey = 0;
  uint32_t heartbeatMs = 0;
  uint32_t gvcpConfiguration = 0;
  Clock::time_point lastHeard;
};

struct MessageState {
  uint32_t port = 0, address = 0, timeoutMs = 0, retries = 0;
};

struct StreamState {
  uint32_t port = 0, address = 0;
  uint32_t packetSize = 1500;
  bool doNotFragment = false;
  uint32_t packetDelay = 0;  // ticks
  uint32_t configuration = 0;
  bool extendedIds = false;
  uint64_t openCount = 0;  // grows whenever the channel opens, which restarts the block ids
};

struct ActionState {
  uint32_t deviceKey = 0;
  uint32_t groupKey[4] = {}, groupMask[4] = {};
};

struct AcquisitionState {
  bool active = false;
  uint64_t session = 0;                    // grows with every start
  uint64_t framesLeft = 0;                 // 0 = endless
  std::deque<Clock::time_point> triggers;  // not yet used
};

struct DeviceEvent {
  uint16_t id = 0;
  uint64_t blockId = 0;
  uint64_t timestamp = 0;
  std::vector<uint8_t> data;
};

inline constexpr int64_t sk_firstActionTrigger = 2, sk_lineTrigger = 6;  // of TriggerSource

class CameraCore {
 public:
  // Throws std::invalid_argument for an unknown model, an address that is none of this machine, or
  // a bad start value.
  explicit CameraCore(CameraOptions options);
  ~CameraCore();

  std::mutex& Mutex() { return m_mutex; }
  // The streaming thread waits here; notified on every change that may concern it.
  std::condition_variable& Changed() { return m_changed; }

  const CameraOptions& Options() const { return m_options; }  // immutable
  Model& TheModel() { return *m_model; }
  FeatureTable& Features() { return m_features; }
  RegisterMap& Registers() { return m_registers; }

  NetworkState network;
  ControlState control;
  MessageState message;
  StreamState stream;
  // Registers that refuse all access, and those that take SimSlowTime to answer.
  std::vector<AddressRange> deniedRegisters, slowRegisters;
  ActionState action;
  AcquisitionState acquisition;
  bool exposing = false;
  Clock::time_point silentUntil;        // neither hears nor says anything before
  std::optional<uint32_t> nextAddress;  // the control thread is to move there
  // Counted since the camera was made; any thread.
  std::atomic<uint64_t> framesSent = 0, resendRequests = 0, packetsResent = 0;
  Endpoint caller;  // who sent the command being handled

  // ---- device clock: nanoseconds; any thread ----
  uint64_t Now() const;
  uint64_t ToDeviceTime(Clock::time_point time) const;

  // ---- with the lock held ----
  void StartAcquisition();
  void StopAcquisition();
  bool TransportLocked() const;
  void Trigger();  // as from any enabled trigger source
  // Puts an event into the message channel's queue, if the host has opened it.
  void QueueEvent(DeviceEvent event);
  // The same for an event that the host may have switched on; carries the block id as data.
  void Notify(EventKind kind, uint64_t blockId, uint64_t timestamp);
  std::deque<DeviceEvent> TakeEvents();
  // With all checks of a write from the host. Throws std::invalid_argument.
  void SetFeature(const std::string& name, const std::string& value);
  std::string GetFeature(const std::string& name);
  void CloseControl();  // the owner left or fell silent
  Status WriteCcp(uint32_t value);
  std::string Serial() const { return m_serial; }
  const std::string& Description() const { return m_description; }  // immutable
  size_t PayloadSize() const;
  void LoadUserSet(int64_t index);
  Status SaveUserSet(int64_t index);
  void ResetDevice();
  // Asks the control server to take this long for the command being handled.
  void DelayAnswer(uint32_t milliseconds) { m_answerDelayMs = milliseconds; }
  uint32_t TakeAnswerDelay() { return std::exchange(m_answerDelayMs, 0u); }

  // Set by the servers before the threads start.
  std::function<void()> wakeControl;                  // something is queued for the control thread
  std::function<bool(uint32_t size)> sendTestPacket;  // on the stream channel
  std::function<uint32_t()> streamSourcePort, messageSourcePort;
  // The stream channel over TCP: its port, whether a host is connected, a new key (0 closes).
  std::function<uint32_t()> tcpPort;
  std::function<bool()> tcpConnected;
  std::function<void(uint32_t key)> setTcpKey;

  Feature& F(const char* name) const;  // a feature that must exist

 private:
  void AddDeviceFeatures();      // CoreFeatures.cpp: identity, user sets, acquisition
  void AddInputFeatures();       // InputFeatures.cpp: lines, counter, timer, sequencer
  void SetLine(bool level);      // of Line0
  uint32_t LineStatus() const;   // bit 0 is Line0
  void AddPtpFeatures();         // TransportFeatures.cpp
  void AddDerivedNodes();        // DerivedNodes.cpp
  void AddSimulatorFeatures();   // CoreFeatures.cpp
  void AddTransportFeatures();   // TransportFeatures.cpp
  void AddBootstrapRegisters();  // BootstrapRegisters.cpp
  void AddStreamRegisters();
  void AddTcpRegisters();
  void BuildDescription();
  void LoadDescription();
  Feature& Named(const std::string& name) const;
  struct ForeignField;  // ForeignCamera.cpp
  void BindForeign(const ForeignDescription& foreign);
  void AddForeignRegister(std::vector<ForeignField> fields);
  Status ReadPlain(uint32_t address, std::span<uint8_t> out) const;
  Status WritePlain(uint32_t address, std::span<const uint8_t> in);
  // Puts a file into memory; its URL.
  std::string ServeFile(std::vector<uint8_t> bytes, const std::string& name, uint32_t base);
  void ApplySettings();
  void RestoreState();
  Status KeepState();  // an error when the file cannot be written
  Status WriteScps(uint32_t value);
  void EnablePtp(bool on);
  uint32_t PtpState() const;
  bool ResetTimestamp();  // false while the clock follows a master

  const CameraOptions m_options;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::unique_ptr<Model> m_model;
  FeatureTable m_features;
  RegisterMap m_registers;
  std::string m_vendorName = "Orvex", m_modelName;
  std::string m_serial, m_userName, m_url, m_secondUrl, m_description;
  std::unordered_map<uint32_t, std::unique_ptr<uint8_t[]>> m_pages;  // behind a foreign description
  Clock::time_point m_epoch;
  uint64_t m_latched = 0;
  std::optional<Clock::time_point> m_ptpSince;  // while the clock follows a (simulated) master
  FileStore m_files;
  uint32_t m_answerDelayMs = 0;
  std::deque<DeviceEvent> m_events;
  std::vector<FeatureValues> m_userSets;  // 0: factory values
  Feature* m_tlParamsLocked = nullptr;
  Feature* m_eventNotification = nullptr;
  uint64_t m_testEvents = 0;
  bool m_line = false;
  uint32_t m_counter = 0;
  struct PtpData {
    int64_t offset = 0, delay = 0;  // ns
    bool slave = false;
  };
  PtpData MeasurePtp() const;
  PtpData m_ptpData;  // as latched
};

}  // namespace OrvexSim
