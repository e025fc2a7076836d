// SPDX-License-Identifier: Apache-2.0
// Callbacks that come and go while a camera sends at full rate: no deadlock, no call after a
// deregistration has returned, no buffer lost.
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "Fixture.h"

namespace {

class Callbacks : public Loopback {
 protected:
  Callbacks() : Loopback(FullRate()) { OpenDevice(); }

  // More frames than this machine takes: the thread that delivers never waits for one.
  static OrvexSim::CameraOptions FullRate() {
    OrvexSim::CameraOptions options = Options();
    options.width = 64;
    options.height = 64;
    options.frameRate = 2000;
    return options;
  }

  // Every buffer is still in circulation: that many frames can be held at once.
  void ExpectAllBuffers(int count) {
    std::vector<Orvex::IBuffer*> held;
    for (int i = 0; i < count; ++i) held.push_back(m_pDevice->GetBuffer(sk_frameTime));
    for (Orvex::IBuffer* pBuffer : held) m_pDevice->RequeueBuffer(pBuffer);
  }
};

TEST_F(Callbacks, WorkWhenRegisteredBeforeAndWhileStreaming) {
  Counter before, during;
  m_pDevice->RegisterImageCallback(&before);
  m_pDevice->StartStream(5);
  ASSERT_TRUE(before.WaitFor(5));
  EXPECT_THROW(m_pDevice->GetImage(1), GenICam::RuntimeException);
  m_pDevice->RegisterImageCallback(&during);
  ASSERT_TRUE(during.WaitFor(5));
  m_pDevice->StopStream();
  const int stopped = before.Get();
  m_pDevice->StartStream(5);  // they survive a stop
  EXPECT_TRUE(before.WaitFor(stopped + 5));
  EXPECT_TRUE(m_pDevice->DeregisterImageCallback(&before));
  EXPECT_FALSE(m_pDevice->DeregisterImageCallback(&before));
  EXPECT_TRUE(m_pDevice->DeregisterAllImageCallbacks());
  ExpectAllBuffers(5);
  Counter first;  // of a stream that runs
  m_pDevice->RegisterImageCallback(&first);
  EXPECT_TRUE(first.WaitFor(5));
  m_pDevice->StopStream();
  EXPECT_TRUE(m_pDevice->DeregisterImageCallback(&first));
}

TEST_F(Callbacks, OfImagesEndInATightLoopOfDeregistrations) {
  m_pDevice->StartStream(5);
  for (int i = 0; i < 300; ++i) {
    int calls = 0;  // without a lock: none may run once the deregistration is back
    auto pCallback = std::make_unique<Counter>();
    pCallback->action = [&calls] { ++calls; };
    m_pDevice->RegisterImageCallback(pCallback.get());
    if (i % 10 == 0) {
      ASSERT_TRUE(pCallback->WaitFor(1));
    }
    if (i % 2 == 0) {
      ASSERT_TRUE(m_pDevice->DeregisterImageCallback(pCallback.get()));
    } else {
      ASSERT_TRUE(m_pDevice->DeregisterAllImageCallbacks());
    }
    calls = -1;
  }
  ExpectAllBuffers(5);
  m_pDevice->StopStream();
}

TEST_F(Callbacks, ComeAndGoOnSeveralThreadsBesideOneThatStays) {
  Counter staying;
  m_pDevice->RegisterImageCallback(&staying);
  m_pDevice->StartStream(5);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, t] {
      for (int i = 0; i < 50; ++i) {
        Counter passing;
        m_pDevice->RegisterImageCallback(&passing);
        if (i % 25 == t) {
          EXPECT_TRUE(passing.WaitFor(1));
        }
        EXPECT_TRUE(m_pDevice->DeregisterImageCallback(&passing));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(staying.WaitFor(staying.Get() + 5));
  m_pDevice->DeregisterAllImageCallbacks();
  ExpectAllBuffers(5);
  m_pDevice->StopStream();
}

TEST_F(Callbacks, CannotBeChangedFromInside) {
  Counter callback, other;
  std::atomic<int> refused = 0;
  callback.action = [&] {
    EXPECT_THROW(m_pDevice->RegisterImageCallback(&other), GenICam::LogicalErrorException);
    EXPECT_THROW(m_pDevice->DeregisterImageCallback(&callback), GenICam::LogicalErrorException);
    EXPECT_THROW(m_pDevice->DeregisterAllImageCallbacks(), GenICam::LogicalErrorException);
    ++refused;
  };
  m_pDevice->RegisterImageCallback(&callback);
  m_pDevice->StartStream(5);
  ASSERT_TRUE(callback.WaitFor(3));
  m_pDevice->StopStream();
  EXPECT_GE(refused, 3);
  EXPECT_TRUE(m_pDevice->DeregisterImageCallback(&callback));
}

// Start and stop join the thread that others have just started or are about to stop.
TEST_F(Callbacks, ComeAndGoWhileStreamsStartAndStop) {
  std::atomic<bool> run = true;
  std::thread restless([&] {
    while (run) {
      Counter passing;
      m_pDevice->RegisterImageCallback(&passing);
      m_pDevice->DeregisterImageCallback(&passing);
    }
  });
  for (int i = 0; i < 20; ++i) {
    m_pDevice->StartStream(5);
    m_pDevice->StopStream();
  }
  run = false;
  restless.join();
  m_pDevice->StartStream(5);
  ExpectAllBuffers(5);
  m_pDevice->StopStream();
}

// --- connections

TEST_F(Callbacks, OfConnectionsEndInATightLoopOfDeregistrations) {
  m_pDevice->StartStream(5);
  Counter images;
  m_pDevice->RegisterImageCallback(&images);
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([this] {
      for (int i = 0; i < 200; ++i) {
        auto pCallback = std::make_unique<Counter>();
        m_pSystem->RegisterDeviceDisconnectCallback(m_pDevice, pCallback.get());
        m_pSystem->DeregisterDeviceDisconnectCallback(pCallback.get());
        EXPECT_EQ(pCallback->Get(), 0);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(images.WaitFor(images.Get() + 5));
  m_pDevice->StopStream();
  m_pDevice->DeregisterAllImageCallbacks();
}

TEST_F(Callbacks, TellWhenACameraVanishesAndItCanBeOpenedAgain) {
  Counter callback;
  m_pSystem->RegisterDeviceDisconnectCallback(m_pDevice, &callback);
  m_pDevice->StartStream(4);
  TakeFrames(1);
  for (int i = 1; i <= 2; ++i) {
    m_camera.Stop();
    EXPECT_TRUE(callback.WaitFor(i));
    EXPECT_FALSE(m_pDevice->IsConnected());
    const auto takeAll = [this] {  // frames from before may still wait
      for (int frame = 0; frame < 5; ++frame) m_pDevice->RequeueBuffer(m_pDevice->GetImage(100));
    };
    EXPECT_THROW(takeAll(), GenICam::GenericException);
    m_pSystem->DeregisterDeviceDisconnectCallback(&callback);
    EXPECT_NO_THROW(CloseDevice());
    m_camera.Start();
    OpenDevice();
    EXPECT_TRUE(m_pDevice->IsConnected());
    Counter again;
    m_pSystem->RegisterDeviceDisconnectCallback(m_pDevice, &again);
    m_pDevice->StartStream(4);
    TakeFrames(2);
    m_pSystem->DeregisterDeviceDisconnectCallback(&again);
    EXPECT_EQ(again.Get(), 0);
    if (i == 1) m_pSystem->RegisterDeviceDisconnectCallback(m_pDevice, &callback);
  }
  m_pDevice->StopStream();
}

// The device stays open: it is told of the loss and of the return, and works again.
TEST_F(Callbacks, TellOfACameraThatComesBack) {
  Counter callback;
  m_pSystem->RegisterDeviceDisconnectCallback(m_pDevice, &callback);
  m_pDevice->StartStream(4);
  TakeFrames(1);
  m_camera.Stop();
  ASSERT_TRUE(callback.WaitFor(1));
  m_camera.Start();
  ASSERT_TRUE(callback.WaitFor(2));
  EXPECT_TRUE(m_pDevice->IsConnected());
  m_pDevice->StopStream();
  m_pDevice->StartStream(4);
  TakeFrames(5);
  m_pDevice->StopStream();
  EXPECT_EQ(callback.Get(), 2);
  m_pSystem->DeregisterDeviceDisconnectCallback(&callback);
}

// The thread that waits for a frame and the one that waits for an event are both inside the library
// when the camera vanishes, and a callback is registered: everything still ends.
TEST_F(Callbacks, EndWithACameraThatVanishesInTheMiddle) {
  Counter images;
  m_pDevice->InitializeEvents();
  m_pDevice->RegisterImageCallback(&images);
  m_pDevice->StartStream(4);
  ASSERT_TRUE(images.WaitFor(1));
  std::thread waiter(
      [this] { EXPECT_THROW(m_pDevice->WaitOnEvent(60000), GenICam::GenericException); });
  m_camera.Stop();
  EXPECT_THROW(m_pDevice->StopStream(), GenICam::GenericException);
  EXPECT_TRUE(m_pDevice->DeregisterAllImageCallbacks());
  try {
    m_pDevice->DeinitializeEvents();
  } catch (const GenICam::GenericException&) {  // the camera cannot be told any more
  }
  waiter.join();
  CloseDevice();
}

}  // namespace
