#pragma once
// SPDX-License-Identifier: Apache-2.0
// PNG and TIFF pictures as what a camera looks at: the files of a folder in the order of their
// names, one a frame. Files are not trusted: sizes are checked before memory is taken. Used by the
// streaming thread after the camera was made.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "simulator/Scene.h"

namespace OrvexSim {

// Throws std::invalid_argument that names the file.
std::shared_ptr<const Scene> LoadPicture(const std::string& path);

class PictureFolder {
 public:
  // Looks at the size of every picture. Throws std::invalid_argument when there are none, or one
  // that is no picture.
  explicit PictureFolder(const std::string& folder);

  size_t Count() const { return m_files.size(); }
  uint32_t Width() const { return m_width; }  // of the widest
  uint32_t Height() const { return m_height; }
  // Black where the file turns out to be damaged. Pictures are kept as long as memory allows.
  std::shared_ptr<const Scene> At(size_t index);

 private:
  std::vector<std::string> m_files;
  uint32_t m_width = 0, m_height = 0;
  std::map<size_t, std::shared_ptr<const Scene>> m_kept;
  size_t m_keptBytes = 0;
};

}  // namespace OrvexSim
