// SPDX-License-Identifier: Apache-2.0
// `orvex send FILE...` and `orvex receive`: pictures between processes of this computer.
#include <fmt/format.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Images.h"
#include "tools/PictureReader.h"
#include "tools/Stop.h"

namespace OrvexTools {
namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  std::vector<std::string> files;
  std::vector<std::uint16_t> ports;
  std::uint64_t count = 1;
  double rate = 0;
  double patienceSeconds = 5;
  std::string file;
};

constexpr Field sk_columns[] = {
    {"width", "WIDTH"}, {"height", "HEIGHT"}, {"pixel_format", "FORMAT"},
    {"bytes", "BYTES"}, {"crc32", "CRC-32"},  {"file", "FILE"},
};

constexpr Field sk_sentColumns[] = {
    {"file", "FILE"},   {"width", "WIDTH"},  {"height", "HEIGHT"}, {"pixel_format", "FORMAT"},
    {"bytes", "BYTES"}, {"crc32", "CRC-32"}, {"sent", "SENT"},
};

constexpr Field sk_fields[] = {
    {"received", "Received"},
    {"cut_short", "Transfers cut short"},
    {"lost_datagrams", "Datagrams dropped"},
};

std::string Checksum(Orvex::IImage& image) {
  if (image.GetSizeFilled() == 0) return "00000000";
  return fmt::format("{:08x}", Orvex::CalculateCRC32(image.GetData(), image.GetSizeFilled()));
}

void RunSend(const Options& options, const Output& output) {
  // The factory makes images only while a system is open.
  Library library;
  Orvex::Socket socket;
  socket.OpenSender();
  for (const std::uint16_t port : options.ports) socket.AddDestination(port);
  Record rows = Record::array();
  for (const std::string& file : options.files) {
    const LoadedPicture picture = ReadPicture(file);
    const auto format = FormatByName(picture.format);
    if (!format)
      throw Failure(fmt::format("{} has the unknown pixel format '{}'", file, picture.format));
    const OwnedImage image(Orvex::ImageFactory::Create(picture.bytes.data(), picture.bytes.size(),
                                                       picture.width, picture.height, *format));
    Record row = DescribeImage(*image);
    row["file"] = file;
    row["crc32"] = Checksum(*image);
    std::uint64_t sent = 0;
    auto next = Clock::now();
    while (sent < options.count && !StopRequested()) {
      socket.SendImage(image.get());
      ++sent;
      if (options.rate <= 0) continue;
      next += std::chrono::duration_cast<Clock::duration>(
          std::chrono::duration<double>(1 / options.rate));
      std::this_thread::sleep_until(next);
    }
    row["sent"] = sent;
    rows.push_back(std::move(row));
  }
  socket.CloseSender();
  PrintTable(output, rows, sk_sentColumns, "");
}

// Datagrams that the kernel dropped because the socket on this port was full.
std::int64_t DroppedDatagrams(std::uint16_t port) {
  std::ifstream table("/proc/net/udp");
  const std::string wanted = fmt::format(":{:04X}", port);
  std::string line;
  while (std::getline(table, line)) {
    std::istringstream words(line);
    std::string number;
    std::string local;
    words >> number >> local;
    if (!local.ends_with(wanted)) continue;
    return std::atoll(line.substr(line.find_last_of(' ', line.find_last_not_of(' '))).c_str());
  }
  return 0;
}

// The library tells transfers that were cut short on standard output, one line for each stray
// datagram; they are counted here instead, so that the output stays what was asked for.
class QuietStandardOutput {
 public:
  QuietStandardOutput() : m_pBefore(std::cout.rdbuf(nullptr)) {}
  ~QuietStandardOutput() { std::cout.rdbuf(m_pBefore); }
  QuietStandardOutput(const QuietStandardOutput&) = delete;
  QuietStandardOutput& operator=(const QuietStandardOutput&) = delete;

 private:
  std::streambuf* m_pBefore;
};

// Receives pictures until there are enough, a stop is asked for, or nothing more comes. A receive
// waits without limit; a thread ends it when one of the other two happens.
class Receiver {
 public:
  explicit Receiver(const Options& options) : m_options(options), m_last(Never()) {
    m_socket.OpenListener(options.ports.front());
    m_watch = std::jthread([this](const std::stop_token& done) { Watch(done); });
  }

  void Run() {
    const QuietStandardOutput quiet;
    while (m_rows.size() < m_options.count && !m_silent && !StopRequested()) {
      const OwnedImage image(m_socket.ReceiveImage());
      if (m_silent || StopRequested()) break;
      m_last = Clock::now();
      // What follows a cut stands where a picture should begin, up to the next that does.
      if (!image) {
        m_cut += m_inStep ? 1 : 0;
        m_inStep = false;
        continue;
      }
      m_inStep = true;
      Take(*image);
    }
    if (!m_silent && !StopRequested()) CountDropped();
  }

