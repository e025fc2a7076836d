#pragma once
// SPDX-License-Identifier: Apache-2.0
// Root of all node interfaces (GenICam GenApi). Inherited virtually everywhere, so that a node has
// one access mode whatever interface it is seen through. Nodes belong to their node map; ports
// belong to the application. Any thread; a node map serialises its nodes with its own lock.
#include <GenApi/Types.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IBase {
  // What can be done with the object at the moment. A node throws LogicalErrorException when the
  // conditions that the description gives for it cannot be evaluated.
  virtual EAccessMode GetAccessMode() const = 0;
  virtual ~IBase() {}
};

// Tests of an access mode; a null pointer answers false.
inline bool IsReadable(EAccessMode AccessMode) {
  return AccessMode == RW || AccessMode == RO;
}
inline bool IsWritable(EAccessMode AccessMode) {
  return AccessMode == RW || AccessMode == WO;
}
inline bool IsImplemented(EAccessMode AccessMode) {
  return AccessMode != NI;
}
inline bool IsAvailable(EAccessMode AccessMode) {
  return AccessMode != NA && AccessMode != NI;
}

inline bool IsReadable(const IBase* p) {
  return p != nullptr && IsReadable(p->GetAccessMode());
}
inline bool IsWritable(const IBase* p) {
  return p != nullptr && IsWritable(p->GetAccessMode());
}
inline bool IsImplemented(const IBase* p) {
  return p != nullptr && IsImplemented(p->GetAccessMode());
}
inline bool IsAvailable(const IBase* p) {
  return p != nullptr && IsAvailable(p->GetAccessMode());
}

inline bool IsReadable(const IBase& r) {
  return IsReadable(r.GetAccessMode());
}
inline bool IsWritable(const IBase& r) {
  return IsWritable(r.GetAccessMode());
}
inline bool IsImplemented(const IBase& r) {
  return IsImplemented(r.GetAccessMode());
}
inline bool IsAvailable(const IBase& r) {
  return IsAvailable(r.GetAccessMode());
}

// Access mode of two objects that must both be passed: the narrower one; RO with WO leaves NA.
inline EAccessMode Combine(EAccessMode Peter, EAccessMode Paul) {
  if (Peter == NI || Paul == NI) return NI;
  if (Peter == NA || Paul == NA) return NA;
  if ((Peter == RO && Paul == WO) || (Peter == WO && Paul == RO)) return NA;
  if (Peter == WO || Paul == WO) return WO;
  if (Peter == RO || Paul == RO) return RO;
  return RW;
}

// The more restrictive of two visibilities.
inline EVisibility Combine(EVisibility Peter, EVisibility Paul) {
  return Peter > Paul ? Peter : Paul;
}

// Whether a feature is shown to a user of the given level.
inline bool IsVisible(EVisibility Visibility, EVisibility MaxVisiblity) {
  return Visibility <= MaxVisiblity;
}

// NoCache beats WriteAround beats WriteThrough.
inline ECachingMode Combine(ECachingMode Peter, ECachingMode Paul) {
  if (Peter == NoCache || Paul == NoCache) return NoCache;
  if (Peter == WriteAround || Paul == WriteAround) return WriteAround;
  return WriteThrough;
}

inline bool IsCacheable(ECachingMode CachingMode) {
  return CachingMode != NoCache;
}

// Name of the principal interface ("IInteger", "IFloat", ...); "IBase" when the object is no node.
GENAPI_DECL GENICAM_NAMESPACE::gcstring GetInterfaceName(IBase* pBase);

}  // namespace GENAPI_NAMESPACE
