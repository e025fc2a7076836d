// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstring>

#include "engine/Builder.h"
#include "engine/Limits.h"
#include "engine/Port.h"
#include "engine/Registers.h"

namespace OrvexGenApi {

RegisterCore::~RegisterCore() = default;

bool RegisterCore::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Address:
      // Sums wrap around as addresses do.
      m_constant = static_cast<int64_t>(static_cast<uint64_t>(m_constant) +
                                        static_cast<uint64_t>(builder.Int(m_owner, element)));
      return true;
    case Element::pAddress:
      m_terms.push_back({builder.Resolve(m_owner, element, id), nullptr, 0, false, false});
      return true;
    case Element::IntSwissKnife:
      if (Node* node = builder.Embedded(element)) {
        builder.AddLink(*node, Element::pAddress);
        m_terms.push_back({node, nullptr, 0, false, false});
      }
      return true;
    case Element::pIndex: {
      Term term{builder.Resolve(m_owner, element, id), nullptr, 0, true, true};
      if (const auto offset = element.attribute("Offset")) {
        term.isLengthOffset = false;
        if (!ParseInt(offset.value(), term.offset))
          builder.Bad(m_owner, element, "has a bad Offset");
      } else if (const auto node = element.attribute("pOffset")) {
        term.isLengthOffset = false;
        term.pOffset = m_owner.Map().Find(Trim(node.value()));
        if (term.pOffset == nullptr)
          builder.Bad(m_owner, element, "has a pOffset that names no node");
        builder.AddLink(*term.pOffset, Element::pOffset);
      }
      m_terms.push_back(term);
      return true;
    }
    case Element::Length:
      m_length = builder.Int(m_owner, element);
      m_hasLength = true;
      if (m_length < 0 || m_length > sk_maxRegisterBytes) {
        builder.Bad(m_owner, element, "is no length of a register");
      }
      return true;
    case Element::pLength:
      m_pLength = builder.Resolve(m_owner, element, id);
      m_hasLength = true;
      return true;
    case Element::AccessMode:
      builder.Choice<EAccessModeClass>(m_owner, element, m_access, "is no access mode");
      return true;
    case Element::pPort: {
      m_pPort = builder.Resolve(m_owner, element, id)->AsPort();
      if (m_pPort == nullptr) builder.Bad(m_owner, element, "is no port");
      return true;
    }
    case Element::Cachable:
      builder.Choice<ECachingModeClass>(m_owner, element, m_caching, "is no caching mode");
      return true;
    case Element::Endianess: {
      EEndianess order = LittleEndian;
      builder.Choice<EEndianessClass>(m_owner, element, order, "is no byte order");
      m_bigEndian = order == BigEndian;
      return true;
    }
    default:
      return false;
  }
}

void RegisterCore::Finish(Builder&) {
  if (m_pPort == nullptr) GENAPI_RAISE(PropertyException, m_owner, "the register has no pPort");
  if (!m_hasLength) GENAPI_RAISE(PropertyException, m_owner, "the register has no Length");
  m_terms.shrink_to_fit();
}

int64_t RegisterCore::Length() {
  if (m_pLength == nullptr) return m_length;
  return m_pLength->ReadInt({});
}

size_t RegisterCore::CheckedLength() {
  const int64_t length = Length();
  if (length < 0 || length > sk_maxRegisterBytes) {
    GENAPI_RAISE(OutOfRangeException, m_owner, "%lld is no length of a register",
                 static_cast<long long>(length));
  }
  return static_cast<size_t>(length);
}

