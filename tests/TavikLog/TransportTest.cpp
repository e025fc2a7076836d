// SPDX-License-Identifier: Apache-2.0
// Records between processes: plain datagrams on the loopback address, which the tests send and
// receive with sockets of their own.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "TavikLog/ITavikLog.h"

namespace {

using namespace std::chrono_literals;

constexpr uint16_t sk_in = 45311, sk_out = 45312, sk_reader = 45313;

class Socket {
 public:
  explicit Socket(uint16_t port) : m_fd(::socket(AF_INET, SOCK_DGRAM, 0)) {
    const sockaddr_in address = Address(port);
    m_bound = ::bind(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~Socket() { ::close(m_fd); }

  static sockaddr_in Address(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }
  bool IsBound() const { return m_bound; }
  void Send(uint16_t port, const std::string& text) const {
    const sockaddr_in address = Address(port);
    ::sendto(m_fd, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&address),
             sizeof(address));
  }
  // The next datagram and the port it came from; "" after ten seconds.
  std::string Receive(uint16_t* pFrom = nullptr) const {
    pollfd wait{m_fd, POLLIN, 0};
    if (::poll(&wait, 1, 10000) != 1) return "";
    std::string text(65536, 0);
    sockaddr_in from{};
    socklen_t size = sizeof(from);
    const ssize_t got =
        ::recvfrom(m_fd, text.data(), text.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    if (pFrom != nullptr) *pFrom = ntohs(from.sin_port);
    return text.substr(0, static_cast<size_t>(got));
  }

 private:
  int m_fd;
  bool m_bound = false;
};

class Sink : public TavikLog::ILogSink, public TavikLog::IFilter, public TavikLog::IFilterOut {
 public:
  void OnLog(const std::string& text) override {
    const std::lock_guard lock(m_mutex);
    m_texts.push_back(text);
    m_changed.notify_all();
  }
  int OnFilter(const std::string& text) override { return text != "drop in"; }
  int OnFilterOut(const std::string& text) override { return text != "drop out"; }
  std::vector<std::string> WaitFor(size_t count) {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, 10s, [&] { return m_texts.size() >= count; });
    return m_texts;
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<std::string> m_texts;
};

class Transport : public testing::Test {
 protected:
  Transport() : m_log(*TavikLog::Init()) {}
  ~Transport() override { TavikLog::Deinit(); }

  TavikLog::ITavikLog& m_log;
  Sink m_sink;
};

TEST_F(Transport, SendsEachRecordToEachReaderFromItsPort) {
  Socket reader(sk_reader);
  Socket second(sk_reader + 1);
  m_log.RegisterOutPort(sk_out);
  m_log.RegisterReader(sk_reader);
  m_log.RegisterReader(sk_reader + 1);
  m_log.RegisterReader(sk_reader);  // once is enough
  m_log.RegisterFilterOut(&m_sink);
  EXPECT_FALSE(m_log.Send("drop out"));
  EXPECT_TRUE(m_log.Send("record"));
  EXPECT_TRUE(m_log.Send("last"));
  uint16_t from = 0;
  EXPECT_EQ(reader.Receive(&from), "record");
  EXPECT_EQ(from, sk_out);
  EXPECT_EQ(reader.Receive(), "last");
  EXPECT_EQ(second.Receive(), "record");
}

TEST_F(Transport, DeliversWhatArrivesOnItsPorts) {
  Socket sender(0);
  ASSERT_TRUE(m_log.RegisterInPort(sk_in));
  ASSERT_TRUE(m_log.RegisterInPort(sk_in + 4));
  m_log.RegisterFilter(&m_sink);
  m_log.RegisterLogSink(&m_sink);
  sender.Send(sk_in, "one");
  sender.Send(sk_in, "drop in");
  ASSERT_EQ(m_sink.WaitFor(1).size(), 1u);
  sender.Send(sk_in + 4, std::string(60000, 'x'));
  EXPECT_EQ(m_sink.WaitFor(2), (std::vector<std::string>{"one", std::string(60000, 'x')}));
  // A port that was given back can be taken by others.
  m_log.UnregisterInPort(sk_in);
  sender.Send(sk_in + 4, "after");
  ASSERT_EQ(m_sink.WaitFor(3).size(), 3u);
  EXPECT_TRUE(Socket(sk_in).IsBound());
}

// However many there are at once, and whoever has the port.
TEST_F(Transport, BringsItsOwnRecordsBackWithoutLoss) {
  for (const bool taken : {false, true}) {
    Socket other(taken ? sk_in + 6 : 0);
    const auto port = static_cast<uint16_t>(taken ? sk_in + 6 : sk_in);
    EXPECT_EQ(m_log.RegisterInPort(port), !taken);
    m_log.RegisterReader(port);
    Sink sink;
    m_log.RegisterLogSink(&sink);
    for (int i = 0; i < 5000; ++i) EXPECT_TRUE(m_log.Send(std::to_string(i)));
    m_log.UnregisterInPort(port);
    m_log.RegisterLogSink(nullptr);
    const std::vector<std::string> texts = sink.WaitFor(5000);
    ASSERT_EQ(texts.size(), 5000u);
    EXPECT_EQ(texts.back(), "4999");
  }
}

TEST_F(Transport, DeliversWhatHadArrivedBeforeItsEnd) {
  for (const bool unregister : {true, false}) {
    TavikLog::ITavikLog& log = *TavikLog::Init();
    Socket sender(0);
    Sink sink;
    ASSERT_TRUE(log.RegisterInPort(sk_in));
    log.RegisterLogSink(&sink);
    for (int i = 0; i < 20; ++i) sender.Send(sk_in, "foreign");
    if (unregister) {
      log.UnregisterInPort(sk_in);
      EXPECT_EQ(sink.WaitFor(0).size(), 20u);
    }
    TavikLog::Deinit();
    EXPECT_EQ(sink.WaitFor(0).size(), 20u);
  }
}

TEST_F(Transport, NeverWaitsForAReader) {
  Socket sleeping(sk_reader);  // never read: its queue is full after some hundred records
  m_log.RegisterReader(sk_reader);
  m_log.RegisterReader(sk_reader + 1);  // nobody there
  const auto begin = std::chrono::steady_clock::now();
  const std::string record(1000, 'x');
  for (int i = 0; i < 20000; ++i) m_log.Send(record);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
}

TEST_F(Transport, RefusesWhatNoDatagramHoldsAndTakenPorts) {
  m_log.RegisterReader(sk_reader);
  EXPECT_FALSE(m_log.Send(std::string(TavikLog::sk_maxRecordBytes + 1, 'x')));
  Socket other(sk_in);
  EXPECT_FALSE(m_log.RegisterInPort(sk_in));
  m_log.RegisterOutPort(sk_in);  // falls back to a free port
  Socket reader(sk_reader);
  EXPECT_TRUE(m_log.Send("x"));
  EXPECT_EQ(reader.Receive(), "x");
}

TEST_F(Transport, HasOneInstance) {
  EXPECT_EQ(TavikLog::Init(), &m_log);
}

}  // namespace
