// SPDX-License-Identifier: Apache-2.0
// Settings files, foreign until parsed: reading never fails but by exception, what was read is
// written so that it reads the same, and loading it into a map that has such features collects
// errors.
#include <GenApi/GenApi.h>

#include <cstdlib>
#include <sstream>

#include "tests/genapi/SmallMap.h"

namespace {

const char* const sk_nodes = R"(
<Category Name="Root"><pFeature>Width</pFeature><pFeature>Gain</pFeature><pFeature>Name</pFeature>
  <pFeature>Selector</pFeature><pFeature>Flag</pFeature><pFeature>Block</pFeature></Category>
<Integer Name="Width"><Streamable>Yes</Streamable><Value>640</Value><Min>0</Min><Max>1000</Max><Inc>4</Inc></Integer>
<Float Name="Gain"><Streamable>Yes</Streamable><Value>1.5</Value><Min>0</Min><Max>10</Max></Float>
<StringReg Name="Name"><Streamable>Yes</Streamable><Address>64</Address><Length>16</Length><AccessMode>RW</AccessMode>
  <pPort>Device</pPort></StringReg>
<Enumeration Name="Selector"><Streamable>Yes</Streamable><EnumEntry Name="A"><Value>0</Value></EnumEntry>
  <EnumEntry Name="B"><Value>1</Value></EnumEntry><Value>0</Value><pSelected>Block</pSelected></Enumeration>
<Boolean Name="Flag"><Streamable>Yes</Streamable><Value>0</Value></Boolean>
<Register Name="Block"><Streamable>Yes</Streamable><Address>0</Address><pIndex Offset="16">Selector</pIndex>
  <Length>16</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
<Port Name="Device"/>
)";

void Require(bool condition) {
  if (!condition) std::abort();
}

template <class Bag>
bool Read(const std::string& text, Bag& bag) {
  std::istringstream is(text);
  try {
    is >> bag;
  } catch (const GenICam::RuntimeException&) {
    return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  static OrvexTest::SmallMap map(sk_nodes);
  const std::string text(reinterpret_cast<const char*>(pData), size);
  GenApi::CFeatureBag bag;
  if (Read(text, bag)) {
    GenApi::CFeatureBag again;
    const GenICam::gcstring written = bag.ToString();
    Require(Read(std::string(written.c_str(), written.size()), again) && again == bag);
    GenICam::gcstring_vector errors;
    Require(bag.LoadFromBag(map.Map._Ptr, true, &errors) == errors.empty());
    bag.StoreToBag(map.Map._Ptr);
  }
  GenApi::CFeatureBagger bagger;
  if (Read(text, bagger)) {
    std::ostringstream os;
    os << bagger;
    GenApi::CFeatureBagger again;
    Require(Read(os.str(), again) && again.size() == bagger.size());
    for (size_t i = 0; i < bagger.size(); ++i) Require(again.at(i) == bagger.at(i));
    GenICam::gcstring_vector errors;
    bagger.UnBag(map.Map._Ptr, true, &errors);
  }
  return 0;
}
