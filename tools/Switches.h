#pragma once
// SPDX-License-Identifier: Apache-2.0
// Switches behind a selector: which chunks a camera sends, which events it tells. Turned on for a
// while and put back. Owns nothing but the memory of what was; used by one thread.

#include <string>
#include <vector>

#include "tools/Session.h"

namespace OrvexTools {

// The selector, the switch it selects, and the switch's two positions as texts.
struct SwitchNames {
  const char* selector;
  const char* feature;
  const char* on;
};
inline constexpr SwitchNames sk_chunkSwitches{"ChunkSelector", "ChunkEnable", "1"};
inline constexpr SwitchNames sk_eventSwitches{"EventSelector", "EventNotification", "On"};

class Switches {
 public:
  // Turns on the switches of these choices of the selector, or of all when none is given. Choices
  // whose switch cannot be written stay as they are, unless they were asked for: then Failure says
  // what the selector takes. The destructor puts everything back, the selector included.
  Switches(Camera& camera, const SwitchNames& names, const std::vector<std::string>& choices);
  ~Switches();
  Switches(const Switches&) = delete;
  Switches& operator=(const Switches&) = delete;

  // The choices whose switch is on now.
  const std::vector<std::string>& On() const { return m_on; }

 private:
  struct Before {
    std::string choice;
    std::string value;
  };

  void PutBack() noexcept;

  Camera& m_camera;
  SwitchNames m_names;
  std::string m_selected;
  std::vector<Before> m_before;
  std::vector<std::string> m_on;
};

}  // namespace OrvexTools
