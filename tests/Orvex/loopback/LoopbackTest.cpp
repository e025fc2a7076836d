// SPDX-License-Identifier: Apache-2.0
// What an application does with one camera, from finding it to the last frame.
#include <filesystem>
#include <set>

#include "Fixture.h"

namespace {

using GenICam::gcstring;

TEST_F(Loopback, FindsCamerasAsTheyAre) {
  OrvexSim::VirtualCamera second(Options("area", "127.0.0.3"));
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
  OrvexSim::VirtualCamera second(Options("area", "127.0.0.3"));
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

}  // namespace
