// SPDX-License-Identifier: Apache-2.0
// Image callbacks, disconnect callbacks, events, connection and action commands.
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "Fixture.h"
#include "GenApiCustom.h"
#include "IDisconnectCallback.h"
#include "IImage.h"
#include "IImageCallback.h"

namespace {

using namespace Orvex;
using namespace std::chrono_literals;
using testing::ElementsAre;

// Counts calls and runs what the test wants in each.
class Counter {
 public:
  void Count() {
    const std::lock_guard lock(m_mutex);
    ++m_count;
    m_changed.notify_all();
  }
  bool WaitFor(int count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, 10s, [&] { return m_count >= count; });
  }
  int Get() {
    const std::lock_guard lock(m_mutex);
    return m_count;
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_count = 0;
};

class ImageCounter : public IImageCallback, public Counter {
 public:
  void OnImage(IImage* pImage) override {
    if (action) action(pImage);
    Count();
  }
  std::function<void(IImage*)> action;
};

class ImageCallbacks : public ScriptedTest {
 protected:
  void OpenFreeRunning(bool start = true) {
    m_world.CameraStream().freeRunning = true;
    OpenCamera();
    if (start) m_pCamera->StartStream(3);
  }
};

TEST_F(ImageCallbacks, AreCalledInOrderOnOneThread) {
  OpenFreeRunning(false);
  std::vector<int> order;
  ImageCounter first, second;
  first.action = [&](IImage*) { order.push_back(1); };
  second.action = [&](IImage*) { order.push_back(2); };
  m_pCamera->RegisterImageCallback(&first);
  m_pCamera->RegisterImageCallback(&second);
  EXPECT_EQ(first.Get(), 0);  // nothing runs before the stream does
  m_pCamera->StartStream(3);
  ASSERT_TRUE(second.WaitFor(5));
  m_pCamera->StopStream();
  const int afterStop = second.Get();
  EXPECT_EQ(std::vector<int>(order.begin(), order.begin() + 4), (std::vector<int>{1, 2, 1, 2}));
  m_pCamera->StartStream(3);  // callbacks stay registered
  EXPECT_TRUE(second.WaitFor(afterStop + 3));
  EXPECT_TRUE(m_pCamera->DeregisterAllImageCallbacks());
  EXPECT_FALSE(m_pCamera->DeregisterAllImageCallbacks());
}

TEST_F(ImageCallbacks, BeginAtOnceWhileStreaming) {
  OpenFreeRunning();
  ImageCounter callback;
  m_pCamera->RegisterImageCallback(&callback);
  EXPECT_TRUE(callback.WaitFor(3));
  EXPECT_TRUE(m_pCamera->DeregisterImageCallback(&callback));
  EXPECT_FALSE(m_pCamera->DeregisterImageCallback(&callback));
  // All frames are back: the stream is taken over without a gap.
  m_pCamera->RequeueBuffer(m_pCamera->GetImage(1000));
  EXPECT_EQ(m_world.CameraStream().input.size(), 3u);
}

// The deregistration holds the lock that the thread takes for each frame, and waits for the thread.
TEST_F(ImageCallbacks, AreNeitherRunNorLostInATightLoopOfDeregistrations) {
  OpenFreeRunning();
  int mark = 0;  // written and read without a lock: none of the callbacks may run when it changes
  ImageCounter callback;
  callback.action = [&](IImage*) { ++mark; };
  for (int i = 0; i < 300; ++i) {
    m_pCamera->RegisterImageCallback(&callback);
    if (i % 3 == 0) {
      ASSERT_TRUE(callback.WaitFor(callback.Get() + 1));
    }
    if (i % 2 == 0) {
      m_pCamera->DeregisterImageCallback(&callback);
    } else {
      m_pCamera->DeregisterAllImageCallbacks();
    }
    const int seen = ++mark;
    std::this_thread::yield();
    ASSERT_EQ(mark, seen);
    const std::lock_guard lock(m_world.mutex);
    ASSERT_EQ(m_world.CameraStream().input.size(), 3u);  // every frame was handed back
    m_world.calls.clear();
  }
}

TEST_F(ImageCallbacks, MayComeAndGoOnSeveralThreads) {
  OpenFreeRunning();
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([this] {
      ImageCounter callback;
      for (int i = 0; i < 50; ++i) {
        m_pCamera->RegisterImageCallback(&callback);
        EXPECT_TRUE(m_pCamera->DeregisterImageCallback(&callback));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  m_pCamera->StopStream();
  EXPECT_TRUE(m_world.CameraStream().buffers.empty());
}

TEST_F(ImageCallbacks, SurviveWhatACallbackThrowsAndWhatIsNoImage) {
  OpenFreeRunning();
  m_world.CameraStream().frameInfo[GenTL::BUFFER_INFO_PAYLOADTYPE] = 1001;
  ImageCounter callback;
  callback.action = [&](IImage*) {
    if (callback.Get() < 5) {
      callback.Count();
      throw std::runtime_error("from the application");
    }
  };
  m_pCamera->RegisterImageCallback(&callback);
  {
    std::unique_lock lock(m_world.mutex);
    // Compressed frames are neither delivered nor handed back: after three none is left.
    ASSERT_TRUE(
        m_world.changed.wait_for(lock, 10s, [&] { return m_world.CameraStream().input.empty(); }));
    m_world.CameraStream().frameInfo[GenTL::BUFFER_INFO_PAYLOADTYPE] = 1;
  }
  EXPECT_EQ(callback.Get(), 0);
  m_pCamera->StopStream();
  m_pCamera->StartStream(3);
  EXPECT_TRUE(callback.WaitFor(20));
  // A frame that the stream does not take back is freed, and the others go on.
  {
    const std::lock_guard lock(m_world.mutex);
    m_world.Fail("DSQueueBuffer", GenTL::GC_ERR_IO);
  }
  EXPECT_TRUE(callback.WaitFor(callback.Get() + 10));
  m_pCamera->DeregisterAllImageCallbacks();
  EXPECT_EQ(m_world.CameraStream().input.size(), 2u);
}

TEST_F(ImageCallbacks, CannotBeChangedFromInside) {
  OpenFreeRunning();
  ImageCounter callback;
  std::vector<std::string> answers;
  callback.action = [&](IImage*) {
    if (!answers.empty()) return;
    answers = {Thrown([&] { m_pCamera->DeregisterImageCallback(&callback); }),
               Thrown([&] { m_pCamera->DeregisterAllImageCallbacks(); }),
               Thrown([&] { m_pCamera->RegisterImageCallback(&callback); }),
               Thrown([&] { m_pCamera->StopStream(); }),
               Thrown([&] { m_pCamera->StartStream(1); }),
               Thrown([&] { m_pCamera->GetImage(1); })};
  };
  m_pCamera->RegisterImageCallback(&callback);
  ASSERT_TRUE(callback.WaitFor(2));
  m_pCamera->DeregisterAllImageCallbacks();
  const std::string text = "Image callbacks cannot be changed from inside an image callback";
  EXPECT_THAT(
      answers,
      ElementsAre(
          PlainError("LogicalErrorException", text, "Device.cpp, DeregisterImageCallback"),
          PlainError("LogicalErrorException", text, "Device.cpp, DeregisterAllImageCallbacks"),
          PlainError("LogicalErrorException", text, "Device.cpp, RegisterImageCallback"),
          PlainError("LogicalErrorException",
                     "A stream cannot be stopped from inside an image callback",
                     "Device.cpp, StopStream"),
          PlainError("LogicalErrorException",
                     "A stream cannot be started from inside an image callback",
                     "Device.cpp, StartStream"),
          PlainError("RuntimeException",
                     "GetImage should not be called while there are registered image "
                     "callbacks",
                     "Device.cpp, GetImage")));
}

TEST_F(ImageCallbacks, HaveTheirMessages) {
  OpenFreeRunning(false);
  ImageCounter callback;
  const std::string null =
      "InvalidArgumentException | InvalidArgumentException: Null image callback pointer specified";
  EXPECT_EQ(Thrown([&] { m_pCamera->RegisterImageCallback(nullptr); }),
            null + " (Device.cpp, RegisterImageCallback)");
  EXPECT_EQ(Thrown([&] { m_pCamera->DeregisterImageCallback(nullptr); }),
            null + " (Device.cpp, DeregisterImageCallback)");
  m_pCamera->RegisterImageCallback(&callback);
  m_world.errorText = "x";
  EXPECT_EQ(
      Thrown([&] { m_pCamera->RegisterImageCallback(&callback); }),
      GenTLError("LogicalErrorException", "GC_ERR_RESOURCE_IN_USE", "Callback already registered",
                 "Device.cpp, DeviceRegisterImageCallback", "DeviceRegisterImageCallback") +
          "x");
  EXPECT_EQ(Thrown([&] { m_pCamera->GetCompressedImage(1); }),
            PlainError("RuntimeException",
                       "GetCompressedImage should not be called while there are registered image "
                       "callbacks",
                       "Device.cpp, GetCompressedImage"));
  EXPECT_TRUE(m_pCamera->DeregisterImageCallback(&callback));
  // Whether the stream runs is asked once the callback is in the list.
  m_world.Fail("GCReadPort(cam0.stream0, StreamIsGrabbing)", GenTL::GC_ERR_ACCESS_DENIED);
  EXPECT_THAT(Thrown([&] { m_pCamera->RegisterImageCallback(&callback); }),
              testing::StartsWith("AccessException | "));
  EXPECT_TRUE(m_pCamera->DeregisterImageCallback(&callback));
}

// --- disconnect callbacks

class DisconnectCounter : public IDisconnectCallback, public Counter {
 public:
  void OnDeviceDisconnected(IDevice* pDevice) override {
    if (action) action(pDevice);
    Count();
  }
  std::function<void(IDevice*)> action;
};

class DisconnectCallbacks : public ScriptedTest {
 protected:
  void Connect(bool connected) {
    const std::lock_guard lock(m_world.mutex);
    m_world.Camera().connected = connected;
  }
};

TEST_F(DisconnectCallbacks, TellOfEveryChange) {
  OpenCamera();
  DisconnectCounter callback;
  std::vector<bool> states;
  callback.action = [&](IDevice* pDevice) {
    EXPECT_EQ(pDevice, m_pCamera);
    states.push_back(pDevice->IsConnected());
  };
  m_pSystem->RegisterDeviceDisconnectCallback(m_pCamera, &callback);
  Connect(false);
  ASSERT_TRUE(callback.WaitFor(1));
  Connect(true);
  ASSERT_TRUE(callback.WaitFor(2));
  m_pSystem->DeregisterDeviceDisconnectCallback(&callback);
  EXPECT_THAT(states, ElementsAre(false, true));
}

TEST_F(DisconnectCallbacks, AreGoneAfterATightLoopOfDeregistrations) {
  OpenCamera();
  Connect(false);
  DisconnectCounter callback;
  for (int i = 0; i < 300; ++i) {
    m_pSystem->RegisterDeviceDisconnectCallback(m_pCamera, &callback);
    if (i % 2 == 0) std::this_thread::yield();
    m_pSystem->DeregisterDeviceDisconnectCallback(&callback);
    const int seen = callback.Get();
    std::this_thread::yield();
    ASSERT_EQ(callback.Get(), seen);
  }
}

TEST_F(DisconnectCallbacks, StayListedWhenAllAreDeregistered) {
  OpenCamera();
  DisconnectCounter callback;
  m_pSystem->RegisterDeviceDisconnectCallback(m_pCamera, &callback);
  m_pSystem->DeregisterAllDeviceDisconnectCallbacks();  // kept on purpose: stops the thread only
  m_world.errorText = "x";
  EXPECT_EQ(
      Thrown([&] { m_pSystem->RegisterDeviceDisconnectCallback(m_pCamera, &callback); }),
      GenTLError("LogicalErrorException", "GC_ERR_RESOURCE_IN_USE", "Callback already registered",
                 "DeviceCbManager.cpp, DeviceCbManager::Registerllback",
                 "DeviceCbManager::Registerllback") +
          "x");
  m_pSystem->DeregisterDeviceDisconnectCallback(&callback);
  EXPECT_EQ(
      Thrown([&] { m_pSystem->DeregisterDeviceDisconnectCallback(&callback); }),
      GenTLError("InvalidArgumentException", "GC_ERR_INVALID_HANDLE", "Callback handle not found",
                 "DeviceCbManager.cpp, DeviceCbManager::Deregisterllback",
                 "DeviceCbManager::Deregisterllback") +
          "x");
  EXPECT_EQ(Thrown([&] { m_pSystem->RegisterDeviceDisconnectCallback(m_pCamera, nullptr); }),
            PlainError("InvalidArgumentException", "Null disconnect callback pointer specified",
                       "DeviceCbManager.cpp, RegisterCallback"));
}

TEST_F(DisconnectCallbacks, CannotBeChangedFromInsideAndEndWithTheSystem) {
  OpenCamera();
  DisconnectCounter callback;
  std::string answer;
  callback.action = [&](IDevice*) {
    answer = Thrown([&] { m_pSystem->DeregisterDeviceDisconnectCallback(&callback); });
  };
  m_pSystem->RegisterDeviceDisconnectCallback(m_pCamera, &callback);
  Connect(false);
  ASSERT_TRUE(callback.WaitFor(1));
  m_pSystem->DeregisterAllDeviceDisconnectCallbacks();
  EXPECT_EQ(answer,
            PlainError("LogicalErrorException",
                       "Disconnect callbacks cannot be changed from inside a disconnect callback",
                       "DeviceCbManager.cpp, DeregisterCallback"));
}

TEST_F(DisconnectCallbacks, DoNotKeepTheSystemFromClosing) {
  OpenCamera();
  DisconnectCounter callback;
  m_pSystem->RegisterDeviceDisconnectCallback(m_pCamera, &callback);
  DestroyCamera();
  Close();
}

// --- connection, actions, events

using Connection = ScriptedTest;

TEST_F(Connection, IsAskedAndActionsAreSent) {
  Operation operation;
  operation.prepare = [this] { OpenCamera(); };
  operation.act = [this] {
    EXPECT_TRUE(m_pCamera->IsConnected());
    m_pCamera->SendActionCommand(1, 2, 3, 4);
  };
  operation.steps = {
      Checked("DevGetInfo(cam0, 1009, 11, 1)", "Unable to get info about device connection status",
              "Device.cpp, DeviceGetInfo"),
      Checked("DevSendActionCommand(cam0, 1, 2, 3, 4)", "Failed to issue action command",
              "Device.cpp, DeviceSendActionCommand")};
  Drive(operation);
}

class Events : public ScriptedTest {
 protected:
  // An event node that reads the timestamp of event 0x9001, laid out as in a GigE Vision message.
  void DescribeEvent() {
    auto& remote = m_world.Camera().remote;
    remote.xml =
        "<RegisterDescription ModelName=\"Scripted\" VendorName=\"Orvex\" "
        "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
        "SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
        "ProductGuid=\"8A2E4A02-4E2B-4C5C-9F5D-0C6A6C3F7E11\" "
        "VersionGuid=\"3D2B9C9A-7C4C-4F0E-8F43-52C1E5D0B0A2\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
        "<Category Name=\"Root\"><pFeature>EventTimestamp</pFeature></Category>"
        "<IntReg Name=\"EventTimestamp\"><Address>8</Address><Length>8</Length>"
        "<AccessMode>RO</AccessMode><pPort>EventPort</pPort><Cachable>NoCache</Cachable>"
        "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>"
        "<Port Name=\"Device\"/><Port Name=\"EventPort\"><EventID>9001</EventID></Port>"
        "</RegisterDescription>";
  }

  // EVENT_CMD of 16 bytes: event 0x9001 of no stream and block, timestamp 0x0102030405060708.
  const std::string m_message = std::string(
      "\x42\x00\x00\xC0\x00\x10\x00\x01"
      "\x00\x00\x90\x01\xFF\xFF\x00\x00"
      "\x01\x02\x03\x04\x05\x06\x07\x08",
      24);

  void Send(const std::string& message) {
    const std::lock_guard lock(m_world.mutex);
    m_world.events.back()->messages.push_back(message);
    m_world.changed.notify_all();
  }
};

TEST_F(Events, ReachTheNodesOfTheCamera) {
  DescribeEvent();
  OpenCamera();
  ForgetCalls();
  m_pCamera->InitializeEvents();
  EXPECT_THAT(TakeCalls(), ElementsAre("GCRegisterEvent(cam0, 4)"));
  Send(m_message);
  m_pCamera->WaitOnEvent(1000);
  EXPECT_THAT(TakeCalls(), ElementsAre("EventGetData(cam0.event4, 1000)"));
  EXPECT_EQ(GetNodeValue<int64_t>(m_pCamera->GetNodeMap(), "EventTimestamp"), 0x0102030405060708);
  EXPECT_EQ(Thrown([&] { m_pCamera->WaitOnEvent(1); }),
            GenTLError("TimeoutException", "GC_ERR_TIMEOUT", "Unable to get event data",
                       "Device.cpp, WaitOnEvent", "EventGetData") +
                "EventGetData refused");
  ForgetCalls();
  m_pCamera->DeinitializeEvents();
  EXPECT_THAT(TakeCalls(), ElementsAre("GCUnregisterEvent(cam0, 4)"));
  EXPECT_EQ(Thrown([&] { m_pCamera->WaitOnEvent(1); }),
            PlainError("LogicalErrorException",
                       "Failure waiting on event because device events not initialized",
                       "Device.cpp, WaitOnEvent"));
}

TEST_F(Events, EndTheWaitOfAnotherThread) {
  DescribeEvent();
  OpenCamera();
  for (int i = 0; i < 50; ++i) {
    m_pCamera->InitializeEvents();
    std::string thrown;
    std::thread waiting([&] { thrown = Thrown([&] { m_pCamera->WaitOnEvent(10000); }); });
    if (i % 2 == 0) std::this_thread::yield();
    m_pCamera->DeinitializeEvents();
    waiting.join();
    EXPECT_NE(thrown, "");
  }
}

TEST_F(Events, OfOtherDeviceTypesCannotBeRead) {
  m_world.Camera().Find("DeviceType")->integer = 0;
  OpenCamera()->InitializeEvents();
  EXPECT_EQ(Thrown([&] { m_pCamera->WaitOnEvent(1); }),
            PlainError("LogicalErrorException",
                       "Failure waiting on event because messages of this device type cannot be "
                       "read",
                       "Device.cpp, WaitOnEvent"));
  m_pCamera->DeinitializeEvents();
}

TEST_F(Events, FollowTheirSteps) {
  Operation events;
  events.prepare = [this] {
    DescribeEvent();
    OpenCamera();
  };
  events.act = [this] {
    m_pCamera->InitializeEvents();
    Send(m_message);
    m_pCamera->WaitOnEvent(5);
    m_pCamera->DeinitializeEvents();
  };
  events.steps = {Checked("GCRegisterEvent(cam0, 4)", "Unable to register remote device events",
                          "Device.cpp, InitializeEvents"),
                  Checked("EventGetData(cam0.event4, 5)", "Unable to get event data",
                          "Device.cpp, WaitOnEvent"),
                  Checked("GCUnregisterEvent(cam0, 4)", "Unable to unregister remote device events",
                          "Device.cpp, DeinitializeEvents")};
  events.reads = {PortAccess("GCReadPort(cam0, DeviceType)")};
  Drive(events);
}

}  // namespace
