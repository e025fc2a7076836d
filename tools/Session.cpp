// SPDX-License-Identifier: Apache-2.0
#include "tools/Session.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "tools/Addresses.h"
#include "tools/Failure.h"
#include "tools/Nodes.h"
#include "tools/Stop.h"

namespace OrvexTools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr Milliseconds sk_discoveryRound{200};
// How often a wait for a frame looks up to see whether to stop.
constexpr Milliseconds sk_waitStep{100};
// Silence after which the camera itself is asked whether it is still there, and how often again.
constexpr Milliseconds sk_silenceBeforeAsking{1000};
constexpr std::size_t sk_automaticBufferCount = std::numeric_limits<std::size_t>::max();

CameraFacts FactsOf(Orvex::DeviceInfo& info) {
  CameraFacts facts;
  facts.vendor = info.VendorName().c_str();
  facts.model = info.ModelName().c_str();
  facts.serial = info.SerialNumber().c_str();
  facts.userName = info.UserDefinedName().c_str();
  facts.version = info.DeviceVersion().c_str();
  facts.ip = info.IpAddressStr().c_str();
  facts.mask = info.SubnetMaskStr().c_str();
  facts.gateway = info.DefaultGatewayStr().c_str();
  facts.mac = info.MacAddressStr().c_str();
  facts.dhcp = info.IsDHCPConfigurationEnabled();
  facts.persistentIp = info.IsPersistentIpConfigurationEnabled();
  facts.linkLocal = info.IsLLAConfigurationEnabled();
  return facts;
}

std::vector<CameraFacts> FactsOf(const std::vector<FoundCamera>& cameras) {
  std::vector<CameraFacts> facts;
  for (const FoundCamera& camera : cameras) facts.push_back(camera.facts);
  return facts;
}

}  // namespace

Library::Library(const std::vector<std::string>& unicast) {
  for (const std::string& address : unicast) ParseIp(address);
  m_pSystem = Orvex::OpenSystem();
  try {
    for (const std::string& address : unicast)
      m_pSystem->AddUnicastDiscoveryDevice(address.c_str());
  } catch (...) {
    Orvex::CloseSystem(m_pSystem);
    throw;
  }
}

Library::~Library() {
  try {
    Orvex::CloseSystem(m_pSystem);
  } catch (...) {
    // Nothing is left to be done with a library that does not close.
  }
}

std::vector<FoundCamera> Library::Devices() {
  std::vector<FoundCamera> cameras;
  for (Orvex::DeviceInfo& info : m_pSystem->GetDevices()) {
    CameraFacts facts = FactsOf(info);
    // A camera behind two interfaces of this host answers on both.
    const bool known =
        std::any_of(cameras.begin(), cameras.end(), [&facts](const FoundCamera& other) {
          return other.facts.mac == facts.mac && other.facts.serial == facts.serial &&
                 other.facts.ip == facts.ip;
        });
    if (!known) cameras.push_back({std::move(facts), info});
  }
  std::sort(cameras.begin(), cameras.end(), [](FoundCamera& left, FoundCamera& right) {
    return std::pair(left.info.IpAddress(), left.info.MacAddress()) <
           std::pair(right.info.IpAddress(), right.info.MacAddress());
  });
  return cameras;
}

std::vector<FoundCamera> Library::Discover(Milliseconds time) {
  m_pSystem->UpdateDevices(static_cast<std::uint64_t>(time.count()));
  return Devices();
}

FoundCamera Library::Find(std::string_view wanted, Milliseconds time) {
  const auto begin = Clock::now();
  while (true) {
    const auto cameras = Discover(std::min(time, sk_discoveryRound));
    for (const FoundCamera& camera : cameras) {
      if (IsExactly(camera.facts, wanted)) return cameras[MatchCamera(FactsOf(cameras), wanted)];
    }
    const Milliseconds limit = cameras.empty() ? std::max(time, sk_longDiscoveryTime) : time;
    if (StopRequested() || Clock::now() - begin >= limit)
      return cameras[MatchCamera(FactsOf(cameras), wanted)];
  }
}

Camera::Camera(Library& library, const FoundCamera& found, Access access)
    : m_library(library),
      m_facts(found.facts),
      m_pDevice(library.System().CreateDevice(found.info)) {
  if (access == Access::Read) return;
  const std::string status = AccessStatus();
  // The camera itself says ReadWrite, the transport layer that it is open for that.
  if (status.empty() || status == "ReadWrite" || status == "OpenReadWrite") return;
  library.System().DestroyDevice(std::exchange(m_pDevice, nullptr));
  throw Failure(
      fmt::format("camera {} is held by another application (access {}); close it there, or wait "
                  "until its heartbeat times out",
                  Describe(m_facts), status));
}

