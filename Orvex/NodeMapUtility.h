#pragma once
// SPDX-License-Identifier: Apache-2.0
// Finds and reads the descriptions of producer modules and cameras, and makes node maps of them.
// Node maps belong to the caller (UniqueNodeMap or DestroyNodeMap). No state; any thread.
#include <GenApi/INodeMap.h>

#include <cstdint>
#include <memory>
#include <string>

#include "Orvex/Port.h"
#include "Orvex/TLBase.h"
#include "Orvex/TLDevice.h"

namespace Orvex {

// What a module's URL says: "local:NAME;ADDRESS;LENGTH?QUERY" (numbers hexadecimal) or a file.
struct ModuleUrl {
  std::string fileName;
  std::string query;
  std::string prefix;  // of the port's name in the description: TL, Interface, Device, Stream or ""
  bool local = false;
  uint64_t address = 0;
  uint32_t length = 0;
};

// Throws std::invalid_argument or std::out_of_range for a local URL with malformed numbers.
ModuleUrl ParseModuleUrl(const std::string& url);

// What a remote device's port says about the camera's description.
struct XmlUrlInfo {
  std::string m_xmlUrl;
  int32_t m_xmlSchemaVerMajor = 0;
  int32_t m_xmlSchemaVerMinor = 0;
  int32_t m_xmlFileVerMajor = 0;
  int32_t m_xmlFileVerMinor = 0;
  int32_t m_xmlFileVerSubMinor = 0;
};

// The node map of a system, interface, device or stream module, connected to the port, which must
// outlive it. Null when the description is a file that cannot be opened.
GenApi::INodeMap* InitNodeMap(TLBase* pModule, Port& port);

// The camera's own port; the caller owns the wrapper, the producer the port.
std::unique_ptr<TLBase> GetRemotePort(TLDevice* pDevice);

XmlUrlInfo GetUrlInfo(TLBase* pModule);

// The bytes of the camera's description, as they lie in its memory.
struct XmlFile {
  std::unique_ptr<uint8_t[]> pData;
  size_t length = 0;
};
XmlFile ReadXML(TLBase* pModule, const XmlUrlInfo& info);

// Null is allowed.
void DestroyNodeMap(GenApi::INodeMap* pNodeMap) noexcept;

struct NodeMapDeleter {
  void operator()(GenApi::INodeMap* pNodeMap) const noexcept { DestroyNodeMap(pNodeMap); }
};
using UniqueNodeMap = std::unique_ptr<GenApi::INodeMap, NodeMapDeleter>;

}  // namespace Orvex
