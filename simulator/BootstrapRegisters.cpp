// SPDX-License-Identifier: Apache-2.0
// The registers that every GigE Vision device has at fixed addresses.
#include <algorithm>

#include "gigevision/Bootstrap.h"
#include "gigevision/TcpStream.h"
#include "simulator/CameraCore.h"
#include "simulator/Limits.h"

namespace OrvexSim {

namespace B = GigEVision::Bootstrap;

namespace {

constexpr uint32_t sk_specification = 0x00020000;
constexpr uint32_t sk_ticksPerSecond = 1'000'000'000;
constexpr uint32_t sk_linkSpeedMbit = 10000;
constexpr uint32_t sk_pendingTimeoutMs = 200;
constexpr uint32_t sk_actionSignals = 4;
constexpr uint32_t sk_ipSupported = B::sk_ipLinkLocal | B::sk_ipDhcp | B::sk_ipPersistent;

constexpr uint32_t sk_gvcpCapabilities =
    B::sk_capUserName | B::sk_capSerialNumber | B::sk_capHeartbeatDisable | B::sk_capLinkSpeed |
    B::sk_capPrimaryApplication | B::sk_capDiscoveryAckDelay | B::sk_capExtendedStatus11 |
    B::sk_capSwitchover | B::sk_capUnconditionalAction | B::sk_capIeee1588 |
    B::sk_capExtendedStatus20 | B::sk_capScheduledAction | B::sk_capAction | B::sk_capPendingAck |
    B::sk_capEventData | B::sk_capEvent | B::sk_capPacketResend | B::sk_capWriteMem |
    B::sk_capConcatenation;
constexpr uint32_t sk_gvcpConfigurable = B::sk_cfgIeee1588 | B::sk_cfgExtendedStatus20 |
                                         B::sk_cfgUnconditionalAction | B::sk_cfgExtendedStatus11 |
                                         B::sk_cfgPendingAck | B::sk_cfgHeartbeatDisable;
constexpr uint32_t sk_streamCapabilities =
    B::sk_sccResendDestination | B::sk_sccUnconditionalStreaming | B::sk_sccExtendedChunk;

template <typename T>
std::function<uint32_t()> Value(const T& place) {
  return [&place] { return static_cast<uint32_t>(place); };
}
template <typename T>
std::function<Status(uint32_t)> Keep(T& place) {
  return [&place](uint32_t value) {
    place = static_cast<T>(value);
    return Status::Success;
  };
}
std::function<uint32_t()> Constant(uint32_t value) {
  return [value] { return value; };
}

}  // namespace

void CameraCore::AddBootstrapRegisters() {
  RegisterMap& map = m_registers;
  const auto text = [&](uint32_t address, size_t size, std::function<std::string()> get,
                        std::function<Status(std::string)> set = {}) {
    map.AddText(address, static_cast<uint32_t>(size), std::move(get), std::move(set));
  };
  // Identity and network.
  map.AddWord(B::sk_version, Constant(sk_specification));
  map.AddWord(B::sk_deviceMode, Constant(B::sk_deviceModeBigEndian | B::sk_deviceModeUtf8));
  map.AddWord(B::sk_macHigh, [this] { return static_cast<uint32_t>(network.mac >> 32); });
  map.AddWord(B::sk_macLow, [this] { return static_cast<uint32_t>(network.mac); });
  map.AddWord(B::sk_ipCapability, Constant(sk_ipSupported));
  map.AddWord(B::sk_ipConfiguration, Value(network.configuration), [this](uint32_t value) {
    network.configuration = (value & sk_ipSupported) | B::sk_ipLinkLocal;
    return KeepState();
  });
  map.AddWord(B::sk_currentIp, Value(network.ip));
  map.AddWord(B::sk_currentSubnetMask, Value(network.mask));
  map.AddWord(B::sk_currentGateway, Value(network.gateway));
  text(B::sk_manufacturerName, B::sk_manufacturerNameSize, [this] { return m_vendorName; });
  text(B::sk_modelName, B::sk_modelNameSize, [this] { return m_modelName; });
  text(B::sk_deviceVersion, B::sk_deviceVersionSize, [] { return std::string("1.0.0"); });
  text(B::sk_manufacturerInfo, B::sk_manufacturerInfoSize,
       [] { return std::string("virtual camera"); });
  text(B::sk_serialNumber, B::sk_serialNumberSize, [this] { return m_serial; });
  text(
      B::sk_userName, B::sk_userNameSize, [this] { return m_userName; },
      [this](std::string name) {
        m_userName = std::move(name);
        return KeepState();
      });
  text(B::sk_firstUrl, B::sk_urlSize, [this] { return m_url; });
  text(B::sk_secondUrl, B::sk_urlSize, [this] { return m_secondUrl; });
  map.AddWord(B::sk_interfaceCount, Constant(1));
  const auto persistent = [&](uint32_t address, uint32_t& place) {
    map.AddWord(address, Value(place), [this, &place](uint32_t value) {
      place = value;
      return KeepState();
    });
  };
  persistent(B::sk_persistentIp, network.persistentIp);
  persistent(B::sk_persistentSubnetMask, network.persistentMask);
  persistent(B::sk_persistentGateway, network.persistentGateway);
  map.AddWord(B::sk_linkSpeed, Constant(sk_linkSpeedMbit));
  map.AddReservedArea(B::sk_version, B::sk_userName + B::sk_userNameSize);
  map.AddReservedArea(B::sk_interfaceCount, B::sk_linkSpeed + 4);

  // Capabilities and control.
  map.AddWord(B::sk_messageChannelCount, Constant(1));
  map.AddWord(B::sk_streamChannelCount, Constant(1));
  map.AddWord(B::sk_actionSignalCount, Constant(sk_actionSignals));
  map.AddWord(B::sk_actionDeviceKey, {}, Keep(action.deviceKey));
  map.AddWord(B::sk_activeLinkCount, Constant(1));
  map.AddWord(B::sk_gvspCapability, Constant(B::sk_gvspCapSourcePort | B::sk_gvspCapLegacyIds));
  map.AddWord(B::sk_messageCapability, Constant(B::sk_messageCapSourcePort));
  map.AddWord(B::sk_gvcpCapability, Constant(sk_gvcpCapabilities));
  map.AddWord(B::sk_heartbeatTimeout, Value(control.heartbeatMs), [this](uint32_t value) {
    control.heartbeatMs = std::clamp(value, B::sk_minHeartbeatMs, sk_maxHeartbeatMs);
    return Status::Success;
  });
  map.AddWord(B::sk_tickFrequencyHigh, Constant(0));
  map.AddWord(B::sk_tickFrequencyLow, Constant(sk_ticksPerSecond));
  map.AddWord(B::sk_timestampControl, {}, [this](uint32_t value) {
    if ((value & B::sk_timestampLatch) != 0) m_latched = Now();
    if ((value & B::sk_timestampReset) != 0 && !ResetTimestamp()) return Status::AccessDenied;
    return Status::Success;
  });
  map.AddWord(B::sk_timestampHigh, [this] { return static_cast<uint32_t>(m_latched >> 32); });
  map.AddWord(B::sk_timestampLow, [this] { return static_cast<uint32_t>(m_latched); });
  map.AddWord(B::sk_discoveryAckDelay, Constant(0));
  map.AddWord(B::sk_gvcpConfiguration, Value(control.gvcpConfiguration), [this](uint32_t value) {
    control.gvcpConfiguration = value & sk_gvcpConfigurable;
    EnablePtp((value & B::sk_cfgIeee1588) != 0);
    return Status::Success;
  });
  map.AddWord(B::sk_pendingTimeout, Constant(sk_pendingTimeoutMs));
  map.AddWord(B::sk_switchoverKey, {}, [this](uint32_t value) {
    control.switchoverKey = value & 0xFFFF;
    return Status::Success;
  });
  map.AddWord(
      B::sk_gvspConfiguration,
      [this] { return stream.extendedIds ? B::sk_gvspCfgExtendedIds : 0u; },
      [this](uint32_t value) {
        if (acquisition.active) return Status::AccessDenied;
        stream.extendedIds = (value & B::sk_gvspCfgExtendedIds) != 0;
        return Status::Success;
      });
  map.AddWord(B::sk_linkCapability, Constant(1));
  map.AddWord(B::sk_linkConfiguration, Constant(0), [](uint32_t value) {
    return value == 0 ? Status::Success : Status::InvalidParameter;
  });
  map.AddWord(B::sk_ieee1588Status, [this] { return PtpState(); });
  map.AddWord(B::sk_scheduledActionQueueSize, Constant(sk_maxScheduledActions));
  map.AddWord(B::sk_ccp, Value(control.privilege),
              [this](uint32_t value) { return WriteCcp(value); });
  map.AddWord(B::sk_primaryPort,
              [this] { return control.owner ? uint32_t{control.owner->port} : 0u; });
  map.AddWord(B::sk_primaryIp, [this] { return control.owner ? control.owner->ip : 0u; });
  map.AddReservedArea(B::sk_messageChannelCount, B::sk_primaryIp + 4);
  for (uint32_t i = 0; i < sk_actionSignals; ++i) {
    map.AddWord(B::sk_actionGroupKey + B::sk_actionStride * i, Value(action.groupKey[i]),
                Keep(action.groupKey[i]));
    map.AddWord(B::sk_actionGroupMask + B::sk_actionStride * i, Value(action.groupMask[i]),
                Keep(action.groupMask[i]));
  }

  // Message channel.
  map.AddWord(B::sk_mcp, Value(message.port), [this](uint32_t value) {
    message.port = value & B::sk_portMask;
    if (message.port == 0) m_events.clear();
    return Status::Success;
  });
  map.AddWord(B::sk_mcda, Value(message.address), Keep(message.address));
  map.AddWord(B::sk_mctt, Value(message.timeoutMs), Keep(message.timeoutMs));
  map.AddWord(B::sk_mcrc, Value(message.retries), Keep(message.retries));
  map.AddWord(B::sk_mcsp, [this] { return messageSourcePort ? messageSourcePort() : 0u; });
  map.AddReservedArea(B::sk_mcp, B::sk_mcsp + 4);
  AddStreamRegisters();
  // A foreign description has its own registers in the manufacturer's space.
  if (m_options.descriptionFile.empty()) AddTcpRegisters();
}

void CameraCore::AddTcpRegisters() {
  namespace G = GigEVision;
  RegisterMap& map = m_registers;
  map.AddWord(G::sk_tcpSignatureRegister, Constant(G::sk_tcpSignature));
  map.AddWord(G::sk_tcpVersionRegister, Constant(uint32_t{G::sk_tcpMajor} << 16 | G::sk_tcpMinor));
  map.AddWord(G::sk_tcpPortRegister, [this] { return tcpPort ? tcpPort() : 0u; });
  map.AddWord(G::sk_tcpKeyRegister, Constant(0), [this](uint32_t key) {
    if (acquisition.active) return Status::WriteProtect;
    if (setTcpKey) setTcpKey(key);
    return Status::Success;
  });
  map.AddWord(G::sk_tcpStateRegister, [this] { return tcpConnected && tcpConnected() ? 1u : 0u; });
  map.AddWord(G::sk_tcpLimitRegister, Constant(G::sk_tcpUsualContent));
}

void CameraCore::AddStreamRegisters() {
  using S = B::Stream;
  RegisterMap& map = m_registers;
  map.AddWord(B::StreamRegister(S::Scp), Value(stream.port), [this](uint32_t value) {
    const uint32_t port = value & B::sk_portMask;
    if (stream.port == 0 && port != 0) ++stream.openCount;
    stream.port = port;
    m_changed.notify_all();
    return Status::Success;
  });
  map.AddWord(
      B::StreamRegister(S::Scps),
      [this] { return stream.packetSize | (stream.doNotFragment ? B::sk_scpsDoNotFragment : 0u); },
      [this](uint32_t value) { return WriteScps(value); });
  map.AddWord(B::StreamRegister(S::Scpd), Value(stream.packetDelay), Keep(stream.packetDelay));
  map.AddWord(B::StreamRegister(S::Scda), Value(stream.address), Keep(stream.address));
  map.AddWord(B::StreamRegister(S::Scsp),
              [this] { return streamSourcePort ? streamSourcePort() : 0u; });
  map.AddWord(B::StreamRegister(S::Scc), Constant(sk_streamCapabilities));
  map.AddWord(B::StreamRegister(S::Sccfg), Value(stream.configuration), [this](uint32_t value) {
    if (acquisition.active) return Status::AccessDenied;
    stream.configuration = value & sk_streamCapabilities;
    return Status::Success;
  });
  map.AddWord(B::StreamRegister(S::Scz), Constant(0));
  map.AddWord(B::StreamRegister(S::Sczd), Constant(0));
  map.AddReservedArea(B::sk_streamBase, B::StreamRegister(S::Sczd) + 4);
}

Status CameraCore::WriteScps(uint32_t value) {
  const uint32_t size = (value & B::sk_scpsSizeMask) / 4 * 4;
  if (acquisition.active) return Status::AccessDenied;
  if (size < sk_minPacketSize || size > m_options.maxPacketSize) return Status::InvalidParameter;
  stream.packetSize = size;
  stream.doNotFragment = (value & B::sk_scpsDoNotFragment) != 0;
  // A test packet that cannot be sent is not an error of the write: the host notices that it does
  // not arrive.
  if ((value & B::sk_scpsFireTestPacket) != 0 && sendTestPacket) sendTestPacket(size);
  return Status::Success;
}

Status CameraCore::WriteCcp(uint32_t value) {
  const uint32_t wanted = value & (B::sk_ccpExclusive | B::sk_ccpControl | B::sk_ccpSwitchover);
  const bool owner = control.owner && *control.owner == caller;
  if (control.owner && !owner) {
    const bool open =
        (control.privilege & (B::sk_ccpSwitchover | B::sk_ccpExclusive)) == B::sk_ccpSwitchover;
    if (!open || value >> 16 != control.switchoverKey || wanted == 0) return Status::AccessDenied;
    QueueEvent({sk_switchEventId, 0, Now(), {}});  // tells the old owner
    control.owner = caller;
  }
  const bool access = (wanted & (B::sk_ccpExclusive | B::sk_ccpControl)) != 0;
  if (!access) {
    if (control.owner) CloseControl();
    return Status::Success;
  }
  control.owner = caller;
  control.privilege = (wanted & B::sk_ccpExclusive) != 0 ? B::sk_ccpExclusive : wanted;
  control.lastHeard = Clock::now();
  return Status::Success;
}

}  // namespace OrvexSim
