// SPDX-License-Identifier: Apache-2.0
// Features without a register of their own: nodes that compute with, regroup or rename what other
// features hold, in the ways in which cameras do it.
#include <bit>

#include "gigevision/Bootstrap.h"
#include "simulator/CameraCore.h"

namespace OrvexSim {
namespace {

namespace B = GigEVision::Bootstrap;

const char* const sk_acquisitionNodes =
    R"(  <SwissKnife Name="AcquisitionFramePeriod" NameSpace="Custom">
    <ToolTip>Time from frame to frame, without what else limits the rate.</ToolTip>
    <Visibility>Expert</Visibility>
    <pVariable Name="RATE">AcquisitionFrameRate</pVariable>
    <Constant Name="SECOND">1000000</Constant>
    <Expression Name="PERIOD">SECOND / RATE</Expression>
    <Formula>PERIOD</Formula>
    <Unit>us</Unit>
    <DisplayNotation>Fixed</DisplayNotation>
    <DisplayPrecision>1</DisplayPrecision>
  </SwissKnife>
  <Float Name="ExposureTimeAbs" NameSpace="Custom">
    <ToolTip>The older name of ExposureTime.</ToolTip>
    <Visibility>Guru</Visibility>
    <pAlias>ExposureTime</pAlias>
    <pValue>ExposureTime</pValue>
  </Float>
)";

const char* const sk_analogNodes = R"(  <Converter Name="GainLinear" NameSpace="Custom">
    <ToolTip>Gain as a factor.</ToolTip>
    <Visibility>Expert</Visibility>
    <FormulaTo>20 * LG(FROM)</FormulaTo>
    <FormulaFrom>10 ** (TO / 20)</FormulaFrom>
    <pValue>Gain</pValue>
    <Slope>Increasing</Slope>
  </Converter>
)";

// The option's value is its bit in the capability register.
const char* const sk_optionNodes = R"(  <Group Comment="Capabilities">
    <Enumeration Name="GevSupportedOptionSelector" NameSpace="Standard">
      <ToolTip>Option that GevSupportedOption is for.</ToolTip>
      <Visibility>Expert</Visibility>
%s      <Value>2</Value>
      <pSelected>GevSupportedOption</pSelected>
    </Enumeration>
    <Boolean Name="GevSupportedOption" NameSpace="Standard">
      <ToolTip>Whether the camera has the selected option.</ToolTip>
      <Visibility>Expert</Visibility>
      <ImposedAccessMode>RO</ImposedAccessMode>
      <pValue>GevSupportedOption_Bit</pValue>
      <OnValue>1</OnValue>
      <OffValue>0</OffValue>
    </Boolean>
    <IntSwissKnife Name="GevSupportedOption_Bit" NameSpace="Custom">
      <Visibility>Invisible</Visibility>
      <pVariable Name="CAPS">GevCapability_Word</pVariable>
      <pVariable Name="OPTION">GevSupportedOptionSelector</pVariable>
      <Formula>(CAPS &gt;&gt; OPTION) &amp; 1</Formula>
    </IntSwissKnife>
    <IntReg Name="GevCapability_Word" NameSpace="Custom">
      <Visibility>Invisible</Visibility>
      <Address>0x934</Address>
      <Length>4</Length>
      <AccessMode>RO</AccessMode>
      <pPort>Device</pPort>
      <Sign>Unsigned</Sign>
      <Endianess>BigEndian</Endianess>
    </IntReg>
    <StructReg Comment="Two of the capabilities, as switches">
      <Address>0x934</Address>
      <Length>4</Length>
      <AccessMode>RO</AccessMode>
      <pPort>Device</pPort>
      <Endianess>BigEndian</Endianess>
      <StructEntry Name="GevCapability_Status11" NameSpace="Custom"><Visibility>Invisible</Visibility><Bit>9</Bit></StructEntry>
      <StructEntry Name="GevCapability_Status20" NameSpace="Custom"><Visibility>Invisible</Visibility><Bit>13</Bit></StructEntry>
    </StructReg>
  </Group>
)";

