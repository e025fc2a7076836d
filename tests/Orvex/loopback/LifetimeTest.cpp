// SPDX-License-Identifier: Apache-2.0
// What is opened is closed again, five hundred times over: no descriptor, thread, mapping or byte
// stays behind.
#include <malloc.h>

#include <filesystem>
#include <fstream>

#include "Fixture.h"

namespace {

#ifdef ORVEX_SANITIZED  // whose own bookkeeping grows, and which looks for leaks itself
constexpr int sk_cycles = 60;
#else
constexpr int sk_cycles = 500;
#endif
constexpr int sk_warmUp = sk_cycles / 5;  // what is made once has been made
constexpr int sk_cyclesOfASystem = 25;

struct Holdings {
  ptrdiff_t threads, descriptors, heapBytes, residentKilobytes;

  static Holdings Now() {
    return {EntriesOf("/proc/self/task"), EntriesOf("/proc/self/fd"),
            static_cast<ptrdiff_t>(::mallinfo2().uordblks), Status("RssAnon:")};
  }

 private:
  static ptrdiff_t EntriesOf(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
  }
  static ptrdiff_t Status(const std::string& key) {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;) {
      if (word == key) return file >> word ? std::stol(word) : 0;
    }
    return 0;
  }
};

class Lifetime : public Loopback {
 protected:
  // With every kind of use of a device between opening and closing.
  void Cycle(int number) {
    m_pDevice = m_pSystem->CreateDevice(m_info);
    if (number % 2 == 0) m_pDevice->InitializeEvents();
    Orvex::SetNodeValue<bool>(Nodes(), "ChunkModeActive", number % 3 == 0);
    Counter images;
    if (number % 5 == 0) m_pDevice->RegisterImageCallback(&images);
    m_pDevice->StartStream(4);
    if (number % 5 == 0) {
      ASSERT_TRUE(images.WaitFor(1));
      m_pDevice->DeregisterAllImageCallbacks();
    } else {
      TakeFrames(1);
    }
    if (number % 7 != 0) m_pDevice->StopStream();  // else closing does
    if (number % 4 == 0) m_pDevice->DeinitializeEvents();
    CloseDevice();
  }

  void OpenSystem() {
    m_pSystem = Orvex::OpenSystem();
    m_pSystem->UpdateDevices(sk_discoveryTime);
    m_info = m_pSystem->GetDevices().at(0);
  }

  Orvex::DeviceInfo m_info;
};

TEST_F(Lifetime, LeavesNothingBehind) {
  Orvex::CloseSystem(m_pSystem);
  OpenSystem();
  Holdings before{};
  for (int i = 0; i < sk_cycles; ++i) {
    if (i == sk_warmUp) before = Holdings::Now();
    if (i % sk_cyclesOfASystem == sk_cyclesOfASystem - 1) {
      Orvex::CloseSystem(m_pSystem);
      OpenSystem();
    }
    ASSERT_NO_FATAL_FAILURE(Cycle(i)) << i;
  }
  const Holdings after = Holdings::Now();
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.descriptors, before.descriptors);
#ifndef ORVEX_SANITIZED
  // Less than the smallest block of the heap, or one page, a cycle.
  constexpr ptrdiff_t sk_counted = sk_cycles - sk_warmUp;
  EXPECT_LT(after.heapBytes - before.heapBytes, 16 * sk_counted);
  EXPECT_LT(after.residentKilobytes - before.residentKilobytes, 4 * sk_counted);
#endif
}

}  // namespace
