#pragma once
// SPDX-License-Identifier: Apache-2.0
// What tests over the scripted producer share: a fresh world for each test, the library over it,
// the calls that it made, and failures as text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Orvex/Device.h"
#include "Orvex/System.h"
#include "OrvexEntry.h"
#include "tests/Orvex/producer/World.h"

using Calls = std::vector<std::string>;

// "" when nothing is thrown; otherwise the class that is thrown and the description, with " | "
// between.
std::string Thrown(const std::function<void()>& action);

// Descriptions of the two usual forms; `label` is the status' name.
std::string GenTLError(const std::string& exceptionClass, const std::string& label,
                       const std::string& whatFailed, const std::string& place,
                       const std::string& gentlName);
std::string PlainError(const std::string& exceptionClass, const std::string& message,
                       const std::string& place);

// A producer call of an operation, and what becomes of the operation when that call is refused.
struct Step {
  std::string call;    // as it is recorded
  std::string thrown;  // "" when the refusal is passed over; one "*" in it stands for any text
  // The calls after the refusal. Where they are not given: none when it throws, else the remaining
  // steps.
  std::optional<Calls> then = std::nullopt;
};
using Steps = std::vector<Step>;

template <typename T>
std::vector<T> operator+(std::vector<T> left, const std::vector<T>& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// A call whose status is checked in the usual form; `gentlName` where that is not the function's.
Step Checked(const std::string& call, const std::string& whatFailed, const std::string& place,
             const Calls& then = {}, std::string gentlName = "");
Step PassedOver(const std::string& call);
// The query of a module's URL, which has the short form.
Step UrlStep(const std::string& module, const Calls& then);
// A port access by a node: the node's name may stand before the port's own message.
Step PortAccess(const std::string& call, const Calls& then = {});

struct Operation {
  std::function<void()> prepare;  // over a fresh world, with nothing open
  std::function<void()> act;
  Steps steps;  // every call of the way to success, in order, but port reads
  Steps reads;  // port reads to be refused
  std::function<void(const Step&)> after;  // what must hold after a refusal
};

class ScriptedTest : public testing::Test {
 protected:
  ScriptedTest();
  ~ScriptedTest() override;

  void Open();
  void Close();
  // Opens the system, too, when it is not open. The first camera of the world.
  Orvex::Device* OpenCamera();
  void DestroyCamera();

  // Takes the operation through its success and through the refusal of each step.
  void Drive(const Operation& operation);

  // Calls since the last time, without port reads and queries of the last error.
  Calls TakeCalls();
  void ForgetCalls() { static_cast<void>(TakeCalls()); }

  // Closes all and begins with a fresh world.
  void Restart();

 private:
  void RefuseEach(const Operation& operation, const Steps& steps, bool recorded);

 protected:
  Scripted::World& m_world;
  Orvex::ISystem* m_pSystem = nullptr;
  Orvex::Device* m_pCamera = nullptr;
};
