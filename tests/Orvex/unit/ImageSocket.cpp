// SPDX-License-Identifier: Apache-2.0
// The image socket over loopback, against plain datagram sockets for the wire format and against
// itself.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <future>
#include <thread>

#include "ImageTools.h"
#include "Socket.h"

namespace Orvex::Testing {
namespace {

using GenICam::InvalidArgumentException;
using GenICam::RuntimeException;
using testing::HasSubstr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

// A datagram socket on a free port of 127.0.0.1.
class Plug {
 public:
  Plug() : m_fd(::socket(AF_INET, SOCK_DGRAM, 0)) {
    sockaddr_in address = Address(0);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(m_fd, reinterpret_cast<sockaddr*>(&address), size), 0);
    ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
    const timeval limit{5, 0};
    ::setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }
  ~Plug() { ::close(m_fd); }
  Plug(const Plug&) = delete;
  Plug& operator=(const Plug&) = delete;

  uint16_t Port() const { return m_port; }
  void Send(const Bytes& datagram, uint16_t port) const {
    const sockaddr_in address = Address(port);
    ::sendto(m_fd, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&address),
             sizeof address);
  }
  Bytes Receive() const {
    Bytes datagram(65536);
    const ssize_t count = ::recv(m_fd, datagram.data(), datagram.size(), 0);
    EXPECT_GE(count, 0) << "nothing came";
    datagram.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return datagram;
  }
  bool IsEmpty() const {
    char byte;
    return ::recv(m_fd, &byte, 1, MSG_DONTWAIT) < 0;
  }

 private:
  static sockaddr_in Address(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }
  int m_fd;
  uint16_t m_port = 0;
};

// A port that nobody uses just now.
uint16_t FreePort() {
  return Plug().Port();
}

Bytes Metadata(uint32_t width, uint32_t height, uint32_t size) {
  Bytes bytes;
  for (const uint32_t value : {width, height, size}) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(uint8_t(value >> shift));
  }
  return bytes;
}

const Bytes sk_mono8 = {0x01, 0x00, 0x08, 0x01, 0, 0, 0, 0};

class ImageSocket : public WithFactory {
 protected:
  void Listen() {
    m_port = FreePort();
    m_listener.OpenListener(m_port);
  }
  // What ReceiveImage prints while it makes nothing of what came.
  std::string Refused() {
    CaptureStdout();
    const ImagePtr image(m_listener.ReceiveImage(), ImageDestroyer{});
    EXPECT_EQ(image.get(), nullptr);
    return GetCapturedStdout();
  }

  Socket m_sender, m_listener;
  Plug m_plug;
  uint16_t m_port = 0;
};

TEST_F(ImageSocket, SendsHeadersAndSlicesToEachDestinationInTurn) {
  Plug second;
  m_sender.OpenSender();
  m_sender.AddDestination(m_plug.Port());
  m_sender.AddDestination(second.Port());
  m_sender.AddDestination(second.Port());
  const ImagePtr image = RandomImage(Mono8, 50, 43);
  const Bytes data = DataOf(image.get());
  m_sender.SendImage(image.get());
  for (const Plug* plug : {&m_plug, &second, &second}) {
    EXPECT_EQ(plug->Receive(), Metadata(50, 43, 2150));
    EXPECT_EQ(plug->Receive(), sk_mono8);
    EXPECT_EQ(plug->Receive(), Bytes(data.begin(), data.begin() + 1024));
    EXPECT_EQ(plug->Receive(), Bytes(data.begin() + 1024, data.begin() + 2048));
    EXPECT_EQ(plug->Receive(), Bytes(data.begin() + 2048, data.end()));
  }
  EXPECT_TRUE(m_plug.IsEmpty());
  EXPECT_TRUE(second.IsEmpty());

  m_sender.SendCommand("stop");
  EXPECT_EQ(m_plug.Receive(), (Bytes{'s', 't', 'o', 'p'}));
  m_sender.CloseSender();
  EXPECT_THAT(
      Thrown<RuntimeException>([&] { m_sender.SendCommand("x"); }),
      HasSubstr("RuntimeException: Send failed with error: Bad file descriptor (Socket.cpp, "
                "SendCommand)"));
  EXPECT_THAT(Thrown<RuntimeException>([&] { m_sender.SendImage(image.get()); }),
              HasSubstr(": Failed to send metadata: Bad file descriptor ("));
}

TEST_F(ImageSocket, ChecksItsArguments) {
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { m_sender.SendImage(nullptr); }),
            Plain("InvalidArgumentException", "Image is null", "Socket.cpp", "SendImage"));
  EXPECT_EQ(
      Thrown<InvalidArgumentException>([&] { m_sender.SendCommand(nullptr); }),
      Plain("InvalidArgumentException", "Message pointer is null.", "Socket.cpp", "SendCommand"));
  EXPECT_THAT(Thrown<RuntimeException>([&] { m_listener.OpenListener(m_plug.Port()); }),
              HasSubstr(": Can't bind socket! Address already in use (Socket.cpp, OpenListener)"));
  const ImagePtr image = RandomImage(Mono8, 2, 2);
  m_sender.SendImage(image.get());  // nobody to send to, nothing to fail
}

