// SPDX-License-Identifier: Apache-2.0
// `orvex log`: the log records of other processes, as they come. With `orvex sim` the one place of
// the program that uses more than an installed SDK offers: the log transport.
#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <ostream>
#include <stop_token>

#include "TavikLog/ITavikLog.h"
#include "TavikLog/LogRecord.h"
#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Stop.h"

namespace OrvexTools {
namespace {

constexpr const char* sk_configurationFile = "tavik_log.conf";
constexpr const char* sk_noPort =
    "name the port with --port, or start this in the folder of a {} whose \"ports\" name it as "
    "\"qx_in\" ({})";

struct Options {
  std::optional<std::uint16_t> port;
  std::string level = "VERBOSE";
  std::uint64_t count = 0;
};

// Null when it is no object or has no such member.
Record Member(const Record& object, const char* key) {
  const auto member = object.find(key);
  return member == object.end() ? Record() : *member;
}

// Every log record of the library goes to the port that its configuration calls "qx_in".
std::uint16_t ConfiguredPort() {
  std::ifstream file(sk_configurationFile);
  if (!file) throw Misuse(fmt::format(sk_noPort, sk_configurationFile, "there is none here"));
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const Record document = Record::parse(text, nullptr, false);
  if (document.is_discarded())
    throw Misuse(fmt::format(sk_noPort, sk_configurationFile, "the one here is no JSON"));
  const Record port = Member(Member(document, "ports"), "qx_in");
  if (!port.is_number_unsigned() || port == 0 || port > 65535)
    throw Misuse(fmt::format(sk_noPort, sk_configurationFile, "the one here does not"));
  return port.get<std::uint16_t>();
}

std::int32_t LevelOf(const std::string& text) {
  if (const auto level = TavikLog::LevelNamed(text)) return *level;
  std::int32_t number = 0;
  const char* pEnd = text.data() + text.size();
  const auto [pRest, error] = std::from_chars(text.data(), pEnd, number);
  if (error != std::errc() || pRest != pEnd) {
    throw Misuse(
        fmt::format("there is no level '{}'; levels are FATAL, ERROR, WARNING, INFO, DEBUG and "
                    "VERBOSE (100 to 600)",
                    text));
  }
  return number;
}

// Whoever sends a record may put anything into its texts; on a terminal a control character could
// do more than show.
std::string Shown(const std::string& text) {
  std::string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const bool c1 =
        c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (c1) {
      shown += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[++i]));
    } else if (c < 0x20 || c == 0x7F) {
      shown += c == '\n' ? "\\n" : c == '\t' ? " " : fmt::format("\\x{:02x}", c);
    } else {
      shown += text[i];
    }
  }
  return shown;
}

// Prints what arrives, on the transport's thread: while the terminal is slow the system drops
// records, and whoever logs does not wait.
class Printer : public TavikLog::ILogSink {
 public:
  Printer(const Output& output, std::int32_t level, std::uint64_t count)
      : m_output(output), m_level(level), m_left(count) {}

  void OnLog(const std::string& text) override {
    const std::optional<TavikLog::LogRecord> record = TavikLog::ParseRecord(text);
    if (!record || record->level > m_level || m_done.stop_requested()) return;
    Print(*record);
    if (m_left > 0 && --m_left == 0) m_done.request_stop();
  }

  std::stop_token Done() const { return m_done.get_token(); }

 private:
  void Print(TavikLog::LogRecord record) {
    if (m_output.json) {
      const Record row{{"time_ms", record.milliseconds},
                       {"level", record.level},
                       {"level_name", TavikLog::LevelName(record.level)},
                       {"module", record.module},
                       {"serial", record.userId},
                       {"message", record.message}};
      m_output.out << row.dump() << std::endl;
      return;
    }
    for (std::string* pText : {&record.userId, &record.module, &record.message})
      *pText = Shown(*pText);
    m_output.out << TavikLog::RecordText(record) << std::flush;
  }

  const Output& m_output;
  const std::int32_t m_level;
  std::uint64_t m_left;  // records still to come, 0 for no limit
  std::stop_source m_done;
};

// The log transport, open while this lives.
class Transport {
 public:
  Transport() : m_pLog(TavikLog::Init()) {
    if (m_pLog == nullptr) throw Failure("this computer lets no socket be opened for log records");
  }
  ~Transport() { TavikLog::Deinit(); }
  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;
  TavikLog::ITavikLog* operator->() { return m_pLog; }

 private:
  TavikLog::ITavikLog* m_pLog;
};

void RunLog(const Options& options, const Output& output) {
  const std::int32_t level = LevelOf(options.level);
  const std::uint16_t port = options.port ? *options.port : ConfiguredPort();
  Printer printer(output, level, options.count);
  Transport transport;
  transport->RegisterLogSink(&printer);
  if (!transport->RegisterInPort(port)) {
    throw Failure(
        fmt::format("port {} is taken: another `orvex log`, or the program that logs, has it; "
                    "the port for readers is \"qx_in\" of {}",
                    port, sk_configurationFile));
  }
  output.err << fmt::format("listening for log records on port {}; Ctrl-C ends\n", port);
  output.err.flush();
  WaitForStop(printer.Done());
}

}  // namespace

void AddLogCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "log", "Show the log records of programs that use the library, until Ctrl-C");
  pCommand->add_flag("--json", output.json, "Write each record as one line of JSON");
  pCommand
      ->add_option("--port", pOptions->port,
                   "UDP port of 127.0.0.1 that records are sent to; if not given, \"qx_in\" of "
                   "tavik_log.conf in this folder")
      ->check(CLI::Range(1, 65535));
  pCommand
      ->add_option("--level", pOptions->level,
                   "Leave out what is less important: FATAL, ERROR, WARNING, INFO, DEBUG or "
                   "VERBOSE, or its number")
      ->capture_default_str();
  pCommand->add_option("-n,--count", pOptions->count, "Stop after so many records")
      ->check(CLI::PositiveNumber);
  pCommand->callback([pOptions, &output] { RunLog(*pOptions, output); });
}

}  // namespace OrvexTools
