#pragma once
// SPDX-License-Identifier: Apache-2.0
// A stream channel over TCP (docs/protocols.md): listens, checks the greetings of hosts, and holds
// the one connection that was accepted. The control thread accepts and watches, the streaming
// thread sends records; Close and the getters may be called from any thread.

#include <poll.h>

#include <atomic>
#include <mutex>

#include "gigevision/TcpStream.h"
#include "simulator/Frame.h"
#include "simulator/Network.h"

namespace OrvexSim {

// One accepted connection. Shared, so that it outlives its replacement while it is being used.
class TcpConnection {
 public:
  explicit TcpConnection(UniqueFd fd) : m_fd(std::move(fd)) {}
  int Descriptor() const { return m_fd.Get(); }
  void End();  // wakes a sender; any thread
  bool Ended() const { return m_ended; }
  // Sends records [first, last] of the frame. Waits while the host takes nothing; false when the
  // connection has ended. `waited` becomes true when it had to wait.
  bool SendRecords(const Frame& frame, uint32_t first, uint32_t last, bool previousDropped,
                   bool& waited);

 private:
  const UniqueFd m_fd;
  std::atomic<bool> m_ended = false;
};

class TcpChannel {
 public:
  explicit TcpChannel(CameraCore& camera) : m_camera(camera) {}
  void Listen(uint32_t ip);  // throws std::system_error; ends what was connected
  uint16_t Port() const { return LocalPort(m_listener.Get()); }
  bool Accepted() const { return Connection() != nullptr; }
  std::shared_ptr<TcpConnection> Connection() const;  // null when there is none
  void SetKey(uint32_t key) { m_key = key; }          // 0: nobody may connect
  void Close();                                       // the connection and the key

  // ---- control thread ----
  void AddPolls(std::vector<pollfd>& polls) const;
  void Service();  // after a poll; looks at everything without waiting
  std::optional<Clock::time_point> Deadline() const;

 private:
  struct Greeting {
    UniqueFd fd;
    uint32_t ip = 0;
    std::vector<uint8_t> bytes;
    Clock::time_point deadline;
  };
  void Accept();
  bool Read(Greeting& greeting);  // false when it is done with
  void Answer(Greeting& greeting);
  void WatchConnection();

  CameraCore& m_camera;
  UniqueFd m_listener;
  std::atomic<uint32_t> m_key = 0;
  std::vector<Greeting> m_greetings;  // control thread only
  mutable std::mutex m_mutex;         // guards m_connection; taken last
  std::shared_ptr<TcpConnection> m_connection;
};

}  // namespace OrvexSim