  void Report(const Output& output) const {
    Record record{{"received", m_rows.size()},
                  {"cut_short", m_cut},
                  {"lost_datagrams", m_lostDatagrams.load()}};
    if (output.json) {
      record["pictures"] = m_rows;
      PrintRecord(output, record, sk_fields);
    } else {
      if (!m_rows.empty() && m_rows.size() <= sk_listedPictures)
        PrintTable(output, m_rows, sk_columns, "");
      PrintRecord(output, record, sk_fields);
    }
    // Datagrams carry no numbers: a picture with a gap takes its last bytes from the next one.
    const bool doubtful = m_cut > 0 || m_lostDatagrams > 0;
    const std::string count =
        fmt::format("{} of {} pictures came{}", m_rows.size(), m_options.count,
                    doubtful ? ", of which the CRC-32 tells the damaged ones" : "");
    if (StopRequested()) throw Failure("interrupted; " + count);
    if (m_rows.size() < m_options.count)
      throw Failure(
          fmt::format("{}; let the sender pause with --rate, or enlarge the receive buffer with "
                      "`sysctl -w net.core.rmem_max=67108864`",
                      count));
    if (doubtful) output.err << "orvex: " << count << '\n';
  }

 private:
  static constexpr std::size_t sk_listedPictures = 50;

  static Clock::time_point Never() { return Clock::time_point::max(); }

  void CountDropped() { m_lostDatagrams = DroppedDatagrams(m_options.ports.front()); }

  void Take(Orvex::IImage& image) {
    Record row = DescribeImage(image);
    row["crc32"] = Checksum(image);
    if (!m_options.file.empty()) {
      const auto name = NumberedName(m_options.file, m_rows.size(), m_options.count);
      row["file"] = name.string();
      row["saved_as"] = SaveImage(name, image, DescribeImage(image));
    }
    m_rows.push_back(std::move(row));
  }

  void Watch(const std::stop_token& done) {
    const std::chrono::duration<double> patience(m_options.patienceSeconds);
    while (!done.stop_requested()) {
      if (WaitForStop(done, sk_watchStep)) break;
      const auto last = m_last.load();
      if (last != Never() && Clock::now() - last >= patience) {
        m_silent = true;
        break;
      }
    }
    if (done.stop_requested()) return;
    CountDropped();  // a closed socket is not listed any more
    m_socket.CloseListener();
  }

  static constexpr Milliseconds sk_watchStep{100};

  const Options& m_options;
  Orvex::Socket m_socket;
  Record m_rows = Record::array();
  std::uint64_t m_cut = 0;
  std::atomic<std::int64_t> m_lostDatagrams{0};
  bool m_inStep = true;
  std::atomic<bool> m_silent{false};
  std::atomic<Clock::time_point> m_last;  // when something came; Never() before the first
  std::jthread m_watch;                   // last, so that it ends first
};

void RunReceive(const Options& options, const Output& output) {
  if (!options.file.empty()) KindOf(options.file);
  Library library;
  Receiver receiver(options);
  receiver.Run();
  receiver.Report(output);
}

}  // namespace

void AddSendCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "send", "Send picture files to `orvex receive` or another process here");
  AddJsonFlag(*pCommand, output);
  pCommand
      ->add_option("FILE", pOptions->files,
                   "FILE.png, FILE.tiff, or FILE.raw with FILE.raw.json beside it")
      ->required();
  pCommand
      ->add_option("--port", pOptions->ports,
                   "UDP port of the receiver; may be given several times")
      ->required();
  pCommand->add_option("-n,--count", pOptions->count, "How often to send each")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  pCommand
      ->add_option("--rate", pOptions->rate,
                   "Pictures a second at most; without it they follow one another without a pause, "
                   "which a slow receiver loses")
      ->check(CLI::Range(0.001, 1e6));
  pCommand->callback([pOptions, &output] { RunSend(*pOptions, output); });
}

void AddReceiveCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "receive", "Receive pictures from `orvex send` or another process here");
  AddJsonFlag(*pCommand, output);
  pCommand->add_option("--port", pOptions->ports, "UDP port to listen on")->required()->expected(1);
  pCommand->add_option("-n,--count", pOptions->count, "How many pictures")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  pCommand
      ->add_option("--timeout", pOptions->patienceSeconds,
                   "Seconds of silence after the first picture after which to give up")
      ->check(CLI::Range(0.1, 86'400.0))
      ->capture_default_str();
  pCommand->add_option("-o,--output", pOptions->file,
                       "Where to save them: FILE.png, FILE.tiff or FILE.raw");
  pCommand->callback([pOptions, &output] { RunReceive(*pOptions, output); });
}

}  // namespace OrvexTools
