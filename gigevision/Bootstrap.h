#pragma once
// SPDX-License-Identifier: Apache-2.0
// The bootstrap registers of a GigE Vision device: addresses, sizes and bit masks (value masks:
// 0x80000000 is what the standard calls bit 0). All registers are big-endian; names follow the
// standard's.

#include <cstddef>
#include <cstdint>

namespace GigEVision::Bootstrap {

// ---- identity and network ----
inline constexpr uint32_t sk_version = 0x0000;  // major in the high half
inline constexpr uint32_t sk_deviceMode = 0x0004;
inline constexpr uint32_t sk_macHigh = 0x0008;
inline constexpr uint32_t sk_macLow = 0x000C;
inline constexpr uint32_t sk_ipCapability = 0x0010;
inline constexpr uint32_t sk_ipConfiguration = 0x0014;
inline constexpr uint32_t sk_currentIp = 0x0024;
inline constexpr uint32_t sk_currentSubnetMask = 0x0034;
inline constexpr uint32_t sk_currentGateway = 0x0044;
inline constexpr uint32_t sk_manufacturerName = 0x0048;
inline constexpr uint32_t sk_modelName = 0x0068;
inline constexpr uint32_t sk_deviceVersion = 0x0088;
inline constexpr uint32_t sk_manufacturerInfo = 0x00A8;
inline constexpr uint32_t sk_serialNumber = 0x00D8;
inline constexpr uint32_t sk_userName = 0x00E8;
inline constexpr uint32_t sk_firstUrl = 0x0200;
inline constexpr uint32_t sk_secondUrl = 0x0400;
inline constexpr uint32_t sk_interfaceCount = 0x0600;
inline constexpr uint32_t sk_persistentIp = 0x064C;
inline constexpr uint32_t sk_persistentSubnetMask = 0x065C;
inline constexpr uint32_t sk_persistentGateway = 0x066C;
inline constexpr uint32_t sk_linkSpeed = 0x0670;  // Mbit/s

inline constexpr size_t sk_manufacturerNameSize = 32;
inline constexpr size_t sk_modelNameSize = 32;
inline constexpr size_t sk_deviceVersionSize = 32;
inline constexpr size_t sk_manufacturerInfoSize = 48;
inline constexpr size_t sk_serialNumberSize = 16;
inline constexpr size_t sk_userNameSize = 16;
inline constexpr size_t sk_urlSize = 512;

inline constexpr uint32_t sk_deviceModeBigEndian = 0x80000000;
inline constexpr uint32_t sk_deviceModeUtf8 = 0x00000001;
inline constexpr uint32_t sk_deviceModeAscii = 0x00000002;

inline constexpr uint32_t sk_ipPauseReception = 0x80000000;
inline constexpr uint32_t sk_ipPauseGeneration = 0x40000000;
inline constexpr uint32_t sk_ipLinkLocal = 0x00000004;
inline constexpr uint32_t sk_ipDhcp = 0x00000002;
inline constexpr uint32_t sk_ipPersistent = 0x00000001;

// ---- capabilities and control ----
inline constexpr uint32_t sk_messageChannelCount = 0x0900;
inline constexpr uint32_t sk_streamChannelCount = 0x0904;
inline constexpr uint32_t sk_actionSignalCount = 0x0908;
inline constexpr uint32_t sk_actionDeviceKey = 0x090C;
inline constexpr uint32_t sk_activeLinkCount = 0x0910;
inline constexpr uint32_t sk_gvspCapability = 0x092C;
inline constexpr uint32_t sk_messageCapability = 0x0930;
inline constexpr uint32_t sk_gvcpCapability = 0x0934;
inline constexpr uint32_t sk_heartbeatTimeout = 0x0938;  // ms
inline constexpr uint32_t sk_tickFrequencyHigh = 0x093C;
inline constexpr uint32_t sk_tickFrequencyLow = 0x0940;
inline constexpr uint32_t sk_timestampControl = 0x0944;
inline constexpr uint32_t sk_timestampHigh = 0x0948;
inline constexpr uint32_t sk_timestampLow = 0x094C;
inline constexpr uint32_t sk_discoveryAckDelay = 0x0950;  // ms
inline constexpr uint32_t sk_gvcpConfiguration = 0x0954;
inline constexpr uint32_t sk_pendingTimeout = 0x0958;  // ms
inline constexpr uint32_t sk_switchoverKey = 0x095C;
inline constexpr uint32_t sk_gvspConfiguration = 0x0960;
inline constexpr uint32_t sk_linkCapability = 0x0964;
inline constexpr uint32_t sk_linkConfiguration = 0x0968;
inline constexpr uint32_t sk_ieee1588Status = 0x096C;
inline constexpr uint32_t sk_scheduledActionQueueSize = 0x0970;
inline constexpr uint32_t sk_ccp = 0x0A00;
inline constexpr uint32_t sk_primaryPort = 0x0A04;
inline constexpr uint32_t sk_primaryIp = 0x0A14;

inline constexpr uint32_t sk_gvspCapSourcePort = 0x80000000;
inline constexpr uint32_t sk_gvspCapLegacyIds = 0x40000000;
inline constexpr uint32_t sk_gvspCapMaxBlockSize = 0x20000000;
inline constexpr uint32_t sk_gvspCapExtendedBootstrap = 0x10000000;

inline constexpr uint32_t sk_messageCapSourcePort = 0x80000000;
inline constexpr uint32_t sk_messageCapConfiguration = 0x40000000;
inline constexpr uint32_t sk_messageCapConcatenation = 0x20000000;

inline constexpr uint32_t sk_capUserName = 0x80000000;
inline constexpr uint32_t sk_capSerialNumber = 0x40000000;
inline constexpr uint32_t sk_capHeartbeatDisable = 0x20000000;
inline constexpr uint32_t sk_capLinkSpeed = 0x10000000;
inline constexpr uint32_t sk_capPrimaryApplication = 0x08000000;
inline constexpr uint32_t sk_capManifest = 0x04000000;
inline constexpr uint32_t sk_capTestData = 0x02000000;
inline constexpr uint32_t sk_capDiscoveryAckDelay = 0x01000000;
inline constexpr uint32_t sk_capDiscoveryAckDelayWritable = 0x00800000;
inline constexpr uint32_t sk_capExtendedStatus11 = 0x00400000;
inline constexpr uint32_t sk_capSwitchover = 0x00200000;
inline constexpr uint32_t sk_capUnconditionalAction = 0x00100000;
inline constexpr uint32_t sk_capIeee1588 = 0x00080000;
inline constexpr uint32_t sk_capExtendedStatus20 = 0x00040000;
inline constexpr uint32_t sk_capScheduledAction = 0x00020000;
inline constexpr uint32_t sk_capAction = 0x00000040;
inline constexpr uint32_t sk_capPendingAck = 0x00000020;
inline constexpr uint32_t sk_capEventData = 0x00000010;
inline constexpr uint32_t sk_capEvent = 0x00000008;
inline constexpr uint32_t sk_capPacketResend = 0x00000004;
inline constexpr uint32_t sk_capWriteMem = 0x00000002;
inline constexpr uint32_t sk_capConcatenation = 0x00000001;

inline constexpr uint32_t sk_cfgIeee1588 = 0x00080000;
inline constexpr uint32_t sk_cfgExtendedStatus20 = 0x00040000;
inline constexpr uint32_t sk_cfgUnconditionalAction = 0x00000008;
inline constexpr uint32_t sk_cfgExtendedStatus11 = 0x00000004;
inline constexpr uint32_t sk_cfgPendingAck = 0x00000002;
inline constexpr uint32_t sk_cfgHeartbeatDisable = 0x00000001;

inline constexpr uint32_t sk_gvspCfgExtendedIds = 0x40000000;

inline constexpr uint32_t sk_timestampReset = 1;
inline constexpr uint32_t sk_timestampLatch = 2;

inline constexpr uint32_t sk_ccpKeyMask = 0xFFFF0000;
inline constexpr uint32_t sk_ccpSwitchover = 0x00000004;
inline constexpr uint32_t sk_ccpControl = 0x00000002;
inline constexpr uint32_t sk_ccpExclusive = 0x00000001;

inline constexpr uint32_t sk_defaultHeartbeatMs = 3000;
inline constexpr uint32_t sk_minHeartbeatMs = 500;

// ---- message channel ----
inline constexpr uint32_t sk_mcp = 0x0B00;
inline constexpr uint32_t sk_mcda = 0x0B10;
inline constexpr uint32_t sk_mctt = 0x0B14;  // ms, 0 = no acknowledge
inline constexpr uint32_t sk_mcrc = 0x0B18;
inline constexpr uint32_t sk_mcsp = 0x0B1C;
inline constexpr uint32_t sk_mccfg = 0x0B20;

// ---- stream channels ----
inline constexpr uint32_t sk_streamBase = 0x0D00;
inline constexpr uint32_t sk_streamStride = 0x40;
inline constexpr uint32_t sk_maxStreamChannels = 512;
enum class Stream : uint32_t {  // offsets from the channel's base
  Scp = 0x00,
  Scps = 0x04,
  Scpd = 0x08,
  Scda = 0x18,
  Scsp = 0x1C,
  Scc = 0x20,
  Sccfg = 0x24,
  Scz = 0x28,
  Sczd = 0x2C,
  Scmpc = 0x30,
  ScmbsHigh = 0x34,
  ScmbsLow = 0x38,
  Sceba = 0x3C,
};
constexpr uint32_t StreamRegister(Stream which, uint32_t channel = 0) {
  return sk_streamBase + sk_streamStride * channel + static_cast<uint32_t>(which);
}

inline constexpr uint32_t sk_scpDirection = 0x80000000;
inline constexpr uint32_t sk_scpInterfaceMask = 0x000F0000;
inline constexpr uint32_t sk_portMask = 0x0000FFFF;
inline constexpr uint32_t sk_scpsFireTestPacket = 0x80000000;
inline constexpr uint32_t sk_scpsDoNotFragment = 0x40000000;
inline constexpr uint32_t sk_scpsBigEndian = 0x20000000;
inline constexpr uint32_t sk_scpsSizeMask = 0x0000FFFF;

inline constexpr uint32_t sk_sccBothEndiannesses = 0x80000000;
inline constexpr uint32_t sk_sccGenDc = 0x00000080;
inline constexpr uint32_t sk_sccMultiPart = 0x00000040;
inline constexpr uint32_t sk_sccLargeLeader = 0x00000020;
inline constexpr uint32_t sk_sccMultiZone = 0x00000010;
inline constexpr uint32_t sk_sccResendDestination = 0x00000008;
inline constexpr uint32_t sk_sccAllIn = 0x00000004;
inline constexpr uint32_t sk_sccUnconditionalStreaming = 0x00000002;
inline constexpr uint32_t sk_sccExtendedChunk = 0x00000001;
// The configuration register uses the same bit for the same thing.
inline constexpr uint32_t sk_sccfgMultiPart = 0x00000040;
inline constexpr uint32_t sk_sccfgLargeLeader = 0x00000020;
inline constexpr uint32_t sk_sccfgResendDestination = 0x00000008;
inline constexpr uint32_t sk_sccfgAllIn = 0x00000004;
inline constexpr uint32_t sk_sccfgUnconditionalStreaming = 0x00000002;
inline constexpr uint32_t sk_sccfgExtendedChunk = 0x00000001;

// ---- actions, vendor space ----
inline constexpr uint32_t sk_actionGroupKey = 0x9800;   // + 0x10 * signal
inline constexpr uint32_t sk_actionGroupMask = 0x9804;  // + 0x10 * signal
inline constexpr uint32_t sk_actionStride = 0x10;
inline constexpr uint32_t sk_vendorSpace = 0xA000;

}  // namespace GigEVision::Bootstrap
