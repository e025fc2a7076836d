// SPDX-License-Identifier: Apache-2.0
#include "Orvex/Interface.h"

#include <algorithm>

#include "Orvex/Device.h"
#include "Orvex/NodeMapUtility.h"

namespace Orvex {

Interface::Interface(TLInterface* pInterface, const GenICam::gcstring& id)
    : m_pInterface(pInterface), m_port(pInterface), m_id(id) {
  m_pNodeMap = InitNodeMap(m_pInterface, m_port);
}

Interface::~Interface() {
  {
    const std::lock_guard lock(m_mtxDev);
    for (IDevice* pDevice : m_pDevices) {
      if (auto* pConcrete = dynamic_cast<Device*>(pDevice)) pConcrete->ResetInterface();
    }
    m_pDevices.clear();
  }
  DestroyNodeMap(m_pNodeMap);
}

void Interface::AddDevice(IDevice* pDevice) {
  const std::lock_guard lock(m_mtxDev);
  m_pDevices.push_back(pDevice);
}

void Interface::RemoveDevice(IDevice* pDevice) {
  const std::lock_guard lock(m_mtxDev);
  const auto found = std::find(m_pDevices.begin(), m_pDevices.end(), pDevice);
  if (found != m_pDevices.end()) m_pDevices.erase(found);
}

}  // namespace Orvex
