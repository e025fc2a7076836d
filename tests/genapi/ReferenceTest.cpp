// SPDX-License-Identifier: Apache-2.0
// Smart pointers, references for generated code, callbacks, node-map references and the port
// helpers.
#include <GenApi/DLLLoad.h>
#include <GenApi/GenApi.h>
#include <GenApi/PortStackedImpl.h>
#include <GenApi/PortWriteList.h>
#include <GenApi/RegisterSetHelper.h>
#include <gtest/gtest.h>

#include "SmallMap.h"

namespace {

using OrvexTest::SmallMap;

const char* const sk_nodes = R"(
<Category Name="Root"><pFeature>Width</pFeature><pFeature>Gain</pFeature><pFeature>Format</pFeature></Category>
<Integer Name="Width"><Value>640</Value><Max>1000</Max></Integer>
<Float Name="Gain"><pCastAlias>GainRaw</pCastAlias><Value>1.5</Value></Float>
<Integer Name="GainRaw"><Value>3</Value></Integer>
<Enumeration Name="Format"><EnumEntry Name="Mono8"><Value>17</Value></EnumEntry>
  <EnumEntry Name="Mono12"><Value>33</Value></EnumEntry><EnumEntry Name="Raw"><Value>50</Value></EnumEntry>
  <Value>17</Value></Enumeration>
<IntReg Name="Reg"><Address>4</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<Port Name="Device"/>
)";

TEST(SmartPointer, IsNullForMissingNodesAndOtherKinds) {
  SmallMap map(sk_nodes);
  GenApi::CIntegerPtr width = map.Map._GetNode("Width");
  GenApi::CFloatPtr notFloat = map.Map._GetNode("Width");
  GenApi::CIntegerPtr missing = map.Map._GetNode("Missing");
  ASSERT_TRUE(width && width.IsValid() && width != NULL && width != nullptr);
  EXPECT_EQ(width->GetValue() + (*width).GetValue() + width().GetValue(), 3 * 640);
  EXPECT_TRUE(!notFloat && missing == 0 && !GenApi::IsReadable(missing) &&
              GenApi::IsReadable(width));
  EXPECT_THROW(missing->GetValue(), GenICam::LogicalErrorException);
  EXPECT_THROW((*notFloat).GetValue(), GenICam::LogicalErrorException);
  GenApi::CNodePtr node(width);
  EXPECT_STREQ(node->GetName(), "Width");
  width = nullptr;
  EXPECT_FALSE(width.IsValid());
}

TEST(SmartPointer, FloatOffersItsCastAlias) {
  SmallMap map(sk_nodes);
  GenApi::CFloatPtr gain = map.Map._GetNode("Gain");
  ASSERT_NE(gain.GetIntAlias(), nullptr);
  EXPECT_EQ(gain.GetIntAlias()->GetValue(), 3);
  EXPECT_EQ(gain.GetEnumAlias(), nullptr);
}

enum class EFormat { Mono8, Mono10, Mono12 };

// What a code generator makes of a description.
struct CameraParams {
  GenApi::CIntegerRef Width;
  GenApi::CFloatRef Gain;
  GenApi::CFloatRef Missing;
  GenApi::CEnumerationTRef<EFormat> Format;

 protected:
  void _Initialize(GenApi::INodeMap* pNodeMap) {
    Width.SetReference(pNodeMap->GetNode("Width"));
    Gain.SetReference(pNodeMap->GetNode("Gain"));
    Missing.SetReference(pNodeMap->GetNode("Missing"));
    Format.SetReference(pNodeMap->GetNode("Format"));
    Format.SetNumEnums(3);
    Format.SetEnumReference(int(EFormat::Mono8), "Mono8");
    Format.SetEnumReference(int(EFormat::Mono10), "Mono10");
    Format.SetEnumReference(int(EFormat::Mono12), "Mono12");
  }
};

class GeneratedCamera : public testing::Test {
 protected:
  GeneratedCamera() { camera._LoadXMLFromString(OrvexTest::Describe(sk_nodes)); }
  GenApi::CNodeMapRefT<CameraParams> camera;
};

