// SPDX-License-Identifier: Apache-2.0
// Features read, written and listed as texts, on a node map without a camera behind it.
#include "tools/Nodes.h"

#include <GenApi/GenApi.h>
#include <gmock/gmock.h>

#include "tools/Failure.h"

namespace OrvexTools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* sk_description = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Bench" VendorName="Bench" StandardNameSpace="None" SchemaMajorVersion="1"
 SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
 ProductGuid="11111111-1111-1111-1111-111111111111" VersionGuid="22222222-2222-2222-2222-222222222222"
 xmlns="http://www.genicam.org/GenApi/Version_1_1">
 <Category Name="Root"><pFeature>Size</pFeature><pFeature>Hidden</pFeature><pFeature>Light</pFeature></Category>
 <Category Name="Size"><pFeature>Width</pFeature><pFeature>Limit</pFeature><pFeature>Root</pFeature></Category>
 <Category Name="Hidden"><pFeature>Secret</pFeature></Category>
 <Category Name="Light"><pFeature>Gain</pFeature><pFeature>Mode</pFeature><pFeature>Lamp</pFeature>
  <pFeature>Label</pFeature><pFeature>Address</pFeature><pFeature>Locked</pFeature><pFeature>Gone</pFeature></Category>
 <Integer Name="Width"><Value>64</Value><Min>16</Min><Max>1280</Max><Inc>16</Inc><Unit>px</Unit></Integer>
 <Integer Name="Limit"><ImposedAccessMode>RO</ImposedAccessMode><Value>7</Value></Integer>
 <Integer Name="Secret"><Visibility>Guru</Visibility><Value>1</Value></Integer>
 <Float Name="Gain"><Value>1.5</Value><Min>-6</Min><Max>24</Max><Unit>dB</Unit></Float>
 <Enumeration Name="Mode">
  <EnumEntry Name="Off"><Value>0</Value></EnumEntry>
  <EnumEntry Name="Once"><Value>1</Value></EnumEntry>
  <EnumEntry Name="Never"><pIsAvailable>Zero</pIsAvailable><Value>2</Value></EnumEntry>
  <Value>0</Value></Enumeration>
 <Boolean Name="Lamp"><Value>0</Value></Boolean>
 <String Name="Label"><Value>left</Value></String>
 <Integer Name="Address"><Value>0x7F000902</Value><Representation>IPV4Address</Representation></Integer>
 <Integer Name="Locked"><pIsLocked>One</pIsLocked><Value>1</Value></Integer>
 <Integer Name="Gone"><pIsImplemented>Zero</pIsImplemented><Value>1</Value></Integer>
 <Integer Name="Zero"><Value>0</Value></Integer>
 <Integer Name="One"><Value>1</Value></Integer>
</RegisterDescription>)";

class Nodes : public testing::Test {
 protected:
  Nodes() : m_pNodes(GenApi::CNodeMapFactory(sk_description).CreateNodeMap()) {}
  ~Nodes() override { GenApi::CastToIDestroy(m_pNodes)->Destroy(); }

  Record Described(const char* pName) { return DescribeFeature(NodeOf(*m_pNodes, pName)); }

  std::string WriteAndRead(const char* pName, const char* pText) {
    WriteFeature(*m_pNodes, pName, pText);
    return TryRead(m_pNodes, pName).value_or("unreadable");
  }

