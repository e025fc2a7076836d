// SPDX-License-Identifier: Apache-2.0
#include "gigevision/TcpStream.h"

namespace GigEVision {

std::optional<TcpHello> DecodeTcpHello(std::span<const uint8_t> bytes) {
  if (bytes.size() != sk_tcpGreetingSize || LoadBe32(&bytes[0]) != sk_tcpSignature)
    return std::nullopt;
  return TcpHello{LoadBe16(&bytes[4]), LoadBe16(&bytes[6]), LoadBe32(&bytes[8]),
                  LoadBe16(&bytes[12])};
}

size_t EncodeTcpHello(std::span<uint8_t> out, const TcpHello& hello) {
  ByteWriter writer(out);
  writer.U32(sk_tcpSignature);
  writer.U16(hello.major);
  writer.U16(hello.minor);
  writer.U32(hello.key);
  writer.U16(hello.channel);
  writer.U16(0);
  return writer.Size();
}

std::optional<TcpWelcome> DecodeTcpWelcome(std::span<const uint8_t> bytes) {
  if (bytes.size() != sk_tcpGreetingSize || LoadBe32(&bytes[0]) != sk_tcpSignature)
    return std::nullopt;
  return TcpWelcome{LoadBe16(&bytes[4]), LoadBe16(&bytes[6]),
                    static_cast<Status>(LoadBe16(&bytes[8])), LoadBe32(&bytes[12])};
}

size_t EncodeTcpWelcome(std::span<uint8_t> out, const TcpWelcome& welcome) {
  ByteWriter writer(out);
  writer.U32(sk_tcpSignature);
  writer.U16(welcome.major);
  writer.U16(welcome.minor);
  writer.U16(static_cast<uint16_t>(welcome.status));
  writer.U16(0);
  writer.U32(welcome.maxContent);
  return writer.Size();
}

std::optional<TcpRecordHeader> DecodeTcpRecordHeader(std::span<const uint8_t> bytes) {
  if (bytes.size() < sk_tcpRecordHeaderSize) return std::nullopt;
  const uint32_t length = LoadBe32(&bytes[0]);
  if (length < sk_gvspExtendedHeaderSize || length - sk_gvspExtendedHeaderSize > sk_tcpMaxContent)
    return std::nullopt;
  const auto packet = DecodePacketHeader(bytes.subspan(4, sk_gvspExtendedHeaderSize));
  if (!packet || !packet->extendedIds) return std::nullopt;
  return TcpRecordHeader{*packet, length - static_cast<uint32_t>(sk_gvspExtendedHeaderSize)};
}

size_t EncodeTcpRecordHeader(std::span<uint8_t> out, const TcpRecordHeader& header) {
  if (out.size() < sk_tcpRecordHeaderSize || header.contentSize > sk_tcpMaxContent) return 0;
  StoreBe32(&out[0], header.contentSize + static_cast<uint32_t>(sk_gvspExtendedHeaderSize));
  PacketHeader packet = header.packet;
  packet.extendedIds = true;
  return EncodePacketHeader(out.subspan(4), packet) != 0 ? sk_tcpRecordHeaderSize : 0;
}

}  // namespace GigEVision
