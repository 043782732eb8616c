#include "host/sound_file.h"

#include "host/host.h"

#include <SDL.h>
#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t most_bytes = 256u << 20;
constexpr std::size_t most_samples = 64u << 20;
constexpr int lowest_rate = 1'000, highest_rate = 384'000;

void check_format(int channels, long rate) {
  if (channels != 1 && channels != 2)
    throw HostError("it has " + std::to_string(channels) +
                    " channels; mono and stereo can be read");
  if (rate < lowest_rate || rate > highest_rate)
    throw HostError("its rate is " + std::to_string(rate) + " Hz; 1000 to 384000 can be read");
}

void check_length(std::size_t samples) {
  if (samples > most_samples) throw HostError("it is too long for a sound; play it as music");
}

Samples decode_wav(std::string_view bytes) {
  SDL_AudioSpec spec{};
  Uint8 *loaded = nullptr;
  Uint32 length = 0;
  SDL_RWops *source = SDL_RWFromConstMem(bytes.data(), static_cast<int>(bytes.size()));
  if (!SDL_LoadWAV_RW(source, 1, &spec, &loaded, &length))
    throw HostError(std::string("a WAV file that is damaged or of an unknown kind: ") +
                    SDL_GetError());
  const std::unique_ptr<Uint8, decltype(&SDL_FreeWAV)> owner(loaded, SDL_FreeWAV);
  check_format(spec.channels, spec.freq);
  const std::size_t sample_bytes = (spec.format & 0xFFu) / 8 * spec.channels;
  const std::size_t samples = length / sample_bytes;
  check_length(samples);
  SDL_AudioCVT convert{};
  if (SDL_BuildAudioCVT(&convert, spec.format, spec.channels, spec.freq, AUDIO_S16SYS, 2,
                        spec.freq) < 0)
    throw HostError(SDL_GetError());
  const std::size_t used = samples * sample_bytes;
  // The conversion works in place and needs that many times the room.
  const auto room = used * static_cast<std::size_t>(std::max(convert.len_mult, 1));
  Samples sound{std::vector<std::int16_t>(room / 2 + 1), spec.freq};
  convert.buf = reinterpret_cast<Uint8 *>(sound.values.data());
  convert.len = static_cast<int>(used);
  std::copy_n(loaded, used, convert.buf);
  if (convert.needed) SDL_ConvertAudio(&convert);
  sound.values.resize(2 * samples);
  return sound;
}

// An Ogg file in memory.
class OggReader {
public:
  explicit OggReader(std::string_view bytes) : rest_(bytes), all_(bytes) {
    const ov_callbacks callbacks = {read, seek, nullptr, tell};
    if (ov_open_callbacks(this, &file_, nullptr, 0, callbacks))
      throw HostError("an Ogg file that is damaged or holds something other than Vorbis");
  }
  ~OggReader() { ov_clear(&file_); }
  OggReader(const OggReader &) = delete;
  OggReader &operator=(const OggReader &) = delete;

  OggVorbis_File *file() { return &file_; }

private:
  static size_t read(void *to, size_t size, size_t count, void *source) {
    std::string_view &rest = static_cast<OggReader *>(source)->rest_;
    const size_t got = std::min(size * count, rest.size());
    std::copy_n(rest.data(), got, static_cast<char *>(to));
    rest.remove_prefix(got);
    return got / size;
  }
  static int seek(void *source, ogg_int64_t offset, int whence) {
    auto &reader = *static_cast<OggReader *>(source);
    const auto size = static_cast<ogg_int64_t>(reader.all_.size());
    if (whence == SEEK_CUR) offset += tell(source);
    if (whence == SEEK_END) offset += size;
    if (offset < 0 || offset > size) return -1;
    reader.rest_ = reader.all_.substr(static_cast<std::size_t>(offset));
    return 0;
  }
  static long tell(void *source) {
    const auto &reader = *static_cast<const OggReader *>(source);
    return static_cast<long>(reader.all_.size() - reader.rest_.size());
  }

  std::string_view rest_, all_;
  OggVorbis_File file_;
};

Samples decode_ogg(std::string_view bytes) {
  OggReader reader(bytes);
  const vorbis_info format = *ov_info(reader.file(), 0);
  check_format(format.channels, format.rate);
  Samples sound{{}, static_cast<int>(format.rate)};
  const auto channels = static_cast<std::size_t>(format.channels);
  std::int16_t block[4096];
  int part = 0;
  for (;;) {
    const long got =
        ov_read(reader.file(), reinterpret_cast<char *>(block), sizeof block, 0, 2, 1, &part);
    if (got < 0) throw HostError("a damaged Ogg file");
    if (got == 0) break;
    const vorbis_info *now = ov_info(reader.file(), part);
    if (now->channels != format.channels || now->rate != format.rate)
      throw HostError("an Ogg file of parts that differ in rate or channels");
    const std::size_t values = static_cast<std::size_t>(got) / sizeof *block;
    for (std::size_t i = 0; i < values; i += channels) {
      sound.values.push_back(block[i]);
      sound.values.push_back(block[i + channels - 1]);
    }
    check_length(sound.count());
  }
  if (!reader.file()->os.e_o_s) throw HostError("an Ogg file whose end is missing");
  return sound;
}

} // namespace

std::vector<char> read_sound_file(const std::string &path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::is_regular_file(status))
    throw HostError(fs::exists(status) ? "not a regular file" : "no such file");
  const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "rb"),
                                                                std::fclose);
  if (!file) throw HostError(std::strerror(errno));
  const std::uintmax_t size = fs::file_size(path, error);
  if (error) throw HostError(error.message());
  if (size > most_bytes) throw HostError("it is larger than 256 MB");
  std::vector<char> bytes(size);
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
  return bytes;
}

Samples decode_sound(std::string_view bytes) {
  if (bytes.starts_with("RIFF")) return decode_wav(bytes);
  if (bytes.starts_with("OggS")) return decode_ogg(bytes);
  throw HostError("neither a WAV nor an Ogg file");
}

void check_music(std::string_view bytes) {
  for (const std::string_view start : {"RIFF", "FORM", "fLaC"})
    if (bytes.starts_with(start))
      throw HostError("music is Ogg, MP3, MIDI or a module; WAV files are for sound_load");
  if (!bytes.starts_with("OggS")) return;
  OggReader reader(bytes);
  for (int i = 0; i < ov_streams(reader.file()); ++i) {
    const vorbis_info *format = ov_info(reader.file(), i);
    check_format(format->channels, format->rate);
  }
}

Samples resample(Samples sound, int rate) {
  if (sound.rate == rate || sound.values.empty()) return sound;
  const double step = static_cast<double>(sound.rate) / rate;
  const std::size_t last = sound.count() - 1;
  const auto count = static_cast<std::size_t>(static_cast<double>(sound.count()) / step);
  check_length(count);
  Samples result{std::vector<std::int16_t>(2 * count), rate};
  for (std::size_t i = 0; i < count; ++i) {
    const double at = static_cast<double>(i) * step;
    const std::size_t before = std::min(static_cast<std::size_t>(at), last);
    const std::size_t after = std::min(before + 1, last);
    const double share = at - static_cast<double>(before);
    for (std::size_t side = 0; side < 2; ++side) {
      const double from = sound.values[2 * before + side], to = sound.values[2 * after + side];
      result.values[2 * i + side] = static_cast<std::int16_t>(from + (to - from) * share);
    }
  }
  return result;
}

} // namespace orbhost
