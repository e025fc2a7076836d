// SPDX-License-Identifier: Apache-2.0
// Storing the settings of a map and loading them: selectors, order, errors.
#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <sstream>

#include "SmallMap.h"

namespace {

using GenApi::CFeatureBag;
using GenICam::gcstring_vector;
using OrvexTest::SmallMap;

// OffsetX limits Width, as in a camera. LUTValue has two selectors, Gain one that is itself not
// streamable. Auto locks Exposure.
const char* const sk_nodes = R"(
<Category Name="Root"><pFeature>ImageFormat</pFeature><pFeature>Analog</pFeature></Category>
<Category Name="ImageFormat"><pFeature>Width</pFeature><pFeature>OffsetX</pFeature><pFeature>DeviceUserID</pFeature>
  <pFeature>Sensor</pFeature></Category>
<Category Name="Analog"><pFeature>GainSelector</pFeature><pFeature>Gain</pFeature><pFeature>LUTSelector</pFeature>
  <pFeature>LUTIndex</pFeature><pFeature>LUTValue</pFeature><pFeature>Auto</pFeature><pFeature>Exposure</pFeature>
  <pFeature>DeviceFeaturePersistenceStart</pFeature></Category>
<IntReg Name="Sensor"><Streamable>Yes</Streamable><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>
  <pPort>Device</pPort><Endianess>LittleEndian</Endianess></IntReg>
<IntSwissKnife Name="WidthMax"><pVariable Name="OFFSET">OffsetX</pVariable><Formula>1000 - OFFSET</Formula></IntSwissKnife>
<Integer Name="Width"><Streamable>Yes</Streamable><pValue>WidthReg</pValue><Min>0</Min><pMax>WidthMax</pMax></Integer>
<IntReg Name="WidthReg"><Address>16</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<IntReg Name="OffsetX"><Streamable>Yes</Streamable><Address>20</Address><Length>4</Length><AccessMode>RW</AccessMode>
  <pPort>Device</pPort><Endianess>LittleEndian</Endianess></IntReg>
<StringReg Name="DeviceUserID"><Streamable>Yes</Streamable><Address>32</Address><Length>16</Length>
  <AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>
<Enumeration Name="GainSelector"><EnumEntry Name="All"><Value>0</Value></EnumEntry>
  <EnumEntry Name="Hidden"><pIsAvailable>Zero</pIsAvailable><Value>1</Value></EnumEntry>
  <EnumEntry Name="Tap1"><Value>2</Value></EnumEntry><pValue>GainSelectorReg</pValue>
  <pSelected>Gain</pSelected></Enumeration>
<Integer Name="Zero"><Value>0</Value></Integer>
<IntReg Name="GainSelectorReg"><Address>48</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<FloatReg Name="Gain"><Streamable>Yes</Streamable><Address>64</Address><pIndex Offset="8">GainSelectorReg</pIndex>
  <Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess></FloatReg>
<Enumeration Name="LUTSelector"><Streamable>Yes</Streamable><EnumEntry Name="Red"><Value>0</Value></EnumEntry>
  <EnumEntry Name="Green"><Value>1</Value></EnumEntry><pValue>LUTSelectorReg</pValue>
  <pSelected>LUTIndex</pSelected><pSelected>LUTValue</pSelected></Enumeration>
<IntReg Name="LUTSelectorReg"><Address>52</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<Integer Name="LUTIndex"><pValue>LUTIndexReg</pValue><Min>0</Min><Max>4</Max><Inc>2</Inc><pSelected>LUTValue</pSelected></Integer>
<IntReg Name="LUTIndexReg"><Address>112</Address><pIndex Offset="4">LUTSelectorReg</pIndex><Length>4</Length>
  <AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess></IntReg>
<IntReg Name="LUTValue"><Streamable>Yes</Streamable><Address>128</Address><pIndex Offset="32">LUTSelectorReg</pIndex>
  <pIndex Offset="4">LUTIndexReg</pIndex><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Representation>HexNumber</Representation><Endianess>LittleEndian</Endianess></IntReg>
<Boolean Name="Auto"><Streamable>Yes</Streamable><pValue>AutoReg</pValue></Boolean>
<IntReg Name="AutoReg"><Address>200</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<IntReg Name="Exposure"><Streamable>Yes</Streamable><pIsLocked>AutoReg</pIsLocked><Address>204</Address><Length>4</Length>
  <AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess></IntReg>
<IntReg Name="NoFeature"><Streamable>Yes</Streamable><Address>208</Address><Length>4</Length><AccessMode>RW</AccessMode>
  <pPort>Device</pPort><Endianess>LittleEndian</Endianess></IntReg>
<Command Name="DeviceFeaturePersistenceStart"><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>
<Command Name="DeviceFeaturePersistenceEnd"><pValue>EndReg</pValue><CommandValue>1</CommandValue></Command>
<Command Name="DeviceRegistersStreamingStart"><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>
<Command Name="DeviceRegistersStreamingEnd"><pValue>EndReg</pValue><CommandValue>1</CommandValue></Command>
<IntReg Name="StartReg"><Address>300</Address><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<IntReg Name="EndReg"><Address>304</Address><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<Port Name="Device"/>
)";
constexpr int64_t sk_start = 300;
constexpr int64_t sk_end = 304;

