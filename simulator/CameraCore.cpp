// SPDX-License-Identifier: Apache-2.0
#include "simulator/CameraCore.h"

#include <bit>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "gigevision/Bootstrap.h"
#include "gigevision/XmlUrl.h"
#include "simulator/ForeignDescription.h"
#include "simulator/Limits.h"
#include "simulator/Network.h"
#include "simulator/StateFile.h"
#include "simulator/Zip.h"

namespace OrvexSim {
namespace {

namespace B = GigEVision::Bootstrap;

constexpr uint32_t sk_featureBase = 0x00010000;
constexpr uint32_t sk_archiveBase = 0x01000000;
// Out of the way of other cameras' registers.
constexpr uint32_t sk_foreignArchiveBase = 0xE0000000, sk_foreignPlainBase = 0xE8000000;
constexpr uint32_t sk_pageBytes = 4096;
constexpr uint32_t sk_archiveBlock =
    512;  // one register each, so that reads never copy the whole archive
constexpr const char* sk_archiveName = "Orvex_VirtualCamera_1_0_0.zip";
constexpr const char* sk_descriptionName = "Orvex_VirtualCamera_1_0_0.xml";
constexpr auto sk_taiAheadOfUtc = std::chrono::seconds(37);
constexpr auto sk_ptpListening = std::chrono::milliseconds(200),
               sk_ptpSettled = std::chrono::milliseconds(600);
constexpr auto sk_resetTime = std::chrono::milliseconds(300);
constexpr uint64_t sk_macPrefix = 0x0256;  // locally administered

}  // namespace

CameraCore::CameraCore(CameraOptions options)
    : m_options(std::move(options)), m_epoch(Clock::now()) {
  const uint32_t ip = ParseAddress(m_options.address);
  FindInterface(ip, network);
  network.mac = sk_macPrefix << 32 | ip;
  network.configuration = B::sk_ipLinkLocal | B::sk_ipDhcp;
  m_serial = m_options.serial;
  if (m_serial.empty()) {
    char text[17];
    std::snprintf(text, sizeof text, "VC%06u", ip & 0xFFFFFF);
    m_serial = text;
  }
  m_userName = m_options.userName;
  if (m_serial.size() > B::sk_serialNumberSize || m_userName.size() > B::sk_userNameSize) {
    throw std::invalid_argument("serial number and user name have at most 16 characters");
  }
  if (m_options.maxPacketSize < sk_minPacketSize || m_options.maxPacketSize > sk_maxPacketSize) {
    throw std::invalid_argument("the largest packet size must be from 576 to 16384");
  }
  control.heartbeatMs = B::sk_defaultHeartbeatMs;

  m_model = MakeModel(m_options);
  if (!m_model) throw std::invalid_argument("unknown camera model '" + m_options.model + "'");
  m_modelName = m_model->Name();
  m_features.SetLock([this] { return TransportLocked(); });
  AddBootstrapRegisters();
  AddDeviceFeatures();
  m_model->AddFeatures(*this);
  AddChunkFeatures(m_features);
  AddEventFeatures(m_features);
  m_files.AddFeatures(m_features);
  m_eventNotification = &F("EventNotification");
  AddTransportFeatures();
  AddDerivedNodes();
  AddSimulatorFeatures();
  if (m_options.descriptionFile.empty()) {
    m_features.Build(m_registers, sk_featureBase);
    BuildDescription();
  } else {
    RegisterMap
        unused;  // the camera's own features keep working inside, but no address reaches them
    m_features.Build(unused, sk_featureBase);
    LoadDescription();
  }
  m_registers.Seal();
  ApplySettings();
  m_userSets.assign(3, FeatureValues::Of(m_features.Features()));
  if (!m_options.stateFile.empty()) RestoreState();
}

CameraCore::~CameraCore() = default;

void CameraCore::BuildDescription() {
  DescriptionHead head;
  head.modelName = "VirtualCamera";
  head.vendorName = m_vendorName;
  head.toolTip = m_model->Name();
  head.productGuid = "5D9A1E0C-3F64-4B7E-9C51-7A0E62D4B810";
  head.versionGuid = "A1C7F3B2-0D58-4E96-8B23-15E94F6D7C02";
  m_description = m_features.Xml(head);
  m_url = ServeFile(ZipOneFile(sk_descriptionName, m_description), sk_archiveName, sk_archiveBase);
}

void CameraCore::LoadDescription() {
  const std::string& path = m_options.descriptionFile;
  std::ifstream file(path, std::ios::binary);
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                             std::istreambuf_iterator<char>());
  if (!file || bytes.empty() || bytes.size() > sk_maxDescriptionBytes) {
    throw std::invalid_argument("cannot read the description '" + path + "'");
  }
  const std::string name = path.substr(path.find_last_of('/') + 1);
  if (bytes.size() > 2 && bytes[0] == 'P' && bytes[1] == 'K') {
    m_description = UnzipOneFile(bytes);
    m_url = ServeFile(std::move(bytes), name, sk_foreignArchiveBase);
  } else {
    // Zipped, because some hosts know no other form, and plain at the second place.
    m_description.assign(bytes.begin(), bytes.end());
    const std::string stem = name.substr(0, name.find_last_of('.'));
    m_url = ServeFile(ZipOneFile(name, m_description), stem + ".zip", sk_foreignArchiveBase);
    m_secondUrl = ServeFile(std::move(bytes), name, sk_foreignPlainBase);
  }
  m_registers.SetBacking(
      [this](uint32_t address, std::span<uint8_t> out) { return ReadPlain(address, out); },
      [this](uint32_t address, std::span<const uint8_t> in) { return WritePlain(address, in); });
  const ForeignDescription foreign(m_description);
  if (!foreign.VendorName().empty()) m_vendorName = foreign.VendorName();
  if (!foreign.ModelName().empty()) m_modelName = foreign.ModelName();
  BindForeign(foreign);
}

