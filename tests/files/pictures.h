// Pictures that the module didn't write: files of other programs, and odd ones made for the tests.
#pragma once

#include <string>
#include <vector>

#include "support/world.h"

/// A picture and what is in it.
struct known_picture {
  std::string name;
  file_bytes file;
  int32_t error = 0;               ///< what is wrong at 32 bits; 0 for a picture that loads
  bool deep = false;               ///< loads at 32 bits only
  uint32_t w = 0, h = 0;           ///< 0 when the data doesn't say
  std::vector<uint32_t> pixels{};  ///< 0xAARRGGBB, with alpha 0 in pictures without a channel
  std::vector<uint32_t> indices{}; ///< where they are known
  bool alpha = false;              ///< a channel, or alphas in the palette
  uint32_t tolerance = 0;          ///< by how much a component may differ
  uint32_t compared = 0xFFFFFFFF;  ///< the bits that programs agree upon
};

/// The files of a folder of tests/data/ with the pixels beside them: .rgba, .rgb or .grey.
std::vector<known_picture> foreign_pictures(const std::string &folder);
/// tests/data/odd_pictures.txt.
std::vector<known_picture> odd_pictures();

/// The picture compressed by libjpeg from plain RGB rows. Quality -1: its own default.
file_bytes libjpeg_file(const std::vector<uint32_t> &colours, uint32_t w, int quality,
                        bool arithmetic = false);
