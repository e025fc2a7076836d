#pragma once
// SPDX-License-Identifier: Apache-2.0
// The register space of the camera itself, byte by byte: any alignment and length on top of a
// control channel that moves whole words. Owned by its Device and dies with it. Any thread may
// call.

#include <atomic>

#include "gigevision/XmlUrl.h"
#include "producer/ControlChannel.h"
#include "producer/Module.h"

namespace OrvexGev {

// How the words of register commands reach the node map (GenTL SFNC, DeviceEndianessMechanism).
enum class EndianessMechanism : int64_t { Legacy = 0, Standard = 1 };

class RemotePort final : public Module {
 public:
  static constexpr Kind sk_kind = Kind::RemotePort;

  RemotePort(std::shared_ptr<ControlChannel> channel, PortIdentity identity, bool bigEndianDevice);

  void ReadPort(uint64_t address, std::span<uint8_t> target) override;
  void WritePort(uint64_t address, std::span<const uint8_t> source) override;
  PortIdentity Identity() const override;
  // From the camera's two URL registers, read once.
  std::vector<PortUrl> Urls() const override;

  // The description file as the camera serves it; empty when it does not lie in the camera. Kept,
  // so that consumers that read it after us do not wait for it again.
  std::span<const uint8_t> Description();

  void SetConnected(bool connected) { m_connected = connected; }
  void SetWritable(bool writable) { m_writable = writable; }
  void SetMechanism(EndianessMechanism mechanism) { m_mechanism = mechanism; }
  EndianessMechanism Mechanism() const { return m_mechanism; }
  void Close() { UnregisterAllEvents(); }

 private:
  void CheckAccess(uint64_t address, size_t size) const;
  // One aligned word as the port hands it on.
  void ReadWord(uint32_t address, uint8_t* word);
  void WriteWord(uint32_t address, const uint8_t* word);
  bool SwapsWords() const {
    return !m_bigEndianDevice && m_mechanism == EndianessMechanism::Standard;
  }

  const std::shared_ptr<ControlChannel> m_channel;
  const PortIdentity m_identity;
  const bool m_bigEndianDevice;
  std::atomic<bool> m_connected{true};
  std::atomic<bool> m_writable{true};
  std::atomic<EndianessMechanism> m_mechanism{EndianessMechanism::Legacy};
  std::mutex m_partialMutex;  // read-modify-write of a word that is written in part
  mutable std::mutex m_urlMutex;
  mutable std::vector<PortUrl> m_urls;
  // Written once, before the port is handed out.
  std::vector<uint8_t> m_description;
  uint64_t m_descriptionAddress = 0;
};

}  // namespace OrvexGev
