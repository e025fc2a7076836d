#pragma once
// SPDX-License-Identifier: Apache-2.0
// A producer for tests: a small world of interfaces, devices, streams and buffers that a test
// builds, scripts and reads back. The test program loads the same file as the library and gets the
// world from the function ScriptedWorld. Everything here is guarded by World::mutex; a test may
// touch it freely while no library call runs.
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "gentl/GenTL.h"
#include "gentl/GenTLExtensions.h"

namespace Scripted {

// One node of a module's description with its register.
struct Feature {
  enum class Kind { Integer, Float, Boolean, Enumeration, String, Command, Register };

  std::string name;
  Kind kind = Kind::Integer;
  int64_t integer = 0;
  double real = 0;
  std::string text;  // of a String; bytes of a Register
  std::vector<std::string> entries;
  std::string access = "RW";
  bool available = true;
  bool streamable = false;
  std::function<int64_t()> getter;  // instead of `integer`, where a value follows the world
  uint64_t address = 0;
  std::string extra;  // more elements for the node
};

struct World;

// Base of everything that has a handle.
struct Module {
  std::string name;  // in recorded calls
  std::vector<std::unique_ptr<Feature>> features;
  std::string portName;    // of the Port node in the description
  std::string urlName;     // file name in the URL
  std::string url;         // overrides the one that is made
  std::string currentUrl;  // what is answered
  bool zipped = false;
  uint32_t numUrls = 1;
  std::string xml;          // overrides the one that is made
  std::string description;  // what is read at sk_descriptionAddress

  Feature& Add(const std::string& name, Feature::Kind kind = Feature::Kind::Integer);
  Feature& Integer(const std::string& name, int64_t value);
  Feature& Float(const std::string& name, double value);
  Feature& Boolean(const std::string& name, bool value);
  Feature& Enumeration(const std::string& name, std::vector<std::string> entries, int64_t current);
  Feature& String(const std::string& name, const std::string& value);
  Feature& Command(const std::string& name);
  Feature* Find(const std::string& name);
  void Remove(const std::string& name);
  // Makes description and URL of the features.
  void Describe();
  Feature* At(uint64_t address);

  virtual ~Module() = default;
};

struct Event : Module {
  GenTL::EVENT_TYPE type = 0;
  bool ended = false;
  std::deque<std::string> messages;  // of a device's events
  Module* source = nullptr;
};

struct Buffer : Module {
  std::vector<uint8_t> memory;
  void* userPointer = nullptr;
  bool queued = false;
  std::map<int32_t, uint64_t> info;  // answers of DSGetBufferInfo
};

struct Stream : Module {
  std::string id;
  bool open = false;
  bool grabbing = false;
  bool freeRunning = false;  // every queued buffer is filled at once while grabbing
  uint64_t nextFrame = 1;
  std::map<int32_t, uint64_t> frameInfo;  // what free-running frames answer
  std::vector<std::unique_ptr<Buffer>> buffers;
  std::deque<Buffer*> input;
  std::deque<Buffer*> output;
  // Fills the next queued buffer and hands it to the new-buffer event; false when none is queued.
  bool Deliver(const std::map<int32_t, uint64_t>& info, const std::vector<uint8_t>& data = {});
};

struct Interface;

struct Device : Module {
  std::string id;
  Interface* interface = nullptr;
  std::map<int32_t, std::string> texts;  // answers of IFGetDeviceInfo
  std::map<int32_t, uint64_t> numbers;
  GenTL::DEVICE_ACCESS_FLAGS open = 0;
  bool heldElsewhere = false;  // control is refused
  bool connected = true;
  Module remote;
  std::vector<std::unique_ptr<Stream>> streams;
  Stream& AddStream();
};

struct Interface : Module {
  std::string id;
  bool open = false;
  uint64_t mac = 0, ip = 0, mask = 0;
  bool devicesChanged = false;
  std::vector<std::unique_ptr<Device>> devices;
  std::vector<uint32_t> unicast;
  Device& AddDevice(const std::string& id);
};

// What a function does instead of its work.
struct Plan {
  int skip = 0;  // calls that go through before
  GenTL::GC_ERROR status = 0;
  bool forever = false;
};

struct World : Module {
  std::recursive_mutex mutex;
  std::condition_variable_any changed;
  bool initialised = false;
  bool open = false;
  bool interfacesChanged = false;
  std::vector<std::unique_ptr<Interface>> interfaces;
  std::vector<std::unique_ptr<Interface>> goneInterfaces;  // kept, since handles may live on
  std::map<std::string, std::deque<Plan>> plans;
  std::vector<std::string> calls;
  std::vector<std::unique_ptr<Event>> events;
  // Answer of GCGetLastError: the text of the thread's last failure unless one is given.
  std::string errorText;
  GenTL::GC_ERROR errorStatus = 0;
  int32_t infoType = 0;  // data type that IFGetDeviceInfo claims for texts; 0: string

  // One interface with one camera with one stream, all usual features, nothing recorded.
  void Reset();
  Interface& AddInterface(const std::string& id, uint64_t mac, uint32_t ip);
  // The call after `skip` more fails with this status: of the function, or of the function with
  // those arguments, "DevGetPort" or "DevGetPort(cam0)" as it is recorded.
  void Fail(const std::string& function, GenTL::GC_ERROR status, int skip = 0);
  void FailAlways(const std::string& function, GenTL::GC_ERROR status);
  Device& Camera() { return *interfaces.at(0)->devices.at(0); }
  Stream& CameraStream(size_t index = 0) { return *Camera().streams.at(index); }
};

inline constexpr uint64_t sk_descriptionAddress = 0x100000;
inline constexpr uint64_t sk_firstRegister = 0x1000;
inline constexpr uint64_t sk_registerBytes = 64;

}  // namespace Scripted

extern "C" __attribute__((visibility("default"))) Scripted::World* ScriptedWorld();
