// Sound files: WAV and Ogg Vorbis.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orbhost {

// Sampled sound: left and right in turn, 16 bits each.
struct Samples {
  std::vector<std::int16_t> values;
  int rate = 0; // of either side in a second
  [[nodiscard]] std::size_t count() const { return values.size() / 2; }
  [[nodiscard]] double seconds() const { return static_cast<double>(count()) / rate; }
};

// The bytes of a regular file of up to 256 MB. Throws HostError with the reason; it doesn't name
// the file.
std::vector<char> read_sound_file(const std::string &path);

// Decodes a whole file in memory: mono or stereo, WAV of 8 or 16 bits or ADPCM, 1 kHz to 384 kHz,
// up to 64 million samples. Throws HostError with the reason.
Samples decode_sound(std::string_view bytes);

// Throws HostError, with the reason, for music that SDL_mixer 1.2 isn't safe with: it frees a WAV
// file that ends too early twice, and overruns its buffers where an Ogg file states a rate of a few
// Hz. WAV and FLAC files, too large for music, are refused as a whole.
void check_music(std::string_view bytes);

// The same sound at another rate, by linear interpolation. (SDL 1.2 can only double and halve.)
Samples resample(Samples sound, int rate);

} // namespace orbhost
