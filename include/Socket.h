#pragma once
// SPDX-License-Identifier: Apache-2.0
// Sends images and short text commands between processes of one machine, as UDP datagrams on
// 127.0.0.1. The application owns the object. It holds no lock: one thread receives, another may
// stop it with CloseListener; a sender belongs to one thread at a time.
//
// An image travels as a datagram of 12 bytes (width, height, size; 32 bits each), one of 8 bytes
// (pixel format) and its data in datagrams of at most 1,024 bytes, all in the host's byte order.
// Nothing is acknowledged or repeated: an image that outruns the receiver is lost.

#include <cstdint>
#include <string>
#include <vector>

#include "IImage.h"
#include "OrvexExport.h"

namespace Orvex {

struct SocketResources;

/// Every operation throws GenICam::RuntimeException with the system's error text when the system
/// refuses.
class ORVEX_API Socket {
 public:
  Socket();
  /// Closes what is still open.
  ~Socket();
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  void OpenSender();
  /// Does nothing when no sender is open.
  void CloseSender();
  /// Adds 127.0.0.1:port to those that SendCommand and SendImage serve, in this order; a port
  /// that is added twice is served twice. Destinations are never removed.
  void AddDestination(uint16_t port);
  /// Sends the text, without its terminating zero, as one datagram to each destination.
  /// @throws GenICam::InvalidArgumentException when pMessage is null.
  void SendCommand(const char* pMessage);
  /// Sends the image to each destination. The image stays the caller's.
  /// @throws GenICam::InvalidArgumentException when pImage is null.
  void SendImage(IImage* pImage);

  /// Binds the port on all addresses of this machine.
  void OpenListener(uint16_t port);
  /// Ends a receive that waits in another thread; from now on such an end is no error.
  void CloseListener();
  /// Waits for one datagram and gives its bytes, at most 4,096.
  std::string ReceiveMessage();
  /// Waits for one image, which the caller hands to ImageFactory::Destroy. Null when the listener
  /// was closed or the transfer was cut short; the latter is told on standard output.
  IImage* ReceiveImage();
  /// Receives images until ReceiveImage gives null. The caller destroys each of them.
  std::vector<IImage*> ReceiveImages();

 private:
  SocketResources* m_pSocket;
  bool m_listenerClosed = false;
};

}  // namespace Orvex
