// SPDX-License-Identifier: Apache-2.0
#include "simulator/StateFile.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "simulator/Limits.h"

namespace OrvexSim {
namespace {

constexpr const char* sk_head = "orvex virtual camera, state 1";

// A set's line: "set 2 Gain r 3.5", with as many numbers as the feature has values; "i" for whole
// numbers, "r" for real ones, "t" for a text up to the end of the line.
void PrintSet(std::ostream& out, size_t index, const FeatureValues& set) {
  const std::map<std::string, FeatureValues::Value> sorted(set.values.begin(), set.values.end());
  for (const auto& [name, value] : sorted) {
    out << "set " << index << ' ' << name << " i";
    for (const int64_t number : value.ints) out << ' ' << number;
    out << "\nset " << index << ' ' << name << " r";
    for (const double number : value.reals) {
      char text[40];
      out << ' ' << std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
    }
    out << '\n';
    const bool oneLine = value.text.find_first_of("\r\n") == std::string::npos;
    if (!value.text.empty() && oneLine)
      out << "set " << index << ' ' << name << " t " << value.text << '\n';
  }
}

template <typename T>
bool ReadNumbers(std::istream& line, std::vector<T>& numbers) {
  numbers.clear();
  for (std::string word; line >> word;) {
    T number{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc{} || end != word.data() + word.size()) return false;
    numbers.push_back(number);
  }
  return true;
}

bool ReadSetLine(std::istream& line, CameraState& state) {
  size_t index = 0;
  std::string name, kind;
  if (!(line >> index >> name >> kind) || index == 0 || index > sk_maxUserSets) return false;
  if (state.userSets.size() < index) state.userSets.resize(index);
  FeatureValues::Value& value = state.userSets[index - 1].values[name];
  if (kind == "i") return ReadNumbers(line, value.ints);
  if (kind == "r") return ReadNumbers(line, value.reals);
  line.get();
  std::getline(line, value.text);
  return kind == "t";
}

bool ReadLine(const std::string& text, CameraState& state) {
  std::istringstream line(text);
  std::string word;
  line >> word;
  if (word == "set") return ReadSetLine(line, state);
  if (word == "name") {
    line.get();
    std::getline(line, state.userName);
    return true;
  }
  if (word == "default") return static_cast<bool>(line >> state.defaultSet);
  if (word == "ip") {
    return static_cast<bool>(line >> state.ipConfiguration >> state.persistentIp >>
                             state.persistentMask >> state.persistentGateway);
  }
  return word.empty();
}

}  // namespace

bool ReadState(const std::string& path, CameraState& state) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  std::string text(sk_maxStateBytes + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<size_t>(file.gcount()));
  std::istringstream lines(text);
  std::string line;
  bool good = text.size() <= sk_maxStateBytes && std::getline(lines, line) && line == sk_head;
  while (good && std::getline(lines, line)) good = ReadLine(line, state);
  if (!good) throw std::invalid_argument("'" + path + "' is no state of a virtual camera");
  return true;
}

bool WriteState(const std::string& path, const CameraState& state) {
  const std::string fresh = path + ".new";
  {
    std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
    out << sk_head << "\nname " << state.userName << "\ndefault " << state.defaultSet << "\nip "
        << state.ipConfiguration << ' ' << state.persistentIp << ' ' << state.persistentMask << ' '
        << state.persistentGateway << '\n';
    for (size_t i = 0; i < state.userSets.size(); ++i) PrintSet(out, i + 1, state.userSets[i]);
    out.flush();
    if (!out) return false;
  }
  return std::rename(fresh.c_str(), path.c_str()) == 0;
}

}  // namespace OrvexSim