const std::string sk_header =
    "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n# GenApi persistence file (version 3.4.0)\n";

CFeatureBag Parse(const std::string& body) {
  std::istringstream is(sk_header + body);
  CFeatureBag bag;
  is >> bag;
  return bag;
}

class Persistence : public testing::Test {
 protected:
  Persistence() {
    camera.Set("Width", "640");
    camera.Set("DeviceUserID", "left");
    camera.Set("GainSelector", "Tap1");
    camera.Set("Gain", "2.5");
    for (const char* pColour : {"Green", "Red"}) {
      camera.Set("LUTSelector", pColour);
      for (const char* pIndex : {"0", "2", "4"}) {
        camera.Set("LUTIndex", pIndex);
        camera.Get<GenApi::IInteger>("LUTValue")
            .SetValue((*pColour == 'R' ? 16 : 32) + *pIndex - '0');
      }
    }
    camera.Set("LUTIndex", "2");
    camera.Port.Writes.clear();
  }
  GenApi::INodeMap* Map() { return camera.Map._Ptr; }

  SmallMap camera{sk_nodes};
};

const char* const sk_stored =
    "Width\t640\n"
    "OffsetX\t0\n"
    "DeviceUserID\tleft\n"
    "Gain\t{GainSelector=All}\t0\n"
    "Gain\t{GainSelector=Tap1}\t2.5\n"
    "LUTSelector\tRed\n"
    "LUTValue\t{LUTSelector=Red\tLUTIndex=0}\t0x10\n"
    "LUTValue\t{LUTSelector=Red\tLUTIndex=2}\t0x12\n"
    "LUTValue\t{LUTSelector=Red\tLUTIndex=4}\t0x14\n"
    "LUTValue\t{LUTSelector=Green\tLUTIndex=0}\t0x20\n"
    "LUTValue\t{LUTSelector=Green\tLUTIndex=2}\t0x22\n"
    "LUTValue\t{LUTSelector=Green\tLUTIndex=4}\t0x24\n"
    "Auto\t0\n"
    "Exposure\t0\n";

TEST_F(Persistence, StoresStreamableFeaturesForEveryCombinationOfSelectors) {
  CFeatureBag bag;
  EXPECT_EQ(bag.StoreToBag(Map()), 14);
  EXPECT_STREQ(bag.ToString(), (sk_header + sk_stored).c_str());
}

TEST_F(Persistence, StoringPutsSelectorsBackInnerOnesForEachOuterValue) {
  camera.Set("LUTSelector", "Green");
  camera.Set("LUTIndex", "4");
  CFeatureBag().StoreToBag(Map());
  EXPECT_EQ(camera.Text("GainSelector"), "Tap1");
  EXPECT_EQ(camera.Text("LUTSelector"), "Green");
  EXPECT_EQ(camera.Text("LUTIndex"), "4");
  camera.Set("LUTSelector", "Red");
  EXPECT_EQ(camera.Text("LUTIndex"), "2");
}

TEST_F(Persistence, BracketsBothWaysWithTheDevicesCommands) {
  CFeatureBag bag;
  bag.StoreToBag(Map());
  ASSERT_GE(camera.Port.Writes.size(), 2u);
  EXPECT_EQ(camera.Port.Writes.front(), sk_start);
  EXPECT_EQ(camera.Port.Writes.back(), sk_end);
  camera.Port.Writes.clear();
  EXPECT_TRUE(bag.LoadFromBag(Map()));
  EXPECT_EQ(camera.Port.Writes.front(), sk_start);
  EXPECT_EQ(camera.Port.Writes.back(), sk_end);
}

