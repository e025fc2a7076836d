// SPDX-License-Identifier: Apache-2.0
// Frames: taken, looked at by kind, and handed back.
#include <GenApi/GenApi.h>

#include <thread>

#include "Fixture.h"
#include "IChunkData.h"
#include "ICompressedImage.h"
#include "IImage.h"

namespace {

using namespace Orvex;

const std::string sk_s = "(cam0.stream0";

class Frames : public ScriptedTest {
 protected:
  void OpenAndStart(size_t numBuffers = 2) {
    OpenCamera()->StartStream(numBuffers);
    ForgetCalls();
  }

  void Deliver(uint64_t payloadType, const std::vector<uint8_t>& data = {}) {
    ASSERT_TRUE(m_world.CameraStream().Deliver(
        {{GenTL::BUFFER_INFO_PAYLOADTYPE, payloadType}, {GenTL::BUFFER_INFO_WIDTH, 8}}, data));
  }

  static std::string Views(IBuffer* pBuffer) {
    return std::string(pBuffer->AsImage() ? "I" : "-") + (pBuffer->AsChunkData() ? "C" : "-") +
           (pBuffer->AsCompressedImage() ? "Z" : "-");
  }

  // A camera with one chunk node, below the given root.
  void DescribeChunks(const std::string& root = "ChunkDataControl") {
    auto& remote = m_world.Camera().remote;
    remote.portName = "Device";
    remote.xml =
        "<RegisterDescription ModelName=\"Scripted\" VendorName=\"Orvex\" "
        "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
        "SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
        "ProductGuid=\"8A2E4A02-4E2B-4C5C-9F5D-0C6A6C3F7E11\" "
        "VersionGuid=\"3D2B9C9A-7C4C-4F0E-8F43-52C1E5D0B0A2\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
        "<Category Name=\"Root\"><pFeature>" +
        root +
        "</pFeature>"
        "<pFeature>PayloadSize</pFeature><pFeature>TLParamsLocked</pFeature>"
        "<pFeature>AcquisitionStart</pFeature><pFeature>AcquisitionStop</pFeature></Category>"
        "<Category Name=\"" +
        root +
        "\"><pFeature>ChunkWidth</pFeature></Category>"
        "<Integer Name=\"PayloadSize\"><Value>32</Value></Integer>"
        "<Integer Name=\"TLParamsLocked\"><Value>0</Value></Integer>"
        "<Integer Name=\"Executed\"><Value>0</Value></Integer>"
        "<Command Name=\"AcquisitionStart\"><pValue>Executed</pValue>"
        "<CommandValue>1</CommandValue></Command>"
        "<Command Name=\"AcquisitionStop\"><pValue>Executed</pValue>"
        "<CommandValue>1</CommandValue></Command>"
        "<IntReg Name=\"ChunkWidth\"><Address>0</Address><Length>4</Length>"
        "<AccessMode>RO</AccessMode><pPort>ChunkPort</pPort><Sign>Unsigned</Sign>"
        "<Endianess>BigEndian</Endianess></IntReg>"
        "<Port Name=\"Device\"/><Port Name=\"ChunkPort\"><ChunkID>A5A50001</ChunkID></Port>"
        "</RegisterDescription>";
  }

