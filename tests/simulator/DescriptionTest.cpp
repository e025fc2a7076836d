// SPDX-License-Identifier: Apache-2.0
// Every model's description, loaded by the node-map engine and connected over the wire: it loads,
// every feature can be read, and the limits it tells are those that the camera keeps.
#include <Base/GCException.h>
#include <GenApi/GenApi.h>
#include <GenApi/NodeMapFactory.h>
#include <GenApi/NodeMapRef.h>
#include <gtest/gtest.h>

#include <set>

#include "TestHost.h"

namespace {

class WirePort : public GenApi::IPort {
 public:
  explicit WirePort(Host& host) : m_host(host) {}
  GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
  void Read(void* pBuffer, int64_t Address, int64_t Length) override {
    const Bytes bytes = m_host.ReadMem(static_cast<uint32_t>(Address), static_cast<size_t>(Length));
    if (bytes.empty()) throw RUNTIME_EXCEPTION("the camera refuses to be read");
    std::copy(bytes.begin(), bytes.end(), static_cast<uint8_t*>(pBuffer));
  }
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
    const auto* bytes = static_cast<const uint8_t*>(pBuffer);
    const Status status =
        m_host.WriteMem(static_cast<uint32_t>(Address), Bytes(bytes, bytes + Length));
    if (status != Status::Success) throw RUNTIME_EXCEPTION("the camera refuses to be written");
  }

 private:
  Host& m_host;
};

// Writing these changes the connection that the test itself uses, or takes long on purpose.
bool LeaveAlone(const std::string& name) {
  return name.starts_with("Gev") || name.starts_with("SimDrop") || name == "TestPendingAck" ||
         name.starts_with("DeviceLinkHeartbeat") || name == "SimIgnoreHeartbeat" ||
         name == "TLParamsLocked";
}

class Description : public testing::TestWithParam<std::string> {
 protected:
  static OrvexSim::CameraOptions Options() {
    OrvexSim::CameraOptions options;
    options.model = GetParam();
    return options;
  }
  void SetUp() override {
    host.TakeControl();
    map._LoadXMLFromString(running.camera.Description().c_str());
    map._Connect(&port, "Device");
  }
  RunningCamera running{Options()};
  Host host{running.camera};
  WirePort port{host};
  GenApi::CNodeMapRef map;
};

TEST_P(Description, LoadsAndEveryFeatureCanBeRead) {
  GenApi::NodeList_t nodes;
  map._GetNodes(nodes);
  ASSERT_GT(nodes.size(), 200u);
  size_t read = 0;
  for (GenApi::INode* node : nodes) {
    const std::string name = node->GetName().c_str();
    GenApi::CValuePtr value(node);
    if (!value.IsValid() || !GenApi::IsReadable(node)) continue;
    if (GenApi::CCategoryPtr(node).IsValid() || GenApi::CCommandPtr(node).IsValid()) continue;
    EXPECT_NO_THROW(value->ToString()) << name;
    ++read;
  }
  EXPECT_GT(read, 100u);
}

TEST_P(Description, EveryFeatureOfTheTreeExists) {
  GenApi::NodeList_t nodes;
  map._GetNodes(nodes);
  std::set<std::string> listed;
  for (GenApi::INode* node : nodes) {
    GenApi::CCategoryPtr category(node);
    if (!category.IsValid()) continue;
    GenApi::FeatureList_t features;
    category->GetFeatures(features);
    for (GenApi::IValue* feature : features) {
      ASSERT_NE(feature, nullptr);
      listed.insert(feature->GetNode()->GetName().c_str());
    }
  }
  for (const char* mandatory :
       {"Width", "Height", "PixelFormat", "PayloadSize", "GevSCPSPacketSize", "AcquisitionMode",
        "AcquisitionStart", "AcquisitionStop", "TLParamsLocked", "DeviceLinkSpeed",
        "DeviceMaxThroughput", "DeviceStreamChannelPacketSize", "ChunkModeActive"}) {
    EXPECT_TRUE(listed.contains(mandatory)) << mandatory;
  }
  EXPECT_EQ(map._GetNode("DeviceAccessStatus"), nullptr)
      << "that one belongs to the transport layer";
}

TEST_P(Description, TellsTheLimitsThatTheCameraKeeps) {
  GenApi::NodeList_t nodes;
  map._GetNodes(nodes);
  for (GenApi::INode* node : nodes) {
    const std::string name = node->GetName().c_str();
    if (LeaveAlone(name) || name.ends_with("_Reg") || name.ends_with("_Max") ||
        !GenApi::IsWritable(node) || !GenApi::IsReadable(node)) {
      continue;
    }
    GenApi::CIntegerPtr integer(node);
    GenApi::CFloatPtr real(node);
    if (integer.IsValid()) {
      const int64_t before = integer->GetValue();
      EXPECT_NO_THROW(integer->SetValue(integer->GetMin())) << name;
      EXPECT_EQ(integer->GetValue(), integer->GetMin()) << name;
      const int64_t most = integer->GetMin() + (integer->GetMax() - integer->GetMin()) /
                                                   integer->GetInc() * integer->GetInc();
      EXPECT_NO_THROW(integer->SetValue(most)) << name << " " << most;
      EXPECT_EQ(integer->GetValue(), most) << name;
      EXPECT_NO_THROW(integer->SetValue(before)) << name;
    } else if (real.IsValid()) {
      const double before = real->GetValue();
      EXPECT_NO_THROW(real->SetValue(real->GetMax())) << name;
      EXPECT_NO_THROW(real->SetValue(real->GetMin())) << name;
      EXPECT_NO_THROW(real->SetValue(before)) << name;
    } else if (GenApi::CEnumerationPtr enumeration(node); enumeration.IsValid()) {
      const GenICam::gcstring before = enumeration->ToString();
      GenApi::StringList_t entries;
      enumeration->GetSymbolics(entries);
      for (const GenICam::gcstring& entry : entries)
        EXPECT_NO_THROW(*enumeration = entry) << name << " " << entry.c_str();
      EXPECT_NO_THROW(*enumeration = before) << name;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Models, Description, testing::ValuesIn(OrvexSim::VirtualCamera::Models()),
                         [](const auto& info) {
                           return info.param == "3d" ? std::string("depth") : info.param;
                         });

}  // namespace