TEST_F(Persistence, LeavesOutWhatCannotBeWrittenBack) {
  camera.Set("Auto", "1");         // Exposure is locked now
  camera.Set("DeviceUserID", "");  // an empty value is no line
  CFeatureBag bag;
  EXPECT_EQ(bag.StoreToBag(Map()), 12);
  const std::string text = bag.ToString().c_str();
  EXPECT_EQ(text.find("Exposure"), std::string::npos);
  EXPECT_EQ(text.find("DeviceUserID"), std::string::npos);
  EXPECT_EQ(text.find("Sensor"), std::string::npos);
}

TEST_F(Persistence, ValuesThatTheDeviceCannotNameDoNotFailTheOthers) {
  camera.Port.Bytes[52] = 9;  // LUTSelector stands on no entry
  camera.Map._InvalidateNodes();
  CFeatureBag bag;
  EXPECT_EQ(bag.StoreToBag(Map()), 7);
  const std::string text = bag.ToString().c_str();
  EXPECT_EQ(text.find("LUT"), std::string::npos);
  EXPECT_NE(text.find("Exposure"), std::string::npos);
}

TEST_F(Persistence, FilterAndLimitChooseEntries) {
  gcstring_vector filter;
  for (const char* pName : {"NoFeature", "Gain", "Sensor", "Missing"}) filter.push_back(pName);
  CFeatureBag bag;
  EXPECT_EQ(bag.StoreToBag(Map(), -1, &filter), 3);
  EXPECT_TRUE(bag ==
              Parse("NoFeature\t0\nGain\t{GainSelector=All}\t0\nGain\t{GainSelector=Tap1}\t2.5\n"));
  EXPECT_EQ(bag.StoreToBag(Map(), 4), 4);
  EXPECT_EQ(camera.Text("GainSelector"), "Tap1");
  EXPECT_EQ(bag.StoreToBag(Map(), 0), 0);
}

TEST_F(Persistence, LoadRestoresEveryValueAndKeepsSelectors) {
  CFeatureBag bag;
  bag.StoreToBag(Map());
  SmallMap other(sk_nodes);
  other.Set("GainSelector", "Tap1");
  gcstring_vector errors;
  EXPECT_TRUE(bag.LoadFromBag(other.Map._Ptr, true, &errors));
  EXPECT_TRUE(errors.empty());
  EXPECT_EQ(other.Text("GainSelector"), "Tap1");
  CFeatureBag again;
  again.StoreToBag(other.Map._Ptr);
  EXPECT_TRUE(again == bag);
}

TEST_F(Persistence, ASelectorInTheBagKeepsTheBagsValue) {
  EXPECT_TRUE(Parse("LUTValue\t{LUTSelector=Red\tLUTIndex=0}\t1\nLUTSelector\tGreen\n"
                    "LUTValue\t{LUTSelector=Red\tLUTIndex=4}\t2\n")
                  .LoadFromBag(Map()));
  EXPECT_EQ(camera.Text("LUTSelector"), "Green");
}

TEST_F(Persistence, ValuesThatNeedOthersFirstAreTriedAgain) {
  camera.Set("OffsetX", "500");
  EXPECT_FALSE(GenApi::IsWritable(&camera.Get<GenApi::IValue>("Sensor")));
  camera.Set("Width", "400");
  gcstring_vector errors;
  EXPECT_TRUE(Parse("Width\t1000\nOffsetX\t0\n").LoadFromBag(Map(), true, &errors));
  EXPECT_EQ(camera.Text("Width"), "1000");
}

TEST_F(Persistence, ErrorsAreListedByNameAndTheRestIsLoaded) {
  gcstring_vector errors;
  EXPECT_FALSE(Parse("Missing\t1\nWidth\t2000\nSensor\t1\nGain\t{GainSelector=Nowhere}"
                     "\t1\nAuto\tmaybe\nOffsetX\t7\n")
                   .LoadFromBag(Map(), true, &errors));
  ASSERT_EQ(errors.size(), 5u);
  const char* const sk_names[] = {"Missing: ", "Width: ", "Sensor: ", "Gain: ", "Auto: "};
  for (size_t i = 0; i < errors.size(); ++i)
    EXPECT_EQ(errors[i].find(sk_names[i]), 0u) << errors[i];
  EXPECT_EQ(camera.Text("OffsetX"), "7");
  EXPECT_EQ(camera.Text("GainSelector"), "Tap1");
}

