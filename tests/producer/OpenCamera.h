#pragma once
// SPDX-License-Identifier: Apache-2.0
// A camera opened through the producer's own modules, with verbs for what the cases do with it.

#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "SimulatedCamera.h"
#include "gigevision/Bytes.h"
#include "producer/DataStream.h"
#include "producer/Device.h"
#include "producer/Interface.h"
#include "producer/RemotePort.h"
#include "producer/System.h"

namespace OrvexGev {

inline GenTL::GC_ERROR CodeOf(const std::function<void()>& body) {
  return Guard(body);
}

// True as soon as the condition holds, false when it does not in time.
inline bool Within(Clock::duration time, const std::function<bool()>& condition) {
  const auto end = Clock::now() + time;
  while (!condition()) {
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

class OpenCamera {
 public:
  explicit OpenCamera(const char* address,
                      GenTL::DEVICE_ACCESS_FLAGS flags = GenTL::DEVICE_ACCESS_CONTROL)
      : system(System::Create()),
        interface(system->OpenInterface("lo")),
        device(interface->OpenDevice(address, flags)) {}
  ~OpenCamera() { system->Close(); }

  void WriteWord(uint32_t address, uint32_t value) {
    uint8_t word[4];
    GigEVision::StoreBe32(word, value);
    device->Remote()->WritePort(address, word);
  }
  uint32_t ReadWord(uint32_t address) {
    uint8_t word[4];
    device->Remote()->ReadPort(address, word);
    return GigEVision::LoadBe32(word);
  }

  void OpenStream(size_t buffers, size_t bytes, uint32_t index = 0) {
    stream = device->OpenStream(device->StreamId(index).c_str());
    for (size_t i = 0; i < buffers; ++i) stream->Queue(stream->Announce(nullptr, bytes, nullptr));
    newBuffer = stream->RegisterEvent(GenTL::EVENT_NEW_BUFFER);
  }
  // The next filled buffer, nothing when none comes in time.
  std::shared_ptr<StreamBuffer> Next(uint64_t timeoutMs = 2000) {
    GenTL::EVENT_NEW_BUFFER_DATA data;
    size_t size = sizeof data;
    if (CodeOf([&] { newBuffer->GetData(&data, &size, timeoutMs); }) != GenTL::GC_ERR_SUCCESS)
      return nullptr;
    return stream->BufferOf(data.BufferHandle);
  }
  // A node of the stream's map.
  int64_t StreamNode(const std::string& name) const { return Node(*stream, name); }
  static int64_t Node(Module& module, const std::string& name) {
    int64_t value = 0;
    module.ReadPort(AddressOf(module, name), {reinterpret_cast<uint8_t*>(&value), sizeof value});
    return value;
  }
  static void SetNode(Module& module, const std::string& name, int64_t value) {
    module.WritePort(AddressOf(module, name),
                     {reinterpret_cast<const uint8_t*>(&value), sizeof value});
  }

  std::shared_ptr<System> system;
  std::shared_ptr<Interface> interface;
  std::shared_ptr<Device> device;
  std::shared_ptr<DataStream> stream;
  std::shared_ptr<Event> newBuffer;

 private:
  static uint64_t AddressOf(Module& module, const std::string& name) {
    const PortUrl url = module.Urls().at(0);
    std::string xml(url.size, '\0');
    module.ReadPort(url.address, {reinterpret_cast<uint8_t*>(xml.data()), xml.size()});
    const size_t node = xml.find("Name=\"" + name + "Reg\"");
    if (node == std::string::npos) throw std::runtime_error("no node " + name);
    return std::strtoull(xml.c_str() + xml.find("<Address>", node) + 9, nullptr, 16);
  }
};

}  // namespace OrvexGev
