// SPDX-License-Identifier: Apache-2.0
// `orvex info [DEVICE]`: what one camera is and how it is reached.
#include "tools/Command.h"
#include "tools/Nodes.h"

namespace OrvexTools {
namespace {

constexpr Field sk_fields[] = {
    {"model", "Model"},
    {"vendor", "Vendor"},
    {"serial", "Serial number"},
    {"user_name", "User-defined name"},
    {"version", "Device version"},
    {"firmware", "Firmware version"},
    {"temperature", "Temperature", "C"},
    {"ip", "IP address"},
    {"mask", "Subnet mask"},
    {"gateway", "Gateway"},
    {"mac", "MAC address"},
    {"address_from", "Address from"},
    {"access", "Access"},
    {"sensor", "Sensor"},
    {"pixel_format", "Pixel format"},
    {"width", "Width", "pixels"},
    {"height", "Height", "pixels"},
    {"frame_rate", "Frame rate", "frames/s"},
    {"packet_size", "Packet size", "bytes"},
    {"features", "Features"},
};

// Facts that are features of most cameras.
struct FeatureFact {
  const char* key;
  const char* feature;
};
constexpr FeatureFact sk_featureFacts[] = {
    {"firmware", "DeviceFirmwareVersion"},
    {"temperature", "DeviceTemperature"},
    {"sensor", "SensorName"},
    {"pixel_format", "PixelFormat"},
    {"width", "Width"},
    {"height", "Height"},
    {"frame_rate", "AcquisitionFrameRate"},
    {"packet_size", "GevSCPSPacketSize"},
};

Record AddressSources(const CameraFacts& camera) {
  Record sources = Record::array();
  if (camera.persistentIp) sources.push_back("persistent");
  if (camera.dhcp) sources.push_back("DHCP");
  if (camera.linkLocal) sources.push_back("link-local");
  return sources;
}

void RunInfo(const Search& search, const Output& output) {
  Library library(search.unicast);
  const FoundCamera found = library.Find(search.device, search.Wait());
  Camera camera(library, found, Access::Read);
  const CameraFacts& facts = camera.Facts();
  Record record;
  record["model"] = facts.model;
  record["vendor"] = facts.vendor;
  record["serial"] = facts.serial;
  record["user_name"] = facts.userName;
  record["version"] = facts.version;
  record["ip"] = facts.ip;
  record["mask"] = facts.mask;
  record["gateway"] = facts.gateway;
  record["mac"] = facts.mac;
  record["address_from"] = AddressSources(facts);
  record["access"] = camera.AccessStatus();
  for (const FeatureFact& fact : sk_featureFacts) {
    if (camera.Nodes().GetNode(fact.feature) == nullptr) continue;
    const Record feature = DescribeFeature(*camera.Nodes().GetNode(fact.feature));
    if (feature.contains("value")) record[fact.key] = feature["value"];
  }
  std::size_t count = 0;
  for (const ListedFeature& feature : WalkFeatures(camera.Nodes(), "Root", GenApi::Invisible)) {
    count += feature.isCategory ? 0 : 1;
  }
  record["features"] = count;
  PrintRecord(output, record, sk_fields);
}

}  // namespace

void AddInfoCommand(CLI::App& program, Output& output) {
  auto pSearch = std::make_shared<Search>();
  CLI::App* pCommand =
      program.add_subcommand("info", "Show what a camera is and how it is reached");
  AddJsonFlag(*pCommand, output);
  AddDeviceArgument(*pCommand, *pSearch);
  pCommand->callback([pSearch, &output] { RunInfo(*pSearch, output); });
}

}  // namespace OrvexTools