Camera::~Camera() {
  // A first attempt may fail on a camera that has gone, after having torn down this side; the
  // second then succeeds.
  for (int attempt = 0; attempt < 2 && m_pDevice != nullptr; ++attempt) {
    try {
      m_library.System().DestroyDevice(m_pDevice);
      m_pDevice = nullptr;
    } catch (...) {
      continue;
    }
  }
}

GenApi::INodeMap& Camera::Nodes() {
  GenApi::INodeMap* pNodes = m_pDevice->GetNodeMap();
  if (pNodes == nullptr)
    throw Failure(fmt::format("camera {} describes no features", Describe(m_facts)));
  return *pNodes;
}

std::string Camera::AccessStatus() {
  for (GenApi::INodeMap* pNodes : {m_pDevice->GetNodeMap(), m_pDevice->GetTLDeviceNodeMap()}) {
    const std::optional<std::string> status = TryRead(pNodes, "DeviceAccessStatus");
    if (status) return *status;
  }
  return {};
}

bool Camera::Answers() noexcept {
  try {
    if (!m_pDevice->IsConnected()) return false;
    GenApi::INode* pNode = Nodes().GetNode("PayloadSize");
    auto* pValue = dynamic_cast<GenApi::IInteger*>(pNode);
    if (pValue != nullptr && GenApi::IsReadable(pValue)) pValue->GetValue(false, true);
    return m_pDevice->IsConnected();
  } catch (...) {
    return false;
  }
}

Setting::Setting(Camera& camera, std::string feature, const std::string& value)
    : m_camera(camera), m_feature(std::move(feature)) {
  const std::optional<std::string> before = TryRead(&camera.Nodes(), m_feature.c_str());
  if (before == value) return;
  WriteFeature(camera.Nodes(), m_feature, value);
  m_before = before;
}

Setting::~Setting() {
  if (!m_before) return;
  try {
    WriteFeature(m_camera.Nodes(), m_feature, *m_before);
  } catch (...) {
    // The camera may have gone; there is nobody to tell it to.
  }
}

void FrameReturner::operator()(Orvex::IBuffer* pBuffer) const noexcept {
  try {
    pDevice->RequeueBuffer(pBuffer);
  } catch (...) {
    // The stream then runs with a buffer less, which its statistics show.
  }
}

void ImageDestroyer::operator()(Orvex::IImage* pImage) const noexcept {
  try {
    Orvex::ImageFactory::Destroy(pImage);
  } catch (...) {
    // Only images of the factory come here, and those it takes back while the library is open.
  }
}

Stream::Stream(Camera& camera, std::size_t buffers) : m_camera(camera) {
  m_camera.Device().StartStream(buffers == 0 ? sk_automaticBufferCount : buffers);
  m_running = true;
}

Stream::~Stream() {
  try {
    Stop();
  } catch (...) {
    // The camera has gone or does not answer; this side is torn down all the same.
  }
}

void Stream::Stop() {
  if (!std::exchange(m_running, false)) return;
  m_camera.Device().StopStream();
}

Frame Stream::Next(Milliseconds timeout) {
  Orvex::IDevice& device = m_camera.Device();
  try {
    return Frame(device.GetBuffer(static_cast<std::uint64_t>(timeout.count())),
                 FrameReturner{&device});
  } catch (const GenICam::TimeoutException&) {
    return Frame(nullptr, FrameReturner{&device});
  }
}

Failure LostCamera(const CameraFacts& camera) {
  return Failure(
      fmt::format("camera {} was lost: it does not answer any more; check its power and cable, "
                  "then run `orvex list`",
                  Describe(camera)));
}

Frame NextFrame(Camera& camera, Stream& stream, Milliseconds patience) {
  const auto begin = Clock::now();
  auto nextQuestion = begin + sk_silenceBeforeAsking;
  while (!StopRequested()) {
    Frame frame = stream.Next(sk_waitStep);
    if (frame) return frame;
    const auto now = Clock::now();
    if (now >= nextQuestion) {
      if (!camera.Answers()) throw LostCamera(camera.Facts());
      nextQuestion = Clock::now() + sk_silenceBeforeAsking;
    }
    if (now - begin >= patience) {
      const std::string trigger = TryRead(&camera.Nodes(), "TriggerMode").value_or("");
      const char* pAdvice =
          trigger == "On" ? "it waits for a trigger: send one, or run `orvex set TriggerMode Off`"
                          : "check that nothing on the way blocks UDP (firewall, packet size above "
                            "the network's MTU)";
      throw Failure(fmt::format("camera {} sent no frame for {} s; {}", Describe(camera.Facts()),
                                std::chrono::duration_cast<std::chrono::seconds>(patience).count(),
                                pAdvice));
    }
  }
  return Frame(nullptr, FrameReturner{&camera.Device()});
}

}  // namespace OrvexTools
