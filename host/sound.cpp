#include "host/sound.h"

#include "host/host.h"
#include "host/sound_file.h"

#include <SDL.h>
#include <SDL_mixer.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

namespace orbhost {
namespace {

// 1024 samples are 23 ms, the time from a call to what is heard, besides the driver's own.
constexpr int wanted_rate = 44'100, buffer_samples = 1024;
// The frames of a virtual clock don't add up to whole seconds exactly.
constexpr double clock_error = 1e-6;

int percent(std::int32_t value) {
  return std::clamp(value, std::int32_t{0}, std::int32_t{100});
}

// On the mixer's scale.
int mixed_volume(std::int32_t volume, std::int32_t master) {
  return volume * master * MIX_MAX_VOLUME / 10'000;
}

// While it lives, stderr is thrown away: sound libraries print pages about a device that they don't
// find.
class QuietErrors {
public:
  QuietErrors() : kept_(dup(STDERR_FILENO)) {
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (kept_ >= 0 && nothing >= 0) dup2(nothing, STDERR_FILENO);
    if (nothing >= 0) close(nothing);
  }
  ~QuietErrors() {
    if (kept_ < 0) return;
    dup2(kept_, STDERR_FILENO);
    close(kept_);
  }
  QuietErrors(const QuietErrors &) = delete;
  QuietErrors &operator=(const QuietErrors &) = delete;

private:
  int kept_;
};

// The mixer's thread doesn't mix while one of these lives.
struct AudioLock {
  AudioLock() { SDL_LockAudio(); }
  ~AudioLock() { SDL_UnlockAudio(); }
  AudioLock(const AudioLock &) = delete;
  AudioLock &operator=(const AudioLock &) = delete;
};

bool open_mixer() {
  const QuietErrors quiet;
  const bool opened = Mix_OpenAudio(wanted_rate, AUDIO_S16SYS, 2, buffer_samples) == 0;
  if (!opened) SDL_QuitSubSystem(SDL_INIT_AUDIO); // the next try may choose another driver
  return opened;
}

// SDL's driver without a device: the mixer is only there to look at files.
bool open_silent_mixer() {
  const char *set = std::getenv("SDL_AUDIODRIVER");
  const std::string chosen = set ? set : "";
  setenv("SDL_AUDIODRIVER", "dummy", 1);
  const bool ready = SDL_InitSubSystem(SDL_INIT_AUDIO) == 0 && open_mixer();
  if (set)
    setenv("SDL_AUDIODRIVER", chosen.c_str(), 1);
  else
    unsetenv("SDL_AUDIODRIVER");
  if (ready) SDL_PauseAudio(1);
  return ready;
}

} // namespace

Sound::~Sound() {
  if (!mixer_open_) return;
  Mix_HaltChannel(-1);
  if (music_) Mix_FreeMusic(music_);
  for (const auto &[number, sound] : sounds_)
    if (sound.chunk) Mix_FreeChunk(sound.chunk);
  Mix_CloseAudio();
}

void Sound::open_device() {
  if (!audible_ || mixer_open_) return;
  std::string reason;
  if (open_mixer()) {
    mixer_open_ = true;
    Uint16 format = 0;
    int sides = 0;
    Mix_QuerySpec(&rate_, &format, &sides);
    if (format == AUDIO_S16SYS && sides == 2) {
      Mix_AllocateChannels(channels);
      return;
    }
    reason = "the device doesn't take 16 bits in stereo";
    SDL_PauseAudio(1);
  } else {
    reason = SDL_GetError();
  }
  audible_ = false;
  std::fprintf(stderr, "no sound: %s\n", reason.c_str());
}

// Music is decoded by the mixer: without a device too a file must be found good or bad.
void Sound::open_mixer_for_music() {
  open_device();
  if (!mixer_open_) mixer_open_ = open_silent_mixer();
  if (!mixer_open_) throw HostError(SDL_GetError());
}

double Sound::now() const {
  return static_cast<double>(clock_.frame().milliseconds) / 1000;
}

// ---- Sounds ------------------------------------------------------------------------------------

std::int32_t Sound::load(const std::string &path) {
  const std::vector<char> bytes = read_sound_file(path);
  Samples samples = decode_sound({bytes.data(), bytes.size()});
  Loaded sound;
  sound.seconds = samples.seconds();
  open_device();
  if (audible_) {
    sound.values = resample(std::move(samples), rate_).values;
    sound.chunk = Mix_QuickLoad_RAW(reinterpret_cast<Uint8 *>(sound.values.data()),
                                    static_cast<Uint32>(2 * sound.values.size()));
  }
  sounds_.emplace(++last_sound_, std::move(sound)); // which leaves the values where they are
  return last_sound_;
}

void Sound::unload(std::int32_t sound) {
  Mix_Chunk *const chunk = sounds_.at(sound).chunk;
  for (int channel = 0; channel < channels; ++channel)
    if (voices_[channel].sound == sound) stop_channel(channel);
  if (chunk) Mix_FreeChunk(chunk);
  sounds_.erase(sound);
}

std::int32_t Sound::play(std::int32_t sound, std::int32_t loops, std::int32_t volume,
                         std::int32_t pan) {
  const Loaded &played = sounds_.at(sound);
  const auto voice = std::ranges::min_element(voices_, {}, &Voice::end);
  const double end =
      loops < 0 ? std::numeric_limits<double>::infinity() : now() + (loops + 1.0) * played.seconds;
  *voice = {++last_voice_, sound, end, percent(volume)};
  if (played.chunk) {
    const int channel = static_cast<int>(voice - voices_.begin());
    const AudioLock lock; // nothing is heard before volume and panning are set
    Mix_PlayChannel(channel, played.chunk, std::max(loops, -1));
    mix_channel(channel);
    pan_channel(channel, pan);
  }
  return voice->number;
}

int Sound::channel_of(std::int32_t voice) const {
  const auto found = std::ranges::find(voices_, voice, &Voice::number);
  const bool plays = found != voices_.end() && now() + clock_error < found->end;
  return plays ? static_cast<int>(found - voices_.begin()) : -1;
}

bool Sound::playing(std::int32_t voice) const {
  return channel_of(voice) >= 0;
}

void Sound::stop_channel(int channel) {
  voices_[channel].end = 0;
  if (heard()) Mix_HaltChannel(channel);
}

void Sound::stop(std::int32_t voice) {
  if (const int channel = channel_of(voice); channel >= 0) stop_channel(channel);
}

void Sound::stop_all() {
  for (int channel = 0; channel < channels; ++channel)
    stop_channel(channel);
}

void Sound::set_volume(std::int32_t voice, std::int32_t volume) {
  const int channel = channel_of(voice);
  if (channel < 0) return;
  voices_[channel].volume = percent(volume);
  mix_channel(channel);
}

void Sound::mix_channel(int channel) {
  if (heard()) Mix_Volume(channel, mixed_volume(voices_[channel].volume, master_volume_));
}

void Sound::set_pan(std::int32_t voice, std::int32_t pan) {
  if (const int channel = channel_of(voice); channel >= 0) pan_channel(channel, pan);
}

void Sound::pan_channel(int channel, std::int32_t pan) {
  const std::int32_t right = std::clamp(pan, std::int32_t{-100}, std::int32_t{100});
  const auto side = [](std::int32_t loud) { return static_cast<Uint8>(percent(loud) * 255 / 100); };
  if (heard()) Mix_SetPanning(channel, side(100 - right), side(100 + right));
}

// ---- Music -------------------------------------------------------------------------------------

void Sound::play_music(const std::string &path, bool forever) {
  std::vector<char> bytes = read_sound_file(path);
  check_music({bytes.data(), bytes.size()});
  open_mixer_for_music();
  SDL_RWops *const source = SDL_RWFromConstMem(bytes.data(), static_cast<int>(bytes.size()));
  SDL_ClearError();
  Mix_Music *const music = Mix_LoadMUSType_RW(source, MUS_NONE, 1);
  if (!music) throw HostError(std::string("no music that can be played: ") + Mix_GetError());
  stop_music();
  music_ = music;
  music_file_ = std::move(bytes);
  music_playing_ = true;
  if (!audible_) return;
  mix_music();
  Mix_PlayMusic(music_, forever ? -1 : 0);
}

void Sound::stop_music() {
  music_playing_ = false;
  if (music_) Mix_FreeMusic(std::exchange(music_, nullptr)); // which halts it
}

void Sound::pause_music(bool paused) {
  if (!music_ || !audible_) return;
  if (paused)
    Mix_PauseMusic();
  else
    Mix_ResumeMusic();
}

void Sound::set_music_volume(std::int32_t volume) {
  music_volume_ = percent(volume);
  mix_music();
}

void Sound::mix_music() {
  if (heard()) Mix_VolumeMusic(mixed_volume(music_volume_, master_volume_));
}

// ---- Everything --------------------------------------------------------------------------------

void Sound::set_master_volume(std::int32_t volume) {
  master_volume_ = percent(volume);
  for (int channel = 0; channel < channels; ++channel)
    mix_channel(channel);
  mix_music();
}

// The clock of play stands still meanwhile by itself.
void Sound::pause(bool paused) {
  if (heard()) SDL_PauseAudio(paused ? 1 : 0);
}

} // namespace orbhost
