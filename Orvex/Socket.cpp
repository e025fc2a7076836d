// SPDX-License-Identifier: Apache-2.0
#include "Socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <iostream>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "ImageFactory.h"
#include "Orvex/Check.h"
#include "Orvex/Limits.h"

namespace Orvex {

struct SocketResources {
  int m_SendSocket = -1;
  int m_ListenSocket = -1;
  // In the order in which they were added.
  std::vector<sockaddr_in> m_DestinationAddrs;

  // Receives that wait at the listening socket: it is closed when the last has left.
  std::mutex m_mutex;
  std::condition_variable m_left;
  int m_receivers = 0;  // by m_mutex
};

namespace {

// What travels, in the host's byte order: both ends are on one machine.
constexpr size_t sk_metadataSize = 12;
constexpr size_t sk_pixelFormatSize = 8;
constexpr size_t sk_maxSlice = 1024;

// Nothing paces a sender, so what arrives while the receiver copies has to wait somewhere.
constexpr int sk_receiveBuffer = 64 << 20;

std::string ErrorText() {
  return std::strerror(errno);
}

int OpenDatagramSocket() {
  return ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
}

void CloseDescriptor(int& descriptor) {
  const int open = std::exchange(descriptor, -1);
  if (open < 0) return;
  ::shutdown(open, SHUT_RDWR);
  ::close(open);
}

// Ends waiting receives, then frees the descriptor.
void CloseListening(SocketResources& socket) {
  std::unique_lock lock(socket.m_mutex);
  const int open = std::exchange(socket.m_ListenSocket, -1);
  if (open < 0) return;
  ::shutdown(open, SHUT_RDWR);
  socket.m_left.wait(lock, [&] { return socket.m_receivers == 0; });
  ::close(open);
}

bool Load(bool& flag) {
  return std::atomic_ref<bool>(flag).load();
}

ssize_t SendTo(int descriptor, const void* pData, size_t size, const sockaddr_in& address) {
  return ::sendto(descriptor, pData, size, 0, reinterpret_cast<const sockaddr*>(&address),
                  sizeof address);
}

// One datagram from the listening socket; the real length of it, even when it is longer than the
// room.
ssize_t Receive(SocketResources& socket, void* pData, size_t room) {
  std::unique_lock lock(socket.m_mutex);
  const int listener = socket.m_ListenSocket;
  ++socket.m_receivers;
  lock.unlock();
  ssize_t count;
  do {
    count = ::recvfrom(listener, pData, room, MSG_TRUNC, nullptr, nullptr);
  } while (count < 0 && errno == EINTR);
  const int error = errno;
  lock.lock();
  if (--socket.m_receivers == 0) socket.m_left.notify_all();
  lock.unlock();
  errno = error;
  return count;
}

}  // namespace

Socket::Socket() : m_pSocket(new SocketResources) {}

Socket::~Socket() {
  CloseDescriptor(m_pSocket->m_SendSocket);
  CloseListening(*m_pSocket);
  delete m_pSocket;
}

// ---- Sending -----------------------------------------------------------------------------------

void Socket::OpenSender() {
  CloseSender();
  m_pSocket->m_SendSocket = OpenDatagramSocket();
  CHECK_ARG(m_pSocket->m_SendSocket >= 0, RuntimeException,
            "Socket creation failed with error: " + ErrorText());
}

void Socket::CloseSender() {
  CloseDescriptor(m_pSocket->m_SendSocket);
}

void Socket::AddDestination(uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  ::inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
  m_pSocket->m_DestinationAddrs.push_back(address);
}

void Socket::SendCommand(const char* pMessage) {
  CHECK_ARG(pMessage, InvalidArgumentException, "Message pointer is null.");
  for (const sockaddr_in& address : m_pSocket->m_DestinationAddrs) {
    CHECK_ARG(SendTo(m_pSocket->m_SendSocket, pMessage, std::strlen(pMessage), address) >= 0,
              RuntimeException, "Send failed with error: " + ErrorText());
  }
}

void Socket::SendImage(IImage* pImage) {
  CHECK_ARG(pImage, InvalidArgumentException, "Image is null");
  for (const sockaddr_in& address : m_pSocket->m_DestinationAddrs) {
    const std::array<uint32_t, 3> metadata{static_cast<uint32_t>(pImage->GetWidth()),
                                           static_cast<uint32_t>(pImage->GetHeight()),
                                           static_cast<uint32_t>(pImage->GetSizeOfBuffer())};
    static_assert(sizeof metadata == sk_metadataSize);
    CHECK_ARG(SendTo(m_pSocket->m_SendSocket, &metadata, sizeof metadata, address) >= 0,
              RuntimeException, "Failed to send metadata: " + ErrorText());
    const uint64_t pixelFormat = pImage->GetPixelFormat();
    static_assert(sizeof pixelFormat == sk_pixelFormatSize);
    CHECK_ARG(SendTo(m_pSocket->m_SendSocket, &pixelFormat, sizeof pixelFormat, address) >= 0,
              RuntimeException, "Failed to send pixel format data: " + ErrorText());
    const uint8_t* const pData = pImage->GetData();
    const size_t size = metadata[2];
    for (size_t offset = 0; offset < size;) {
      const ssize_t sent = SendTo(m_pSocket->m_SendSocket, pData + offset,
                                  std::min(sk_maxSlice, size - offset), address);
      CHECK_ARG(sent >= 0, RuntimeException, "Send failed: " + ErrorText());
      offset += static_cast<size_t>(sent);
    }
  }
}

// ---- Receiving ---------------------------------------------------------------------------------

void Socket::OpenListener(uint16_t port) {
  CloseListening(*m_pSocket);
  const int listener = OpenDatagramSocket();
  CHECK_ARG(listener >= 0, RuntimeException, "Socket creation failed with error: " + ErrorText());
  // Beyond the system's limit where that is allowed, else up to it. Either may be refused: then
  // large images are more easily lost.
  if (::setsockopt(listener, SOL_SOCKET, SO_RCVBUFFORCE, &sk_receiveBuffer,
                   sizeof sk_receiveBuffer) != 0) {
    ::setsockopt(listener, SOL_SOCKET, SO_RCVBUF, &sk_receiveBuffer, sizeof sk_receiveBuffer);
  }
  {
    const std::lock_guard lock(m_pSocket->m_mutex);
    m_pSocket->m_ListenSocket = listener;
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  CHECK_ARG(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
            RuntimeException, "Can't bind socket! " + ErrorText());
}

void Socket::CloseListener() {
  // First, so that a receive that ends because of it knows why.
  std::atomic_ref<bool>(m_listenerClosed).store(true);
  CloseListening(*m_pSocket);
}

std::string Socket::ReceiveMessage() {
  std::array<char, sk_maxMessage> message;
  const ssize_t count = Receive(*m_pSocket, message.data(), message.size());
  CHECK_ARG(count >= 0, RuntimeException, "Error receiving from client: " + ErrorText());
  return std::string(message.data(), std::min(static_cast<size_t>(count), message.size()));
}

IImage* Socket::ReceiveImage() {
  std::array<uint32_t, 3> metadata;
  ssize_t count = Receive(*m_pSocket, metadata.data(), sizeof metadata);
  // A closed listener ends the receive with an error or with nothing, as the system likes.
  if (count <= 0 && Load(m_listenerClosed)) return nullptr;
  CHECK_ARG(count >= 0, RuntimeException, "Error receiving from client: " + ErrorText());
  if (static_cast<size_t>(count) != sizeof metadata) {
    std::cout << "Incomplete metadata received: expected " << sizeof metadata << " bytes, got "
              << count << std::endl;
    return nullptr;
  }

  uint64_t pixelFormat = 0;
  count = Receive(*m_pSocket, &pixelFormat, sizeof pixelFormat);
  if (count < 1) return nullptr;

  const size_t size = metadata[2];
  const std::unique_ptr<uint8_t[]> data(new (std::nothrow) uint8_t[size]);
  CHECK_ARG(data != nullptr, RuntimeException, "Failed to allocate memory for image data.");
  size_t received = 0;
  std::array<uint8_t, sk_maxDatagram> datagram;
  while (received < size) {
    count = Receive(*m_pSocket, datagram.data(), datagram.size());
    if (count < 0) {
      if (Load(m_listenerClosed)) return nullptr;
      THROW_PLAIN(RuntimeException, "Receive failed: " + ErrorText());
    }
    if (count == 0) {
      std::cout << "Connection closed by client" << std::endl;
      break;
    }
    const size_t there = std::min(static_cast<size_t>(count), datagram.size());
    const size_t taken = std::min(there, size - received);
    std::memcpy(data.get() + received, datagram.data(), taken);
    received += taken;
  }
  if (received != size) {
    std::cout << "Incomplete image data received: expected " << size << " bytes, got " << received
              << std::endl;
    return nullptr;
  }
  return ImageFactory::Create(data.get(), size, metadata[0], metadata[1], pixelFormat);
}

std::vector<IImage*> Socket::ReceiveImages() {
  std::vector<IImage*> images;
  try {
    while (IImage* pImage = ReceiveImage()) images.push_back(pImage);
  } catch (...) {
    for (IImage* pImage : images) ImageFactory::Destroy(pImage);
    throw;
  }
  return images;
}

}  // namespace Orvex
