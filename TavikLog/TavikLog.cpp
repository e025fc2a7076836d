// SPDX-License-Identifier: Apache-2.0
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
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

bool Contains(const std::vector<uint16_t>& ports, uint16_t port) {
  return std::find(ports.begin(), ports.end(), port) != ports.end();
}

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
      const std::lock_guard lock(m_outMutex);
      if (m_ownPorts.size() >= sk_maxPorts) return false;
      m_ownPorts.push_back(port);
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
      const std::lock_guard lock(m_outMutex);
      std::erase(m_ownPorts, port);
    }
    Flush();
    {
      const std::lock_guard lock(m_mutex);
      std::erase_if(m_inPorts, [port](const Port& entry) { return entry.number == port; });
    }
    Wake();
  }

  void RegisterReader(uint16_t port) override {
    const std::lock_guard lock(m_outMutex);
    if (m_readers.size() < sk_maxPorts && !Contains(m_readers, port)) m_readers.push_back(port);
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
    bool all = true;
    bool own = false;
    {
      const std::lock_guard lock(m_outMutex);
      if (m_pFilterOut != nullptr && m_pFilterOut->OnFilterOut(text) == 0) return false;
      for (const uint16_t reader : m_readers) {
        if (Contains(m_ownPorts, reader)) {
          own = true;
        } else {
          all &= SendTo(reader, text);
        }
      }
    }
    if (own) all &= SendToSelf(text);
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

  bool SendToSelf(const std::string& text) {
    {
      const std::lock_guard lock(m_mutex);
      if (m_ownBytes + text.size() > sk_maxOwnRecordBytes) return false;
      m_ownBytes += text.size();
      m_ownRecords.push_back(text);
      if (m_ownRecords.size() > 1) return true;  // the thread was woken for the first
    }
    Wake();
    return true;
  }

  // Waits until the thread has delivered what has arrived by now.
  void Flush() {
    std::unique_lock lock(m_mutex);
    const uint64_t wanted = ++m_flushWanted;
    Wake();
    m_flushed.wait(lock, [&] { return m_flushDone >= wanted; });
  }

  void Wake() const {
    const uint64_t one = 1;
    if (m_wake) static_cast<void>(!::write(m_wake.Get(), &one, sizeof(one)));
  }

  // The thread: waits until there is a record or the ports have changed.
  void Run() {
    ::pthread_setname_np(::pthread_self(), "tavik-log");
    std::vector<std::shared_ptr<UniqueFd>> sockets;
    std::vector<std::string> own;
    std::vector<pollfd> polls;
    for (;;) {
      uint64_t flush = 0;
      bool stop = false;
      sockets.clear();
      own.clear();
      {
        const std::lock_guard lock(m_mutex);
        stop = m_stop;
        flush = m_flushWanted;
        own.swap(m_ownRecords);
        m_ownBytes = 0;
        for (const Port& port : m_inPorts) sockets.push_back(port.socket);
      }
      for (const std::string& text : own) Deliver(text);
      for (const auto& socket : sockets) DeliverFrom(socket->Get());
      if (flush != m_flushDone) {
        const std::lock_guard lock(m_mutex);
        m_flushDone = flush;
        m_flushed.notify_all();
      }
      if (stop) return;
      polls.assign(1, {m_wake.Get(), POLLIN, 0});
      for (const auto& socket : sockets) polls.push_back({socket->Get(), POLLIN, 0});
      if (::poll(polls.data(), polls.size(), -1) < 0) continue;
      uint64_t count = 0;
      if (polls[0].revents != 0) static_cast<void>(!::read(m_wake.Get(), &count, sizeof(count)));
    }
  }

  // Delivers what waits at one port, but lets the others have their turn.
  void DeliverFrom(int fd) {
    for (int i = 0; i < sk_maxRecordsOfARound; ++i) {
      const ssize_t size = ::recv(fd, m_received.data(), m_received.size(), MSG_DONTWAIT);
      if (size < 0) return;
      Deliver(std::string(m_received.data(), static_cast<size_t>(size)));
    }
  }

  void Deliver(const std::string& text) {
    const std::lock_guard lock(m_callbackMutex);
    if (m_pFilter != nullptr && m_pFilter->OnFilter(text) == 0) return;
    if (m_pSink != nullptr) m_pSink->OnLog(text);
  }

  const UniqueFd m_wake;
  std::mutex m_mutex;  // all up to m_flushed
  bool m_stop = false;
  std::vector<Port> m_inPorts;
  std::vector<std::string> m_ownRecords;  // for this process's sink
  size_t m_ownBytes = 0;                  // of them
  uint64_t m_flushWanted = 0;
  uint64_t m_flushDone = 0;  // written by the thread
  std::condition_variable m_flushed;
  std::vector<char> m_received = std::vector<char>(sk_maxRecordBytes);  // the thread's
  std::mutex m_callbackMutex;                                           // m_pSink, m_pFilter
  ILogSink* m_pSink = nullptr;
  IFilter* m_pFilter = nullptr;
  std::mutex m_outMutex;  // all that follows but the thread
  UniqueFd m_out;
  uint16_t m_outPort = 0;
  std::vector<uint16_t> m_readers;
  std::vector<uint16_t> m_ownPorts;  // in-ports, had or not
  IFilterOut* m_pFilterOut = nullptr;
  std::thread m_thread;
};

std::mutex g_instanceMutex;

// By g_instanceMutex. Never destroyed, so that records may come while the process ends.
std::unique_ptr<Instance>& TheInstance() {
  static auto* sk_pInstance = new std::unique_ptr<Instance>;
  return *sk_pInstance;
}

}  // namespace

ITavikLog* Init() {
  const std::lock_guard lock(g_instanceMutex);
  std::unique_ptr<Instance>& pInstance = TheInstance();
  if (!pInstance) pInstance = std::make_unique<Instance>();
  if (!pInstance->IsUsable()) pInstance.reset();
  return pInstance.get();
}

void Deinit() {
  const std::lock_guard lock(g_instanceMutex);
  TheInstance().reset();
}

}  // namespace TavikLog