TEST_F(GeneratedCamera, ReadsAndWritesThroughItsMembers) {
  camera.Width = 320;
  EXPECT_EQ(camera.Width(), 320);
  EXPECT_EQ(*camera.Gain, 1.5);
  EXPECT_EQ(camera.Gain.GetIntAlias()->GetValue(), 3);
  EXPECT_STREQ(camera.Width.GetNode()->GetName(), "Width");
  EXPECT_THROW(camera.Width.SetValue(2000), GenICam::OutOfRangeException);
}

TEST_F(GeneratedCamera, MembersWithoutNodeAreNotImplementedAndRefuseAccess) {
  EXPECT_EQ(camera.Missing.GetAccessMode(), GenApi::NI);
  EXPECT_FALSE(camera.Missing.IsValid());
  EXPECT_THROW(camera.Missing.GetValue(), GenICam::AccessException);
  EXPECT_THROW(camera.Missing.GetNode(), GenICam::AccessException);
}

TEST_F(GeneratedCamera, EnumerationsMapEnumeratorsToTheDevicesEntries) {
  EXPECT_EQ(camera.Format.GetValue(), EFormat::Mono8);
  camera.Format = EFormat::Mono12;
  EXPECT_EQ(camera.Format.GetIntValue(), 33);
  EXPECT_EQ(camera.Format.GetEntry(EFormat::Mono10), nullptr);
  EXPECT_STREQ(camera.Format.GetEntry(EFormat::Mono12)->GetSymbolic(), "Mono12");
  EXPECT_THROW(camera.Format.SetValue(EFormat::Mono10), GenICam::InvalidArgumentException);
  camera.Format = "Raw";
  EXPECT_THROW(camera.Format.GetValue(), GenICam::LogicalErrorException);
}

TEST_F(GeneratedCamera, CopiesShareTheMapAndOutliveTheFirst) {
  GenApi::CNodeMapRefT<CameraParams> copy(camera);
  camera._Destroy();
  EXPECT_EQ(camera._Ptr, nullptr);
  EXPECT_THROW(camera._GetDeviceName(), GenICam::AccessException);
  EXPECT_EQ(copy.Width.GetValue(), 640);
  camera = copy;
  camera.Width = 8;
  EXPECT_EQ(copy.Width.GetValue(), 8);
}

TEST(NodeCallback, FiresForItsTypeUntilDeregistered) {
  SmallMap map(sk_nodes);
  struct Client {
    void Changed(GenApi::INode* pNode) { Names += std::string(pNode->GetName().c_str()) + " "; }
    std::string Names;
  } client;
  int inside = 0;
  GenApi::INode* pWidth = map.Map._GetNode("Width");
  GenApi::Register(pWidth, [&](GenApi::INode*) { ++inside; });
  const auto handle = GenApi::Register(pWidth, client, &Client::Changed, GenApi::cbPostOutsideLock);
  map.Set("Width", "1");
  EXPECT_EQ(inside, 1);
  EXPECT_EQ(client.Names, "Width ");
  GenApi::Deregister(handle);
  GenApi::Deregister(0);
  map.Set("Width", "2");
  EXPECT_EQ(inside, 2);
  EXPECT_EQ(client.Names, "Width ");
  EXPECT_FALSE(pWidth->DeregisterCallback(handle));
}

TEST(PortWriteList, RecordsWritesAndPlaysThemBack) {
  SmallMap map(sk_nodes);
  auto& recorder = map.Get<GenApi::IPortRecorder>("Device");
  GenApi::CPortWriteList list;
  list.SetCookie(5);
  recorder.StartRecording(&list);
  map.Set("Reg", "258");
  recorder.StopRecording();
  EXPECT_TRUE(map.Port.Writes.empty());
  recorder.Replay(&list);
  EXPECT_EQ(map.Port.Writes, (std::vector<int64_t>{4}));
  EXPECT_EQ(map.Text("Reg"), "258");
  EXPECT_EQ(list.GetCookie(), 5);
  EXPECT_THROW(list.Write(nullptr, 0, 4), GenICam::InvalidArgumentException);
}