int64_t RegisterCore::Address(bool verify) {
  if (m_terms.empty()) return m_address = m_constant;
  if (m_addressValid && !verify) return m_address;
  NodeMap::ReadDepth depth(m_owner.Map(), m_owner);
  uint64_t sum = static_cast<uint64_t>(m_constant);
  bool cacheable = true;
  for (const Term& term : m_terms) {
    const auto value = static_cast<uint64_t>(term.pNode->ReadInt({verify, false}));
    cacheable = cacheable && IsCacheable(term.pNode->InternalCaching());
    if (!term.isIndex) {
      sum += value;
      continue;
    }
    int64_t offset = term.offset;
    if (term.isLengthOffset) offset = Length();
    if (term.pOffset) {
      offset = term.pOffset->ReadInt({verify, false});
      cacheable = cacheable && IsCacheable(term.pOffset->InternalCaching());
    }
    sum += value * static_cast<uint64_t>(offset);
  }
  m_address = static_cast<int64_t>(sum);
  m_addressValid = cacheable;
  return m_address;
}

EAccessMode RegisterCore::BaseAccess() const {
  EAccessMode mode = Combine(m_access, m_pPort->InternalAccess());
  if (!IsAvailable(mode)) return mode;
  for (const Term& term : m_terms) {
    const EAccessMode other = term.pNode->InternalAccess();
    if (!IsReadable(other)) return other == NI ? NI : NA;
  }
  if (m_pLength) {
    const EAccessMode other = m_pLength->InternalAccess();
    if (!IsReadable(other)) return other == NI ? NI : NA;
  }
  return mode;
}

bool RegisterCore::BaseAccessCacheable() const {
  return m_pPort->InternalAccessCacheable();
}

bool RegisterCore::CanCache() const {
  return IsCacheable(m_owner.InternalCaching());
}

void RegisterCore::Keep(const uint8_t* pBuffer, int64_t length) {
  if (length > m_capacity) {
    m_pBytes = length > int64_t{sizeof m_bytes}
                   ? std::make_unique<uint8_t[]>(static_cast<size_t>(length))
                   : nullptr;
    m_capacity = length > int64_t{sizeof m_bytes} ? length : int64_t{sizeof m_bytes};
  }
  if (length > 0) std::memcpy(CacheBytes(), pBuffer, static_cast<size_t>(length));
  m_cachedLength = length;
  m_cacheValid = true;
  m_pPort->ListCached(*this);
}

void RegisterCore::Read(uint8_t* pBuffer, int64_t length, ReadMode mode) {
  if (m_cacheValid && !mode.ignoreCache && length <= m_cachedLength) {
    if (mode.verify) Address(true);
    if (length > 0) std::memcpy(pBuffer, CacheBytes(), static_cast<size_t>(length));
    return;
  }
  const int64_t whole = Length();
  if (length < 0 || length > whole || whole > sk_maxRegisterBytes) {
    GENAPI_RAISE(OutOfRangeException, m_owner, "%lld bytes cannot be read from a register of %lld",
                 static_cast<long long>(length), static_cast<long long>(whole));
  }
  const int64_t address = Address(mode.verify);
  if (length > 0) m_pPort->ReadBytes(m_owner, pBuffer, address, length);
  if (length == whole && CanCache()) Keep(pBuffer, length);
}

void RegisterCore::Write(const uint8_t* pBuffer, int64_t length, bool verify) {
  const int64_t whole = Length();
  if (length < 0 || length > whole || whole > sk_maxRegisterBytes) {
    GENAPI_RAISE(OutOfRangeException, m_owner, "%lld bytes do not fit into a register of %lld",
                 static_cast<long long>(length), static_cast<long long>(whole));
  }
  const int64_t address = Address(verify);
  m_owner.DropValue();
  if (length == 0) return;
  m_pPort->WriteBytes(m_owner, pBuffer, address, length);
  NodeMap& map = m_owner.Map();
  map.RegisterWritten(m_owner, *m_pPort, address, length);
  // What was written is what a read would give, unless the device may answer otherwise.
  if (length == whole && m_owner.InternalCaching() == WriteThrough) {
    m_address = address;
    Keep(pBuffer, length);
  }
  map.NodeChanged(m_owner);
}

}  // namespace OrvexGenApi
