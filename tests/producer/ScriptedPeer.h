#pragma once
// SPDX-License-Identifier: Apache-2.0
// A peer on the control port of a loopback address that answers as a case tells it. Bytes in and
// out are those of the wire; nothing is decoded for the cases.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

class ScriptedPeer {
 public:
  using Bytes = std::vector<uint8_t>;
  using Reply = std::function<void(const Bytes&)>;
  // Called on the peer's thread for every datagram; may answer any number of times.
  using Script = std::function<void(const Bytes& request, const Reply& reply)>;

  ScriptedPeer(const char* address, Script script) : m_script(std::move(script)) {
    m_fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(3956);
    inet_pton(AF_INET, address, &local.sin_addr);
    if (bind(m_fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
      close(m_fd);
      throw std::runtime_error("the peer's address is in use");
    }
    m_thread = std::thread([this] { Run(); });
  }
  ~ScriptedPeer() {
    m_stop = true;
    m_thread.join();
    close(m_fd);
  }

  std::vector<Bytes> Requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
  }

 private:
  void Run() {
    while (!m_stop) {
      pollfd polled{m_fd, POLLIN, 0};
      if (poll(&polled, 1, 10) <= 0) continue;
      Bytes request(2048);
      sockaddr_in from{};
      socklen_t length = sizeof from;
      const ssize_t size = recvfrom(m_fd, request.data(), request.size(), 0,
                                    reinterpret_cast<sockaddr*>(&from), &length);
      if (size <= 0) continue;
      request.resize(static_cast<size_t>(size));
      {
        const std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
      }
      m_script(request, [&](const Bytes& answer) {
        sendto(m_fd, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from), length);
      });
    }
  }

  Script m_script;
  int m_fd = -1;
  std::atomic<bool> m_stop{false};
  mutable std::mutex m_mutex;
  std::vector<Bytes> m_requests;
  std::thread m_thread;
};
