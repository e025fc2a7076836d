#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the benchmarks measure, as rows: printed one by one, and written as JSON for those who
// compare runs. One object per program, used by its main thread.

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace Bench {

class Rows {
 public:
  // `argument` is the folder for GROUP.json, or null for none.
  Rows(std::string group, const char* argument) : m_group(std::move(group)) {
    if (argument != nullptr) m_folder = argument;
    std::printf("%-52s %12s %-8s %-34s %8s %8s\n", m_group.c_str(), "value", "unit", "against",
                "ratio", "goal");
  }
  ~Rows() {
    if (!m_folder.empty()) Write();
  }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  // A figure, what it is compared with, how many times better than that it is, and how many times
  // it should be; 0 where there is no peer or no goal.
  void Add(const std::string& name, double value, const std::string& unit,
           const std::string& against = "", double ratio = 0, double goal = 0) {
    m_rows.push_back({name, value, unit, against, ratio, goal});
    const auto number = [](double v) { return v > 0 ? Text(v) : std::string("-"); };
    std::printf("%-52s %12.4g %-8s %-34s %8s %8s %s\n", name.c_str(), value, unit.c_str(),
                against.c_str(), number(ratio).c_str(), number(goal).c_str(),
                goal > 0 ? (ratio >= goal ? "met" : "MISSED") : "");
    std::fflush(stdout);
  }

 private:
  struct Row {
    std::string name;
    double value;
    std::string unit, against;
    double ratio, goal;
  };

  static std::string Text(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", v);
    return text;
  }
  static std::string Quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
      if (c == '"' || c == '\\') out += '\\';
      out += c;
    }
    return out + '"';
  }
  void Write() const {
    std::ofstream file(m_folder + "/" + m_group + ".json");
    file << "[\n";
    for (size_t i = 0; i < m_rows.size(); ++i) {
      const Row& row = m_rows[i];
      file << "  {\"name\": " << Quoted(row.name)
           << ", \"value\": " << (std::isfinite(row.value) ? Text(row.value) : "null")
           << ", \"unit\": " << Quoted(row.unit) << ", \"against\": " << Quoted(row.against)
           << ", \"ratio\": " << (row.ratio > 0 ? Text(row.ratio) : "null")
           << ", \"goal\": " << (row.goal > 0 ? Text(row.goal) : "null")
           << ", \"met\": " << (row.goal > 0 ? (row.ratio >= row.goal ? "true" : "false") : "null")
           << "}" << (i + 1 < m_rows.size() ? "," : "") << "\n";
    }
    file << "]\n";
  }

  std::string m_group, m_folder;
  std::vector<Row> m_rows;
};

// What a single thread does is measured in the processor time of that thread, which other programs
// on the machine do not lengthen; what several do, in the time that passes.
enum class Clock { Thread, Wall };

inline double Now(Clock clock) {
  timespec now;
  clock_gettime(clock == Clock::Thread ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

template <class Work>
double Seconds(Work&& work, Clock clock = Clock::Wall) {
  const double start = Now(clock);
  work();
  return Now(clock) - start;
}

inline double MedianOf(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + long(values.size() / 2), values.end());
  return values[values.size() / 2];
}

// Medians of both, run in turn so that what else the machine does meets both alike; each once
// before, unmeasured.
template <class Ours, class Theirs>
std::pair<double, double> Medians(Ours&& ours, Theirs&& theirs, Clock clock = Clock::Wall,
                                  int runs = 15) {
  std::vector<double> a, b;
  ours();
  theirs();
  for (int i = 0; i < runs; ++i) {
    a.push_back(Seconds(ours, clock));
    b.push_back(Seconds(theirs, clock));
  }
  return {MedianOf(a), MedianOf(b)};
}

}  // namespace Bench
