#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the fuzz targets of images share: the factory, and an image of any format over foreign
// bytes.

#include <Base/GCException.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "ImageFactory.h"
#include "Orvex/ImageFactoryInternal.h"

namespace OrvexFuzz {

// The rows of the format list, to be chosen by a number.
inline constexpr uint32_t sk_formats[] = {0,
#define ORVEX_FUZZ_FORMAT(name, value) value,
                                          ORVEX_PFNC_ALL(ORVEX_FUZZ_FORMAT)
#undef ORVEX_FUZZ_FORMAT
};

// Takes numbers from the front of the input; zeros when there is nothing left.
class Input {
 public:
  Input(const uint8_t* p, size_t size) : m_p(p), m_size(size) {}

  template <typename T>
  T Take() {
    T value{};
    const size_t taken = sizeof value < m_size ? sizeof value : m_size;
    if (taken > 0) std::memcpy(&value, m_p, taken);
    m_p += taken;
    m_size -= taken;
    return value;
  }
  uint64_t TakeFormat() { return sk_formats[Take<uint16_t>() % std::size(sk_formats)]; }
  const uint8_t* Rest() const { return m_p; }
  size_t RestSize() const { return m_size; }

 private:
  const uint8_t* m_p;
  size_t m_size;
};

// An image as a device may announce it: sizes and format from the input, and as data an exact copy
// of what is left of it, so that the address sanitizer sees the first byte too many.
class ForeignImage {
 public:
  explicit ForeignImage(Input& input) {
    const uint64_t format = input.TakeFormat();
    // Small sizes are sensible, the rest is whatever it is.
    const auto shape = input.Take<uint8_t>();
    const auto width = shape & 1 ? input.Take<uint64_t>() : input.Take<uint8_t>();
    const auto height = shape & 2 ? input.Take<uint64_t>() : input.Take<uint8_t>();
    const size_t size = input.RestSize();
    m_data.reset(new uint8_t[size]);
    if (size > 0) std::memcpy(m_data.get(), input.Rest(), size);
    Orvex::FrameCells::FillImageProps(&m_image, m_data.get(), size, width, height, format);
  }
  Orvex::Image* Get() { return &m_image; }

 private:
  std::unique_ptr<uint8_t[]> m_data;
  Orvex::Image m_image;
};

// Opens the factory once.
inline void WithFactory() {
  static const bool sk_open = (Orvex::OpenImageFactory(), true);
  (void)sk_open;
}

// Runs an operation that gives an image or refuses with one of its exceptions; anything else ends
// the program. The result is read once from end to end.
template <class Operation>
void Try(Operation&& operation) {
  try {
    Orvex::IImage* const pImage = operation();
    if (!pImage) return;
    volatile uint8_t sum = 0;
    for (size_t i = 0; i < pImage->GetSizeOfBuffer(); ++i) {
      sum = static_cast<uint8_t>(sum + pImage->GetData()[i]);
    }
    Orvex::ImageFactory::Destroy(pImage);
  } catch (const GenICam::GenericException&) {
  } catch (const std::logic_error&) {
    // A format without descriptor.
  }
}

}  // namespace OrvexFuzz