Status CameraCore::ReadPlain(uint32_t address, std::span<uint8_t> out) const {
  for (uint8_t& byte : out) {
    const auto it = m_pages.find(address / sk_pageBytes);
    byte = it == m_pages.end() ? uint8_t{0} : it->second[address % sk_pageBytes];
    ++address;
  }
  return Status::Success;
}

Status CameraCore::WritePlain(uint32_t address, std::span<const uint8_t> in) {
  for (const uint8_t byte : in) {
    auto it = m_pages.find(address / sk_pageBytes);
    if (it == m_pages.end()) {
      if (m_pages.size() >= sk_foreignMemoryPages) return Status::InvalidAddress;
      it = m_pages.emplace(address / sk_pageBytes, std::make_unique<uint8_t[]>(sk_pageBytes)).first;
    }
    it->second[address % sk_pageBytes] = byte;
    ++address;
  }
  return Status::Success;
}

std::string CameraCore::ServeFile(std::vector<uint8_t> bytes, const std::string& name,
                                  uint32_t base) {
  std::string url = GigEVision::FormatLocalUrl(name, base, bytes.size());
  bytes.resize((bytes.size() + 3) / 4 * 4, 0);
  const auto file = std::make_shared<const std::vector<uint8_t>>(std::move(bytes));
  for (uint32_t at = 0; at < file->size(); at += sk_archiveBlock) {
    const auto count = static_cast<uint32_t>(std::min<size_t>(sk_archiveBlock, file->size() - at));
    m_registers.Add({base + at,
                     count,
                     [this, file, at, count](std::span<uint8_t> out) {
                       std::copy_n(file->begin() + at, count, out.begin());
                       // Behind the first block: the archive still opens, its file does not.
                       if (at != 0 && F("SimBrokenDescription").Bool()) out[0] ^= 0xFF;
                     },
                     {}});
  }
  return url;
}

