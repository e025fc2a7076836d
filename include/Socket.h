#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Images and commands between processes of one machine.

#include <cstdint>
#include <string>
#include <vector>

#include "IImage.h"
#include "OrvexExport.h"

namespace Orvex {

struct SocketResources;

/// Sends images and short text commands between processes of one machine, as UDP datagrams on
/// 127.0.0.1. The application owns the object. It holds no lock: one thread receives, another may
/// stop it with CloseListener; a sender belongs to one thread at a time.
///
/// An image travels as a datagram of 12 bytes (width, height, size; 32 bits each), one of 8 bytes
/// (pixel format) and its data in datagrams of at most 1,024 bytes, all in the host's byte order.
/// Nothing is acknowledged or repeated: an image that outruns the receiver is lost.
///
/// Every operation throws GenICam::RuntimeException with the system's error text when the system
/// refuses.
class ORVEX_API Socket {
 public:
  /// Neither sender nor listener is open.
  Socket();
  /// Closes what is still open.
  ~Socket();
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  /// Opens what SendCommand and SendImage send from; one that is open is closed before.
  void OpenSender();
  /// Closes it. Does nothing when no sender is open.
  void CloseSender();
  /// Adds 127.0.0.1:port to those that SendCommand and SendImage serve, in this order. Destinations
  /// are never removed.
  /// @param port UDP port; one that is added twice is served twice.
  void AddDestination(uint16_t port);
  /// Sends a text as one datagram to each destination.
  /// @param pMessage The text; its terminating zero is not sent.
  /// @throws GenICam::InvalidArgumentException when pMessage is null.
  void SendCommand(const char* pMessage);
  /// Sends an image to each destination.
  /// @param pImage Stays the caller's.
  /// @throws GenICam::InvalidArgumentException when pImage is null.
  void SendImage(IImage* pImage);

  /// Opens what the Receive operations receive from, on all addresses of this machine; one that is
  /// open is closed before.
  /// @param port UDP port.
  void OpenListener(uint16_t port);
  /// Closes it and ends a receive that waits in another thread; from now on such an end is no
  /// error.
  void CloseListener();
  /// Waits for one datagram.
  /// @return Its bytes, at most 4,096.
  std::string ReceiveMessage();
  /// Waits for one image.
  /// @return The image, which the caller hands to ImageFactory::Destroy. Null when the listener was
  /// closed or the transfer was cut short; the latter is told on standard output.
  /// @throws GenICam::InvalidArgumentException when the announced size does not fit width, height
  /// and pixel format.
  IImage* ReceiveImage();
  /// Receives images until ReceiveImage gives null.
  /// @return The images; the caller hands each of them to ImageFactory::Destroy.
  std::vector<IImage*> ReceiveImages();

 private:
  SocketResources* m_pSocket;
  bool m_listenerClosed = false;
};

}  // namespace Orvex