const char* const sk_statusNodes =
    R"(  <Enumeration Name="GevGVCPExtendedStatusCodesSelector" NameSpace="Standard">
    <ToolTip>Set of status codes that GevGVCPExtendedStatusCodes is for.</ToolTip>
    <Visibility>Guru</Visibility>
    <EnumEntry Name="Version1_1" NameSpace="Standard"><pIsImplemented>GevCapability_Status11</pIsImplemented><Value>0</Value></EnumEntry>
    <EnumEntry Name="Version2_0" NameSpace="Standard"><pIsImplemented>GevCapability_Status20</pIsImplemented><Value>1</Value></EnumEntry>
    <Value>0</Value>
    <pSelected>GevGVCPExtendedStatusCodes</pSelected>
  </Enumeration>
  <Boolean Name="GevGVCPExtendedStatusCodes" NameSpace="Standard">
    <ToolTip>Whether the camera may use the selected status codes.</ToolTip>
    <Visibility>Guru</Visibility>
    <pIsImplemented>GevCapability_Status11</pIsImplemented>
    <pValue>GevGVCPExtendedStatusCodes_Value</pValue>
    <OnValue>1</OnValue>
    <OffValue>0</OffValue>
  </Boolean>
  <Integer Name="GevGVCPExtendedStatusCodes_Value" NameSpace="Custom">
    <Visibility>Invisible</Visibility>
    <pIndex>GevGVCPExtendedStatusCodesSelector</pIndex>
    <pValueIndexed Index="0">GevConfiguration_Status11</pValueIndexed>
    <pValueIndexed Index="1">GevConfiguration_Status20</pValueIndexed>
    <ValueDefault>0</ValueDefault>
  </Integer>
  <StructReg Comment="GVCP configuration">
    <Address>0x954</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Endianess>BigEndian</Endianess>
    <StructEntry Name="GevConfiguration_Status11" NameSpace="Custom"><Visibility>Invisible</Visibility><Bit>29</Bit></StructEntry>
    <StructEntry Name="GevConfiguration_Status20" NameSpace="Custom"><Visibility>Invisible</Visibility><Bit>13</Bit></StructEntry>
  </StructReg>
  <IntConverter Name="GevSCPDMicroseconds" NameSpace="Custom">
    <ToolTip>Least time between packets.</ToolTip>
    <Visibility>Expert</Visibility>
    <FormulaTo>FROM * 1000</FormulaTo>
    <FormulaFrom>TO / 1000</FormulaFrom>
    <pValue>GevSCPD</pValue>
    <Unit>us</Unit>
    <Slope>Increasing</Slope>
  </IntConverter>
)";

struct Option {
  const char* name;
  uint32_t mask;
};
constexpr Option sk_options[] = {
    {"UserDefinedName", B::sk_capUserName},
    {"SerialNumber", B::sk_capSerialNumber},
    {"HeartbeatDisable", B::sk_capHeartbeatDisable},
    {"LinkSpeed", B::sk_capLinkSpeed},
    {"CCPApplicationSocket", B::sk_capPrimaryApplication},
    {"DiscoveryAckDelay", B::sk_capDiscoveryAckDelay},
    {"ExtendedStatusCodes", B::sk_capExtendedStatus11},
    {"PrimaryApplicationSwitchover", B::sk_capSwitchover},
    {"UnconditionalAction", B::sk_capUnconditionalAction},
    {"Ptp", B::sk_capIeee1588},
    {"ExtendedStatusCodesVersion2_0", B::sk_capExtendedStatus20},
    {"ScheduledAction", B::sk_capScheduledAction},
    {"Action", B::sk_capAction},
    {"PendingAck", B::sk_capPendingAck},
    {"EventData", B::sk_capEventData},
    {"Event", B::sk_capEvent},
    {"PacketResend", B::sk_capPacketResend},
    {"WriteMem", B::sk_capWriteMem},
    {"CommandsConcatenation", B::sk_capConcatenation},
};

}  // namespace

void CameraCore::AddDerivedNodes() {
  FeatureTable& t = m_features;
  t.Category("AcquisitionControl");
  t.Node("AcquisitionFramePeriod", sk_acquisitionNodes);
  t.Node("ExposureTimeAbs", "");
  if (t.Find("Gain") != nullptr) {
    t.Category("AnalogControl");
    t.Node("GainLinear", sk_analogNodes);
  }
  t.Category("GigEVision");
  std::string entries;
  for (const Option& option : sk_options) {
    entries += "      <EnumEntry Name=\"" + std::string(option.name) +
               "\" NameSpace=\"Standard\"><Value>" + std::to_string(std::countr_zero(option.mask)) +
               "</Value></EnumEntry>\n";
  }
  std::string options = sk_optionNodes;
  options.replace(options.find("%s"), 2, entries);
  t.Node("GevSupportedOptionSelector", options);
  t.Node("GevSupportedOption", "");
  t.Node("GevGVCPExtendedStatusCodesSelector", sk_statusNodes);
  t.Node("GevGVCPExtendedStatusCodes", "");
  t.Node("GevSCPDMicroseconds", "");
}

}  // namespace OrvexSim
