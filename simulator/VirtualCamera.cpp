// SPDX-License-Identifier: Apache-2.0
#include "simulator/VirtualCamera.h"

#include "simulator/ControlServer.h"
#include "simulator/Streamer.h"

namespace OrvexSim {

struct VirtualCamera::Parts {
  explicit Parts(CameraOptions options)
      : core(std::move(options)), tcp(core), streamer(core, tcp), control(core, streamer, tcp) {
    core.tcpPort = [this] { return uint32_t{tcp.Port()}; };
    core.tcpConnected = [this] { return tcp.Accepted(); };
    core.setTcpKey = [this](uint32_t key) {
      if (key == 0) {
        tcp.Close();
      } else {
        tcp.SetKey(key);
      }
    };
    core.streamSourcePort = [this] { return uint32_t{streamer.Port()}; };
    core.sendTestPacket = [this](uint32_t size) {
      return streamer.SendTest(size,
                               {core.stream.address, static_cast<uint16_t>(core.stream.port)});
    };
  }
  CameraCore core;
  TcpChannel tcp;
  Streamer streamer;
  ControlServer control;
  bool running = false;
};

VirtualCamera::VirtualCamera(CameraOptions options)
    : m_parts(std::make_unique<Parts>(std::move(options))) {}

VirtualCamera::~VirtualCamera() {
  Stop();
}

void VirtualCamera::Start() {
  if (m_parts->running) return;
  m_parts->streamer.Start();
  m_parts->control.Start();
  m_parts->running = true;
}

void VirtualCamera::Stop() {
  if (!m_parts->running) return;
  m_parts->control.Stop();
  m_parts->streamer.Stop();
  m_parts->running = false;
  const std::lock_guard lock(m_parts->core.Mutex());
  m_parts->core.CloseControl();
}

void VirtualCamera::Set(const std::string& feature, const std::string& value) {
  const std::lock_guard lock(m_parts->core.Mutex());
  m_parts->core.SetFeature(feature, value);
}

std::string VirtualCamera::Get(const std::string& feature) const {
  const std::lock_guard lock(m_parts->core.Mutex());
  return m_parts->core.GetFeature(feature);
}

std::string VirtualCamera::Address() const {
  const std::lock_guard lock(m_parts->core.Mutex());
  return AddressText(m_parts->core.network.ip);
}
std::string VirtualCamera::Serial() const {
  return m_parts->core.Serial();
}
std::string VirtualCamera::ModelName() const {
  return m_parts->core.TheModel().Name();
}
std::string VirtualCamera::Description() const {
  return m_parts->core.Description();
}
std::vector<std::string> VirtualCamera::Models() {
  return ModelNames();
}

}  // namespace OrvexSim
