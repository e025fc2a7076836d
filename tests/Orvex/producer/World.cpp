// SPDX-License-Identifier: Apache-2.0
#include "tests/Orvex/producer/World.h"

#include <cstring>

namespace Scripted {
namespace {

const std::vector<std::string> sk_accessEntries = {
    "Unknown", "ReadWrite", "ReadOnly", "NoAccess", "Busy", "OpenReadWrite", "OpenReadOnly"};

void FillCamera(Device& device) {
  Module& remote = device.remote;
  remote.name = device.name + ".remote";
  remote.portName = "Device";
  remote.urlName = "camera.zip";
  remote.zipped = true;
  remote.Integer("Width", 8);
  remote.Integer("Height", 2);
  remote.Integer("PayloadSize", 16);
  remote.Integer("TLParamsLocked", 0);
  remote.Command("AcquisitionStart");
  remote.Command("AcquisitionStop");
  device.portName = "DevicePort";
  device.urlName = "GenTLDevice_scripted.xml";
  device.String("DeviceSerialNumber", "S0001");
  device.Enumeration("DeviceType", {"Custom", "GigEVision"}, 1);
  device.Enumeration("DeviceAccessStatus", sk_accessEntries, 0).getter = [&device] {
    return device.open == GenTL::DEVICE_ACCESS_CONTROL ? 5 : 6;
  };
  device.texts = {{GenTL::DEVICE_INFO_VENDOR, "Orvex"},
                  {GenTL::DEVICE_INFO_MODEL, "Scripted"},
                  {GenTL::DEVICE_INFO_SERIAL_NUMBER, "S0001"},
                  {GenTL::DEVICE_INFO_USER_DEFINED_NAME, "left"},
                  {GenTL::DEVICE_INFO_VERSION, "2.7"}};
  device.numbers = {{GenTL::DEVICE_INFO_ORVEX_CURRENT_IP, 0x0A000002},
                    {GenTL::DEVICE_INFO_ORVEX_SUBNET_MASK, 0xFFFFFF00},
                    {GenTL::DEVICE_INFO_ORVEX_MAC, 0x0012AB34CD56},
                    {GenTL::DEVICE_INFO_ORVEX_GATEWAY, 0x0A0000FE},
                    {GenTL::DEVICE_INFO_ORVEX_DHCP_ENABLED, 1},
                    {GenTL::DEVICE_INFO_ORVEX_PERSISTENT_IP_ENABLED, 0},
                    {GenTL::DEVICE_INFO_ORVEX_LINK_LOCAL_ENABLED, 1}};
}

}  // namespace

Stream& Device::AddStream() {
  streams.push_back(std::make_unique<Stream>());
  Stream& stream = *streams.back();
  stream.id = "stream" + std::to_string(streams.size() - 1);
  stream.name = name + "." + stream.id;
  stream.portName = "StreamPort";
  stream.urlName = "GenTLDataStream_scripted.xml";
  stream.Integer("StreamAnnouncedBufferCount", 0).getter = [&stream] {
    return static_cast<int64_t>(stream.buffers.size());
  };
  stream.Boolean("StreamIsGrabbing", false).getter = [&stream] {
    return static_cast<int64_t>(stream.grabbing);
  };
  stream.frameInfo = {{GenTL::BUFFER_INFO_PAYLOADTYPE, 1}};
  return stream;
}

bool Stream::Deliver(const std::map<int32_t, uint64_t>& info, const std::vector<uint8_t>& data) {
  if (input.empty()) return false;
  Buffer* buffer = input.front();
  input.pop_front();
  buffer->info = info;
  if (!data.empty()) std::memcpy(buffer->memory.data(), data.data(), data.size());
  output.push_back(buffer);
  ScriptedWorld()->changed.notify_all();
  return true;
}

Device& Interface::AddDevice(const std::string& deviceId) {
  devices.push_back(std::make_unique<Device>());
  Device& device = *devices.back();
  device.id = deviceId;
  device.name = deviceId;
  device.interface = this;
  FillCamera(device);
  device.AddStream();
  return device;
}

Interface& World::AddInterface(const std::string& interfaceId, uint64_t mac, uint32_t ip) {
  interfaces.push_back(std::make_unique<Interface>());
  Interface& added = *interfaces.back();
  added.id = interfaceId;
  added.name = interfaceId;
  added.mac = mac;
  added.ip = ip;
  added.mask = 0xFFFFFF00;
  added.portName = "InterfacePort";
  added.urlName = "GenTLInterface_scripted.xml";
  added.Integer("GevInterfaceMACAddress", static_cast<int64_t>(mac));
  added.Integer("GevInterfaceSubnetIPAddress", ip);
  return added;
}

void World::Fail(const std::string& function, GenTL::GC_ERROR status, int skip) {
  plans[function].push_back({skip, status, false});
}

void World::FailAlways(const std::string& function, GenTL::GC_ERROR status) {
  plans[function].push_back({0, status, true});
}

void World::Reset() {
  const std::lock_guard lock(mutex);
  initialised = open = interfacesChanged = false;
  interfaces.clear();
  goneInterfaces.clear();
  plans.clear();
  calls.clear();
  events.clear();
  errorText.clear();
  errorStatus = 0;
  infoType = 0;
  features.clear();
  url.clear();
  name = "system";
  portName = "TLPort";
  urlName = "GenTLSystem_scripted.xml";
  String("TLVendorName", "Orvex");
  AddInterface("if0", 0x020000000001, 0x0A000001).AddDevice("cam0");
}

}  // namespace Scripted
