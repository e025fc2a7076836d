// SPDX-License-Identifier: Apache-2.0
#include "producer/RemotePort.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "gigevision/Bootstrap.h"
#include "producer/Limits.h"

namespace OrvexGev {

using namespace GenTL;
namespace Gev = GigEVision;
namespace Reg = GigEVision::Bootstrap;

namespace {

constexpr size_t sk_word = 4;

// Up to three numbers divided by dots; what is missing keeps its value.
void ParseVersion(std::string_view text, int (&version)[3]) {
  for (int& part : version) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), part);
    if (error != std::errc() || end == text.data() + text.size()) return;
    text.remove_prefix(static_cast<size_t>(end - text.data()) + 1);
  }
}

// The version that the customary file name Vendor_Model_1_2_3.zip carries.
void VersionOfFileName(std::string_view name, int (&version)[3]) {
  name = name.substr(0, name.rfind('.'));
  int found[3] = {1, 0, 0};
  for (int i = 2; i >= 0; --i) {
    const size_t underscore = name.rfind('_');
    if (underscore == std::string_view::npos) return;
    const std::string_view digits = name.substr(underscore + 1);
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), found[i]);
    if (error != std::errc() || end != digits.data() + digits.size()) return;
    name = name.substr(0, underscore);
  }
  std::copy_n(found, 3, version);
}

std::optional<PortUrl> ToPortUrl(std::string_view text) {
  const auto parsed = Gev::ParseXmlUrl(text);
  if (!parsed) return std::nullopt;
  PortUrl url;
  url.fileName = parsed->fileName;
  // Without a version in the URL the description follows the first schema.
  url.schema[0] = 1;
  url.schema[1] = url.schema[2] = 0;
  ParseVersion(parsed->schemaVersion, url.schema);
  VersionOfFileName(parsed->fileName, url.file);
  switch (parsed->place) {
    case Gev::XmlUrl::Place::Local: {
      // Written anew, because consumers are less lenient than this parser.
      char numbers[48];
      std::snprintf(numbers, sizeof numbers, ";%llX;%llX",
                    static_cast<unsigned long long>(parsed->address),
                    static_cast<unsigned long long>(parsed->length));
      url.scheme = URL_SCHEME_LOCAL;
      url.address = parsed->address;
      url.size = parsed->length;
      url.url = "local:" + parsed->fileName + numbers;
      break;
    }
    case Gev::XmlUrl::Place::File:
      url.scheme = URL_SCHEME_FILE;
      url.url = "file:" + parsed->fileName;
      break;
    case Gev::XmlUrl::Place::Http:
      url.scheme = URL_SCHEME_HTTP;
      url.url = parsed->fileName;
      break;
  }
  return url;
}

}  // namespace

RemotePort::RemotePort(std::shared_ptr<ControlChannel> channel, PortIdentity identity,
                       bool bigEndianDevice)
    : Module(sk_kind, nullptr),
      m_channel(std::move(channel)),
      m_identity(std::move(identity)),
      m_bigEndianDevice(bigEndianDevice) {}

PortIdentity RemotePort::Identity() const {
  PortIdentity identity = m_identity;
  identity.bigEndian = m_bigEndianDevice;
  identity.readable = m_connected;
  identity.writable = m_connected && m_writable;
  return identity;
}

std::vector<PortUrl> RemotePort::Urls() const {
  const std::lock_guard lock(m_urlMutex);
  if (!m_urls.empty()) return m_urls;
  for (const uint32_t address : {Reg::sk_firstUrl, Reg::sk_secondUrl}) {
    std::vector<uint8_t> text(Reg::sk_urlSize);
    try {
      m_channel->ReadMemory(address, text);
    } catch (const GcError&) {
      if (address == Reg::sk_firstUrl) throw;
      continue;  // the second register may be missing
    }
    if (auto url = ToPortUrl(Gev::FieldText(text))) m_urls.push_back(std::move(*url));
  }
  return m_urls;
}

std::span<const uint8_t> RemotePort::Description() {
  for (const PortUrl& url : Urls()) {
    if (url.scheme != URL_SCHEME_LOCAL || url.size == 0 || url.size > sk_maxDescriptionFile)
      continue;
    std::vector<uint8_t> file(static_cast<size_t>(url.size));
    ReadPort(url.address, file);
    m_descriptionAddress = url.address;
    m_description = std::move(file);
    break;
  }
  return m_description;
}

void RemotePort::CheckAccess(uint64_t address, size_t size) const {
  Require(m_connected, GC_ERR_IO, "The camera is not connected");
  Require(size <= sk_maxPortAccess, GC_ERR_INVALID_PARAMETER, "The access is too long");
  Require(address <= UINT32_MAX && size <= UINT32_MAX - address, GC_ERR_INVALID_ADDRESS,
          "The camera's registers end at 4 GiB");
}

void RemotePort::ReadWord(uint32_t address, uint8_t* word) {
  Gev::StoreBe32(word, m_channel->ReadRegister(address));
  if (SwapsWords()) std::reverse(word, word + sk_word);
}

void RemotePort::WriteWord(uint32_t address, const uint8_t* word) {
  uint8_t ordered[sk_word];
  std::copy_n(word, sk_word, ordered);
  if (SwapsWords()) std::reverse(std::begin(ordered), std::end(ordered));
  m_channel->WriteRegister(address, Gev::LoadBe32(ordered));
}

void RemotePort::ReadPort(uint64_t address, std::span<uint8_t> target) {
  CheckAccess(address, target.size());
  if (target.empty()) return;
  const uint64_t offset = address - m_descriptionAddress;
  if (offset < m_description.size() && target.size() <= m_description.size() - offset) {
    std::memcpy(target.data(), m_description.data() + offset, target.size());
    return;
  }
  const auto first = static_cast<uint32_t>(address);
  if (first % sk_word == 0 && target.size() == sk_word) return ReadWord(first, target.data());
  if (first % sk_word == 0 && target.size() % sk_word == 0)
    return m_channel->ReadMemory(first, target);
  // Whole words around the bytes that were asked.
  const uint32_t begin = first - first % sk_word;
  const size_t length = (first - begin + target.size() + sk_word - 1) / sk_word * sk_word;
  std::vector<uint8_t> words(length);
  m_channel->ReadMemory(begin, words);
  std::copy_n(words.begin() + (first - begin), target.size(), target.begin());
}

void RemotePort::WritePort(uint64_t address, std::span<const uint8_t> source) {
  CheckAccess(address, source.size());
  Require(m_writable, GC_ERR_ACCESS_DENIED, "The camera is open for reading only");
  if (source.empty()) return;
  const auto first = static_cast<uint32_t>(address);
  if (first % sk_word == 0 && source.size() == sk_word) return WriteWord(first, source.data());
  if (first % sk_word == 0 && source.size() % sk_word == 0)
    return m_channel->WriteMemory(first, source);
  const uint32_t begin = first - first % sk_word;
  const size_t length = (first - begin + source.size() + sk_word - 1) / sk_word * sk_word;
  std::vector<uint8_t> words(length);
  const std::lock_guard lock(m_partialMutex);
  // Only the words at the ends keep bytes of their own.
  const auto edge = std::span(words);
  m_channel->ReadMemory(begin, edge.first(sk_word));
  if (length > sk_word) {
    m_channel->ReadMemory(begin + static_cast<uint32_t>(length - sk_word), edge.last(sk_word));
  }
  std::ranges::copy(source, words.begin() + (first - begin));
  m_channel->WriteMemory(begin, words);
}

}  // namespace OrvexGev
