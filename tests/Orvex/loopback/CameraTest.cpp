// SPDX-License-Identifier: Apache-2.0
// Every kind of camera and what it alone can do: chunks and CRC, compressed frames, event sensors.
#include <set>
#include <tuple>
#include <vector>

#include "Fixture.h"

namespace {

using GenICam::gcstring;

struct ChunkCamera {
  const char* name;
  const char* model;
  const char* pixelFormat;  // null: the model's own
};

// Cameras that append facts to their frames.
class ChunkCameras : public Loopback, public testing::WithParamInterface<ChunkCamera> {
 protected:
  ChunkCameras() : Loopback(Of(GetParam())) {
    OpenDevice();
    Orvex::SetNodeValue<bool>(Nodes(), "ChunkModeActive", true);
    GenApi::CEnumerationPtr pSelector(Nodes()->GetNode("ChunkSelector"));
    GenApi::NodeList_t entries;
    pSelector->GetEntries(entries);
    for (GenApi::INode* pEntry : entries) {
      pSelector->SetIntValue(GenApi::CEnumEntryPtr(pEntry)->GetValue());
      GenApi::CBooleanPtr pEnable(Nodes()->GetNode("ChunkEnable"));
      if (GenApi::IsWritable(pEnable)) pEnable->SetValue(true);
    }
  }

  static OrvexSim::CameraOptions Of(const ChunkCamera& camera) {
    OrvexSim::CameraOptions options = Options(camera.model);
    options.frameRate = 50;
    if (camera.pixelFormat != nullptr) options.pixelFormat = camera.pixelFormat;
    return options;
  }

