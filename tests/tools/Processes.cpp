// SPDX-License-Identifier: Apache-2.0
#include "Processes.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <thread>

namespace OrvexTest {
namespace {

using Clock = std::chrono::steady_clock;

// How often a file or a process is looked at: neither can be waited for together with the other.
constexpr std::chrono::milliseconds sk_lookTime{5};

std::filesystem::path NewFile() {
  std::string pattern = (std::filesystem::temp_directory_path() / "orvex-process-XXXXXX").string();
  const int fd = ::mkstemp(pattern.data());
  if (fd < 0) throw std::runtime_error("no temporary file");
  ::close(fd);
  return pattern;
}

std::string Content(const std::filesystem::path& name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

Process::Process(const std::filesystem::path& program, std::vector<std::string> arguments,
                 const std::filesystem::path& folder)
    : m_outName(NewFile()), m_errName(NewFile()) {
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (std::string& argument : arguments) words.push_back(argument.data());
  words.push_back(nullptr);
  m_id = ::fork();
  if (m_id < 0) throw std::runtime_error("cannot start a process");
  if (m_id > 0) return;
  // From here to the exec only calls that are safe after a fork.
  const int out = ::open(m_outName.c_str(), O_WRONLY | O_TRUNC);
  const int err = ::open(m_errName.c_str(), O_WRONLY | O_TRUNC);
  if (out < 0 || err < 0 || ::chdir(folder.c_str()) != 0) ::_exit(126);
  ::dup2(out, STDOUT_FILENO);
  ::dup2(err, STDERR_FILENO);
  ::execv(program.c_str(), words.data());
  ::_exit(127);
}

Process::~Process() {
  if (m_id > 0) {
    ::kill(m_id, SIGKILL);
    ::waitpid(m_id, nullptr, 0);
  }
  std::error_code ignored;
  std::filesystem::remove(m_outName, ignored);
  std::filesystem::remove(m_errName, ignored);
}

bool Process::WaitForOutput(const std::string& text, Seconds patience) {
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(patience);
  while (Out().find(text) == std::string::npos) {
    if (Clock::now() >= end || Wait(Seconds(0)) >= 0) return Out().find(text) != std::string::npos;
    std::this_thread::sleep_for(sk_lookTime);
  }
  return true;
}

int Process::Wait(Seconds patience) {
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(patience);
  while (m_id > 0) {
    int status = 0;
    if (::waitpid(m_id, &status, WNOHANG) == m_id) {
      m_exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      m_id = -1;
    } else if (Clock::now() >= end) {
      return -1;
    } else {
      std::this_thread::sleep_for(sk_lookTime);
    }
  }
  return m_exitCode;
}

void Process::Signal(int signalNumber) {
  if (m_id > 0) ::kill(m_id, signalNumber);
}

std::string Process::Out() const {
  return Content(m_outName);
}
std::string Process::Err() const {
  return Content(m_errName);
}

Result RunToEnd(const std::filesystem::path& program, std::vector<std::string> arguments,
                Seconds patience, const std::filesystem::path& folder) {
  const auto begin = Clock::now();
  Process process(program, std::move(arguments), folder);
  Result result;
  result.code = process.Wait(patience);
  result.out = process.Out();
  result.err = process.Err();
  result.time = Clock::now() - begin;
  return result;
}

}  // namespace OrvexTest
