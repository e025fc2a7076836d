// SPDX-License-Identifier: Apache-2.0
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "TavikLog/ITavikLog.h"

namespace TavikLog {
namespace {

constexpr int sk_receiveBufferBytes = 4 << 20;  // asked for; the system gives what it allows

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : m_fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(m_fd, other.m_fd);
    return *this;
  }
  ~UniqueFd() {
    if (m_fd >= 0) ::close(m_fd);
  }
  int Get() const { return m_fd; }
  explicit operator bool() const { return m_fd >= 0; }

 private:
  int m_fd = -1;
};

sockaddr_in LoopbackAddress(uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A socket bound to the port of the loopback address, or to none.
UniqueFd OpenSocket(uint16_t port) {
  UniqueFd fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd) return {};
  const sockaddr_in address = LoopbackAddress(port);
  if (::bind(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
    return {};
  return fd;
}

struct Port {
  uint16_t number;
  std::shared_ptr<UniqueFd> socket;  // shared with the thread's round, so it outlives its poll
};

// No lock is taken while another is held. The thread holds m_callbackMutex while a callback for
// arriving records runs; senders hold m_outMutex while theirs does.
class Instance final : public ITavikLog {
 public:
  Instance() : m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_out(OpenSocket(0)) {
    if (IsUsable()) m_thread = std::thread(&Instance::Run, this);
  }

  ~Instance() override {
    {
      const std::lock_guard lock(m_mutex);
      m_stop = true;
    }
    Wake();
    if (m_thread.joinable()) m_thread.join();
  }

  bool IsUsable() const { return m_wake && m_out; }

  void RegisterOutPort(uint16_t port) override {
    UniqueFd bound = OpenSocket(port);
    const std::lock_guard lock(m_outMutex);
    m_outPort = port;
    if (bound) m_out = std::move(bound);
  }

  void UnregisterOutPort(uint16_t port) override {
    UniqueFd anyPort = OpenSocket(0);
    const std::lock_guard lock(m_outMutex);
    if (m_outPort != port) return;
    m_outPort = 0;
    m_out = std::move(anyPort);
  }

  bool RegisterInPort(uint16_t port) override {
    {
      const std::lock_guard lock(m_mutex);
      if (m_inPorts.size() >= sk_maxPorts) return false;
    }
    UniqueFd bound = OpenSocket(port);
    if (!bound) return false;
    ::setsockopt(bound.Get(), SOL_SOCKET, SO_RCVBUF, &sk_receiveBufferBytes,
                 sizeof(sk_receiveBufferBytes));
    {
      const std::lock_guard lock(m_mutex);
      m_inPorts.push_back({port, std::make_shared<UniqueFd>(std::move(bound))});
    }
    Wake();
    return true;
  }

  void UnregisterInPort(uint16_t port) override {
    {
      const std::lock_guard lock(m_mutex);
      std::erase_if(m_inPorts, [port](const Port& entry) { return entry.number == port; });
    }
    Wake();
  }

  void RegisterReader(uint16_t port) override {
    const std::lock_guard lock(m_outMutex);
    if (m_readers.size() >= sk_maxPorts) return;
    if (std::find(m_readers.begin(), m_readers.end(), port) == m_readers.end())
      m_readers.push_back(port);
  }

  void RegisterLogSink(ILogSink* pSink) override {
    const std::lock_guard lock(m_callbackMutex);
    m_pSink = pSink;
  }

  void RegisterFilter(IFilter* pFilter) override {
    const std::lock_guard lock(m_callbackMutex);
    m_pFilter = pFilter;
  }

  void RegisterFilterOut(IFilterOut* pFilter) override {
    const std::lock_guard lock(m_outMutex);
    m_pFilterOut = pFilter;
  }

  bool Send(const std::string& text) override {
    if (text.size() > sk_maxRecordBytes) return false;
    const std::lock_guard lock(m_outMutex);
    if (m_pFilterOut != nullptr && m_pFilterOut->OnFilterOut(text) == 0) return false;
    bool all = true;
    for (const uint16_t reader : m_readers) all &= SendTo(reader, text);
    return all;
  }

 private:
  bool SendTo(uint16_t port, const std::string& text) const {
    const sockaddr_in address = LoopbackAddress(port);
    ssize_t sent = -1;
    // An earlier record that met a closed port comes back as an error of this one: try again once.
    for (int attempt = 0; attempt < 2 && sent < 0; ++attempt) {
      sent = ::sendto(m_out.Get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                      reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    }
    return sent == static_cast<ssize_t>(text.size());
  }

  void Wake() const {
    const uint64_t one = 1;
    if (m_wake) static_cast<void>(!::write(m_wake.Get(), &one, sizeof(one)));
  }

  // The thread: waits until a port has something or the ports have changed.
  void Run() {
    ::pthread_setname_np(::pthread_self(), "tavik-log");
    std::vector<std::shared_ptr<UniqueFd>> sockets;
    std::vector<pollfd> polls;
    std::string text;
    for (;;) {
      sockets.clear();
      {
        const std::lock_guard lock(m_mutex);
        if (m_stop) return;
        for (const Port& port : m_inPorts) sockets.push_back(port.socket);
      }
      polls.assign(1, {m_wake.Get(), POLLIN, 0});
      for (const auto& socket : sockets) polls.push_back({socket->Get(), POLLIN, 0});
      if (::poll(polls.data(), polls.size(), -1) < 0) continue;
      uint64_t count = 0;
      if (polls[0].revents != 0) static_cast<void>(!::read(m_wake.Get(), &count, sizeof(count)));
      for (size_t i = 1; i < polls.size(); ++i) {
        if (polls[i].revents != 0 && Receive(polls[i].fd, text)) Deliver(text);
      }
    }
  }

  static bool Receive(int fd, std::string& text) {
    text.resize(sk_maxRecordBytes);
    const ssize_t size = ::recv(fd, text.data(), text.size(), MSG_DONTWAIT);
    if (size < 0) return false;
    text.resize(static_cast<size_t>(size));
    return true;
  }

  void Deliver(const std::string& text) {
    const std::lock_guard lock(m_callbackMutex);
    if (m_pFilter != nullptr && m_pFilter->OnFilter(text) == 0) return;
    if (m_pSink != nullptr) m_pSink->OnLog(text);
  }

  const UniqueFd m_wake;
  std::mutex m_mutex;  // m_stop, m_inPorts
  bool m_stop = false;
  std::vector<Port> m_inPorts;
  std::mutex m_callbackMutex;  // m_pSink, m_pFilter
  ILogSink* m_pSink = nullptr;
  IFilter* m_pFilter = nullptr;
  std::mutex m_outMutex;  // all that follows but the thread
  UniqueFd m_out;
  uint16_t m_outPort = 0;
  std::vector<uint16_t> m_readers;
  IFilterOut* m_pFilterOut = nullptr;
  std::thread m_thread;
};

std::mutex g_instanceMutex;
std::unique_ptr<Instance> g_pInstance;  // by g_instanceMutex

}  // namespace

ITavikLog* Init() {
  const std::lock_guard lock(g_instanceMutex);
  if (!g_pInstance) g_pInstance = std::make_unique<Instance>();
  if (!g_pInstance->IsUsable()) g_pInstance.reset();
  return g_pInstance.get();
}

void Deinit() {
  const std::lock_guard lock(g_instanceMutex);
  g_pInstance.reset();
}

}  // namespace TavikLog