TEST_F(ImageSocket, ReceivesWhatAnotherSent) {
  Listen();
  m_sender.OpenSender();
  m_sender.AddDestination(m_port);
  for (const auto& [format, width, height] : {std::tuple<PfncFormat_, size_t, size_t>{Mono8, 1, 1},
                                              {BayerRG12p, 64, 33},
                                              {RGB8, 320, 40},
                                              {PolarizedDolp_Mono16, 7, 3}}) {
    const ImagePtr image = RandomImage(format, width, height);
    m_sender.SendImage(image.get());
    const ImagePtr received(m_listener.ReceiveImage());
    ASSERT_TRUE(received);
    EXPECT_EQ(received->GetWidth(), width);
    EXPECT_EQ(received->GetHeight(), height);
    EXPECT_EQ(received->GetPixelFormat(), format);
    EXPECT_EQ(DataOf(received.get()), DataOf(image.get()));
  }
  m_sender.SendCommand("");
  EXPECT_EQ(m_listener.ReceiveMessage(), "");
  m_sender.SendCommand("snap 3");
  EXPECT_EQ(m_listener.ReceiveMessage(), "snap 3");
  m_plug.Send(Bytes(5000, 'x'), m_port);
  EXPECT_EQ(m_listener.ReceiveMessage(), std::string(4096, 'x'));
}

TEST_F(ImageSocket, MakesNothingOfShortTransfers) {
  Listen();
  m_plug.Send(Bytes(13), m_port);
  EXPECT_EQ(Refused(), "Incomplete metadata received: expected 12 bytes, got 13\n");
  m_plug.Send(Bytes(3), m_port);
  EXPECT_EQ(Refused(), "Incomplete metadata received: expected 12 bytes, got 3\n");
  m_plug.Send(Metadata(2, 2, 4), m_port);
  m_plug.Send({}, m_port);
  EXPECT_EQ(Refused(), "");
  m_plug.Send(Metadata(2, 2, 4), m_port);
  m_plug.Send(sk_mono8, m_port);
  m_plug.Send({1, 2, 3}, m_port);
  m_plug.Send({}, m_port);
  EXPECT_EQ(Refused(),
            "Connection closed by client\nIncomplete image data received: expected 4 bytes, got "
            "3\n");
}

TEST_F(ImageSocket, TakesNoMoreThanWasAnnounced) {
  Listen();
  m_plug.Send(Metadata(2, 2, 4), m_port);
  m_plug.Send(sk_mono8, m_port);
  m_plug.Send({1, 2, 3}, m_port);
  m_plug.Send(Bytes(9000, 4), m_port);
  const ImagePtr image(m_listener.ReceiveImage());
  EXPECT_THAT(DataOf(image.get()), testing::ElementsAre(1, 2, 3, 4));
}

TEST_F(ImageSocket, LetsTheFactoryRefuseImagesThatContradictThemselves) {
  Listen();
  for (const Bytes& metadata : {Metadata(2, 2, 0), Metadata(2, 2, 3)}) {
    m_plug.Send(metadata, m_port);
    m_plug.Send(sk_mono8, m_port);
    if (metadata[8] != 0) m_plug.Send(Bytes(3), m_port);
    EXPECT_THAT(Thrown<InvalidArgumentException>([&] { m_listener.ReceiveImage(); }),
                HasSubstr("(Create)"));
  }
}

TEST_F(ImageSocket, EndsQuietlyWhenTheListenerIsClosedWhileItWaits) {
  Listen();
  m_sender.OpenSender();
  m_sender.AddDestination(m_port);
  std::promise<void> first;
  std::vector<IImage*> images;
  std::thread receiver([&] {
    images.push_back(m_listener.ReceiveImage());
    first.set_value();
    for (IImage* pImage : m_listener.ReceiveImages()) images.push_back(pImage);
  });
  const ImagePtr image = RandomImage(Mono8, 20, 20);
  m_sender.SendImage(image.get());
  first.get_future().wait();
  m_sender.SendImage(image.get());
  m_sender.SendImage(image.get());
  m_listener.CloseListener();
  receiver.join();
  ASSERT_GE(images.size(), 1u);
  for (IImage* pImage : images) {
    EXPECT_EQ(DataOf(pImage), DataOf(image.get()));
    ImageFactory::Destroy(pImage);
  }
  // From now on a failing receive is the end and no error.
  EXPECT_EQ(m_listener.ReceiveImage(), nullptr);
  EXPECT_THAT(Thrown<RuntimeException>([&] { m_listener.ReceiveMessage(); }),
              HasSubstr(": Error receiving from client: "));
}

TEST_F(ImageSocket, SaysWhenThereIsNothingToReceiveFrom) {
  EXPECT_THAT(Thrown<RuntimeException>([&] { m_listener.ReceiveImage(); }),
              HasSubstr("RuntimeException: Error receiving from client: Bad file descriptor "
                        "(Socket.cpp, ReceiveImage)"));
}

}  // namespace
}  // namespace Orvex::Testing
