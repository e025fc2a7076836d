// SPDX-License-Identifier: Apache-2.0
// Small objects around ports and nodes: base classes for ports, recorded writes, lists of writes,
// callbacks, float pointers.

#include <GenApi/ConcatenatedWrite.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/NodeCallback.h>
#include <GenApi/Pointer.h>
#include <GenApi/PortImpl.h>
#include <GenApi/PortStackedImpl.h>
#include <GenApi/PortWriteList.h>

#include <cstdio>

namespace GENAPI_NAMESPACE {

namespace {

template <class Port>
Port& Connected(Port* pPort) {
  if (!pPort) throw ACCESS_EXCEPTION("No port is connected");
  return *pPort;
}

void CheckSpan(const void* pBuffer, int64_t Length) {
  if (Length < 0 || (!pBuffer && Length > 0)) {
    throw INVALID_ARGUMENT_EXCEPTION("A register write needs a buffer and a length of at least 0");
  }
}

// The float's alias as Alias, or null.
template <class Alias>
Alias* AliasOf(IFloat& node) {
  return dynamic_cast<Alias*>(node.GetNode()->GetCastAlias());
}

}  // namespace

CNodeCallback::~CNodeCallback() = default;

CFloatPtr::CFloatPtr(IBase* pB) : CPointer(pB) {}

CFloatPtr& CFloatPtr::operator=(IBase* pB) {
  CPointer::operator=(pB);
  return *this;
}

IInteger* CFloatPtr::GetIntAlias() const {
  return AliasOf<IInteger>(**this);
}
IEnumeration* CFloatPtr::GetEnumAlias() const {
  return AliasOf<IEnumeration>(**this);
}

CPortImpl::CPortImpl() = default;
CPortImpl::~CPortImpl() = default;

EAccessMode CPortImpl::GetAccessMode() const {
  return m_pPort ? m_pPort->GetAccessMode() : NI;
}

void CPortImpl::Read(void* pBuffer, int64_t Address, int64_t Length) {
  Connected(m_pPort).Read(pBuffer, Address, Length);
}

void CPortImpl::Write(const void* pBuffer, int64_t Address, int64_t Length) {
  Connected(m_pPort).Write(pBuffer, Address, Length);
}

void CPortImpl::SetPortImpl(IPort* pPort) {
  m_pPort = pPort;
}
EYesNo CPortImpl::GetSwapEndianess() {
  return No;
}

void CPortImpl::Replay(IPortWriteList* pPortRecorder, bool Invalidate) {
  pPortRecorder->Replay(this);
  if (Invalidate) InvalidateNode();
}

void CPortImpl::InvalidateNode() {}

CPortStackedImpl::CPortStackedImpl() = default;
CPortStackedImpl::~CPortStackedImpl() = default;

EAccessMode CPortStackedImpl::GetAccessMode() const {
  return m_pPort ? m_pPort->GetAccessMode() : NI;
}

void CPortStackedImpl::Read(void* pBuffer, int64_t Address, int64_t Length) {
  Connected(m_pPort).Read(pBuffer, Address, Length);
}

void CPortStackedImpl::Write(const void* pBuffer, int64_t Address, int64_t Length) {
  Connected<IPort>(m_pPort).Write(pBuffer, Address, Length);
}

void CPortStackedImpl::Write(PORT_REGISTER_STACK_ENTRY* pEntries, size_t numEntries) {
  if (m_pPort) return m_pPort->Write(pEntries, numEntries);
  for (size_t i = 0; i < numEntries; ++i) {
    Write(pEntries[i].pBuffer, static_cast<int64_t>(pEntries[i].Address),
          static_cast<int64_t>(pEntries[i].Size));
  }
}

void CPortStackedImpl::SetPortImpl(IPortStacked* pPort) {
  m_pPort = pPort;
}
EYesNo CPortStackedImpl::GetSwapEndianess() {
  return No;
}

void CPortStackedImpl::Replay(IPortWriteList* pPortRecorder, bool Invalidate) {
  pPortRecorder->Replay(this);
  if (Invalidate) InvalidateNode();
}

void CPortStackedImpl::InvalidateNode() {}

CPortWriteList::CPortWriteList() = default;
CPortWriteList::~CPortWriteList() = default;

void CPortWriteList::Write(const void* pBuffer, int64_t Address, int64_t Length) {
  CheckSpan(pBuffer, Length);
  const auto* pBytes = static_cast<const uint8_t*>(pBuffer);
  m_commands.push_back({Address, {pBytes, pBytes + Length}});
}

void CPortWriteList::Replay(IPort* pPort) {
  for (const Command& command : m_commands) {
    pPort->Write(command.Bytes.data(), command.Address, static_cast<int64_t>(command.Bytes.size()));
  }
}

void CPortWriteList::SetCookie(const int64_t Value) {
  m_cookie = Value;
}
int64_t CPortWriteList::GetCookie() {
  return m_cookie;
}

CNodeWriteConcatenator::CNodeWriteConcatenator() = default;
CNodeWriteConcatenator::~CNodeWriteConcatenator() = default;

void CNodeWriteConcatenator::Add(const GENICAM_NAMESPACE::gcstring& nodeName,
                                 const GENICAM_NAMESPACE::gcstring& nodeValue) {
  m_entries.push_back({nodeName, nodeValue});
}

void CNodeWriteConcatenator::Add(const GENICAM_NAMESPACE::gcstring& nodeName,
                                 const char* nodeValue) {
  m_entries.push_back({nodeName, nodeValue});
}

void CNodeWriteConcatenator::Add(const GENICAM_NAMESPACE::gcstring& nodeName,
                                 const int64_t nodeValue) {
  m_entries.push_back({nodeName, std::to_string(nodeValue).c_str()});
}

void CNodeWriteConcatenator::Add(const GENICAM_NAMESPACE::gcstring& nodeName,
                                 const double nodeValue) {
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", nodeValue);
  m_entries.push_back({nodeName, text});
}

void CNodeWriteConcatenator::Add(const GENICAM_NAMESPACE::gcstring& nodeName,
                                 const bool nodeValue) {
  m_entries.push_back({nodeName, nodeValue ? "1" : "0"});
}

void CNodeWriteConcatenator::Clear() {
  m_entries.clear();
}
void CNodeWriteConcatenator::Destroy() {
  delete this;
}

}  // namespace GENAPI_NAMESPACE
