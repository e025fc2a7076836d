#pragma once
// SPDX-License-Identifier: Apache-2.0
// Small dialogues with a node map: a question or an order, and the answer that is right. Answers of
// failing steps are the exception's name behind an exclamation mark. For tests; one thread.
//
//   text N, int N, float N, bool N    value of a node through the interface of that kind
//   min N, max N, inc N, valid N      range; valid is the list of valid values
//   unit N, repr N, mode N, caching N, visible N, maxlen N, addr N, len N, done N, current N,
//   symbolics N, selects N set N TEXT                        FromString setint N V, setfloat N V
//   SetValue of the number interfaces; setraw does the same without verification exec N, drop N
//   Execute, InvalidateNode bytes ADDRESS COUNT               memory behind the port, as
//   hexadecimal digits poke ADDRESS DIGITS               puts bytes there behind the map's back
//   poll MS, writes, reads            Poll; the number of accesses of the port so far
#include <string>
#include <vector>

#include "SmallMap.h"

namespace OrvexTest {

struct Step {
  const char* ask;
  const char* want;
};

// A small map with what the dialogues need beside it.
class Dialogue {
 public:
  explicit Dialogue(const std::string& nodes) : m_small(nodes) {}
  std::string Ask(const std::string& question);
  SmallMap& Map() { return m_small; }

 private:
  std::string Answer(const std::string& verb, const std::string& node, const std::string& rest);
  SmallMap m_small;
};

// Nodes of descriptions, so that cases stay on one line.
std::string Port(const char* name = "Device");
// kind: IntReg, FloatReg, StringReg, Register, MaskedIntReg.
std::string Reg(const char* kind, const char* name, const char* address, int length,
                const std::string& more = "", const char* access = "RW");
std::string Node(const char* kind, const char* name, const std::string& content);

// Runs the steps and reports every answer that is not the wanted one.
void Play(const std::string& nodes, const std::vector<Step>& steps);

// The name of what a call throws, "ok" when it does not.
template <class Call>
std::string Outcome(Call call) {
  using namespace GenICam;
  try {
    call();
    return "ok";
  } catch (const AccessException&) {
    return "!Access";
  } catch (const OutOfRangeException&) {
    return "!OutOfRange";
  } catch (const InvalidArgumentException&) {
    return "!InvalidArgument";
  } catch (const PropertyException&) {
    return "!Property";
  } catch (const TimeoutException&) {
    return "!Timeout";
  } catch (const LogicalErrorException&) {
    return "!LogicalError";
  } catch (const RuntimeException&) {
    return "!Runtime";
  } catch (const GenericException&) {
    return "!Generic";
  }
}

}  // namespace OrvexTest
