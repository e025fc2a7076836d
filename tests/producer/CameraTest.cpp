// SPDX-License-Identifier: Apache-2.0
// Whole cameras over real sockets: who controls them, what happens when they go and come back, how
// they stream.
#include <gtest/gtest.h>

#include <set>

#include "OpenCamera.h"
#include "gentl/GenTLExtensions.h"
#include "gigevision/Bootstrap.h"
#include "producer/Limits.h"

namespace OrvexGev {
namespace {

using namespace GenTL;
namespace Reg = GigEVision::Bootstrap;

constexpr uint32_t sk_host = 0x7F000001;

uint32_t Address(uint32_t last) {
  return 0x7F000000 | last;
}

// Another application that controls the camera.
struct Rival {
  explicit Rival(uint32_t ip) : channel(sk_host, ip) {}
  void Control(uint32_t privilege) { channel.WriteRegister(Reg::sk_ccp, privilege); }
  ControlChannel channel;
};

TEST(Ownership, ACameraOfAnotherApplicationCanOnlyBeRead) {
  SimulatedCamera simulated("127.0.0.71");
  Rival rival(Address(71));
  rival.Control(Reg::sk_ccpControl);
  EXPECT_EQ(CodeOf([] { OpenCamera camera("127.0.0.71"); }), GC_ERR_ACCESS_DENIED);
  OpenCamera camera("127.0.0.71", DEVICE_ACCESS_READONLY);
  EXPECT_EQ(camera.device->AccessStatus(), DEVICE_ACCESS_STATUS_OPEN_READONLY);
  EXPECT_EQ(camera.ReadWord(Reg::sk_currentIp), Address(71));
  EXPECT_EQ(CodeOf([&] { camera.WriteWord(Reg::sk_heartbeatTimeout, 5000); }),
            GC_ERR_ACCESS_DENIED);
}

TEST(Ownership, AccessStatusTellsWhoHoldsAClosedCamera) {
  SimulatedCamera simulated("127.0.0.72");
  const auto system = System::Create();
  const auto interface = system->OpenInterface("lo");
  interface->UpdateDeviceList(1000);
  const auto status = [&] {
    INFO_DATATYPE type;
    int32_t value = 0;
    size_t size = sizeof value;
    interface->DeviceInfo("127.0.0.72", DEVICE_INFO_ACCESS_STATUS, InfoQuery(&type, &value, &size));
    return value;
  };
  // The node map tells it too, in more words: open, controlled, exclusive, no access.
  const auto mode = [&] { return OpenCamera::Node(*interface, "GevDeviceCurrentControlMode"); };
  for (int64_t i = 0; OpenCamera::Node(*interface, "GevDeviceIPAddress") != Address(72); ++i)
    OpenCamera::SetNode(*interface, "DeviceSelector", i);
  EXPECT_EQ(status(), DEVICE_ACCESS_STATUS_READWRITE);
  EXPECT_EQ(mode(), 0);
  {
    Rival rival(Address(72));
    rival.Control(Reg::sk_ccpControl);
    EXPECT_EQ(mode(), 1);
    rival.Control(Reg::sk_ccpExclusive);
    EXPECT_EQ(status(), DEVICE_ACCESS_STATUS_BUSY);
    rival.Control(0);
  }
  simulated.Stop();
  EXPECT_EQ(status(), DEVICE_ACCESS_STATUS_NOACCESS);
  EXPECT_EQ(mode(), 3);
  system->Close();
}

TEST(Ownership, LosingControlIsNoticedAndReported) {
  SimulatedCamera simulated("127.0.0.73");
  OpenCamera camera("127.0.0.73");
  const auto errors = camera.device->RegisterEvent(EVENT_ERROR);
  Rival rival(Address(73));
  camera.WriteWord(Reg::sk_ccp, 0);
  rival.Control(Reg::sk_ccpControl);
  EXPECT_TRUE(Within(
      2s, [&] { return camera.device->AccessStatus() == DEVICE_ACCESS_STATUS_OPEN_READONLY; }));
  EXPECT_TRUE(camera.device->Connected());
  uint8_t entry[sk_maxEventBytes];
  size_t size = sizeof entry;
  EXPECT_EQ(CodeOf([&] { errors->GetData(entry, &size, 1000); }), GC_ERR_SUCCESS);
  EXPECT_EQ(CodeOf([&] { camera.WriteWord(Reg::sk_heartbeatTimeout, 5000); }),
            GC_ERR_ACCESS_DENIED);
}

TEST(Ownership, ClosingGivesTheCameraBack) {
  SimulatedCamera simulated("127.0.0.74");
  { OpenCamera camera("127.0.0.74", DEVICE_ACCESS_EXCLUSIVE); }
  Rival rival(Address(74));
  rival.Control(Reg::sk_ccpControl);
  EXPECT_EQ(rival.channel.ReadRegister(Reg::sk_ccp), Reg::sk_ccpControl);
}

TEST(Connection, FollowsACameraThatIsPulledAndReplugged) {
  SimulatedCamera simulated("127.0.0.75");
  OpenCamera camera("127.0.0.75");
  ASSERT_TRUE(camera.device->Connected());
  simulated.Stop();
  EXPECT_TRUE(Within(1s, [&] { return !camera.device->Connected(); }));
  const auto start = Clock::now();
  EXPECT_EQ(CodeOf([&] { camera.ReadWord(Reg::sk_currentIp); }), GC_ERR_IO);
  EXPECT_LT(Clock::now() - start, 50ms);  // no waiting for a camera that is known to be gone
  simulated.Start();
  EXPECT_TRUE(Within(1s, [&] { return camera.device->Connected(); }));
  EXPECT_TRUE(Within(1s, [&] { return camera.device->Controls(); }));
  camera.WriteWord(Reg::sk_heartbeatTimeout, 4000);
  EXPECT_EQ(camera.ReadWord(Reg::sk_heartbeatTimeout), 4000u);
}

TEST(Connection, TearDownOfAPulledStreamingCameraIsBounded) {
  SimulatedCamera simulated("127.0.0.76");
  auto camera = std::make_unique<OpenCamera>("127.0.0.76");
  camera->OpenStream(4, simulated.PayloadSize());
  camera->stream->Start(ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
  camera->WriteWord(simulated.Register("AcquisitionStart"), 1);
  ASSERT_NE(camera->Next(), nullptr);
  simulated.Stop();
  const auto start = Clock::now();
  camera->stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
  camera.reset();
  EXPECT_LT(Clock::now() - start, 2s);
}

class Streaming : public ::testing::Test {
 protected:
  void Open(size_t buffers) {
    simulated.emplace("127.0.0.77");
    camera.emplace("127.0.0.77");
    camera->OpenStream(buffers, simulated->PayloadSize());
  }
  void Start(uint64_t count = GENTL_INFINITE) {
    camera->stream->Start(ACQ_START_FLAGS_DEFAULT, count);
    camera->WriteWord(simulated->Register("AcquisitionStart"), 1);
  }
  void StopCamera() { camera->WriteWord(simulated->Register("AcquisitionStop"), 1); }
  std::optional<SimulatedCamera> simulated;
  std::optional<OpenCamera> camera;
};

TEST_F(Streaming, NegotiatesThePacketSizeUnlessOneWasGiven) {
  Open(4);
  const uint32_t scps = Reg::StreamRegister(Reg::Stream::Scps);
  Start();
  ASSERT_NE(camera->Next(), nullptr);
  EXPECT_EQ(camera->ReadWord(scps) & Reg::sk_scpsSizeMask, 9000u);
  StopCamera();
  camera->stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
  camera->WriteWord(scps, 1400);
  Start();
  ASSERT_NE(camera->Next(), nullptr);
  EXPECT_EQ(camera->ReadWord(scps) & Reg::sk_scpsSizeMask, 1400u);
}

TEST_F(Streaming, OldestFirstLosesNewFramesWhenNobodyReturnsBuffers) {
  Open(3);
  Start();
  EXPECT_TRUE(Within(3s, [&] { return camera->StreamNode("StreamLostFrameCount") >= 3; }));
  StopCamera();
  const uint64_t first = camera->Next()->frame.blockId;
  EXPECT_EQ(camera->Next()->frame.blockId, first + 1);
  EXPECT_EQ(camera->Next()->frame.blockId, first + 2);
  EXPECT_EQ(camera->Next(0), nullptr);
}

TEST_F(Streaming, DiscardedFramesAreModuleEventsUnlessSwitchedOff) {
  Open(1);
  const auto event = camera->stream->RegisterEvent(EVENT_MODULE);
  uint8_t entry[64];
  const auto take = [&](uint64_t timeoutMs) {
    size_t size = sizeof entry;
    return CodeOf([&] { event->GetData(entry, &size, timeoutMs); });
  };
  Start();
  ASSERT_EQ(take(3000), GC_ERR_SUCCESS);
  EXPECT_EQ(GigEVision::LoadBe16(entry), 2);  // BuffersDiscarded
  OpenCamera::SetNode(*camera->stream, "EventSelector", 2);
  EXPECT_EQ(camera->StreamNode("EventNotification"), 1);
  OpenCamera::SetNode(*camera->stream, "EventNotification", 0);
  const auto loseAnother = [&] {
    const int64_t lost = camera->StreamNode("StreamUnderrunFrameCount");
    return Within(3s, [&] { return camera->StreamNode("StreamUnderrunFrameCount") > lost; });
  };
  EXPECT_TRUE(loseAnother());
  event->Flush();
  EXPECT_TRUE(loseAnother());
  EXPECT_EQ(take(0), GC_ERR_TIMEOUT);
  OpenCamera::SetNode(*camera->stream, "EventNotification", 2);  // once
  EXPECT_EQ(take(3000), GC_ERR_SUCCESS);
  EXPECT_EQ(camera->StreamNode("EventNotification"), 0);
  EXPECT_EQ(take(0), GC_ERR_TIMEOUT);
}

TEST_F(Streaming, OverwriteKeepsTheNewestOfThePool) {
  Open(3);
  OpenCamera::SetNode(*camera->stream, "StreamBufferHandlingMode",
                      static_cast<int64_t>(HandlingMode::OldestFirstOverwrite));
  Start();
  EXPECT_TRUE(Within(3s, [&] { return camera->StreamNode("StreamDeliveredFrameCount") >= 8; }));
  StopCamera();
  camera->stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
  EXPECT_EQ(camera->StreamNode("StreamLostFrameCount"), 0);
  const uint64_t first = camera->Next()->frame.blockId;
  EXPECT_GE(first, 6u);
  EXPECT_EQ(camera->Next()->frame.blockId, first + 1);
}

TEST_F(Streaming, NewestOnlyKeepsOneFrame) {
  Open(3);
  OpenCamera::SetNode(*camera->stream, "StreamBufferHandlingMode",
                      static_cast<int64_t>(HandlingMode::NewestOnly));
  Start();
  EXPECT_TRUE(Within(3s, [&] { return camera->StreamNode("StreamDeliveredFrameCount") >= 5; }));
  StopCamera();
  camera->stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
  EXPECT_EQ(camera->StreamNode("StreamOutputBufferCount"), 1);
  EXPECT_GE(camera->Next()->frame.blockId, 5u);
  EXPECT_EQ(camera->Next(0), nullptr);
}

TEST_F(Streaming, APoolThatWasSetUpForResendsGoesRoundForever) {
  Open(3);
  camera->stream->SetupResend(8, 50, 0, 0);
  Start(3);
  for (int i = 0; i < 10; ++i) {
    const auto buffer = camera->Next();
    ASSERT_NE(buffer, nullptr);
    camera->stream->Queue(buffer);
  }
  EXPECT_EQ(camera->StreamNode("StreamIsGrabbing"), 1);
}

TEST_F(Streaming, EveryEngineDeliversTheSameFrames) {
  Open(6);
  std::set<int64_t> used;
  for (const Engine engine : {Engine::Sockets, Engine::Offload, Engine::Ring}) {
    OpenCamera::SetNode(*camera->stream, "StreamEngineMode", static_cast<int64_t>(engine));
    Start();
    for (int i = 0; i < 10; ++i) {
      const auto buffer = camera->Next();
      ASSERT_NE(buffer, nullptr);
      EXPECT_FALSE(buffer->frame.incomplete);
      EXPECT_EQ(buffer->frame.filled, simulated->PayloadSize());
      camera->stream->Queue(buffer);
    }
    used.insert(camera->StreamNode("StreamEngine"));
    StopCamera();
    camera->stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
    camera->stream->Flush(ACQ_QUEUE_ALL_TO_INPUT);
  }
  // The ring needs a permission; without it the next best engine steps in.
  EXPECT_GE(used.size(), 2u);
}

TEST_F(Streaming, ALeaderIsReportedOnceAndAResetEndsTheWait) {
  Open(3);
  EXPECT_EQ(CodeOf([&] { camera->stream->WaitForNextLeader(1); }), GC_ERR_TIMEOUT);
  Start();
  EXPECT_EQ(CodeOf([&] { camera->stream->WaitForNextLeader(2000); }), GC_ERR_SUCCESS);
  EXPECT_EQ(CodeOf([&] { camera->stream->WaitForNextLeader(2000); }), GC_ERR_SUCCESS);
  StopCamera();
  camera->stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
  camera->stream->ResetWaitForNextLeader();
  std::atomic<GC_ERROR> result{0};
  std::thread waiter(
      [&] { result = CodeOf([&] { camera->stream->WaitForNextLeader(GENTL_INFINITE); }); });
  EXPECT_TRUE(Within(2s, [&] {
    camera->stream->ResetWaitForNextLeader();
    return result != 0;
  }));
  waiter.join();
  EXPECT_EQ(result, GC_ERR_ABORT);
}

TEST_F(Streaming, AFlushWhileAFrameIsFilledKeepsItOut) {
  Open(3);
  Start();
  for (int i = 0; i < 20; ++i) {
    camera->stream->Flush(i % 2 == 0 ? ACQ_QUEUE_ALL_TO_INPUT : ACQ_QUEUE_ALL_DISCARD);
    std::this_thread::sleep_for(3ms);
  }
  camera->stream->Stop(ACQ_STOP_FLAGS_KILL);
  camera->stream->Flush(ACQ_QUEUE_ALL_DISCARD);
  // Every buffer is free again.
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(CodeOf([&] { camera->stream->Revoke(camera->stream->BufferAt(0)); }), GC_ERR_SUCCESS);
}

TEST(Models, TheEventsOfACameraReachItsConsumer) {
  SimulatedCamera simulated("127.0.0.84");
  OpenCamera camera("127.0.0.84");
  const auto event = camera.device->RegisterEvent(EVENT_REMOTE_DEVICE);
  camera.WriteWord(simulated.Register("TestEventGenerate"), 1);
  uint8_t entry[sk_maxEventBytes];
  size_t size = sizeof entry;
  ASSERT_EQ(CodeOf([&] { event->GetData(entry, &size, 2000); }), GC_ERR_SUCCESS);
  INFO_DATATYPE type;
  uint64_t id = 0;
  size_t idSize = sizeof id;
  event->GetDataInfo({entry, size}, EVENT_DATA_NUMID, InfoQuery(&type, &id, &idSize));
  EXPECT_EQ(id, 0x9FFFu);
}

TEST(Models, CompressedPicturesAreTheirOwnPayloadType) {
  SimulatedCamera simulated("127.0.0.85", std::string("qoi"));
  OpenCamera camera("127.0.0.85");
  constexpr size_t bytes = 16 << 20;
  camera.OpenStream(4, bytes);
  camera.stream->Start(ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
  camera.WriteWord(simulated.Register("AcquisitionStart"), 1);
  const auto buffer = camera.Next(5000);
  ASSERT_NE(buffer, nullptr);
  EXPECT_FALSE(buffer->frame.incomplete);
  EXPECT_EQ(GenTlPayloadType(buffer->frame.wireType, buffer->frame.pixelFormat), 1001u);
  EXPECT_EQ(std::string(buffer->Base(), buffer->Base() + 4), "qoif");
  EXPECT_EQ(buffer->frame.dataSize, buffer->frame.filled);
}

TEST(Models, TheEventSensorStreamsListsOfEventsAndItsTriggers) {
  SimulatedCamera simulated("127.0.0.86", std::string("event"));
  OpenCamera camera("127.0.0.86");
  ASSERT_EQ(camera.device->StreamCount(), 4u);
  const auto remote = camera.device->OpenStream(camera.device->StreamId(2).c_str());
  remote->Queue(remote->Announce(nullptr, 100, nullptr));
  EXPECT_EQ(CodeOf([&] { remote->Start(ACQ_START_FLAGS_DEFAULT, 1); }), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_NE(ThreadLastError().text.find("no RDMA device"), std::string::npos);
  constexpr uint32_t width = 1280, height = 720;
  camera.OpenStream(4, size_t{width} * height * 16, 3);
  const auto triggers = camera.stream->RegisterEvent(EVENT_NEW_EVS_TRIGGER);
  camera.stream->SetupResend(0, 50, width, height);
  OpenCamera::SetNode(*camera.stream, "StreamEvsOutputFormat",
                      static_cast<int64_t>(EvsFormat::Xytp));
  camera.stream->Start(ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
  camera.WriteWord(simulated.Register("AcquisitionStart"), 1);
  const auto buffer = camera.Next(5000);
  ASSERT_NE(buffer, nullptr);
  EXPECT_FALSE(buffer->frame.incomplete);
  ASSERT_GT(buffer->frame.filled, 16u * 100);
  EXPECT_EQ(buffer->frame.filled % 16, 0u);
  uint64_t last = 0;
  for (size_t at = 0; at < buffer->frame.filled; at += 16) {
    uint16_t x, y;
    uint64_t time;
    std::memcpy(&x, buffer->Base() + at, 2);
    std::memcpy(&y, buffer->Base() + at + 2, 2);
    std::memcpy(&time, buffer->Base() + at + 4, 8);
    ASSERT_LT(x, width);
    ASSERT_LT(y, height);
    ASSERT_GE(time, last);
    last = time;
  }
  uint8_t entry[sk_maxEventBytes];
  size_t size = sizeof entry;
  EXPECT_EQ(CodeOf([&] { triggers->GetData(entry, &size, 1000); }), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 11u);
}

TEST(Models, ACameraStreamsOverTcpAndOverUdpByTurns) {
  SimulatedCamera simulated("127.0.0.89");
  OpenCamera camera("127.0.0.89");
  ASSERT_GE(camera.device->StreamCount(), 2u);
  for (const uint32_t index : {1u, 0u, 1u}) {
    camera.OpenStream(4, simulated.PayloadSize(), index);
    camera.stream->Start(ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    camera.WriteWord(simulated.Register("AcquisitionStart"), 1);
    for (uint64_t id = 1; id <= 5; ++id) {
      const auto buffer = camera.Next();
      ASSERT_NE(buffer, nullptr) << index;
      EXPECT_FALSE(buffer->frame.incomplete);
      EXPECT_EQ(buffer->frame.blockId, id);
      EXPECT_EQ(buffer->frame.filled, simulated.PayloadSize());
      camera.stream->Queue(buffer);
    }
    camera.stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
    camera.WriteWord(simulated.Register("AcquisitionStop"), 1);
    camera.newBuffer.reset();
    camera.stream->Close();
  }
}

TEST(SeveralCameras, StreamSideBySide) {
  std::vector<std::unique_ptr<SimulatedCamera>> simulated;
  for (const char* address : {"127.0.0.81", "127.0.0.82", "127.0.0.83"}) {
    simulated.push_back(std::make_unique<SimulatedCamera>(address));
  }
  const auto system = System::Create();
  const auto interface = system->OpenInterface("lo");
  interface->UpdateDeviceList(1000);
  EXPECT_EQ(interface->DeviceCount(), 3u);
  std::vector<std::thread> threads;
  std::atomic<int> whole{0};
  for (size_t i = 0; i < simulated.size(); ++i) {
    threads.emplace_back([&, i] {
      const auto device = interface->OpenDevice(
          interface->DeviceId(static_cast<uint32_t>(i)).c_str(), DEVICE_ACCESS_CONTROL);
      const auto stream = device->OpenStream(device->StreamId(0).c_str());
      for (int b = 0; b < 5; ++b)
        stream->Queue(stream->Announce(nullptr, simulated[i]->PayloadSize(), nullptr));
      const auto event = stream->RegisterEvent(EVENT_NEW_BUFFER);
      stream->Start(ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
      const uint8_t one[4] = {0, 0, 0, 1};
      device->Remote()->WritePort(simulated[i]->Register("AcquisitionStart"), one);
      for (int f = 0; f < 20; ++f) {
        EVENT_NEW_BUFFER_DATA data;
        size_t size = sizeof data;
        event->GetData(&data, &size, 3000);
        const auto buffer = stream->BufferOf(data.BufferHandle);
        whole += buffer->frame.incomplete ? 0 : 1;
        stream->Queue(buffer);
      }
      device->Close();
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(whole, 60);
  system->Close();
}

}  // namespace
}  // namespace OrvexGev
