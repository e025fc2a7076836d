// SPDX-License-Identifier: Apache-2.0
#include "Orvex/NodeMapUtility.h"

#include <GenApi/IDestroy.h>
#include <GenApi/NodeMapFactory.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "Orvex/Check.h"
#include "Orvex/Limits.h"

namespace Orvex {
namespace {

std::string GetUrl(TLBase* pModule) {
  constexpr size_t sk_size = 256;
  std::array<char, sk_size + 1> url{};  // one more than told, so that it always ends
  size_t size = sk_size;
  if (const GenTL::GC_ERROR status = pModule->GetPortURL(url.data(), &size); status != 0)
    ThrowGenTLShort(status, "Unable to get port URL", ORVEX_SITE);
  return url.data();
}

std::string Between(const std::string& text, size_t begin, size_t end) {
  return begin <= text.size() ? text.substr(begin, end - begin) : std::string();
}

uint64_t HexNumber(const std::string& text, uint64_t greatest) {
  const uint64_t value = std::stoull(text, nullptr, 16);
  if (value > greatest) throw std::out_of_range("Number in port URL is too large: " + text);
  return value;
}

std::string PrefixOf(const std::string& fileName) {
  constexpr std::pair<const char*, const char*> sk_prefixes[] = {
      {"GenTLSystem", "TL"},
      {"GenTLInterface", "Interface"},
      {"GenTLDevice", "Device"},
      {"GenTLDataStream", "Stream"},
  };
  for (const auto& [part, prefix] : sk_prefixes) {
    if (fileName.find(part) != std::string::npos) return prefix;
  }
  return {};
}

void CheckDescriptionLength(size_t length) {
  CHECK_ARG(length <= sk_maxDescriptionBytes, RuntimeException,
            "Description is too large: " + std::to_string(length) + " bytes");
}

// None when the file cannot be opened.
std::optional<std::vector<uint8_t>> ReadDescription(TLBase* pModule, const ModuleUrl& url) {
  std::vector<uint8_t> data;
  if (url.local) {
    CheckDescriptionLength(url.length);
    data.resize(url.length);
    size_t size = data.size();
    // Kept on purpose: the status is not looked at. When the read fails, the parser says so.
    static_cast<void>(pModule->ReadPort(url.address, data.data(), &size));
    return data;
  }
  std::ifstream file(url.fileName, std::ios::binary | std::ios::ate);
  if (!file) return std::nullopt;
  const std::streamoff length = std::max<std::streamoff>(file.tellg(), 0);
  CheckDescriptionLength(static_cast<size_t>(length));
  data.resize(static_cast<size_t>(length));
  file.seekg(0);
  file.read(reinterpret_cast<char*>(data.data()), length);
  return data;
}

// What stream extraction makes of the leading hexadecimal digits.
uint32_t LeadingHexNumber(const std::string& text) {
  uint32_t value = 0;
  std::istringstream(text) >> std::hex >> value;
  return value;
}

}  // namespace

ModuleUrl ParseModuleUrl(const std::string& url) {
  ModuleUrl parsed;
  const size_t a = url.find(':') + 1;
  if (url.compare(0, 6, "local:") == 0) {
    const size_t b = url.find(';') + 1;
    const size_t c = url.find(';', b) + 1;
    const size_t d = url.find('?') + 1;
    parsed.local = true;
    parsed.fileName = Between(url, a, b - 1);
    // Without a "?" the position is 0: the query is the whole URL, the length ends where that does.
    parsed.query = url.substr(d);
    parsed.address = HexNumber(Between(url, b, c - 1), std::numeric_limits<uint64_t>::max());
    parsed.length = static_cast<uint32_t>(
        HexNumber(Between(url, c, d - 1), std::numeric_limits<uint32_t>::max()));
  } else {
    const size_t q = url.find('?');
    parsed.fileName = Between(url, a, q);
    if (q != std::string::npos) parsed.query = url.substr(q + 1);
  }
  parsed.prefix = PrefixOf(parsed.fileName);
  return parsed;
}

GenApi::INodeMap* InitNodeMap(TLBase* pModule, Port& port) {
  const ModuleUrl url = ParseModuleUrl(GetUrl(pModule));
  const std::optional<std::vector<uint8_t>> data = ReadDescription(pModule, url);
  if (!data) return nullptr;
  GenApi::CNodeMapFactory factory(GenApi::ContentType_Xml, data->data(), data->size(),
                                  GenApi::CacheUsage_Automatic);
  UniqueNodeMap pNodeMap(factory.CreateNodeMap("Device", true));
  pNodeMap->Connect(&port, (url.prefix + "Port").c_str());
  return pNodeMap.release();
}

std::unique_ptr<TLBase> GetRemotePort(TLDevice* pDevice) {
  GenTL::PORT_HANDLE hPort = nullptr;
  CHECK_GENTL(pDevice->GetPort(&hPort), "Unable to get remote device", "DevGetPort");
  return std::make_unique<TLBase>(hPort);
}

XmlUrlInfo GetUrlInfo(TLBase* pModule) {
  struct VersionRow {
    GenTL::URL_INFO_CMD command;
    const char* gentlName;
    const char* whatFailed;
    int32_t XmlUrlInfo::*pField;
  };
  constexpr VersionRow sk_versions[] = {
      {GenTL::URL_INFO_SCHEMA_VER_MAJOR, "GCGetPortURLInfo, URL_INFO_SCHEMA_VER_MAJOR",
       "Unable to get port URL schema version major", &XmlUrlInfo::m_xmlSchemaVerMajor},
      {GenTL::URL_INFO_SCHEMA_VER_MINOR, "GCGetPortURLInfo, URL_INFO_SCHEMA_VER_MINOR",
       "Unable to get port URL schema version minor", &XmlUrlInfo::m_xmlSchemaVerMinor},
      {GenTL::URL_INFO_FILE_VER_MAJOR, "GCGetPortURLInfo, URL_INFO_FILE_VER_MAJOR",
       "Unable to get port URL file version major", &XmlUrlInfo::m_xmlFileVerMajor},
      {GenTL::URL_INFO_FILE_VER_MINOR, "GCGetPortURLInfo, URL_INFO_FILE_VER_MINOR",
       "Unable to get port URL file version minor", &XmlUrlInfo::m_xmlFileVerMinor},
      {GenTL::URL_INFO_FILE_VER_SUBMINOR, "GCGetPortURLInfo, URL_INFO_FILE_VER_SUBMINOR",
       "Unable to get port URL file version subminor", &XmlUrlInfo::m_xmlFileVerSubMinor},
  };

  XmlUrlInfo info;
  constexpr size_t sk_size = 512;
  std::array<char, sk_size + 1> url{};  // one more than told, so that it always ends
  size_t size = sk_size;
  uint32_t count = 0;
  if (pModule->GetNumPortURLs(&count) == 0 && count >= 1) {
    GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
    CHECK_GENTL(pModule->GetPortURLInfo(0, GenTL::URL_INFO_URL, &type, url.data(), &size),
                "Unable to get port URL", "GCGetPortURLInfo, URL_INFO_URL");
    for (const VersionRow& row : sk_versions) {
      size_t versionSize = sizeof(int32_t);
      CHECK_GENTL(pModule->GetPortURLInfo(0, row.command, &type, &(info.*row.pField), &versionSize),
                  row.whatFailed, row.gentlName);
    }
  } else {
    CHECK_GENTL(pModule->GetPortURL(url.data(), &size), "Unable to get port", "GCGetPortURL");
  }
  info.m_xmlUrl = url.data();
  return info;
}

XmlFile ReadXML(TLBase* pModule, const XmlUrlInfo& info) {
  CHECK_ARG(pModule != nullptr, InvalidArgumentException, "Module is null");
  // Scheme, file name, address, length. Kept on purpose: the scheme is not looked at, descriptions
  // are always read out of the port.
  std::array<std::string, 4> items;
  size_t cursor = 0;
  for (size_t i = 0; i < items.size() && cursor <= info.m_xmlUrl.size(); ++i) {
    const size_t end = info.m_xmlUrl.find(i == 0 ? ':' : ';', cursor);
    items[i] = info.m_xmlUrl.substr(cursor, end - cursor);
    if (end == std::string::npos) break;
    cursor = end + 1;
  }
  const uint32_t address = LeadingHexNumber(items[2]);
  XmlFile file;
  file.length = LeadingHexNumber(items[3]);
  CheckDescriptionLength(file.length);
  file.pData = std::make_unique<uint8_t[]>(file.length);
  size_t size = file.length;
  CHECK_GENTL(pModule->ReadPort(address, file.pData.get(), &size), "Unable to read port",
              "GCReadPort");
  return file;
}

void DestroyNodeMap(GenApi::INodeMap* pNodeMap) noexcept {
  if (pNodeMap == nullptr) return;
  try {
    if (auto* pDestroy = GenApi::CastToIDestroy(pNodeMap)) pDestroy->Destroy();
  } catch (...) {  // destructors call this
  }
}

}  // namespace Orvex
