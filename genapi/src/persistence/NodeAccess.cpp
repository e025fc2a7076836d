// SPDX-License-Identifier: Apache-2.0
// Reading values and executing commands while settings are stored and loaded.

#include "persistence/NodeAccess.h"

#include <chrono>
#include <thread>

#include <Base/GCException.h>
#include <GenApi/INode.h>

#include "adapters/Limits.h"

namespace OrvexGenApi {

GenApi::ICommand* FindExecutable(GenApi::INodeMap& nodeMap, const char* pName) {
  auto* pCommand = dynamic_cast<GenApi::ICommand*>(nodeMap.GetNode(pName));
  return pCommand && GenApi::IsWritable(pCommand) ? pCommand : nullptr;
}

void ExecuteAndWait(GenApi::ICommand& command, const char* pName) {
  command.Execute();
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(sk_commandTimeoutMs);
  while (!command.IsDone()) {
    if (std::chrono::steady_clock::now() > deadline) {
      throw TIMEOUT_EXCEPTION("Command '%s' is not done in time", pName);
    }
    // A device has no way to call back here.
    std::this_thread::sleep_for(std::chrono::milliseconds(sk_commandPollMs));
  }
}

std::optional<GenICam::gcstring> TryRead(GenApi::IValue& value) {
  try {
    return value.ToString();
  } catch (const GenICam::AccessException&) {
  } catch (const GenICam::OutOfRangeException&) {
  } catch (const GenICam::InvalidArgumentException&) {
  } catch (const GenICam::LogicalErrorException&) {
  }
  return std::nullopt;
}

}  // namespace OrvexGenApi
