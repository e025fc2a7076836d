#pragma once
// SPDX-License-Identifier: Apache-2.0
// A camera that consists of a map of registers, served with hand-laid bytes. Cases can look at
// every request and play tricks with single ones.

#include <map>
#include <string>

#include "ScriptedPeer.h"

class ScriptedCamera {
 public:
  using Bytes = ScriptedPeer::Bytes;

  using Spoil = std::function<Bytes(Bytes)>;

  explicit ScriptedCamera(
      const char* address, Spoil spoilDiscovery = [](Bytes bytes) { return bytes; })
      : m_spoilDiscovery(std::move(spoilDiscovery)),
        m_address(ntohl(inet_addr(address))),
        m_peer(address,
               [this](const Bytes& request, const auto& reply) { Serve(request, reply); }) {
    Set(0x0000, 0x00020000);  // version
    Set(0x0004, 0x80000001);  // mode
    Set(0x0904, 1);           // one stream channel
    Set(0x0934, 0);           // no optional commands
    Set(0x0938, 3000);        // heartbeat
    Set(0x093C, 0), Set(0x0940, 1000000000);
    Set(0x092C, 0x40000000), Set(0x0954, 0), Set(0x0A00, 0), Set(0x0D04, 1500), Set(0x0D00, 0);
    for (uint32_t i = 0; i < 0x400; i += 4) m_registers.emplace(0x200 + i, 0);
  }

  void Set(uint32_t address, uint32_t value) {
    const std::lock_guard lock(m_mutex);
    m_registers[address] = value;
  }
  uint32_t Get(uint32_t address) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_registers.find(address);
    return found == m_registers.end() ? 0xDEADBEEF : found->second;
  }
  void SetText(uint32_t address, std::string text) {
    text.resize((text.size() + 4) / 4 * 4, '\0');
    for (size_t i = 0; i < text.size(); i += 4) {
      Set(address + static_cast<uint32_t>(i),
          ntohl(*reinterpret_cast<const uint32_t*>(text.data() + i)));
    }
  }
  std::vector<Bytes> Requests() const { return m_peer.Requests(); }

  // The 248 bytes that answer a discovery, made here so that cases can spoil them.
  Bytes Discovery() const {
    Bytes out(248, 0);
    const auto put = [&](size_t at, uint32_t value) {
      for (size_t i = 0; i < 4; ++i) out[at + i] = static_cast<uint8_t>(value >> 8 * (3 - i));
    };
    const auto text = [&](size_t at, const std::string& s) {
      std::copy(s.begin(), s.end(), out.begin() + static_cast<ptrdiff_t>(at));
    };
    put(0, 0x00020001);
    put(4, 0x80000001);
    put(8, 0x00000211), put(12, 0x22334455);  // MAC 02:11:22:33:44:55
    put(16, 0x00000007), put(20, 0x00000005);
    put(36, m_address);
    put(52, 0xFF000000);
    put(68, 0x7F0000FE);
    text(72, "Maker");
    text(104, "A model name that fills a field.");
    out[136] = '1';
    text(168, "info");
    text(216, "SN-0815");
    text(232, "left camera");
    return out;
  }

 private:
  static uint32_t Long(const Bytes& b, size_t at) {
    return uint32_t{b.at(at)} << 24 | uint32_t{b.at(at + 1)} << 16 | uint32_t{b.at(at + 2)} << 8 |
           b.at(at + 3);
  }
  static void Put(Bytes& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
      out.push_back(static_cast<uint8_t>(value >> shift));
  }

  void Serve(const Bytes& request, const ScriptedPeer::Reply& reply) {
    if (request.size() < 8 || request[0] != 0x42) return;
    const int command = request[2] << 8 | request[3];
    Bytes payload;
    uint16_t status = 0;
    if (command == 0x0002) {
      payload = m_spoilDiscovery(Discovery());
    } else if (command == 0x0080) {
      for (size_t at = 8; at + 4 <= request.size(); at += 4) {
        const std::lock_guard lock(m_mutex);
        const auto found = m_registers.find(Long(request, at));
        if (found == m_registers.end())
          status = 0x8003;
        else
          Put(payload, found->second);
      }
    } else if (command == 0x0082) {
      Set(Long(request, 8), Long(request, 12));
      Put(payload, 1);
    } else if (command == 0x0084) {
      const uint32_t address = Long(request, 8);
      Put(payload, address);
      for (uint32_t i = 0; i < (Long(request, 12) & 0xFFFF); i += 4) Put(payload, Get(address + i));
    } else {
      status = 0x8001;
    }
    const auto size = payload.size();
    Bytes out{static_cast<uint8_t>(status >> 8),
              static_cast<uint8_t>(status),
              request[2],
              static_cast<uint8_t>(request[3] + 1),
              static_cast<uint8_t>(size >> 8),
              static_cast<uint8_t>(size),
              request[6],
              request[7]};
    out.reserve(8 + size);
    for (const uint8_t byte : payload) out.push_back(byte);
    reply(out);
  }

  const Spoil m_spoilDiscovery;
  const uint32_t m_address;
  mutable std::mutex m_mutex;
  std::map<uint32_t, uint32_t> m_registers;
  ScriptedPeer m_peer;  // last: its thread uses the others
};
