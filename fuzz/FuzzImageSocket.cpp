// SPDX-License-Identifier: Apache-2.0
// What arrives at an image socket, which any process may send to: the input is a run of datagrams,
// each with its length in front. An image, none, or an exception; never a wait beyond the last.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <vector>

#include "Socket.h"
#include "fuzz/FuzzImages.h"

namespace {

// 12 bytes may be the size, the width and the height of an image: no gigabytes, which would only
// measure the allocator.
std::vector<uint8_t> Datagram(const uint8_t* pData, size_t size) {
  std::vector<uint8_t> bytes(pData, pData + size);
  if (size == 12) bytes[11] = 0;
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  OrvexFuzz::WithFactory();
  static const uint16_t port = static_cast<uint16_t>(20000 + ::getpid() % 12000);
  static const int sender = [] {
    std::cout.rdbuf(nullptr);  // the socket talks about what it misses
    return ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  }();
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const auto send = [&](const std::vector<uint8_t>& bytes) {
    ::sendto(sender, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address),
             sizeof address);
  };

  Orvex::Socket socket;
  socket.OpenListener(port);
  for (size_t at = 0; at + 2 <= size;) {
    const size_t length = std::min<size_t>(pData[at] | (pData[at + 1] & 31) << 8, size - at - 2);
    send(Datagram(pData + at + 2, length));
    at += 2 + length;
  }
  for (int i = 0; i < 3; ++i) send({});  // ends every receive, wherever it stands
  try {
    for (Orvex::IImage* pImage : socket.ReceiveImages()) {
      if (pImage->GetSizeOfBuffer() > 0)
        static_cast<void>(pImage->GetData()[pImage->GetSizeOfBuffer() - 1]);
      Orvex::ImageFactory::Destroy(pImage);
    }
  } catch (const GenICam::GenericException&) {
  }
  return 0;
}
