// SPDX-License-Identifier: Apache-2.0
#include "tools/Preview.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>
#include <vector>

namespace OrvexTools {
namespace {

constexpr std::string_view sk_shades = " .:-=+*#%@";
constexpr std::string_view sk_upperHalf = "\u2580";
constexpr std::string_view sk_plain = "\x1b[0m";

using Colour = std::array<unsigned, 3>;

// Sample of a picture as 8 bits.
unsigned Sample(const Picture& picture, std::size_t x, std::size_t y, unsigned channel) {
  const std::size_t at = x * picture.channels + channel;
  const std::uint8_t* pRow = picture.data.data() + y * picture.stride;
  if (picture.bitsPerSample == 8) return pRow[at];
  std::uint16_t value = 0;
  std::memcpy(&value, pRow + 2 * at, sizeof value);
  return value >> 8;
}

// The mean colour of each cell of a grid over the picture.
class Grid {
 public:
  Grid(const Picture& picture, unsigned columns, unsigned rows)
      : m_columns(columns), m_cells(std::size_t{columns} * rows) {
    for (unsigned row = 0; row < rows; ++row) {
      for (unsigned column = 0; column < columns; ++column)
        m_cells[std::size_t{row} * columns + column] =
            Mean(picture, {column, columns}, {row, rows});
    }
  }

  const Colour& At(unsigned column, unsigned row) const {
    return m_cells[std::size_t{row} * m_columns + column];
  }

 private:
  struct Part {
    std::size_t index, count;
    std::size_t Begin(std::size_t size) const { return index * size / count; }
    std::size_t End(std::size_t size) const {
      return std::max(Begin(size) + 1, (index + 1) * size / count);
    }
  };

  static Colour Mean(const Picture& picture, Part across, Part down) {
    // Large pictures give thousands of pixels to a cell; a few of them tell as much.
    constexpr std::size_t sk_samplesEachWay = 8;
    const std::size_t x0 = across.Begin(picture.width), x1 = across.End(picture.width);
    const std::size_t y0 = down.Begin(picture.height), y1 = down.End(picture.height);
    const std::size_t stepX = std::max<std::size_t>(1, (x1 - x0) / sk_samplesEachWay);
    const std::size_t stepY = std::max<std::size_t>(1, (y1 - y0) / sk_samplesEachWay);
    Colour sum{};
    unsigned count = 0;
    for (std::size_t y = y0; y < y1; y += stepY) {
      for (std::size_t x = x0; x < x1; x += stepX, ++count) {
        for (unsigned channel = 0; channel < 3; ++channel)
          sum[channel] += Sample(picture, x, y, picture.channels == 3 ? channel : 0);
      }
    }
    for (unsigned& value : sum) value = (value + count / 2) / count;
    return sum;
  }

  unsigned m_columns;
  std::vector<Colour> m_cells;
};

char Shade(const Colour& colour) {
  const unsigned brightness = (299 * colour[0] + 587 * colour[1] + 114 * colour[2]) / 1000;
  return sk_shades[std::min<std::size_t>(brightness * sk_shades.size() / 256,
                                         sk_shades.size() - 1)];
}

std::string ColourText(const Grid& grid, unsigned columns, unsigned rows) {
  std::string text;
  for (unsigned row = 0; row < rows; row += 2) {
    Colour lastTop{}, lastBottom{};
    for (unsigned column = 0; column < columns; ++column) {
      const Colour& top = grid.At(column, row);
      const Colour& bottom = grid.At(column, row + 1);
      if (column == 0 || top != lastTop)
        fmt::format_to(std::back_inserter(text), "\x1b[38;2;{}m", fmt::join(top, ";"));
      if (column == 0 || bottom != lastBottom)
        fmt::format_to(std::back_inserter(text), "\x1b[48;2;{}m", fmt::join(bottom, ";"));
      text += sk_upperHalf;
      lastTop = top;
      lastBottom = bottom;
    }
    text.append(sk_plain).append("\n");
  }
  return text;
}

}  // namespace

PreviewRoom RoomForPreview() {
  PreviewRoom room;
  if (::isatty(STDOUT_FILENO) != 1) return room;
  winsize size = {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 2) {
    room.columns = size.ws_col;
    room.lines = size.ws_row - 2U;  // the prompt stays in sight
  }
  const char* pTerminal = std::getenv("TERM");
  const bool dumb = pTerminal == nullptr || std::string_view(pTerminal) == "dumb";
  const char* pNoColour = std::getenv("NO_COLOR");
  room.colour = !dumb && (pNoColour == nullptr || *pNoColour == '\0');
  return room;
}

std::string PreviewText(const Picture& picture, const PreviewRoom& room) {
  if (picture.width == 0 || picture.height == 0 || room.columns == 0 || room.lines == 0) return {};
  // Half a character is about as high as wide.
  const double halves = 2.0 * room.lines;
  const double scale = std::min({1.0, room.columns / static_cast<double>(picture.width),
                                 halves / static_cast<double>(picture.height)});
  const auto columns = std::max(1U, static_cast<unsigned>(picture.width * scale));
  const auto lines = std::max(1U, static_cast<unsigned>((picture.height * scale + 1) / 2));
  if (room.colour) return ColourText(Grid(picture, columns, 2 * lines), columns, 2 * lines);
  const Grid grid(picture, columns, lines);
  std::string text;
  for (unsigned line = 0; line < lines; ++line) {
    for (unsigned column = 0; column < columns; ++column) text += Shade(grid.At(column, line));
    text += '\n';
  }
  return text;
}

}  // namespace OrvexTools
