#pragma once
// SPDX-License-Identifier: Apache-2.0
// A list of writes that a node map carries out at once. Made by INodeMap::NewNodeWriteConcatenator,
// freed by Destroy. One thread at a time.

#include <vector>

#include <Base/GCString.h>
#include <GenApi/GenApiDll.h>
#include <GenApi/GenApiNamespace.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CNodeWriteConcatenator {
 public:
  // One write, in the order of the calls; the value in the node's text form.
  struct Entry {
    GENICAM_NAMESPACE::gcstring Name;
    GENICAM_NAMESPACE::gcstring Value;
  };

  CNodeWriteConcatenator();
  CNodeWriteConcatenator(const CNodeWriteConcatenator&) = delete;
  CNodeWriteConcatenator& operator=(const CNodeWriteConcatenator&) = delete;
  virtual ~CNodeWriteConcatenator();

  virtual void Add(const GENICAM_NAMESPACE::gcstring& nodeName,
                   const GENICAM_NAMESPACE::gcstring& nodeValue);
  virtual void Add(const GENICAM_NAMESPACE::gcstring& nodeName, const char* nodeValue);
  virtual void Add(const GENICAM_NAMESPACE::gcstring& nodeName, const int64_t nodeValue);
  virtual void Add(const GENICAM_NAMESPACE::gcstring& nodeName, const double nodeValue);
  virtual void Add(const GENICAM_NAMESPACE::gcstring& nodeName, const bool nodeValue);
  void Add(const GENICAM_NAMESPACE::gcstring& nodeName, int nodeValue) {
    Add(nodeName, static_cast<int64_t>(nodeValue));
  }
  virtual void Clear();
  virtual void Destroy();

  const std::vector<Entry>& GetEntries() const { return m_entries; }

 protected:
  std::vector<Entry> m_entries;
};

// Owns a list of writes.
class CNodeWriteConcatenatorRef {
 public:
  explicit CNodeWriteConcatenatorRef(CNodeWriteConcatenator* pConcatenator = nullptr)
      : m_pConcatenator(pConcatenator) {}
  CNodeWriteConcatenatorRef(const CNodeWriteConcatenatorRef&) = delete;
  CNodeWriteConcatenatorRef& operator=(const CNodeWriteConcatenatorRef&) = delete;
  ~CNodeWriteConcatenatorRef() { Release(); }
  CNodeWriteConcatenatorRef& operator=(CNodeWriteConcatenator* pConcatenator) {
    if (pConcatenator != m_pConcatenator) Release();
    m_pConcatenator = pConcatenator;
    return *this;
  }

  template <class T>
  void _Add(const GENICAM_NAMESPACE::gcstring& nodeName, const T& nodeValue) {
    m_pConcatenator->Add(nodeName, nodeValue);
  }
  void _Clear() { m_pConcatenator->Clear(); }
  // Frees the list.
  void Release() {
    if (m_pConcatenator) m_pConcatenator->Destroy();
    m_pConcatenator = nullptr;
  }
  CNodeWriteConcatenator* get() const { return m_pConcatenator; }
  operator CNodeWriteConcatenator*() const { return m_pConcatenator; }

 private:
  CNodeWriteConcatenator* m_pConcatenator;
};

}  // namespace GENAPI_NAMESPACE
