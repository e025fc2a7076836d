#pragma once
// SPDX-License-Identifier: Apache-2.0
// A picture as text, for people on a remote shell. In colour each character shows two pixels, one
// above the other; without colour it shows the brightness of its place. Pure functions, any thread.

#include <string>

#include "tools/PictureFile.h"

namespace OrvexTools {

// Characters that a picture may take.
struct PreviewRoom {
  unsigned columns = 80;
  unsigned lines = 24;
  bool colour = false;
};

// The room on the terminal behind standard output; without one 80 columns and no colour. The
// environment's NO_COLOR and a TERM of "dumb" turn colour off.
PreviewRoom RoomForPreview();

// As many lines as fit, each ended by a line break; the proportions of the picture are kept, taking
// a character to be twice as high as wide, and no pixel is drawn larger than it is.
std::string PreviewText(const Picture& picture, const PreviewRoom& room);

}  // namespace OrvexTools