TEST_F(Persistence, WithoutAListTheFirstErrorIsThrownAsItIsAndTheRestIsLoaded) {
  CFeatureBag bag = Parse("Width\t2000\nMissing\t1\nOffsetX\t7\n");
  EXPECT_THROW(bag.LoadFromBag(Map()), GenICam::OutOfRangeException);
  EXPECT_EQ(camera.Text("OffsetX"), "7");
  EXPECT_EQ(camera.Port.Writes.back(), sk_end);
}

TEST_F(Persistence, VerifyFindsValuesThatTheDeviceDidNotKeep) {
  camera.Port.Stuck = 20;
  gcstring_vector errors;
  EXPECT_TRUE(Parse("OffsetX\t7\n").LoadFromBag(Map(), false, &errors));
  EXPECT_FALSE(Parse("OffsetX\t7\n").LoadFromBag(Map(), true, &errors));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_STREQ(errors[0], "OffsetX: the value is '0' after writing '7'");
}

TEST_F(Persistence, PortFailuresNameTheFeature) {
  camera.Port.Refused = 20;
  gcstring_vector errors;
  EXPECT_FALSE(Parse("OffsetX\t7\nAuto\t1\n").LoadFromBag(Map(), true, &errors));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].find("OffsetX: "), 0u);
  EXPECT_NE(errors[0].find("the device refuses"), GenICam::gcstring::npos);
  EXPECT_EQ(camera.Text("Auto"), "1");
}

TEST_F(Persistence, OlderFilesSweepSelectorsByTheirOrderAlone) {
  EXPECT_TRUE(Parse("LUTSelector\tRed\nLUTIndex\t0\nLUTValue\t0x51\nLUTSelector\tGreen\nLUTIndex\t4"
                    "\nLUTValue\t0x52\n"
                    "LUTSelector\tRed\n")
                  .LoadFromBag(Map()));
  EXPECT_EQ(camera.Text("LUTValue"), "0x51");
  camera.Set("LUTSelector", "Green");
  EXPECT_EQ(camera.Text("LUTIndex"), "4");
  EXPECT_EQ(camera.Text("LUTValue"), "0x52");
}

TEST_F(Persistence, PersistFeatureAddsThePresentValueOnly) {
  CFeatureBag bag;
  bag.PersistFeature(camera.Get<GenApi::IValue>("Gain"));
  bag.PersistFeature(camera.Get<GenApi::IValue>("Width"));
  EXPECT_TRUE(bag == Parse("Gain\t2.5\nWidth\t640\n"));
}

TEST_F(Persistence, NullMapIsAnArgumentError) {
  EXPECT_THROW(CFeatureBag().StoreToBag(nullptr), GenICam::InvalidArgumentException);
  EXPECT_THROW(CFeatureBag().LoadFromBag(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(Persistence, SelectorSetWalksCombinationsAndNamesThem) {
  GenApi::CSelectorSet set(camera.Map._GetNode("LUTValue"));
  std::string walk;
  for (bool isMore = set.SetFirst(); isMore; isMore = set.SetNext()) {
    walk += std::string(set.ToString().c_str()) + ";";
  }
  EXPECT_EQ(
      walk,
      "LUTSelector=Red\tLUTIndex=0;LUTSelector=Red\tLUTIndex=2;LUTSelector=Red\tLUTIndex=4;"
      "LUTSelector=Green\tLUTIndex=0;LUTSelector=Green\tLUTIndex=2;LUTSelector=Green\tLUTIndex=4;");
  EXPECT_EQ(camera.Text("LUTIndex"), "2");
  EXPECT_EQ(camera.Text("LUTSelector"), "Red");
}

TEST_F(Persistence, SelectorStatePutsBackWhatItKept) {
  GenApi::CSelectorSet set(camera.Map._GetNode("LUTValue"));
  GenApi::CSelectorState state;
  set.GetState(state);
  camera.Set("LUTIndex", "4");
  camera.Set("LUTSelector", "Green");
  EXPECT_TRUE(state.RestoreState(Map()));
  EXPECT_EQ(camera.Text("LUTSelector") + camera.Text("LUTIndex"), "Red2");
  state.AddSelector("Missing", "1");
  gcstring_vector errors;
  EXPECT_FALSE(state.RestoreState(Map(), &errors));
  EXPECT_EQ(errors.size(), 1u);
  EXPECT_THROW(state.RestoreState(Map()), GenICam::RuntimeException);
}

}  // namespace