  // Image of 8 bytes with its chunk trailer, then a chunk of 4 bytes (value 8) with its trailer: as
  // GigE Vision lays chunks out, in network order, 28 bytes in all. The buffer holds 32.
  const std::vector<uint8_t> m_chunkFrame = {1,    2,    3,    4,    5, 6, 7, 8, 0x00, 0x00,
                                             0x00, 0x01, 0,    0,    0, 8, 0, 0, 0,    8,
                                             0xA5, 0xA5, 0x00, 0x01, 0, 0, 0, 4};
};

struct KindRow {
  const char* name;
  uint64_t payloadType;
  const char* views;       // I: image, C: chunk data, Z: compressed image
  std::vector<int> asked;  // buffer infos after the payload type
};
class FrameKind : public Frames, public testing::WithParamInterface<KindRow> {};

TEST_P(FrameKind, FollowsThePayloadTypeThroughEachStep) {
  const char* const sk_place = "Device.cpp, GetBuffer";
  IBuffer* pBuffer = nullptr;
  Operation take;
  take.prepare = [this] {
    OpenAndStart();
    Deliver(GetParam().payloadType);
  };
  take.act = [&] {
    pBuffer = m_pCamera->GetBuffer(10);
    EXPECT_EQ(Views(pBuffer), GetParam().views);
    m_pCamera->RequeueBuffer(pBuffer);
    pBuffer = nullptr;
  };
  take.after = [&](const Step&) {
    // A frame that was refused stays the caller's.
    if (pBuffer != nullptr) m_pCamera->RequeueBuffer(std::exchange(pBuffer, nullptr));
  };
  take.steps = {
      Checked("EventGetData(cam0.stream0.event1, 10)", "Unable to get buffer data", sk_place),
      Checked("DSGetBufferInfo(19)", "Unable to get buffer payload type", sk_place)};
  for (const int command : GetParam().asked) {
    const std::string call = "DSGetBufferInfo(" + std::to_string(command) + ")";
    take.steps.push_back(
        command == GenTL::BUFFER_INFO_DATA_SIZE
            ? Checked(call, "Unable to get buffer data size", sk_place)
            : Checked(call, "Unable to get buffer information", "Buffer.cpp, GetInfo"));
  }
  take.steps.push_back(Checked("DSQueueBuffer" + sk_s + ")", "Unable to requeue internal buffer",
                               "Device.cpp, RequeueBuffer"));
  Drive(take);
}

INSTANTIATE_TEST_SUITE_P(Kinds, FrameKind,
                         testing::Values(KindRow{"Image", 1, "I--", {}},
                                         KindRow{"Compressed", 1001, "--Z", {}},
                                         KindRow{"ImageAndChunks", 16385, "IC-", {27, 0}},
                                         KindRow{"ChunkData", 4, "-C-", {0, 9}},
                                         KindRow{"CompressedAndChunks", 1002, "-CZ", {27, 0}}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Frames, OfUnknownPayloadFail) {
  OpenAndStart();
  Deliver(10);
  EXPECT_EQ(Thrown([&] { m_pCamera->GetBuffer(10); }),
            PlainError("LogicalErrorException", "Unknown payload type", "Device.cpp, GetBuffer"));
}

TEST_F(Frames, AreHandedBackByAnyOfTheirViews) {
  for (const int view : {0, 1, 2}) {
    Restart();
    OpenAndStart();
    Deliver(16385);
    IBuffer* pBuffer = m_pCamera->GetBuffer(10);
    EXPECT_EQ(pBuffer->AsChunkData()->GetData(), pBuffer->GetData());
    m_pCamera->RequeueBuffer(view == 0   ? pBuffer
                             : view == 1 ? static_cast<IBuffer*>(pBuffer->AsChunkData())
                                         : static_cast<IBuffer*>(pBuffer->AsImage()));
    EXPECT_EQ(m_world.CameraStream().input.size(), 2u);
  }
}

TEST_F(Frames, GiveTheirChunksToTheDevicesOwnNodesAndToTheFrames) {
  for (const std::string root : {"ChunkDataControl", "ChunkData", "Elsewhere"}) {
    SCOPED_TRACE(root);
    Restart();
    DescribeChunks(root);
    OpenAndStart();
    m_world.CameraStream().Deliver({{GenTL::BUFFER_INFO_PAYLOADTYPE, 16385},
                                    {GenTL::BUFFER_INFO_DATA_SIZE, m_chunkFrame.size()},
                                    {GenTL::BUFFER_INFO_SIZE_FILLED, m_chunkFrame.size()}},
                                   m_chunkFrame);
    IBuffer* pBuffer = m_pCamera->GetBuffer(10);
    GenApi::CIntegerPtr pOwn = m_pCamera->GetNodeMap()->GetNode("ChunkWidth");
    EXPECT_EQ(pOwn->GetValue(), 8);
    GenApi::CIntegerPtr pOfFrame = pBuffer->AsChunkData()->GetChunk("ChunkWidth");
    EXPECT_EQ(pOfFrame.IsValid() ? pOfFrame->GetValue() : -1, root == "Elsewhere" ? -1 : 8);
    m_pCamera->RequeueBuffer(pBuffer);
    m_pCamera->StopStream();
    EXPECT_FALSE(GenApi::IsReadable(*pOwn));  // the frame's memory is gone
  }
}

TEST_F(Frames, WithoutChunkLayoutAreDeliveredAllTheSame) {
  DescribeChunks();
  OpenAndStart();
  Deliver(4, std::vector<uint8_t>(32, 0xFF));
  IBuffer* pBuffer = m_pCamera->GetBuffer(10);
  ASSERT_NE(pBuffer, nullptr);
  EXPECT_EQ(pBuffer->AsChunkData()->GetChunk("ChunkWidth"), nullptr);
  m_pCamera->RequeueBuffer(pBuffer);
}

TEST_F(Frames, ComeAsImagesOrNotAtAll) {
  OpenAndStart();
  Deliver(1);
  IImage* pImage = m_pCamera->GetImage(10);
  EXPECT_EQ(pImage->GetWidth(), 8u);
  m_pCamera->RequeueBuffer(pImage);
  Deliver(4);
  EXPECT_EQ(Thrown([&] { m_pCamera->GetImage(10); }),
            PlainError("LogicalErrorException", "Failed to cast Orvex::IBuffer* to Orvex::IImage* ",
                       "Device.cpp, GetImage"));
  Deliver(1);
  EXPECT_EQ(Thrown([&] { m_pCamera->GetCompressedImage(10); }),
            PlainError("LogicalErrorException",
                       "Failed to cast Orvex::IBuffer* to Orvex::ICompressedImage* (perhaps an "
                       "unsupported compressed pixel format)",
                       "Device.cpp, GetCompressedImage"));
}

TEST_F(Frames, NeedAStartedStream) {
  OpenCamera();
  m_world.errorText = "nothing";
  EXPECT_EQ(Thrown([&] { m_pCamera->GetImage(10); }),
            GenTLError("InvalidArgumentException", "GC_ERR_INVALID_HANDLE",
                       "Unable to get buffer data, event handle is NULL", "Device.cpp, GetBuffer",
                       "EventGetData") +
                "nothing");
  EXPECT_EQ(Thrown([&] { m_pCamera->GetBuffer(7, 10); }),
            PlainError("RuntimeException", "error indexing a stream!", "Device.cpp, GetBuffer"));
}

TEST_F(Frames, EndTheWaitOfAnotherThreadWhenTheStreamStops) {
  OpenCamera();
  for (int i = 0; i < 50; ++i) {
    m_pCamera->StartStream(1);
    std::string thrown;
    std::thread waiting([&] { thrown = Thrown([&] { m_pCamera->GetImage(10000); }); });
    if (i % 2 == 0) std::this_thread::yield();
    m_pCamera->StopStream();
    waiting.join();
    EXPECT_THAT(thrown, testing::AnyOf(testing::HasSubstr("GC_ERR_ABORT"),
                                       testing::HasSubstr("event handle is NULL")));
  }
}

TEST_F(Frames, NeedADeviceWithStreams) {
  Device empty;
  const auto error = [](const char* exceptionClass, const char* function) {
    return PlainError(exceptionClass, "Device has no available streams",
                      std::string("Device.cpp, ") + function);
  };
  const char* logical = "LogicalErrorException";
  EXPECT_EQ(Thrown([&] { empty.GetImage(1); }), error(logical, "GetImage"));
  EXPECT_EQ(Thrown([&] { empty.GetCompressedImage(1); }), error(logical, "GetCompressedImage"));
  // Kept on purpose: another class here.
  EXPECT_EQ(Thrown([&] { empty.GetBuffer(1); }), error("DynamicCastException", "GetBuffer"));
  EXPECT_EQ(Thrown([&] { empty.RequeueBuffer(nullptr); }), error(logical, "RequeueBuffer"));
  EXPECT_EQ(Thrown([&] { empty.WaitForNextLeader(1); }), error(logical, "WaitForNextLeader"));
  EXPECT_EQ(Thrown([&] { empty.ResetWaitForNextLeader(); }),
            error(logical, "ResetWaitForNextLeader"));
  EXPECT_EQ(Thrown([&] { empty.GetTLStreamNodeMap(); }), error(logical, "GetTLStreamNodeMap"));
}

TEST_F(Frames, AreNotNull) {
  OpenAndStart();
  EXPECT_EQ(Thrown([&] { m_pCamera->RequeueBuffer(nullptr); }),
            PlainError("InvalidArgumentException", "Image is null", "Device.cpp, RequeueBuffer"));
}

TEST_F(Frames, AnnounceThemselvesByTheirLeader) {
  const char* const sk_failed = "Wait for next leader failed";  // of both operations
  Operation leader;
  leader.prepare = [this] { OpenAndStart(); };
  leader.act = [this] {
    m_pCamera->WaitForNextLeader(70);
    m_pCamera->ResetWaitForNextLeader();
  };
  leader.steps = {
      Checked("DSWaitForNextLeader" + sk_s + ", 70)", sk_failed, "Device.cpp, WaitForNextLeader"),
      Checked("DSResetWaitForNextLeader" + sk_s + ")", sk_failed,
              "Device.cpp, ResetWaitForNextLeader")};
  Drive(leader);
}

}  // namespace
