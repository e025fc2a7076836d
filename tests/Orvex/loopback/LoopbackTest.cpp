// SPDX-License-Identifier: Apache-2.0
// The whole library over real sockets, against virtual cameras in this process, as an application
// uses it: public headers only.
#include <GenApi/GenApi.h>
#include <Orvex.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "simulator/VirtualCamera.h"

namespace {

using namespace std::chrono_literals;
using GenICam::gcstring;

constexpr uint64_t sk_discoveryTime = 200, sk_frameTime = 5000;  // ms

// A virtual camera, small and fast, and the library with its device open.
class Loopback : public testing::Test {
 protected:
  Loopback() : m_camera(Options("127.0.0.2")) {
    m_camera.Start();
    m_pSystem = Orvex::OpenSystem();
  }

  ~Loopback() override {
    try {
      if (m_pDevice != nullptr) m_pSystem->DestroyDevice(m_pDevice);
      if (m_pSystem != nullptr) Orvex::CloseSystem(m_pSystem);
    } catch (const GenICam::GenericException& error) {
      ADD_FAILURE() << error.GetDescription();
    }
  }

  static OrvexSim::CameraOptions Options(const char* address) {
    OrvexSim::CameraOptions options;
    options.address = address;
    options.width = 320;
    options.height = 240;
    options.frameRate = 200;
    return options;
  }

  Orvex::IDevice* Open(const std::string& ip = "127.0.0.2") {
    m_pSystem->UpdateDevices(sk_discoveryTime);
    for (Orvex::DeviceInfo info : m_pSystem->GetDevices()) {
      if (info.IpAddressStr() == ip.c_str()) return m_pSystem->CreateDevice(info);
    }
    throw std::runtime_error("no camera at " + ip);
  }
  void OpenDevice() { m_pDevice = Open(); }

  GenApi::INodeMap* Nodes() { return m_pDevice->GetNodeMap(); }

  OrvexSim::VirtualCamera m_camera;
  Orvex::ISystem* m_pSystem = nullptr;
  Orvex::IDevice* m_pDevice = nullptr;
};

TEST_F(Loopback, FindsCamerasAsTheyAre) {
  OrvexSim::VirtualCamera second(Options("127.0.0.3"));
  second.Start();
  EXPECT_TRUE(m_pSystem->UpdateDevices(sk_discoveryTime));
  std::set<std::string> serials;
  for (Orvex::DeviceInfo info : m_pSystem->GetDevices())
    serials.insert(info.SerialNumber().c_str());
  EXPECT_EQ(serials, (std::set<std::string>{m_camera.Serial(), second.Serial()}));
}

TEST_F(Loopback, StreamsFramesInOrderAndWhole) {
  OpenDevice();
  m_pDevice->StartStream();
  uint64_t last = 0;
  for (int i = 0; i < 50; ++i) {
    Orvex::IImage* pImage = m_pDevice->GetImage(sk_frameTime);
    EXPECT_FALSE(pImage->IsIncomplete());
    EXPECT_EQ(pImage->GetWidth(), 320u);
    EXPECT_EQ(pImage->GetHeight(), 240u);
    EXPECT_EQ(pImage->GetSizeFilled(), 320u * 240u);
    EXPECT_GT(pImage->GetFrameId(), last);
    last = pImage->GetFrameId();
    m_pDevice->RequeueBuffer(pImage);
  }
  m_pDevice->StopStream();
  EXPECT_THROW(m_pDevice->GetImage(1), GenICam::InvalidArgumentException);
  EXPECT_EQ(Orvex::GetNodeValue<int64_t>(Nodes(), "TLParamsLocked"), 0);
}

TEST_F(Loopback, StreamsTwoCamerasAtOnce) {
  OrvexSim::VirtualCamera second(Options("127.0.0.3"));
  second.Start();
  OpenDevice();
  Orvex::IDevice* pSecond = Open("127.0.0.3");
  m_pDevice->StartStream(10);
  pSecond->StartStream(10);
  for (int i = 0; i < 20; ++i) {
    for (Orvex::IDevice* pDevice : {m_pDevice, pSecond})
      pDevice->RequeueBuffer(pDevice->GetImage(sk_frameTime));
  }
  pSecond->StopStream();
  m_pDevice->StopStream();
  m_pSystem->DestroyDevice(pSecond);
}

TEST_F(Loopback, TakesFramesOnTrigger) {
  OpenDevice();
  Orvex::SetNodeValue<gcstring>(Nodes(), "TriggerMode", "On");
  Orvex::SetNodeValue<gcstring>(Nodes(), "TriggerSource", "Software");
  m_pDevice->StartStream(4);
  EXPECT_THROW(m_pDevice->GetImage(100), GenICam::TimeoutException);
  Orvex::ExecuteNode(Nodes(), "TriggerSoftware");
  m_pDevice->RequeueBuffer(m_pDevice->GetImage(sk_frameTime));
  EXPECT_THROW(m_pDevice->GetImage(100), GenICam::TimeoutException);
  m_pDevice->StopStream();
}

TEST_F(Loopback, ReadsChunksAndChecksTheFrame) {
  OpenDevice();
  Orvex::SetNodeValue<bool>(Nodes(), "ChunkModeActive", true);
  for (const char* chunk : {"Width", "CRC"}) {
    Orvex::SetNodeValue<gcstring>(Nodes(), "ChunkSelector", chunk);
    Orvex::SetNodeValue<bool>(Nodes(), "ChunkEnable", true);
  }
  m_pDevice->StartStream(4);
  Orvex::IBuffer* pBuffer = m_pDevice->GetBuffer(sk_frameTime);
  ASSERT_NE(pBuffer->AsChunkData(), nullptr);
  GenApi::CIntegerPtr pWidth = pBuffer->AsChunkData()->GetChunk("ChunkWidth");
  ASSERT_TRUE(pWidth.IsValid());
  EXPECT_EQ(pWidth->GetValue(), 320);
  EXPECT_EQ(Orvex::GetNodeValue<int64_t>(Nodes(), "ChunkWidth"), 320);
  EXPECT_TRUE(pBuffer->VerifyCRC());
  const_cast<uint8_t*>(pBuffer->GetData())[100] ^= 1;
  EXPECT_FALSE(pBuffer->VerifyCRC());
  m_pDevice->RequeueBuffer(pBuffer);
  m_pDevice->StopStream();
}

TEST_F(Loopback, HearsTheCamerasEvents) {
  OpenDevice();
  m_pDevice->InitializeEvents();
  EXPECT_THROW(m_pDevice->WaitOnEvent(50), GenICam::TimeoutException);
  Orvex::ExecuteNode(Nodes(), "TestEventGenerate");
  m_pDevice->WaitOnEvent(sk_frameTime);
  EXPECT_GT(Orvex::GetNodeValue<int64_t>(Nodes(), "EventTestTimestamp"), 0);
  m_pDevice->DeinitializeEvents();
  EXPECT_THROW(m_pDevice->WaitOnEvent(50), GenICam::LogicalErrorException);
}

TEST_F(Loopback, SavesAndRestoresSettings) {
  OpenDevice();
  const std::string file = std::filesystem::temp_directory_path() / "orvex-loopback-settings.txt";
  Orvex::FeatureStream selected(Nodes());
  selected << "ExposureTime";
  selected.Write(file.c_str());
  const double exposure = Orvex::GetNodeValue<double>(Nodes(), "ExposureTime");
  Orvex::SetNodeValue<double>(Nodes(), "ExposureTime", exposure + 500);
  Orvex::FeatureStream(Nodes()).Read(file.c_str());
  EXPECT_EQ(Orvex::GetNodeValue<double>(Nodes(), "ExposureTime"), exposure);
  std::filesystem::remove(file);
}

// --- callbacks at full rate

class Counter : public Orvex::IImageCallback, public Orvex::IDisconnectCallback {
 public:
  void OnImage(Orvex::IImage* pImage) override { Count(pImage->GetWidth() == 320); }
  void OnDeviceDisconnected(Orvex::IDevice*) override { Count(true); }
  bool WaitFor(int count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, 10s, [&] { return m_count >= count; });
  }