  static int64_t Chunk(Orvex::IBuffer* pFrame, const char* name) {
    GenApi::CIntegerPtr pChunk(pFrame->AsChunkData()->GetChunk(name));
    return pChunk.IsValid() ? pChunk->GetValue() : -1;
  }
};

TEST_P(ChunkCameras, TellOfEachFrameAndItsCrcFits) {
  m_pDevice->StartStream(4);
  for (int i = 0; i < 5; ++i) {
    Orvex::IBuffer* pFrame = m_pDevice->GetBuffer(sk_frameTime);
    ASSERT_NE(pFrame->AsChunkData(), nullptr);
    EXPECT_TRUE(pFrame->HasChunkData());
    EXPECT_EQ(Chunk(pFrame, "ChunkFrameID"), static_cast<int64_t>(pFrame->GetFrameId()));
    EXPECT_EQ(Chunk(pFrame, "ChunkWidth"), Orvex::GetNodeValue<int64_t>(Nodes(), "Width"));
    EXPECT_EQ(pFrame->AsChunkData()->GetChunk("ChunkTaste"), nullptr);
    GenApi::CFloatPtr pExposure(pFrame->AsChunkData()->GetChunk("ChunkExposureTime"));
    EXPECT_EQ(pExposure->GetValue(), Orvex::GetNodeValue<double>(Nodes(), "ExposureTime"));
    // The camera's own node map shows the last frame that was taken.
    EXPECT_EQ(Orvex::GetNodeValue<int64_t>(Nodes(), "ChunkFrameID"),
              static_cast<int64_t>(pFrame->GetFrameId()));
    const bool compressed = pFrame->IsCompressedImage();
    EXPECT_EQ(pFrame->AsImage() == nullptr, compressed);
    EXPECT_EQ(pFrame->AsCompressedImage() == nullptr, !compressed);
    EXPECT_TRUE(pFrame->VerifyCRC());
    const_cast<uint8_t*>(pFrame->GetData())[100] ^= 1;
    EXPECT_FALSE(pFrame->VerifyCRC());
    m_pDevice->RequeueBuffer(pFrame);
  }
  m_pDevice->StopStream();
}

INSTANTIATE_TEST_SUITE_P(Kinds, ChunkCameras,
                         testing::Values(ChunkCamera{"Mono8", "area", "Mono8"},
                                         ChunkCamera{"Mono12p", "area", "Mono12p"},
                                         ChunkCamera{"RGB8", "area", "RGB8"},
                                         ChunkCamera{"Qoi", "qoi", nullptr},
                                         ChunkCamera{"Polarised", "polarised", nullptr},
                                         ChunkCamera{"Dual", "dual", nullptr},
                                         ChunkCamera{"Quad", "quad", nullptr},
                                         ChunkCamera{"Depth", "3d", nullptr}),
                         [](const auto& info) { return std::string(info.param.name); });

// Two frames of one camera are held at once: the values of each are its own.
TEST_F(Loopback, ChunksStayWithTheirFrame) {
  OpenDevice();
  Orvex::SetNodeValue<bool>(Nodes(), "ChunkModeActive", true);
  Set("ChunkSelector", "CRC");
  Orvex::SetNodeValue<bool>(Nodes(), "ChunkEnable", false);
  m_pDevice->StartStream(4);
  Orvex::IBuffer* pFirst = m_pDevice->GetBuffer(sk_frameTime);
  Orvex::IBuffer* pSecond = m_pDevice->GetBuffer(sk_frameTime);
  for (Orvex::IBuffer* pFrame : {pFirst, pSecond, pFirst}) {
    GenApi::CIntegerPtr pId(pFrame->AsChunkData()->GetChunk("ChunkFrameID"));
    EXPECT_EQ(pId->GetValue(), static_cast<int64_t>(pFrame->GetFrameId()));
  }
  EXPECT_THROW(pFirst->VerifyCRC(), GenICam::LogicalErrorException) << "no CRC was asked for";
  // What is copied needs the stream no more.
  Orvex::IImage* pCopy = Orvex::ImageFactory::Copy(pFirst->AsImage());
  const uint64_t id = pFirst->GetFrameId();
  m_pDevice->RequeueBuffer(pSecond);
  m_pDevice->RequeueBuffer(pFirst);
  m_pDevice->StopStream();
  EXPECT_EQ(pCopy->GetFrameId(), id);
  Orvex::ImageFactory::Destroy(pCopy);
}

// A frame with a hole is delivered, says so, and its CRC is not believed.
TEST_F(Loopback, ChunkFramesThatAreIncompleteSaySo) {
  OpenDevice();
  Orvex::SetNodeValue<bool>(Nodes(), "ChunkModeActive", true);
  Set("ChunkSelector", "CRC");
  Orvex::SetNodeValue<bool>(Nodes(), "ChunkEnable", true);
  Orvex::SetNodeValue<double>(Nodes(), "SimDropRate", 10.0);
  Orvex::SetNodeValue<bool>(Nodes(), "SimRefuseResends", true);
  m_pDevice->StartStream(4);
  bool seen = false;
  for (int i = 0; i < 200 && !seen; ++i) {
    Orvex::IBuffer* pFrame = m_pDevice->GetBuffer(sk_frameTime);
    seen = pFrame->IsIncomplete();
    if (seen) {
      EXPECT_THROW(pFrame->VerifyCRC(), GenICam::LogicalErrorException);
    }
    m_pDevice->RequeueBuffer(pFrame);
  }
  EXPECT_TRUE(seen);
  m_pDevice->StopStream();
}

// --- compressed frames

class CompressedCamera : public Loopback {
 protected:
  CompressedCamera() : Loopback(Options("qoi")) { OpenDevice(); }
};

TEST_F(CompressedCamera, SendsFramesThatDecompressToPictures) {
  m_pDevice->StartStream(4);
  Orvex::ICompressedImage* pFrame = m_pDevice->GetCompressedImage(sk_frameTime);
  Orvex::IImage* pImage = Orvex::ImageFactory::DecompressImage(pFrame);
  EXPECT_EQ(pImage->GetWidth(), 320u);
  EXPECT_EQ(pImage->GetHeight(), 240u);
  EXPECT_LT(pFrame->GetSizeFilled(), pImage->GetSizeFilled());
  Orvex::ImageFactory::Destroy(pImage);
  m_pDevice->RequeueBuffer(pFrame);
  EXPECT_THROW(m_pDevice->GetImage(sk_frameTime), GenICam::LogicalErrorException);
  m_pDevice->StopStream();
}

// --- event sensors

class EventSensor : public Loopback {
 protected:
  EventSensor() : Loopback(SensorOptions()) { OpenDevice(); }
  static OrvexSim::CameraOptions SensorOptions() {
    OrvexSim::CameraOptions options;
    options.address = "127.0.0.2";
    options.model = "event";
    options.frameRate = 50;
    return options;
  }
  GenApi::INodeMap* StreamNodes() { return m_pDevice->GetTLStreamNodeMap(); }
};

TEST_F(EventSensor, LimitsItsRateToTheLinkWhenItIsOpened) {
  const auto limit = Orvex::GetNodeValue<double>(Nodes(), "ErcRateLimit");
  const auto speed = Orvex::GetNodeValue<int64_t>(Nodes(), "DeviceLinkSpeed");
  EXPECT_LE(limit, static_cast<double>(speed) / 6.25 / 1e6 + 1e-6);
  EXPECT_TRUE(Orvex::GetNodeValue<bool>(Nodes(), "ErcEnable"));
}

struct OutputCase {
  const char* format;
  const char* depth;
  size_t buffer;  // bytes; 0: from PayloadSize
};

TEST_F(EventSensor, StreamsInEveryOutputFormat) {
  constexpr size_t sk_area = 1280 * 720;
  for (const OutputCase& output :
       {OutputCase{"RawFrameEncoded", "Bits8", 0}, OutputCase{"RawFrameDecoded", "Bits8", 0},
        OutputCase{"XYTPFrame", "Bits8", sk_area * 16}, OutputCase{"CDFrame", "Bits8", sk_area},
        OutputCase{"CDFrame", "Bits24", sk_area * 3}}) {
    SCOPED_TRACE(std::string(output.format) + " " + output.depth);
    Orvex::SetNodeValue<GenICam::gcstring>(StreamNodes(), "StreamEvsOutputFormat", output.format);
    Orvex::SetNodeValue<GenICam::gcstring>(StreamNodes(), "StreamEvsBitDepth", output.depth);
    m_pDevice->StartStream(4);
    size_t filled = 0;
    for (int i = 0; i < 3; ++i) {
      Orvex::IBuffer* pFrame = m_pDevice->GetBuffer(sk_frameTime);
      EXPECT_FALSE(pFrame->IsIncomplete());
      if (output.buffer != 0) {
        EXPECT_EQ(pFrame->GetSizeOfBuffer(), output.buffer);
      }
      filled += pFrame->GetSizeFilled();
      m_pDevice->RequeueBuffer(pFrame);
    }
    EXPECT_GT(filled, 0u);
    m_pDevice->StopStream();
  }
}

// Each event is at a place of the sensor and after those before it.
TEST_F(EventSensor, ListsEventsWithPlaceAndTime) {
  Orvex::SetNodeValue<GenICam::gcstring>(StreamNodes(), "StreamEvsOutputFormat", "XYTPFrame");
  m_pDevice->StartStream(4);
  uint64_t last = 0;
  size_t events = 0;
  for (int i = 0; i < 10; ++i) {
    Orvex::IBuffer* pFrame = m_pDevice->GetBuffer(sk_frameTime);
    for (size_t at = 0; at + 16 <= pFrame->GetSizeFilled(); at += 16, ++events) {
      const uint8_t* pEvent = pFrame->GetData() + at;
      const auto number = [pEvent](size_t first, size_t count) {
        uint64_t value = 0;
        for (size_t b = 0; b < count; ++b) value |= uint64_t{pEvent[first + b]} << (8 * b);
        return value;
      };
      EXPECT_LT(number(0, 2), 1280u);
      EXPECT_LT(number(2, 2), 720u);
      EXPECT_LE(number(12, 4), 1u);
      EXPECT_GE(number(4, 8), last);
      last = number(4, 8);
    }
    m_pDevice->RequeueBuffer(pFrame);
  }
  EXPECT_GT(events, 1000u);
  m_pDevice->StopStream();
}

// --- streams over TCP

class TcpStream : public Loopback {
 protected:
  TcpStream() {
    OpenDevice();
    Orvex::SetNodeValue<bool>(Nodes(), "TCPEnable", true);
  }
  int64_t PacketSize() {
    return Orvex::GetNodeValue<int64_t>(Nodes(), "DeviceStreamChannelPacketSize");
  }
  gcstring StreamId() {
    return Orvex::GetNodeValue<gcstring>(m_pDevice->GetTLStreamNodeMap(), "StreamID");
  }
};

TEST_F(TcpStream, BringsWholeFramesInOrder) {
  const gcstring tcp = StreamId();
  const int64_t before = PacketSize();
  for (int round = 0; round < 3; ++round) {
    m_pDevice->StartStream(5);
    EXPECT_EQ(PacketSize(), 9000);
    uint64_t last = 0;
    for (int i = 0; i < 20; ++i) {
      Orvex::IImage* pImage = m_pDevice->GetImage(sk_frameTime);
      EXPECT_FALSE(pImage->IsIncomplete());
      EXPECT_EQ(pImage->GetSizeFilled(), 320u * 240u);
      EXPECT_GT(pImage->GetFrameId(), last);
      last = pImage->GetFrameId();
      m_pDevice->RequeueBuffer(pImage);
    }
    m_pDevice->StopStream();
    EXPECT_EQ(PacketSize(), before);
  }
  // And over UDP again, in the same session.
  Orvex::SetNodeValue<bool>(Nodes(), "TCPEnable", false);
  Set("TransportStreamProtocol", "UDP");
  EXPECT_NE(StreamId(), tcp);
  m_pDevice->StartStream(5);
  TakeFrames(5);
  m_pDevice->StopStream();
}

TEST_F(TcpStream, CarriesChunksAndCallbacks) {
  Orvex::SetNodeValue<bool>(Nodes(), "ChunkModeActive", true);
  Counter images;
  m_pDevice->StartStream(5);
  Orvex::IBuffer* pFrame = m_pDevice->GetBuffer(sk_frameTime);
  EXPECT_TRUE(pFrame->VerifyCRC());
  m_pDevice->RequeueBuffer(pFrame);
  m_pDevice->RegisterImageCallback(&images);
  EXPECT_TRUE(images.WaitFor(10));
  EXPECT_TRUE(m_pDevice->DeregisterImageCallback(&images));
  m_pDevice->StopStream();
}

TEST_F(TcpStream, EndsWithItsCamera) {
  Counter lost;
  m_pSystem->RegisterDeviceDisconnectCallback(m_pDevice, &lost);
  m_pDevice->StartStream(5);
  TakeFrames(2);
  m_camera.Stop();
  EXPECT_TRUE(lost.WaitFor(1));
  m_pSystem->DeregisterDeviceDisconnectCallback(&lost);
  EXPECT_NO_THROW(CloseDevice());
  m_camera.Start();
  OpenDevice();
  Orvex::SetNodeValue<bool>(Nodes(), "TCPEnable", true);
  m_pDevice->StartStream(5);
  TakeFrames(5);
  m_pDevice->StopStream();
}

}  // namespace
