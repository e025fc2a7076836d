#pragma once
// SPDX-License-Identifier: Apache-2.0
// What tests over the scripted producer share: a fresh world for each test, the library over it,
// the calls that it made, and failures as text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
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

class ScriptedTest : public testing::Test {
 protected:
  ScriptedTest();
  ~ScriptedTest() override;

  void Open();
  void Close();
  // Opens the system, too, when it is not open. The first camera of the world.
  Orvex::Device* OpenCamera();
  void DestroyCamera();

  // Calls since the last time, without port reads and queries of the last error.
  Calls TakeCalls();
  void ForgetCalls() { static_cast<void>(TakeCalls()); }

  Scripted::World& m_world;
  Orvex::ISystem* m_pSystem = nullptr;
  Orvex::Device* m_pCamera = nullptr;
};