 private:
  void Count(bool good) {
    const std::lock_guard lock(m_mutex);
    EXPECT_TRUE(good);
    ++m_count;
    m_changed.notify_all();
  }
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_count = 0;
};

TEST_F(Loopback, DeliversToCallbacksThatComeAndGo) {
  OpenDevice();
  Counter staying;
  m_pDevice->RegisterImageCallback(&staying);
  m_pDevice->StartStream(5);
  ASSERT_TRUE(staying.WaitFor(5));
  EXPECT_THROW(m_pDevice->GetImage(1), GenICam::RuntimeException);
  EXPECT_TRUE(m_pDevice->DeregisterImageCallback(&staying));
  for (int i = 0; i < 100; ++i) {
    auto pPassing = std::make_unique<Counter>();
    m_pDevice->RegisterImageCallback(pPassing.get());
    if (i % 10 == 0) {
      ASSERT_TRUE(pPassing->WaitFor(1));
    }
    EXPECT_TRUE(m_pDevice->DeregisterImageCallback(pPassing.get()));
  }
  // No buffer was lost on the way: frames keep coming.
  for (int i = 0; i < 10; ++i) m_pDevice->RequeueBuffer(m_pDevice->GetImage(sk_frameTime));
  m_pDevice->StopStream();
}

// --- cameras that vanish

TEST_F(Loopback, TellsWhenACameraVanishesAndOpensItAgain) {
  OpenDevice();
  Counter callback;
  m_pSystem->RegisterDeviceDisconnectCallback(m_pDevice, &callback);
  m_pDevice->StartStream(4);
  m_pDevice->RequeueBuffer(m_pDevice->GetImage(sk_frameTime));
  m_camera.Stop();
  EXPECT_TRUE(callback.WaitFor(1));
  EXPECT_FALSE(m_pDevice->IsConnected());
  m_pSystem->DeregisterDeviceDisconnectCallback(&callback);
  EXPECT_NO_THROW(m_pSystem->DestroyDevice(m_pDevice));
  m_pDevice = nullptr;
  m_camera.Start();
  OpenDevice();
  m_pDevice->StartStream(4);
  m_pDevice->RequeueBuffer(m_pDevice->GetImage(sk_frameTime));
  m_pDevice->StopStream();
}

// --- nothing leaks

size_t EntriesOf(const char* folder) {
  return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST_F(Loopback, LeavesNoThreadAndNoDescriptorBehind) {
  size_t threads = 0, descriptors = 0;
  for (int i = 0; i < 60; ++i) {
    OpenDevice();
    m_pDevice->StartStream(4);
    m_pDevice->RequeueBuffer(m_pDevice->GetImage(sk_frameTime));
    m_pDevice->StopStream();
    m_pSystem->DestroyDevice(std::exchange(m_pDevice, nullptr));
    if (i == 4) {  // what is made once has been made
      threads = EntriesOf("/proc/self/task");
      descriptors = EntriesOf("/proc/self/fd");
    }
  }
  EXPECT_EQ(EntriesOf("/proc/self/task"), threads);
  EXPECT_EQ(EntriesOf("/proc/self/fd"), descriptors);
}

}  // namespace
