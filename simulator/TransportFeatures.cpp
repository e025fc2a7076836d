// SPDX-License-Identifier: Apache-2.0
// The rows of TransportLayerControl: mostly views of bootstrap registers.
#include <cmath>
#include <iterator>
#include <string>

#include "gigevision/Bootstrap.h"
#include "simulator/CameraCore.h"
#include "simulator/Limits.h"

namespace OrvexSim {

namespace B = GigEVision::Bootstrap;

namespace {

constexpr uint64_t sk_masterMac = 0x025600000001;
constexpr uint32_t sk_ptpSlave = 9;

// The identity that follows from a MAC address: 0xFFFE in its middle.
int64_t ClockId(uint64_t mac) {
  return static_cast<int64_t>((mac >> 24) << 40 | uint64_t{0xFFFE} << 24 | (mac & 0xFFFFFF));
}

// A feature over the words of the action registers that ActionSelector picks.
void AddActionWord(FeatureTable& t, const std::string& name, uint32_t address,
                   const std::string& docu) {
  t.Node(name,
         "  <Integer Name=\"" + name + "\" NameSpace=\"Standard\">\n    <ToolTip>" + docu +
             "</ToolTip>\n    <Visibility>Guru</Visibility>\n    <pValue>" + name +
             "_Value</pValue>\n    <Representation>HexNumber</Representation>\n  </Integer>\n"
             "  <IntReg Name=\"" +
             name +
             "_Value\" NameSpace=\"Custom\">\n    <Visibility>Invisible</Visibility>\n"
             "    <Address>" +
             std::to_string(address) + "</Address>\n    <pIndex Offset=\"" +
             std::to_string(B::sk_actionStride) +
             "\">ActionSelector</pIndex>\n    <Length>4</Length>\n"
             "    <AccessMode>RW</AccessMode>\n    <pPort>Device</pPort>\n"
             "    <Sign>Unsigned</Sign>\n    <Endianess>BigEndian</Endianess>\n  </IntReg>\n");
}

void AddActionFeatures(FeatureTable& t) {
  t.Category("ActionControl", "Action commands, which many cameras obey at once.");
  t.Enumeration("ActionUnconditionalMode", {{"Off", 0}, {"On", 1}})
      .Guru()
      .AtBootstrap(B::sk_gvcpConfiguration, B::sk_cfgUnconditionalAction)
      .Docu("Whether actions of hosts that do not control the camera count while nobody does.");
  t.Integer("ActionDeviceKey")
      .Guru()
      .WriteOnly()
      .Representation("HexNumber")
      .Range(0, 0xFFFFFFFF)
      .AtBootstrap(B::sk_actionDeviceKey)
      .Docu("Key that an action command must carry to be meant for this camera.");
  t.Integer("ActionSelector")
      .Guru()
      .Range(0, std::size(ActionState().groupKey) - 1)
      .Transient()
      .Selects({"ActionGroupKey", "ActionGroupMask"})
      .Docu("Action that the following features set; 0 is the trigger source Action0.");
  AddActionWord(t, "ActionGroupKey", B::sk_actionGroupKey,
                "Group of cameras that the action is for.");
  AddActionWord(t, "ActionGroupMask", B::sk_actionGroupMask,
                "Acts when a bit is also set in the mask of the command.");
}

}  // namespace

void CameraCore::AddTransportFeatures() {
  FeatureTable& t = m_features;
  using S = B::Stream;
  constexpr const char* sk_ip = "IPV4Address";
  AddActionFeatures(t);
  t.Category("DeviceControl");
  t.Integer("DeviceStreamChannelPacketSize")
      .Expert()
      .Unit("B")
      .Locked()
      .AtBootstrap(B::StreamRegister(S::Scps), B::sk_scpsSizeMask)
      .Range(sk_minPacketSize, m_options.maxPacketSize, 4)
      .Docu("Size of stream packets, IP, UDP and GVSP headers included.");
  t.Integer("DeviceLinkHeartbeatTimeoutMs")
      .Custom()
      .Guru()
      .Unit("ms")
      .AtBootstrap(B::sk_heartbeatTimeout)
      .Range(B::sk_minHeartbeatMs, sk_maxHeartbeatMs)
      .Docu("How long the camera waits for a sign of its host.");
  t.Node("DeviceLinkHeartbeatTimeout",
         "  <Converter Name=\"DeviceLinkHeartbeatTimeout\" NameSpace=\"Standard\">\n"
         "    <ToolTip>How long the camera waits for a sign of its host.</ToolTip>\n"
         "    <Visibility>Guru</Visibility>\n"
         "    <FormulaTo>FROM / 1000</FormulaTo>\n    <FormulaFrom>TO * 1000</FormulaFrom>\n"
         "    <pValue>DeviceLinkHeartbeatTimeoutMs</pValue>\n    <Unit>us</Unit>\n    "
         "<Slope>Increasing</Slope>\n"
         "  </Converter>\n");

  t.Category("TransportLayerControl", "Sizes and settings of the transport.");
  t.Integer("PayloadSize")
      .ReadOnly()
      .Unit("B")
      .Size(8)
      .DependsOn({"Width", "Height", "PixelFormat", "BinningHorizontal", "BinningVertical",
                  "UserSetLoad", "ChunkModeActive", "ChunkEnable"})
      .Get([this] { return static_cast<int64_t>(PayloadSize()); })
      .Docu("Bytes of one frame.");
  m_tlParamsLocked =
      &t.Integer("TLParamsLocked")
           .Invisible()
           .Transient()
           .Range(0, 1)
           .Docu("Set by the host while it streams: what changes the payload is locked.");

  t.Boolean("TCPEnable")
      .Custom()
      .Expert()
      .Locked()
      .Docu("Whether hosts are to fetch the stream over a TCP connection.");
  t.Enumeration("TransportStreamProtocol", {{"UDP", 0}, {"TCP", 1}, {"RDMA", 2}})
      .Custom()
      .Expert()
      .Locked()
      .Docu("Protocol over which hosts are to fetch the stream; the camera has no RDMA device.");

  AddPtpFeatures();
  t.Category("GigEVision", "Registers of the GigE Vision standard.", "TransportLayerControl");
  t.Integer("GevVersionMajor")
      .ReadOnly()
      .Expert()
      .AtBootstrap(B::sk_version, 0xFFFF0000)
      .Docu("Version of the standard.");
  t.Integer("GevVersionMinor")
      .ReadOnly()
      .Expert()
      .AtBootstrap(B::sk_version, 0x0000FFFF)
      .Docu("Version of the standard.");
  t.Node(
      "GevMACAddress",
      "  <Integer Name=\"GevMACAddress\" NameSpace=\"Standard\">\n"
      "    <ToolTip>MAC address of the camera.</ToolTip>\n    "
      "<ImposedAccessMode>RO</ImposedAccessMode>\n"
      "    <pValue>GevMACAddress_Value</pValue>\n    <Representation>MACAddress</Representation>\n "
      " </Integer>\n"
      "  <MaskedIntReg Name=\"GevMACAddress_Value\" NameSpace=\"Custom\">\n"
      "    <Visibility>Invisible</Visibility>\n    <Address>0x8</Address>\n    <Length>8</Length>\n"
      "    <AccessMode>RO</AccessMode>\n    <pPort>Device</pPort>\n    <LSB>63</LSB>\n    "
      "<MSB>16</MSB>\n"
      "    <Sign>Unsigned</Sign>\n    <Endianess>BigEndian</Endianess>\n  </MaskedIntReg>\n");
  t.Boolean("GevCurrentIPConfigurationLLA")
      .Guru()
      .ReadOnly()
      .AtBootstrap(B::sk_ipConfiguration, B::sk_ipLinkLocal)
      .Docu("Whether the camera may choose a link-local address; always true.");
  t.Boolean("GevCurrentIPConfigurationDHCP")
      .Guru()
      .AtBootstrap(B::sk_ipConfiguration, B::sk_ipDhcp)
      .Docu("Whether the camera asks a DHCP server for its address.");
  t.Boolean("GevCurrentIPConfigurationPersistentIP")
      .Guru()
      .AtBootstrap(B::sk_ipConfiguration, B::sk_ipPersistent)
      .Docu("Whether the camera uses its persistent address.");
  t.Integer("GevCurrentIPAddress")
      .ReadOnly()
      .Representation(sk_ip)
      .AtBootstrap(B::sk_currentIp)
      .Volatile()
      .Docu("Address of the camera.");
  t.Integer("GevCurrentSubnetMask")
      .ReadOnly()
      .Representation(sk_ip)
      .AtBootstrap(B::sk_currentSubnetMask)
      .Volatile()
      .Docu("Subnet mask of the camera.");
  t.Integer("GevCurrentDefaultGateway")
      .ReadOnly()
      .Representation(sk_ip)
      .AtBootstrap(B::sk_currentGateway)
      .Volatile()
      .Docu("Gateway of the camera.");
  t.Integer("GevPersistentIPAddress")
      .Guru()
      .Representation(sk_ip)
      .AtBootstrap(B::sk_persistentIp)
      .Docu("Address used when the persistent configuration is enabled.");
  t.Integer("GevPersistentSubnetMask")
      .Guru()
      .Representation(sk_ip)
      .AtBootstrap(B::sk_persistentSubnetMask)
      .Docu("Subnet mask of the persistent configuration.");
  t.Integer("GevPersistentDefaultGateway")
      .Guru()
      .Representation(sk_ip)
      .AtBootstrap(B::sk_persistentGateway)
      .Docu("Gateway of the persistent configuration.");
  t.Integer("GevLinkSpeed")
      .ReadOnly()
      .Expert()
      .Unit("Mbps")
      .AtBootstrap(B::sk_linkSpeed)
      .Docu("Speed of the link.");
  t.Integer("GevHeartbeatTimeout")
      .Guru()
      .Unit("ms")
      .AtBootstrap(B::sk_heartbeatTimeout)
      .Range(B::sk_minHeartbeatMs, sk_maxHeartbeatMs)
      .Docu("How long the camera waits for a sign of its host.");
  t.Boolean("GevGVCPHeartbeatDisable")
      .Guru()
      .AtBootstrap(B::sk_gvcpConfiguration, B::sk_cfgHeartbeatDisable)
      .Docu("Switches the heartbeat off.");
  t.Boolean("GevGVCPPendingAck")
      .Guru()
      .AtBootstrap(B::sk_gvcpConfiguration, B::sk_cfgPendingAck)
      .Docu("Lets the camera ask for more time to answer.");
  t.Integer("GevGVCPPendingTimeout")
      .Guru()
      .ReadOnly()
      .Unit("ms")
      .AtBootstrap(B::sk_pendingTimeout)
      .Docu("Longest time without an answer.");
  t.Enumeration("GevGVSPExtendedIDMode", {{"Off", 0}, {"On", 1}})
      .Expert()
      .Locked()
      .AtBootstrap(B::sk_gvspConfiguration, B::sk_gvspCfgExtendedIds)
      .Docu("Whether block ids have 64 bits.");
  t.Enumeration("GevCCP", {{"OpenAccess", 0},
                           {"ExclusiveAccess", 1},
                           {"ControlAccess", 2},
                           {"ControlAccessSwitchoverActive", 6}})
      .Guru()
      .AtBootstrap(B::sk_ccp, 0x7)
      .Volatile()
      .Docu("Who may control the camera.");
  t.Integer("GevPrimaryApplicationSocket")
      .Guru()
      .ReadOnly()
      .AtBootstrap(B::sk_primaryPort, 0xFFFF)
      .Volatile()
      .Docu("Port of the application in control.");
  t.Integer("GevPrimaryApplicationIPAddress")
      .Guru()
      .ReadOnly()
      .Representation(sk_ip)
      .AtBootstrap(B::sk_primaryIp)
      .Volatile()
      .Docu("Address of the application in control.");
  t.Integer("GevMCPHostPort")
      .Guru()
      .AtBootstrap(B::sk_mcp, B::sk_portMask)
      .Range(0, 65535)
      .Docu("Port that events go to; 0 closes the channel.");
  t.Integer("GevMCDA")
      .Guru()
      .Representation(sk_ip)
      .AtBootstrap(B::sk_mcda)
      .Docu("Address that events go to.");
  t.Integer("GevMCTT")
      .Guru()
      .Unit("ms")
      .AtBootstrap(B::sk_mctt)
      .Docu("Time to wait for the answer to an event.");
  t.Integer("GevMCRC")
      .Guru()
      .AtBootstrap(B::sk_mcrc)
      .Docu("How often an unanswered event is repeated.");
  t.Integer("GevMCSP")
      .Guru()
      .ReadOnly()
      .AtBootstrap(B::sk_mcsp, B::sk_portMask)
      .Docu("Port that events come from.");
  t.Integer("GevStreamChannelSelector")
      .Expert()
      .Transient()
      .Range(0, 0)
      .Docu("Stream channel of the following features.");
  t.Integer("GevSCPHostPort")
      .Guru()
      .AtBootstrap(B::StreamRegister(S::Scp), B::sk_portMask)
      .Range(0, 65535)
      .Volatile()
      .Docu("Port that the stream goes to; 0 closes the channel.");
  t.Boolean("GevSCPSFireTestPacket")
      .Guru()
      .AtBootstrap(B::StreamRegister(S::Scps), B::sk_scpsFireTestPacket)
      .Volatile()
      .Docu("Sends one test packet of the size set.");
  t.Boolean("GevSCPSDoNotFragment")
      .Guru()
      .Locked()
      .AtBootstrap(B::StreamRegister(S::Scps), B::sk_scpsDoNotFragment)
      .Docu("Whether routers may split stream packets.");
  t.Integer("GevSCPSPacketSize")
      .Expert()
      .Unit("B")
      .Locked()
      .AtBootstrap(B::StreamRegister(S::Scps), B::sk_scpsSizeMask)
      .Range(sk_minPacketSize, m_options.maxPacketSize, 4)
      .Docu("Size of stream packets, IP, UDP and GVSP headers included.");
  t.Integer("GevSCPD")
      .Expert()
      .AtBootstrap(B::StreamRegister(S::Scpd))
      .Docu("Least time between packets, in ticks.");
  t.Integer("GevSCDA")
      .Guru()
      .Representation(sk_ip)
      .AtBootstrap(B::StreamRegister(S::Scda))
      .Volatile()
      .Docu("Address that the stream goes to.");
  t.Integer("GevSCSP")
      .Guru()
      .ReadOnly()
      .AtBootstrap(B::StreamRegister(S::Scsp), B::sk_portMask)
      .Docu("Port that the stream comes from.");
}

void CameraCore::AddPtpFeatures() {
  FeatureTable& t = m_features;
  t.Category("PtpControl", "Precision time protocol, with a simulated master.",
             "TransportLayerControl");
  t.Boolean("PtpEnable")
      .Expert()
      .AtBootstrap(B::sk_gvcpConfiguration, B::sk_cfgIeee1588)
      .Docu("Whether the camera's clock follows a master.");
  t.Command("PtpDataSetLatch")
      .Expert()
      .OnSet([this](int64_t, size_t) { return m_ptpData = MeasurePtp(), Status::Success; })
      .Docu("Copies the offset, the delay and the identities below.");
  t.Enumeration("PtpStatus", {{"Initializing", 1},
                              {"Faulty", 2},
                              {"Disabled", 3},
                              {"Listening", 4},
                              {"PreMaster", 5},
                              {"Master", 6},
                              {"Passive", 7},
                              {"Uncalibrated", 8},
                              {"Slave", 9}})
      .Expert()
      .ReadOnly()
      .Volatile()
      .AtBootstrap(B::sk_ieee1588Status, 0xF)
      .Docu("State of the protocol.");
  t.Enumeration("PtpServoStatus", {{"Unknown", 0}, {"Locked", 1}})
      .Expert()
      .ReadOnly()
      .Volatile()
      .Get([this] { return PtpState() == sk_ptpSlave ? 1 : 0; })
      .Docu("Whether the clock has settled.");
  t.Integer("PtpClockID")
      .Expert()
      .ReadOnly()
      .Size(8)
      .Representation("HexNumber")
      .Get([this] { return ClockId(network.mac); })
      .Docu("Identity of the camera's clock.");
  const auto master = [&](const char* name, const char* docu) {
    t.Integer(name)
        .Expert()
        .ReadOnly()
        .Size(8)
        .Representation("HexNumber")
        .DependsOn({"PtpDataSetLatch"})
        .Get([this] { return ClockId(m_ptpData.slave ? sk_masterMac : network.mac); })
        .Docu(docu);
  };
  master("PtpParentClockID", "Identity of the clock that the camera follows.");
  master("PtpGrandmasterClockID", "Identity of the master.");
  const auto measured = [&](const char* name, const int64_t& value, const char* docu) {
    t.Integer(name)
        .Expert()
        .ReadOnly()
        .Unit("ns")
        .Size(8)
        .DependsOn({"PtpDataSetLatch"})
        .Get([&value] { return value; })
        .Docu(docu);
  };
  measured("PtpOffsetFromMaster", m_ptpData.offset, "How far the clock is from its master's.");
  measured("PtpMeanPropagationDelay", m_ptpData.delay, "Time of a message to the master.");
  t.Enumeration("PtpClockAccuracy", {{"Within1us", 0x23}, {"Unknown", 0xFE}})
      .Expert()
      .ReadOnly()
      .Volatile()
      .Get([this] { return PtpState() == sk_ptpSlave ? 0x23 : 0xFE; })
      .Docu("How well the clock is known.");
}

// A servo that settles: the offset dies away and then wanders by some ten nanoseconds.
CameraCore::PtpData CameraCore::MeasurePtp() const {
  if (!m_ptpSince || PtpState() != sk_ptpSlave) return {};
  const double seconds = std::chrono::duration<double>(Clock::now() - *m_ptpSince).count();
  const double offset = 40000 * std::exp(-seconds / 0.2) + 30 * std::sin(seconds * 7);
  return {static_cast<int64_t>(offset), 480, true};
}

}  // namespace OrvexSim
