// SPDX-License-Identifier: Apache-2.0
#include "tests/network/Lab.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <utility>

namespace NetworkLab {

namespace {

std::string NamespacePath(int fd) {
  return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(fd);
}

void Enter(int nameSpace) {
  if (nameSpace >= 0 && setns(nameSpace, CLONE_NEWNET) != 0)
    throw std::runtime_error("the network namespace cannot be entered");
}

bool WriteAll(int fd, const void* data, size_t size) {
  const char* at = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = write(fd, at, size);
    if (written <= 0) return false;
    at += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

// A namespace lives as long as a descriptor of it.
UniqueFd MakeNamespace() {
  Child maker(-1, [](Child::Link& link) {
    const char made = unshare(CLONE_NEWNET) == 0 ? 1 : 0;
    link.tell(&made, 1);
    link.wait();
  });
  char made = 0;
  if (!maker.Hear(&made, 1) || made == 0) return UniqueFd();
  return UniqueFd(
      open(("/proc/" + std::to_string(maker.Pid()) + "/ns/net").c_str(), O_RDONLY | O_CLOEXEC));
}

bool InPath(const char* program) {
  return std::system(("command -v " + std::string(program) + " >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace

Child::Child(int nameSpace, const std::function<void(Link&)>& body) {
  int control[2], answers[2];
  if (pipe2(control, O_CLOEXEC) != 0 || pipe2(answers, O_CLOEXEC) != 0)
    throw std::runtime_error("no pipe");
  std::fflush(nullptr);
  m_pid = fork();
  if (m_pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(control[1]);
    close(answers[0]);
    int code = 0;
    try {
      Enter(nameSpace);
      Link link{[fd = control[0]] {
                  char byte;
                  while (read(fd, &byte, 1) > 0) {
                  }
                },
                [fd = answers[1]](const void* data, size_t size) { WriteAll(fd, data, size); }};
      body(link);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "a process of the network lab failed: %s\n", error.what());
      code = 1;
    } catch (...) {
      // Nothing may go back into the program that this process is a copy of.
      std::fprintf(stderr, "a process of the network lab failed\n");
      code = 1;
    }
    std::fflush(nullptr);
    _exit(code);
  }
  close(control[0]);
  close(answers[1]);
  m_control = UniqueFd(control[1]);
  m_answers = UniqueFd(answers[0]);
}

Child::Child(Child&& other) noexcept
    : m_pid(std::exchange(other.m_pid, -1)),
      m_control(std::move(other.m_control)),
      m_answers(std::move(other.m_answers)) {}

Child& Child::operator=(Child&& other) noexcept {
  if (this != &other) {
    End();
    m_pid = std::exchange(other.m_pid, -1);
    m_control = std::move(other.m_control);
    m_answers = std::move(other.m_answers);
  }
  return *this;
}

bool Child::Hear(void* target, size_t size, double seconds) {
  char* at = static_cast<char*>(target);
  while (size > 0) {
    pollfd polled{m_answers.Get(), POLLIN, 0};
    if (poll(&polled, 1, static_cast<int>(seconds * 1000)) <= 0) return false;
    const ssize_t got = read(m_answers.Get(), at, size);
    if (got <= 0) return false;
    at += got;
    size -= static_cast<size_t>(got);
  }
  return true;
}

double Child::CpuSeconds() const {
  clockid_t clock;
  timespec time{};
  if (clock_getcpuclockid(m_pid, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void Child::Kill() {
  if (m_pid >= 0) kill(m_pid, SIGKILL);
  End();
}

void Child::End() {
  if (m_pid < 0) return;
  m_control.Reset();
  m_answers.Reset();
  // It ends by itself; one that hangs is not waited for.
  for (int i = 0; i < 500; ++i) {
    if (waitpid(m_pid, nullptr, WNOHANG) != 0) {
      m_pid = -1;
      return;
    }
    usleep(10000);
  }
  kill(m_pid, SIGKILL);
  waitpid(m_pid, nullptr, 0);
  m_pid = -1;
}

void CallAway(int nameSpace, const std::function<void(void*)>& body, void* result, size_t size) {
  Child child(nameSpace, [&](Child::Link& link) {
    body(result);
    link.tell(result, size);
  });
  if (!child.Hear(result, size)) throw std::runtime_error("a process of the network lab failed");
}

std::string Cable::Unavailable() {
  for (const char* program : {"ip", "tc", "nft"}) {
    if (!InPath(program)) return std::string("the program ") + program + " is not installed";
  }
  const UniqueFd probe = MakeNamespace();
  if (!probe) return "this process may not make network namespaces";
  const int made = Away<int>(probe.Get(), [] {
    return std::system(
        "ip link add pa type veth peer name pb 2>/dev/null && "
        "nft add table netdev probe 2>/dev/null");
  });
  return made == 0 ? "" : "this system has no veth devices or no nftables";
}

Cable::Cable(unsigned mtu) : m_host(MakeNamespace()), m_camera(MakeNamespace()) {
  if (!m_host || !m_camera) throw std::runtime_error("no network namespaces");
  const std::string size = std::to_string(mtu);
  AtHost("ip link add va type veth peer name vb && ip link set vb netns " +
         NamespacePath(m_camera.Get()));
  const auto end = [&](const char* device, const char* address) {
    return std::string("ip addr add ") + address + "/24 broadcast 10.77.0.255 dev " + device +
           " && ip link set lo up && ip link set " + device + " mtu " + size + " up && " +
           "for f in /proc/sys/net/ipv4/conf/*/rp_filter; do echo 0 2>/dev/null > $f || true; done";
  };
  AtHost(end("va", sk_host));
  AtCamera(end("vb", sk_camera));
}

void Cable::Run(int nameSpace, const std::string& line) {
  const int code = Away<int>(nameSpace, [&line] { return std::system(line.c_str()); });
  if (code != 0) throw std::runtime_error("this failed: " + line);
}

void Cable::Lose(const std::string& match, unsigned millionths) const {
  AtCamera(
      "nft 'table netdev lab { chain out { type filter hook egress device \"vb\" priority 0; " +
      match + " numgen random mod 1000000 < " + std::to_string(millionths) + " drop; }; }'");
}

void Cable::LoseStream(unsigned millionths) const {
  Lose("udp sport != 3956", millionths);
}

void Cable::LoseAcknowledges(unsigned millionths) const {
  Lose("udp sport 3956", millionths);
}

void Cable::Shape(const char* rate) const {
  AtCamera(std::string("tc qdisc replace dev vb root tbf rate ") + rate +
           " burst 64kb latency 30ms");
}

void Cable::Plug(bool in) const {
  AtCamera(std::string("ip link set vb ") + (in ? "up" : "down"));
}

}  // namespace NetworkLab