  std::string Refusal(const char* pName, const char* pText) {
    try {
      WriteFeature(*m_pNodes, pName, pText);
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "no failure";
  }

  GenApi::INodeMap* m_pNodes;
};

TEST_F(Nodes, WritesWhatFits) {
  EXPECT_EQ(WriteAndRead("Width", "0x80"), "128");
  EXPECT_EQ(WriteAndRead("Gain", "-2.5"), "-2.5");
  EXPECT_EQ(WriteAndRead("Mode", "once"), "Once");
  EXPECT_EQ(WriteAndRead("Label", "right side"), "right side");
  WriteFeature(*m_pNodes, "Address", "192.168.5.20");
  EXPECT_EQ(Described("Address")["value"], 0xC0A80514);
  WriteFeature(*m_pNodes, "Lamp", "On");
  EXPECT_EQ(Described("Lamp")["value"], true);
}

struct RefusalCase {
  const char* name;
  const char* feature;
  const char* text;
  const char* message;
};

class NodesRefusal : public Nodes, public testing::WithParamInterface<RefusalCase> {};

TEST_P(NodesRefusal, SaysWhatFitsAndChangesNothing) {
  const auto before = TryRead(m_pNodes, GetParam().feature);
  EXPECT_THAT(Refusal(GetParam().feature, GetParam().text), HasSubstr(GetParam().message));
  EXPECT_EQ(TryRead(m_pNodes, GetParam().feature), before);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, NodesRefusal,
    testing::Values(
        RefusalCase{"AboveTheRange", "Width", "1281",
                    "Width takes a whole number from 16 to 1280 px in steps of 16"},
        RefusalCase{"BetweenSteps", "Width", "17", "in steps of 16, not '17'"},
        RefusalCase{"BeyondSixtyFourBits", "Width", "99999999999999999999", "whole number"},
        RefusalCase{"Fraction", "Width", "32.5", "whole number"},
        RefusalCase{"Empty", "Width", "", "whole number"},
        RefusalCase{"NoAddress", "Address", "192.168.5", "or an address such as"},
        RefusalCase{"FloatRange", "Gain", "24.1",
                    "Gain takes a number from -6 to 24 dB, not '24.1'"},
        RefusalCase{"NotANumber", "Gain", "nan", "Gain takes a number"},
        RefusalCase{"TrailingText", "Gain", "1.5dB", "Gain takes a number"},
        RefusalCase{"UnknownChoice", "Mode", "Onec",
                    "Mode takes one of Off, Once, not 'Onec'; did you mean Once?"},
        RefusalCase{"ChoiceThatIsNotAvailable", "Mode", "Never", "one of Off, Once, not 'Never'"},
        RefusalCase{"NoTruthValue", "Lamp", "maybe", "Lamp takes true or false"},
        RefusalCase{"ReadOnly", "Limit", "8", "cannot be written now"},
        RefusalCase{"LockedNow", "Locked", "2", "cannot be written now"},
        RefusalCase{"NotImplemented", "Gone", "2", "does not implement Gone"},
        RefusalCase{"Category", "Size", "1", "Size"},
        RefusalCase{"Misspelt", "widt", "1", "did you mean Width?"},
        RefusalCase{"LikeNothing", "Temperature", "1", "`orvex features` lists them all"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Nodes, DescribesRangeChoicesAndAddresses) {
  const Record width = Described("Width");
  EXPECT_EQ(width["min"], 16);
  EXPECT_EQ(width["increment"], 16);
  EXPECT_EQ(width["access"], "RW");
  EXPECT_EQ(Described("Limit")["access"], "RO");
  EXPECT_EQ(Described("Mode")["entries"], Record({"Off", "Once"}));
  EXPECT_EQ(Described("Address")["text"], "127.0.9.2");
}

std::vector<std::string> NamesOf(const std::vector<ListedFeature>& features) {
  std::vector<std::string> names;
  for (const ListedFeature& feature : features)
    names.emplace_back(feature.pNode->GetName().c_str());
  return names;
}

TEST_F(Nodes, ListsATreeOnceWithoutWhatIsHiddenMissingOrEmpty) {
  EXPECT_THAT(NamesOf(WalkFeatures(*m_pNodes, "Root", GenApi::Expert)),
              ElementsAre("Size", "Width", "Limit", "Light", "Gain", "Mode", "Lamp", "Label",
                          "Address", "Locked"));
  EXPECT_THAT(NamesOf(WalkFeatures(*m_pNodes, "Hidden", GenApi::Guru)), ElementsAre("Secret"));
}

TEST(ClosestName, IsSilentWhenNothingIsClose) {
  EXPECT_EQ(ClosestName("exposuretim", {"ExposureTime", "ExposureMode"}), "ExposureTime");
  EXPECT_EQ(ClosestName("abc", {"xyz", "Gain"}), "");
}

}  // namespace
}  // namespace OrvexTools