Feature& CameraCore::F(const char* name) const {
  Feature* feature = m_features.Find(name);
  if (feature == nullptr)
    throw std::logic_error(std::string("the model lacks the feature ") + name);
  return *feature;
}

uint64_t CameraCore::ToDeviceTime(Clock::time_point time) const {
  const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(time - m_epoch).count();
  return since > 0 ? static_cast<uint64_t>(since) : 1;
}
void CameraCore::EnablePtp(bool on) {
  if (on == m_ptpSince.has_value()) return;
  const Clock::time_point now = Clock::now();
  m_ptpSince.reset();
  m_epoch = now;
  if (!on) return;
  m_ptpSince = now;
  const auto sinceUnixEpoch =
      std::chrono::system_clock::now().time_since_epoch() + sk_taiAheadOfUtc;
  m_epoch = now - std::chrono::duration_cast<Clock::duration>(sinceUnixEpoch);
}

// A simulated master is found after a while, as on a real network.
uint32_t CameraCore::PtpState() const {
  constexpr uint32_t sk_disabled = 3, sk_listening = 4, sk_uncalibrated = 8, sk_slave = 9;
  if (!m_ptpSince) return sk_disabled;
  const auto since = Clock::now() - *m_ptpSince;
  return since < sk_ptpListening ? sk_listening
         : since < sk_ptpSettled ? sk_uncalibrated
                                 : sk_slave;
}

bool CameraCore::ResetTimestamp() {
  if (m_ptpSince) return false;
  m_epoch = Clock::now();
  return true;
}

uint64_t CameraCore::Now() const {
  return ToDeviceTime(Clock::now());
}

bool CameraCore::TransportLocked() const {
  return acquisition.active || m_tlParamsLocked->Bool();
}

size_t CameraCore::PayloadSize() const {
  return BytesWithChunks(TakeChunkPlan(m_features), m_model->PayloadBytes());
}

void CameraCore::StartAcquisition() {
  if (acquisition.active) return;
  const int64_t mode = F("AcquisitionMode").Int();
  acquisition.framesLeft = mode == 1   ? 1
                           : mode == 2 ? static_cast<uint64_t>(F("AcquisitionFrameCount").Int())
                                       : 0;
  acquisition.triggers.clear();
  acquisition.active = true;
  ++acquisition.session;
  Notify(EventKind::AcquisitionStart, 0, Now());
  m_changed.notify_all();
}

void CameraCore::StopAcquisition() {
  if (acquisition.active) Notify(EventKind::AcquisitionEnd, 0, Now());
  acquisition.active = false;
  acquisition.triggers.clear();
  m_changed.notify_all();
}

void CameraCore::Trigger() {
  if (!acquisition.active || !F("TriggerMode").Bool()) return;
  const bool room = acquisition.triggers.size() < sk_maxQueuedTriggers;
  if (room) acquisition.triggers.push_back(Clock::now());
  Notify(room ? EventKind::FrameTrigger : EventKind::FrameTriggerMissed, 0, Now());
  m_changed.notify_all();
}

void CameraCore::QueueEvent(DeviceEvent event) {
  if (message.port == 0 || m_events.size() >= sk_maxEventQueue) return;
  m_events.push_back(std::move(event));
  if (wakeControl) wakeControl();
}

void CameraCore::Notify(EventKind kind, uint64_t blockId, uint64_t timestamp) {
  if (F("CounterEventSource").Int() == static_cast<int64_t>(kind) + 1) ++m_counter;
  if (message.port == 0 || !m_eventNotification->Bool(static_cast<size_t>(kind))) return;
  std::vector<uint8_t> data(8);
  GigEVision::StoreBe64(data.data(), blockId);
  QueueEvent({AllEvents()[static_cast<size_t>(kind)].id, blockId, timestamp, std::move(data)});
}

