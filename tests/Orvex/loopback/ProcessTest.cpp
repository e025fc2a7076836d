// SPDX-License-Identifier: Apache-2.0
// Systems in two processes: this one and the programs that it starts.
#include <signal.h>

#include <filesystem>

#include "Fixture.h"
#include "tests/Places.h"
#include "tests/tools/Processes.h"

namespace {

using OrvexTest::Process;
using OrvexTest::Seconds;

const std::filesystem::path sk_build = places::sk_binaryDir;

class TwoProcesses : public Loopback {
 protected:
  static OrvexTest::Result Acquire(const std::string& serial) {
    return OrvexTest::RunToEnd(sk_build / "examples/acquisition", {serial, "20"}, Seconds(60));
  }
  bool InControl() {
    return Orvex::GetNodeValue<GenICam::gcstring>(m_pDevice->GetTLDeviceNodeMap(),
                                                  "DeviceAccessStatus") == "OpenReadWrite";
  }
};

TEST_F(TwoProcesses, UseTheirCamerasSideBySide) {
  OrvexSim::VirtualCamera other(Options("area", "127.0.0.3"));
  other.Start();
  OpenDevice();
  Counter images;
  m_pDevice->RegisterImageCallback(&images);
  m_pDevice->StartStream(10);
  const OrvexTest::Result second = Acquire(other.Serial());
  EXPECT_EQ(second.code, 0) << second.err;
  EXPECT_TRUE(images.WaitFor(images.Get() + 10));
  m_pDevice->StopStream();
  m_pDevice->DeregisterAllImageCallbacks();
}

TEST_F(TwoProcesses, ControlACameraOneAfterTheOther) {
  OpenDevice();
  EXPECT_TRUE(InControl());
  const OrvexTest::Result refused = Acquire(m_camera.Serial());
  EXPECT_EQ(refused.code, 1) << "only to be read while another process controls it";
  EXPECT_NE(refused.err.find("AccessException"), std::string::npos) << refused.err;
  m_pDevice->StartStream(4);  // the attempt did no harm here
  TakeFrames(3);
  CloseDevice();
  const OrvexTest::Result granted = Acquire(m_camera.Serial());
  EXPECT_EQ(granted.code, 0) << granted.err;
}

// The camera is told nothing by a process that is killed; it waits for the heartbeat.
TEST_F(TwoProcesses, TakeOverFromOneThatWasKilled) {
  auto pOwner = std::make_unique<Process>(sk_build / "bin/orvex",
                                          std::vector<std::string>{"stream", m_camera.Serial()});
  ASSERT_TRUE(pOwner->WaitForOutput("frames/s", Seconds(60))) << pOwner->Err();
  OpenDevice();
  EXPECT_FALSE(InControl());
  pOwner->Signal(SIGKILL);
  EXPECT_EQ(pOwner->Wait(Seconds(20)), 128 + SIGKILL);
  for (int i = 0; i < 100 && !InControl(); ++i) {
    CloseDevice();
    OpenDevice();  // takes the time of a discovery
  }
  EXPECT_TRUE(InControl());
  m_pDevice->StartStream(4);
  TakeFrames(3);
  m_pDevice->StopStream();
}

}  // namespace
