// SPDX-License-Identifier: Apache-2.0
#include "Fixture.h"

#include <Base/GCException.h>
#include <dlfcn.h>

#include <cstdlib>
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

ScriptedTest::ScriptedTest() : m_world(*ScriptedWorld()) {
  m_world.Reset();
}

ScriptedTest::~ScriptedTest() {
  m_world.plans.clear();
  if (m_pCamera != nullptr && !Thrown([&] { m_pSystem->DestroyDevice(m_pCamera); }).empty()) {
    // The system refuses to destroy cameras whose stream it cannot choose.
    if (Orvex::Interface* pInterface = m_pCamera->GetInterface())
      pInterface->RemoveDevice(m_pCamera);
    delete m_pCamera;
  }
  if (m_pSystem != nullptr) Close();
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