std::deque<DeviceEvent> CameraCore::TakeEvents() {
  return std::exchange(m_events, {});
}

void CameraCore::CloseControl() {
  control.owner.reset();
  control.privilege = 0;
  if (setTcpKey) setTcpKey(0);
  message = {};
  m_events.clear();
  m_tlParamsLocked->Force(0);
  if ((stream.configuration & B::sk_sccfgUnconditionalStreaming) == 0) {
    StopAcquisition();
    stream.port = 0;
  }
  m_changed.notify_all();
}

void CameraCore::LoadUserSet(int64_t index) {
  m_userSets.at(static_cast<size_t>(index)).ApplyTo(m_features.Features());
}

Status CameraCore::SaveUserSet(int64_t index) {
  if (index == 0) return Status::AccessDenied;  // the factory values stay
  m_userSets.at(static_cast<size_t>(index)) = FeatureValues::Of(m_features.Features());
  return KeepState();
}

void CameraCore::RestoreState() {
  CameraState state;
  if (!ReadState(m_options.stateFile, state)) return;
  for (size_t i = 0; i < state.userSets.size() && i + 1 < m_userSets.size(); ++i)
    m_userSets[i + 1].Take(state.userSets[i], m_features.Features());
  if (m_options.userName.empty()) m_userName = state.userName.substr(0, B::sk_userNameSize);
  network.configuration = (state.ipConfiguration & B::sk_ipPersistent) | network.configuration;
  network.persistentIp = state.persistentIp;
  network.persistentMask = state.persistentMask;
  network.persistentGateway = state.persistentGateway;
  if (IsError(F("UserSetDefault").SetInt(state.defaultSet)) || state.defaultSet == 0) return;
  LoadUserSet(state.defaultSet);
  ApplySettings();  // what was asked for now counts more
}

Status CameraCore::KeepState() {
  if (m_options.stateFile.empty()) return Status::Success;
  const CameraState state{{m_userSets.begin() + 1, m_userSets.end()},
                          m_userName,
                          F("UserSetDefault").Int(),
                          network.configuration,
                          network.persistentIp,
                          network.persistentMask,
                          network.persistentGateway};
  return WriteState(m_options.stateFile, state) ? Status::Success : Status::LocalProblem;
}

void CameraCore::ResetDevice() {
  CloseControl();
  StopAcquisition();
  stream = {};
  LoadUserSet(F("UserSetDefault").Int());
  m_epoch = Clock::now();
  silentUntil = m_epoch + sk_resetTime;
}

void CameraCore::ApplySettings() {
  for (const auto& [name, value] : m_options.settings) SetFeature(name, value);
}

Feature& CameraCore::Named(const std::string& name) const {
  Feature* feature = m_features.Find(name);
  if (feature == nullptr) throw std::invalid_argument("the camera has no feature '" + name + "'");
  return *feature;
}

void CameraCore::SetFeature(const std::string& name, const std::string& value) {
  Feature& feature = Named(name);
  Status status = feature.SetFromText(value);
  if (const uint32_t mask = feature.BootstrapMask(); mask != 0 && !IsError(status)) {
    uint32_t word = 0;
    m_registers.ReadWord(feature.Address(), word);
    const auto bits = static_cast<uint32_t>(feature.Int()) << std::countr_zero(mask);
    status = m_registers.WriteWord(feature.Address(), (word & ~mask) | (bits & mask));
  }
  if (IsError(status))
    throw std::invalid_argument("'" + value + "' cannot be the value of " + name);
}

std::string CameraCore::GetFeature(const std::string& name) {
  Feature& feature = Named(name);
  if (const uint32_t mask = feature.BootstrapMask(); mask != 0) {
    uint32_t word = 0;
    m_registers.ReadWord(feature.Address(), word);
    feature.Force((word & mask) >> std::countr_zero(mask));
  }
  return feature.ToText();
}

}  // namespace OrvexSim
