// SPDX-License-Identifier: Apache-2.0
#include "Fixture.h"

#include <Base/GCException.h>
#include <dlfcn.h>

#include <cstdlib>
#include <map>
#include <stdexcept>

namespace {

template <typename E>
std::string Described(const char* exceptionClass, const E& error) {
  return std::string(exceptionClass) + " | " + error.GetDescription();
}

}  // namespace

// The world of the producer that the library has loaded, too.
Scripted::World* ScriptedWorld() {
  static Scripted::World* sk_pWorld = [] {
    ::setenv("ORVEX_PRODUCER", ORVEX_SCRIPTED_PRODUCER, 1);
    void* library = ::dlopen(ORVEX_SCRIPTED_PRODUCER, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(::dlerror());
    return reinterpret_cast<Scripted::World* (*)()>(::dlsym(library, "ScriptedWorld"))();
  }();
  return sk_pWorld;
}

std::string Thrown(const std::function<void()>& action) {
#define CATCH_AS(ExceptionClass)                 \
  catch (const GenICam::ExceptionClass& error) { \
    return Described(#ExceptionClass, error);    \
  }
  try {
    action();
    return "";
  }
  CATCH_AS(BadAllocException)
  CATCH_AS(InvalidArgumentException)
  CATCH_AS(OutOfRangeException)
  CATCH_AS(RuntimeException)
  CATCH_AS(LogicalErrorException)
  CATCH_AS(AccessException)
  CATCH_AS(TimeoutException)
  CATCH_AS(DynamicCastException)
  CATCH_AS(GenericException)
  catch (const std::exception& error) {
    return std::string("std | ") + error.what();
  }
#undef CATCH_AS
}

std::string GenTLError(const std::string& exceptionClass, const std::string& label,
                       const std::string& whatFailed, const std::string& place,
                       const std::string& gentlName) {
  return exceptionClass + " | " + exceptionClass + " (" + label + "): " + whatFailed + " (" +
         place + "; GenTL::" + gentlName + "); ";
}

std::string PlainError(const std::string& exceptionClass, const std::string& message,
                       const std::string& place) {
  return exceptionClass + " | " + exceptionClass + ": " + message + " (" + place + ")";
}

namespace {

// Every refusal has this status; which class belongs to which status is told by tests of its own.
constexpr GenTL::GC_ERROR sk_refusal = GenTL::GC_ERR_ACCESS_DENIED;

std::string FunctionOf(const std::string& call) {
  return call.substr(0, call.find('('));
}

Calls CallsOf(const Steps& steps, size_t first, size_t last) {
  Calls calls;
  for (size_t i = first; i < last; ++i) calls.push_back(steps[i].call);
  return calls;
}

testing::Matcher<std::string> Like(const std::string& text) {
  const size_t star = text.find('*');
  if (star == std::string::npos) return testing::Eq(text);
  return testing::AllOf(testing::StartsWith(text.substr(0, star)),
                        testing::EndsWith(text.substr(star + 1)));
}

}  // namespace

Step Checked(const std::string& call, const std::string& whatFailed, const std::string& place,
             const Calls& then, std::string gentlName) {
  const std::string function = FunctionOf(call);
  if (gentlName.empty()) gentlName = function;
  return {call,
          GenTLError("AccessException", "GC_ERR_ACCESS_DENIED", whatFailed, place, gentlName) +
              function + " refused",
          then};
}

Step PassedOver(const std::string& call) {
  return {call, ""};
}

Step UrlStep(const std::string& module, const Calls& then) {
  return {"GCGetPortURL(" + module + ")",
          "AccessException | AccessException (GC_ERR_ACCESS_DENIED): Unable to get port URL "
          "(NodeMapUtility.cpp, GetUrl)",
          then};
}

Step PortAccess(const std::string& call, const Calls& then) {
  const bool reads = FunctionOf(call) == "GCReadPort";
  const std::string said = FunctionOf(call) + " refused";
  return {call,
          std::string("AccessException | *AccessException (GC_ERR_ACCESS_DENIED): Unable to ") +
              (reads ? "read" : "write") + " port: " + said + " (Port.cpp, " +
              (reads ? "Read" : "Write") + "; GenTL::" + FunctionOf(call) + "); " + said,
          then};
}

void ScriptedTest::Drive(const Operation& operation) {
  Restart();
  operation.prepare();
  ForgetCalls();
  EXPECT_EQ(Thrown(operation.act), "");
  EXPECT_EQ(TakeCalls(), CallsOf(operation.steps, 0, operation.steps.size()));
  RefuseEach(operation, operation.steps, true);
  RefuseEach(operation, operation.reads, false);
}

void ScriptedTest::RefuseEach(const Operation& operation, const Steps& steps, bool recorded) {
  std::map<std::string, int> before;
  for (size_t i = 0; i < steps.size(); ++i) {
    const Step& step = steps[i];
    SCOPED_TRACE("refused: " + step.call);
    Restart();
    operation.prepare();
    ForgetCalls();
    m_world.Fail(step.call, sk_refusal, before[step.call]++);
    EXPECT_THAT(Thrown(operation.act), Like(step.thrown));
    const Calls rest = step.thrown.empty() ? CallsOf(steps, i + 1, steps.size()) : Calls();
    const Calls calls = TakeCalls();
    const Calls then = step.then.value_or(rest);
    if (recorded) {
      EXPECT_EQ(calls, CallsOf(steps, 0, i + 1) + then);
    } else {
      ASSERT_GE(calls.size(), then.size());
      EXPECT_EQ(Calls(calls.end() - static_cast<std::ptrdiff_t>(then.size()), calls.end()), then);
    }
    EXPECT_TRUE(m_world.plans[step.call].empty()) << "was not called";
    m_world.plans.clear();
    if (operation.after) operation.after(step);
  }
}

ScriptedTest::ScriptedTest() : m_world(*ScriptedWorld()) {
  m_world.Reset();
}

ScriptedTest::~ScriptedTest() {
  Restart();
}

void ScriptedTest::Restart() {
  m_world.plans.clear();
  if (m_pCamera != nullptr && !Thrown([&] { m_pSystem->DestroyDevice(m_pCamera); }).empty()) {
    // The system refuses to destroy cameras whose stream it cannot choose.
    if (Orvex::Interface* pInterface = m_pCamera->GetInterface())
      pInterface->RemoveDevice(m_pCamera);
    delete m_pCamera;
  }
  m_pCamera = nullptr;
  if (m_pSystem != nullptr) Close();
  m_world.Reset();
}

void ScriptedTest::Open() {
  m_pSystem = Orvex::OpenSystem();
}

void ScriptedTest::Close() {
  Orvex::CloseSystem(std::exchange(m_pSystem, nullptr));
}

Orvex::Device* ScriptedTest::OpenCamera() {
  if (m_pSystem == nullptr) Open();
  m_pCamera = dynamic_cast<Orvex::Device*>(m_pSystem->CreateDevice(m_pSystem->GetDevices().at(0)));
  return m_pCamera;
}

void ScriptedTest::DestroyCamera() {
  m_pSystem->DestroyDevice(std::exchange(m_pCamera, nullptr));
}

Calls ScriptedTest::TakeCalls() {
  const std::lock_guard lock(m_world.mutex);
  Calls calls = std::exchange(m_world.calls, {});
  std::erase_if(calls, [](const std::string& call) {
    return call.rfind("GCReadPort(", 0) == 0 || call.rfind("GCGetLastError(", 0) == 0;
  });
  return calls;
}
