// SPDX-License-Identifier: Apache-2.0
// Bags of the sets that a device keeps, over a scripted device with user sets.
#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>

#include "SmallMap.h"

namespace {

using GenApi::CFeatureBagger;
using GenICam::gcstring_vector;
using OrvexTest::SmallMap;

constexpr int64_t sk_gain = 0, sk_selector = 4, sk_load = 8, sk_save = 12;

// A device whose one setting is a gain, with three sets of it; the first is the factory's.
class SetDevice : public OrvexTest::MemoryPort {
 public:
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
    MemoryPort::Write(pBuffer, Address, Length);
    const size_t set = Bytes[sk_selector];
    if (Address == sk_load) Bytes[sk_gain] = Sets.at(set);
    if (Address == sk_save) Sets.at(set) = Bytes[sk_gain];
    Bytes[sk_load] = Bytes[sk_save] = 0;
  }
  std::array<uint8_t, 3> Sets{1, 11, 22};
};

std::string Register(const std::string& name, int64_t address, const char* pMore = "") {
  return "<IntReg Name=\"" + name + "\">" + pMore + "<Address>" + std::to_string(address) +
         "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>SetPort</"
         "pPort><Cachable>NoCache</Cachable>"
         "<Endianess>LittleEndian</Endianess></IntReg>\n";
}

std::string Command(const std::string& name, int64_t address, const char* pMore = "") {
  return "<Command Name=\"" + name + "\">" + pMore + "<pValue>" + name +
         "Reg</pValue><CommandValue>1</CommandValue></Command>\n" + Register(name + "Reg", address);
}

const std::string sk_nodes =
    "<Category "
    "Name=\"Root\"><pFeature>Gain</pFeature><pFeature>UserSetSelector</pFeature></Category>\n"
    "<Port Name=\"SetPort\"/>\n"
    "<Enumeration Name=\"UserSetSelector\"><EnumEntry Name=\"Default\"><Value>0</Value></EnumEntry>"
    "<EnumEntry Name=\"UserSet0\"><Value>1</Value></EnumEntry><EnumEntry "
    "Name=\"UserSet1\"><Value>2</Value></EnumEntry>"
    "<pValue>SelectorReg</pValue><pSelected>UserSetLoad</pSelected><pSelected>UserSetSave</"
    "pSelected></Enumeration>\n"
    "<IntSwissKnife Name=\"IsFactory\"><pVariable "
    "Name=\"S\">SelectorReg</pVariable><Formula>S=0</Formula></IntSwissKnife>\n" +
    Register("SelectorReg", sk_selector) +
    Register("Gain", sk_gain, "<Streamable>Yes</Streamable>") + Command("UserSetLoad", sk_load) +
    Command("UserSetSave", sk_save, "<pIsLocked>IsFactory</pIsLocked>");

class FeatureBagger : public testing::Test {
 protected:
  FeatureBagger() {
    map.Map._Connect(&device, "SetPort");
    map.Set("Gain", "5");
    map.Set("UserSetSelector", "UserSet1");
  }
  SetDevice device;  // outlives the map
  SmallMap map{sk_nodes};
};

TEST_F(FeatureBagger, BagsThePresentSettingsAndEverySetThatCanBeSaved) {
  CFeatureBagger bagger;
  EXPECT_EQ(bagger.Bag(map.Map._Ptr, true, true), 3u);
  std::string summary;
  for (const GenApi::CFeatureBag& bag : bagger) {
    const std::string text = bag.ToString().c_str();
    summary += std::string(bag.GetBagName().c_str()) + ":" + text.substr(text.find("Gain"));
  }
  EXPECT_EQ(summary, "Default:Gain\t5\nUserSet/UserSet0:Gain\t11\nUserSet/UserSet1:Gain\t22\n");
  EXPECT_EQ(map.Text("Gain"), "5");
  EXPECT_EQ(map.Text("UserSetSelector"), "UserSet1");
}

TEST_F(FeatureBagger, PutsEverySetBackAndThePresentSettingsLast) {
  CFeatureBagger bagger;
  bagger.Bag(map.Map._Ptr, true, true);
  device.Sets = {1, 0, 0};
  map.Set("Gain", "9");
  map.Set("UserSetSelector", "Default");
  gcstring_vector errors;
  EXPECT_TRUE(bagger.UnBag(map.Map._Ptr, true, &errors))
      << (errors.empty() ? "" : errors[0].c_str());
  EXPECT_EQ(device.Sets, (std::array<uint8_t, 3>{1, 11, 22}));
  EXPECT_EQ(map.Text("Gain"), "5");
  EXPECT_EQ(map.Text("UserSetSelector"), "Default");
}

TEST_F(FeatureBagger, WithoutSetsKeepsThePresentSettingsAlone) {
  CFeatureBagger bagger;
  EXPECT_EQ(bagger.Bag(map.Map._Ptr), 1u);
  EXPECT_EQ(bagger.Bag(map.Map._Ptr, false, false, true), 0u);
  EXPECT_THROW(bagger.Bag(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(FeatureBagger, BagsOfUnknownKindsAreErrors) {
  std::istringstream is(
      "# {4709CB3C-7322-4460-84C3-DA11DDA09939}\n[Elsewhere]\n# "
      "{05D8C294-F295-4dfb-9D01-096BD04049F4}\nGain\t7\n"
      "[UserSet/UserSet9]\n# {05D8C294-F295-4dfb-9D01-096BD04049F4}\nGain\t7\n");
  CFeatureBagger bagger;
  is >> bagger;
  gcstring_vector errors;
  EXPECT_FALSE(bagger.UnBag(map.Map._Ptr, true, &errors));
  EXPECT_EQ(errors.size(), 2u);
  EXPECT_EQ(map.Text("UserSetSelector"), "UserSet1");
  EXPECT_THROW(bagger.UnBag(map.Map._Ptr), GenICam::GenericException);
}

}  // namespace