TEST(RegisterSet, PutsBackWhatItRead) {
  OrvexTest::MemoryPort memory;
  for (uint8_t at = 0; at < 20; ++at) memory.Bytes[at] = at;
  auto expected = memory.Bytes;
  GenApi::CRegisterSet set;
  set.Add(4, 4);
  set.Add(16, 2);
  set.ReadFrom(memory);
  for (const int at : {4, 7, 8, 17}) memory.Bytes[at] = 0xFF;
  set.WriteTo(memory);
  expected[8] = 0xFF;
  EXPECT_EQ(memory.Bytes, expected);
}

TEST(SharedLibrary, IsOpenedByNameOrTellsWhyNot) {
  const auto handle = GenApi::OpenLibrary("libc.so.6");
  EXPECT_NE(GenApi::FindSymbol(handle, "malloc"), nullptr);
  EXPECT_EQ(GenApi::FindSymbol(handle, "no_such_symbol_there"), nullptr);
  GenApi::CloseLibrary(handle);
  EXPECT_THROW(GenApi::OpenLibrary("/nowhere/lib.so"), GenICam::RuntimeException);
}

TEST(PortImpl, PassesAccessesOnAndRefusesThemAlone) {
  OrvexTest::MemoryPort memory;
  GenApi::CPortImpl port;
  uint8_t bytes[2] = {1, 2};
  EXPECT_EQ(port.GetAccessMode(), GenApi::NI);
  EXPECT_THROW(port.Read(bytes, 0, 2), GenICam::AccessException);
  port.SetPortImpl(&memory);
  port.Write(bytes, 8, 2);
  EXPECT_EQ(memory.Bytes[9], 2);
  EXPECT_EQ(port.GetAccessMode(), GenApi::RW);
}

TEST(PortStackedImpl, WritesStacksOneByOneUnlessOverridden) {
  struct Stacked : GenApi::CPortStackedImpl {
    using CPortStackedImpl::Write;
    void Write(const void*, int64_t Address, int64_t Length) override {
      log += std::to_string(Address) + ":" + std::to_string(Length) + " ";
    }
    std::string log;
  } port;
  uint8_t bytes[4] = {};
  GenApi::PORT_REGISTER_STACK_ENTRY entries[] = {{16, bytes, 4}, {32, bytes, 2}};
  port.Write(entries, 2);
  EXPECT_EQ(port.log, "16:4 32:2 ");
}

struct Registers {
  uint32_t First;
  uint32_t Second;
};

TEST(TestPortStruct, ServesAStructureAndHoldsItsBounds) {
  GenApi::CTestPortStruct<Registers> port(0x1000);
  port.MemSet(0);
  port.Second = 7;
  uint32_t value = 0;
  port.Read(&value, 0x1004, 4);
  EXPECT_EQ(value, 7u);
  port.Write(&value, 0x1000, 4);
  EXPECT_EQ(port.First, 7u);
  EXPECT_EQ(port.GetNumReads() + port.GetNumWrites(), 2);
  for (const auto& [address, length] :
       {std::pair<int64_t, int64_t>{0xFFF, 1}, {0x1005, 4}, {0x1000, 9}, {INT64_MAX, 4}}) {
    EXPECT_THROW(port.Read(&value, address, length), GenICam::OutOfRangeException) << address;
  }
}

TEST(WriteConcatenator, KeepsValuesAsText) {
  SmallMap map(sk_nodes);
  GenApi::CNodeWriteConcatenatorRef writes(map.Map._NewNodeWriteConcatenator());
  writes._Add("Width", 320);
  writes._Add("Gain", 2.5);
  writes._Add("Format", "Mono12");
  EXPECT_TRUE(map.Map._ConcatenatedWrite(writes));
  EXPECT_EQ(map.Text("Width") + map.Text("Gain") + map.Text("Format"), "3202.5Mono12");
  writes._Clear();
  writes._Add("Width", int64_t(5000));
  GenICam::gcstring_vector errors;
  EXPECT_FALSE(map.Map._ConcatenatedWrite(writes, false, &errors));
  EXPECT_EQ(errors.size(), 1u);
}

}  // namespace
